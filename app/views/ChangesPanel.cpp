#include "app/views/ChangesPanel.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/canvas/CanvasPalette.h"
#include "app/views/DeferredCall.h"
#include "app/views/Divider.h"
#include "app/views/ElidedLabel.h"
#include "app/views/GroupedRowDelegate.h"
#include "app/views/PanelHeader.h"

namespace vantrel {

namespace {

QString place(const ReachRow& row) {
    const QString file = QString::fromStdString(row.file);
    return row.line ? file + QLatin1Char(':') + QString::number(*row.line) : file;
}

QString levelText(const TouchLevel& level) {
    if (!level) return {};
    return *level == 0 ? QStringLiteral("selection") : QStringLiteral("level %1").arg(*level);
}

class ChangeRowDelegate : public GroupedRowDelegate {
public:
    using GroupedRowDelegate::GroupedRowDelegate;

protected:
    bool isGroup(const QModelIndex& index) const override { return index.data(ChangesPanel::IsGroupRole).toBool(); }
    ColorRef groupColor(const QModelIndex& index) const override {
        return named(static_cast<NamedColor>(index.data(ChangesPanel::GroupColorRole).toInt()));
    }
    QStringList details(const QModelIndex& index) const override {
        return index.data(ChangesPanel::DetailsRole).toStringList();
    }
};

QTreeWidgetItem* addGroup(QTreeWidget* tree, const QString& title, std::size_t count, NamedColor color) {
    auto* group = new QTreeWidgetItem(tree, {QStringLiteral("%1 \u00b7 %2").arg(title).arg(count)});
    group->setData(0, ChangesPanel::IsGroupRole, true);
    group->setData(0, ChangesPanel::GroupColorRole, static_cast<int>(color));
    group->setFlags(Qt::ItemIsEnabled);
    return group;
}

void addRow(QTreeWidgetItem* group, const QString& name, const ReachRow& placeRow, const TouchLevel& level,
            const std::string& selectable) {
    auto* item = new QTreeWidgetItem(group, {name});
    QStringList details{place(placeRow)};
    if (level) details << levelText(level);
    item->setData(0, ChangesPanel::DetailsRole, details);
    item->setData(0, ChangesPanel::IdRole, QString::fromStdString(selectable));
    item->setToolTip(0, QString::fromStdString(placeRow.id));
}

}  // namespace

ChangesPanel::ChangesPanel(ProjectStore& store, QWidget* parent) : QWidget(parent), store_(store) {
    setWindowTitle(QStringLiteral("Changes"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    const PanelHeader header = makePanelHeader(QStringLiteral("Changes"), "changesBaseline", this);
    summary_ = header.detail;
    summary_->setObjectName(QStringLiteral("changesSummary"));
    header.row->addStretch(1);
    unload_ = makeHeaderButton(QStringLiteral("Unload Baseline"), "unloadBaselineButton", header.widget);
    header.row->addWidget(unload_);
    connect(unload_, &QPushButton::clicked, this, [this] { postToNextTurn(this, [this] { store_.unloadBaseline(); }); });
    layout->addWidget(header.widget);
    layout->addWidget(makeDivider(Qt::Horizontal, this));

    tree_ = new QTreeWidget(this);
    tree_->setObjectName(QStringLiteral("changesTree"));
    useGroupedRows(tree_, new ChangeRowDelegate(tree_));
    connect(tree_, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        const std::string id = item->data(0, IdRole).toString().toStdString();
        if (!id.empty()) postToNextTurn(this, [this, id] { store_.select(id); });
    });
    layout->addWidget(tree_, 1);

    for (auto changed : {&ProjectStore::irChanged, &ProjectStore::baselineIRChanged, &ProjectStore::diffResultChanged,
                         &ProjectStore::selectedSymbolIdChanged, &ProjectStore::impactLevelsChanged,
                         &ProjectStore::configChanged})
        connect(&store_, changed, this, &ChangesPanel::scheduleRefresh);
    refresh();
}

QString ChangesPanel::summaryText() const { return summary_->fullText(); }

// The store writes the baseline, the diff and the selection one after another; the rows
// are rebuilt once, after the last.
void ChangesPanel::scheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    postToNextTurn(this, [this] { refresh(); });
}

void ChangesPanel::refresh() {
    refreshPending_ = false;
    const bool shown = store_.baselineIR() && store_.ir() && store_.diffResult();
    setVisible(shown);
    lists_ = {};
    tree_->clear();
    if (!shown) return;
    const OptionalSymbolId& selected = store_.selectedSymbolId();
    lists_ = diffLists(*store_.baselineIR(), *store_.ir(), *store_.diffResult(),
                       selected ? std::optional<std::string_view>(*selected) : std::nullopt, store_.config().maxDepth);

    const auto& current = store_.ir()->symbols;
    const auto symbols = [&](const QString& title, const std::vector<DiffSymbolRow>& rows, NamedColor color) {
        if (rows.empty()) return;
        QTreeWidgetItem* group = addGroup(tree_, title, rows.size(), color);
        for (const DiffSymbolRow& row : rows)
            addRow(group, QString::fromStdString(row.row.name), row.row, row.level,
                   current.count(row.row.id) ? row.row.id : std::string());
    };
    const auto edges = [&](const QString& title, const std::vector<DiffEdgeRow>& rows, NamedColor color) {
        if (rows.empty()) return;
        QTreeWidgetItem* group = addGroup(tree_, title, rows.size(), color);
        for (const DiffEdgeRow& row : rows) {
            const std::string& target = current.count(row.from.id) ? row.from.id
                                        : current.count(row.to.id) ? row.to.id
                                                                   : std::string();
            addRow(group, QString::fromStdString(row.from.name) + QStringLiteral(" \u2192 ") +
                              QString::fromStdString(row.to.name),
                   row.from, row.level, target);
        }
    };
    symbols(QStringLiteral("Added symbols"), lists_.addedSymbols, NamedColor::purple);
    symbols(QStringLiteral("Removed symbols"), lists_.removedSymbols, NamedColor::red);
    symbols(QStringLiteral("Changed symbols"), lists_.changedSymbols, NamedColor::gray);
    edges(QStringLiteral("Added edges"), lists_.addedEdges, NamedColor::purple);
    edges(QStringLiteral("Removed edges"), lists_.removedEdges, NamedColor::red);
    tree_->expandAll();

    summary_->setFullText(lists_.empty() ? QStringLiteral("No changes since the baseline")
                                     : QStringLiteral("+%1/-%2 symbols, %3 changed, +%4/-%5 edges")
                                           .arg(lists_.addedSymbols.size())
                                           .arg(lists_.removedSymbols.size())
                                           .arg(lists_.changedSymbols.size())
                                           .arg(lists_.addedEdges.size())
                                           .arg(lists_.removedEdges.size()));
}

}  // namespace vantrel
