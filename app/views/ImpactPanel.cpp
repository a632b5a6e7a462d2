#include "app/views/ImpactPanel.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QStyleHints>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/canvas/CanvasPalette.h"
#include "app/views/DeferredCall.h"
#include "app/views/Divider.h"
#include "app/views/ElidedLabel.h"
#include "app/views/GroupedRowDelegate.h"
#include "app/views/ImpactReachModel.h"
#include "app/views/PanelHeader.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/WorkingChangesModel.h"
#include "core/changes/ReachReport.h"

namespace vantrel {

namespace {

// The graph's colours: its legend names levels 1 to 3, the downstream and, while the
// Working Changes mode is on, the changed symbols.
ColorRef levelColor(int level) {
    switch (level) {
        case WorkingChangesModel::kChangedLevel: return named(NamedColor::teal);
        case 0: return named(NamedColor::blue);
        case 1: return named(NamedColor::orange);
        case 2: return named(NamedColor::yellow);
        case 3: return named(NamedColor::green);
        default: return named(NamedColor::gray);
    }
}

class ReachRowDelegate : public GroupedRowDelegate {
public:
    using GroupedRowDelegate::GroupedRowDelegate;

protected:
    bool isGroup(const QModelIndex& index) const override {
        return index.data(ImpactReachModel::IsGroupRole).toBool();
    }
    ColorRef groupColor(const QModelIndex& index) const override {
        return levelColor(index.data(ImpactReachModel::LevelRole).toInt());
    }
    QStringList details(const QModelIndex& index) const override {
        QStringList details{index.data(ImpactReachModel::KindTextRole).toString(),
                            index.data(ImpactReachModel::PlaceRole).toString()};
        // A changed row says how first: the mark matters more than the kind.
        const QString change = index.data(WorkingChangesModel::ChangeRole).toString();
        if (!change.isEmpty()) details.prepend(change);
        return details;
    }
};

}  // namespace

ImpactPanel::ImpactPanel(ProjectStore& store, QWidget* parent) : QWidget(parent), store_(store) {
    setWindowTitle(QStringLiteral("Impact"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildHeader());
    layout->addWidget(makeDivider(Qt::Horizontal, this));

    model_ = new ImpactReachModel(this);
    changesModel_ = new WorkingChangesModel(this);
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("impactTree"));
    tree_->setModel(model_);
    useGroupedRows(tree_, new ReachRowDelegate(tree_));
    tree_->viewport()->installEventFilter(this);
    tree_->installEventFilter(this);
    for (QPushButton* button : {copyMarkdown_, copyText_}) {
        auto* action = new QAction(button->text(), tree_);
        connect(action, &QAction::triggered, button, &QPushButton::click);
        tree_->addAction(action);
    }
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tree_, &QTreeView::customContextMenuRequested, this, &ImpactPanel::showContextMenu);
    layout->addWidget(tree_, 1);

    for (auto changed : {&ProjectStore::irChanged, &ProjectStore::selectedSymbolIdChanged,
                         &ProjectStore::impactLevelsChanged, &ProjectStore::configChanged,
                         &ProjectStore::workingChangesModeChanged, &ProjectStore::workingChangesStateChanged,
                         &ProjectStore::workingChangesChanged, &ProjectStore::workingChangesRevisionChanged})
        connect(&store_, changed, this, &ImpactPanel::scheduleRefresh);
    refresh();
}

QWidget* ImpactPanel::buildHeader() {
    const PanelHeader made = makePanelHeader(QStringLiteral("Impact"), "impactTarget", this);
    QWidget* header = made.widget;
    // Above the title: which reach the panel shows, and the base of the working changes.
    auto* modes = new QHBoxLayout;
    modes->setSpacing(8);
    modePicker_ = new SegmentedPicker({}, {QStringLiteral("Selection"), QStringLiteral("Working Changes")}, header);
    modePicker_->setObjectName(QStringLiteral("impactModePicker"));
    modePicker_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    modes->addWidget(modePicker_);
    revisionCaption_ = new QLabel(QStringLiteral("against"), header);
    revisionCaption_->setForegroundRole(QPalette::PlaceholderText);
    modes->addWidget(revisionCaption_);
    revision_ = new QLineEdit(header);
    revision_->setObjectName(QStringLiteral("changesRevision"));
    revision_->setPlaceholderText(QStringLiteral("HEAD"));
    revision_->setToolTip(QStringLiteral("The revision the working tree is compared with: a commit, branch or tag"));
    revision_->setFixedWidth(120);
    modes->addWidget(revision_);
    modes->addStretch(1);
    static_cast<QBoxLayout*>(header->layout())->insertLayout(0, modes);
    connect(modePicker_, &SegmentedPicker::activated, this,
            [this](int index) { store_.setWorkingChangesMode(index == 1); });
    connect(revision_, &QLineEdit::editingFinished, this,
            [this] { store_.setWorkingChangesRevision(revision_->text()); });
    QHBoxLayout* row = made.row;
    target_ = made.name;
    summary_ = made.detail;
    summary_->setObjectName(QStringLiteral("impactSummary"));
    row->addStretch(1);
    copyMarkdown_ = makeHeaderButton(QStringLiteral("Copy as Markdown"), "copyMarkdownButton", header);
    copyText_ = makeHeaderButton(QStringLiteral("Copy as text"), "copyTextButton", header);
    row->addWidget(copyMarkdown_);
    row->addWidget(copyText_);
    connect(copyMarkdown_, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(markdown()); });
    connect(copyText_, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(plainText()); });
    return header;
}

QString ImpactPanel::summaryText() const { return summary_->fullText(); }

bool ImpactPanel::showsChanges() const { return store_.workingChangesMode(); }

QString ImpactPanel::markdown() const {
    if (showsChanges())
        return store_.workingChanges() ? QString::fromStdString(renderChangesMarkdown(*store_.workingChanges())) : QString();
    return QString::fromStdString(renderReachMarkdown(model_->reach()));
}

QString ImpactPanel::plainText() const {
    if (showsChanges())
        return store_.workingChanges() ? QString::fromStdString(renderChangesText(*store_.workingChanges())) : QString();
    return QString::fromStdString(renderReachText(model_->reach()));
}

// The store writes the selection, its levels and the depth one after another; the
// rows are rebuilt once, after the last.
void ImpactPanel::scheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    postToNextTurn(this, [this] { refresh(); });
}

void ImpactPanel::refresh() {
    refreshPending_ = false;
    refreshModeControls();
    if (showsChanges()) {
        refreshChanges();
        return;
    }
    if (tree_->model() != model_) tree_->setModel(model_);
    const OptionalSymbolId& selected = store_.selectedSymbolId();
    const bool shown = store_.ir() && selected;
    model_->setReach(shown ? describeReach(*selected, *store_.ir(), store_.impactLevels(), store_.config().maxDepth)
                           : ImpactReach{});
    tree_->expandAll();
    const ReachRow target = shown ? reachRow(*selected, *store_.ir()) : ReachRow{};
    target_->setFullText(QString::fromStdString(target.name));
    summary_->setFullText(shown ? QString::fromStdString(reachSummary(model_->reach()))
                                : QStringLiteral("No symbol selected"));
    copyMarkdown_->setEnabled(shown);
    copyText_->setEnabled(shown);
    applyReveal();
}

void ImpactPanel::refreshModeControls() {
    using Kind = WorkingChangesState::Kind;
    const WorkingChangesState& state = store_.workingChangesState();
    const bool available = state.kind != Kind::unknown && state.kind != Kind::unavailable;
    modePicker_->setCurrentIndex(showsChanges() ? 1 : 0);
    QAbstractButton* changes = modePicker_->segment(1);
    changes->setEnabled(available);
    changes->setToolTip(state.kind == Kind::unavailable
                            ? QStringLiteral("Not available: the project is not in a git work tree (%1)").arg(state.message)
                        : state.kind == Kind::unknown
                            ? QStringLiteral("Not available until a project in a git work tree is open")
                            : QStringLiteral("The symbols changed since the base revision, and what they reach"));
    revisionCaption_->setVisible(showsChanges());
    revision_->setVisible(showsChanges());
    if (!revision_->hasFocus())
        revision_->setText(store_.workingChangesRevision() == QLatin1String("HEAD") ? QString()
                                                                                     : store_.workingChangesRevision());
}

// The rows of the last report; the header says where the computation stands.
void ImpactPanel::refreshChanges() {
    using Kind = WorkingChangesState::Kind;
    if (tree_->model() != changesModel_) tree_->setModel(changesModel_);
    const OptionalChangesReport& report = store_.workingChanges();
    if (report && store_.ir()) changesModel_->setReport(*report, *store_.ir());
    else changesModel_->clear();
    tree_->expandAll();
    const QString base = store_.workingChangesRevision();
    // The base stands in the field beside the picker.
    target_->setFullText(QStringLiteral("Working changes"));
    const WorkingChangesState& state = store_.workingChangesState();
    QString detail;
    if (state.kind == Kind::failed) {
        detail = state.message;
    } else if (report) {
        const std::size_t changed = report->changed.size(), reached = report->reachedCount();
        if (changed == 0) {
            detail = QStringLiteral("No changed symbols");
        } else {
            detail = QStringLiteral("%1 changed %2 %3 %4 on %5 %6")
                         .arg(changed)
                         .arg(changed == 1 ? QStringLiteral("symbol reaches") : QStringLiteral("symbols reach"))
                         .arg(reached)
                         .arg(reached == 1 ? QStringLiteral("symbol") : QStringLiteral("symbols"))
                         .arg(report->reached.size())
                         .arg(report->reached.size() == 1 ? QStringLiteral("level") : QStringLiteral("levels"));
        }
        if (state.kind == Kind::computing) detail += QStringLiteral(" — updating…");
    } else {
        detail = QStringLiteral("Comparing with %1…").arg(base);
    }
    summary_->setFullText(detail);
    copyMarkdown_->setEnabled(report.has_value());
    copyText_->setEnabled(report.has_value());
}

void ImpactPanel::reveal(const std::string& symbolId, Group group) {
    revealId_ = symbolId;
    revealGroup_ = group;
    if (!refreshPending_) applyReveal();
}

void ImpactPanel::applyReveal() {
    if (showsChanges() || revealId_.empty() || model_->reach().targetId != revealId_) return;
    revealId_.clear();
    for (int group = 0; group < model_->groupCount(); ++group) {
        const bool callees = model_->rowIndex(group).data(ImpactReachModel::LevelRole).toInt() == 0;
        if (callees != (revealGroup_ == Group::callees)) continue;
        tree_->setCurrentIndex(model_->rowIndex(group, 0));
        tree_->scrollTo(model_->rowIndex(group), QAbstractItemView::PositionAtTop);
        tree_->setFocus();
        return;
    }
}

void ImpactPanel::showContextMenu(const QPoint& viewportPos) {
    const std::string id = idAt(viewportPos);
    const QPoint global = tree_->viewport()->mapToGlobal(viewportPos);
    if (!id.empty()) {
        emit symbolMenuRequested(QString::fromStdString(id), global);
        return;
    }
    auto* menu = new QMenu(tree_);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addActions(tree_->actions());
    menu->popup(global);
}

void ImpactPanel::choose(const std::string& id) {
    QStringList toward;
    if (store_.ir() && !showsChanges())
        for (const std::string& closer : nextTowardTarget(model_->reach(), *store_.ir(), id))
            toward.append(QString::fromStdString(closer));
    emit rowChosen(QString::fromStdString(id), toward);
    selectInStore(id);
}

void ImpactPanel::selectInStore(const std::string& id) {
    postToNextTurn(this, [this, id] { store_.select(id); });
}

bool ImpactPanel::withinDoubleClick() const {
    return sincePress_.isValid() && sincePress_.elapsed() < QApplication::styleHints()->mouseDoubleClickInterval();
}

// Both models give a row's id under IdRole and nothing for a group.
std::string ImpactPanel::idAt(const QPoint& viewportPos) const {
    return tree_->indexAt(viewportPos).data(ImpactReachModel::IdRole).toString().toStdString();
}

bool ImpactPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == tree_->viewport()) return handleViewportMouse(event);
    if (watched == tree_ && event->type() == QEvent::KeyPress) return handleTreeKey(event);
    return QWidget::eventFilter(watched, event);
}

bool ImpactPanel::handleViewportMouse(QEvent* event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease && type != QEvent::MouseButtonDblClick)
        return false;
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() != Qt::LeftButton) return false;
    const QPoint pos = mouse->position().toPoint();
    switch (type) {
        case QEvent::MouseButtonPress:
            secondPress_ =
                withinDoubleClick() && (pos - pressedAt_).manhattanLength() < QApplication::startDragDistance();
            if (!secondPress_) {
                pressedId_ = idAt(pos);
                pressedAt_ = pos;
                sincePress_.start();
            }
            return false;
        case QEvent::MouseButtonRelease:
            // The release of a double click's second press selects nothing: the rows may
            // already show the first press's symbol's reach.
            if (!secondPress_ && !pressedId_.empty() && idAt(pos) == pressedId_) choose(pressedId_);
            return false;
        default: {
            // Without a first press just before (a synthesised double click) the row under
            // the pointer is meant.
            const std::string id = withinDoubleClick() ? pressedId_ : idAt(pos);
            if (id.empty()) return false;  // a group header: the view expands or collapses it
            emit openCodeRequested(QString::fromStdString(id));
            sincePress_.invalidate();
            return true;
        }
    }
}

bool ImpactPanel::handleTreeKey(QEvent* event) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    const QString id = tree_->currentIndex().data(ImpactReachModel::IdRole).toString();
    if (id.isEmpty()) return false;
    if (key == Qt::Key_Space) {
        choose(id.toStdString());
        return true;
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        emit openCodeRequested(id);
        return true;
    }
    return false;
}

}  // namespace vantrel
