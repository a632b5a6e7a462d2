#include "app/views/DiagnosticsGroup.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>

#include "app/views/TextStyles.h"
#include "core/resolution/DiagnosticGroups.h"

namespace vantrel {

namespace {

constexpr int kMaxTreeHeight = 320;

QString fileCount(std::size_t files) {
    return files == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(files);
}

QStandardItem* readOnlyItem(const QString& text) {
    auto* item = new QStandardItem(text);
    item->setEditable(false);
    return item;
}

}  // namespace

DiagnosticsGroup::DiagnosticsGroup(QWidget* parent)
    : QWidget(parent),
      header_(new QToolButton(this)),
      filter_(new QLineEdit(this)),
      tree_(new QTreeView(this)),
      model_(new QStandardItemModel(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    header_->setCheckable(true);
    header_->setAutoRaise(true);
    header_->setArrowType(Qt::RightArrow);
    header_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    filter_->setObjectName(QStringLiteral("diagnosticsFilter"));
    filter_->setPlaceholderText(QStringLiteral("Filter by import or file"));
    filter_->setClearButtonEnabled(true);
    filter_->setVisible(false);
    tree_->setObjectName(QStringLiteral("diagnosticsTree"));
    tree_->setModel(model_);
    tree_->setHeaderHidden(true);
    tree_->setUniformRowHeights(true);
    tree_->setSelectionMode(QAbstractItemView::SingleSelection);
    tree_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tree_->setFrameShape(QFrame::NoFrame);
    tree_->setTextElideMode(Qt::ElideLeft);  // paths keep their file names in view
    tree_->viewport()->setAutoFillBackground(false);
    // Room below the baseline: at the sidebar's size an underscore fell outside the row.
    tree_->setStyleSheet(QStringLiteral("QTreeView::item { padding: 2px 0px; }"));
    tree_->setVisible(false);
    layout->addWidget(header_);
    layout->addWidget(filter_);
    layout->addWidget(tree_);
    connect(header_, &QToolButton::toggled, this, &DiagnosticsGroup::setOpen);
    connect(filter_, &QLineEdit::textChanged, this, &DiagnosticsGroup::rebuild);
    connect(tree_, &QTreeView::expanded, this, &DiagnosticsGroup::fitTreeHeight);
    connect(tree_, &QTreeView::collapsed, this, &DiagnosticsGroup::fitTreeHeight);
}

void DiagnosticsGroup::setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics) {
    diagnostics_ = std::move(diagnostics);
    header_->setText(title());
    rebuild();
}

QString DiagnosticsGroup::title() const {
    return QStringLiteral("Diagnostics (%1)").arg(static_cast<qsizetype>(diagnostics_.size()));
}

bool DiagnosticsGroup::isOpen() const { return header_->isChecked(); }

void DiagnosticsGroup::setOpen(bool open) {
    header_->setChecked(open);
    header_->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    filter_->setVisible(open);
    tree_->setVisible(open);
    fitTreeHeight();
}

void DiagnosticsGroup::rebuild() {
    model_->clear();
    const auto sections = groupDiagnostics(diagnostics_, filter_->text().toStdString());
    QFont heading = textStyleFont(TextStyle::caption);
    heading.setBold(true);
    for (const DiagnosticSection& section : sections) {
        auto* head = readOnlyItem(QStringLiteral("%1 · %2")
                                      .arg(QString::fromUtf8(sectionTitle(section.reason)))
                                      .arg(static_cast<qulonglong>(section.count)));
        head->setFont(heading);
        head->setSelectable(false);
        for (const DiagnosticImport& entry : section.imports) {
            const QString path = QString::fromStdString(entry.importPath);
            auto* row = readOnlyItem(QStringLiteral("%1 · %2").arg(path, fileCount(entry.importers.size())));
            row->setToolTip(entry.suggestion ? path + u'\n' + QString::fromStdString(*entry.suggestion) : path);
            for (const std::string& importer : entry.importers) {
                auto* file = readOnlyItem(QString::fromStdString(importer));
                file->setToolTip(file->text());
                row->appendRow(file);
            }
            head->appendRow(row);
        }
        model_->appendRow(head);
        // The project's own failures open; packages outside it wait to be asked for.
        tree_->setExpanded(head->index(), !section.external());
    }
    fitTreeHeight();
}

void DiagnosticsGroup::fitTreeHeight() {
    const int rowHeight = std::max(tree_->sizeHintForRow(0), QFontMetrics(tree_->font()).height() + 4);
    int rows = 0;
    for (int i = 0; i < model_->rowCount(); ++i) {
        ++rows;
        if (tree_->isExpanded(model_->index(i, 0))) rows += model_->rowCount(model_->index(i, 0));
    }
    tree_->setFixedHeight(std::min(kMaxTreeHeight, std::max(1, rows) * rowHeight + 4));
}

}  // namespace vantrel
