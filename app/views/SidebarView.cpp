#include "app/views/SidebarView.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>
#include <array>

#include "app/views/DeferredCall.h"
#include "app/views/DiagnosticsGroup.h"
#include "app/views/Divider.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/Stepper.h"
#include "app/views/SymbolListModel.h"
#include "app/views/SymbolRowDelegate.h"
#include "app/views/SymbolRows.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {

constexpr int kPadding = 12;
constexpr int kRowSpacing = 10;
constexpr std::array<SymbolKind, 3> kPickerKinds{SymbolKind::function, SymbolKind::component, SymbolKind::method};

QPushButton* smallButton(const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    applyTextStyle(button, TextStyle::caption);
    return button;
}

QLabel* oneLineCaption2(QWidget* parent) {
    QLabel* label = makeLabel({}, TextStyle::caption2, true, parent);
    label->setWordWrap(false);
    return label;
}

}  // namespace

SidebarView::SidebarView(ProjectStore& store, QWidget* parent) : QWidget(parent), store_(store) {
    setWindowTitle(QStringLiteral("Symbols"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildControls());
    layout->addWidget(makeDivider(Qt::Horizontal, this));

    model_ = new SymbolListModel(store_, this);
    list_ = new QListView(this);
    list_->setObjectName(QStringLiteral("symbolList"));
    list_->setModel(model_);
    list_->setItemDelegate(new SymbolRowDelegate(list_));
    list_->setUniformItemSizes(true);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setTextElideMode(Qt::ElideMiddle);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list_, &QListView::customContextMenuRequested, this, [this](const QPoint& pos) {
        const QModelIndex index = list_->indexAt(pos);
        if (index.isValid())
            emit symbolMenuRequested(QString::fromStdString(model_->idAt(index.row())),
                                     list_->viewport()->mapToGlobal(pos));
    });
    layout->addWidget(list_, 1);
    layout->addWidget(makeDivider(Qt::Horizontal, this));
    layout->addWidget(buildFooter());

    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SidebarView::onListSelectionChanged);
    connect(model_, &QAbstractItemModel::modelReset, this, &SidebarView::showSelectionInList);
    connectStore();

    refreshRows();
    refreshSelectionDependents();
    refreshGraphDependents();
    refreshDiffSummary();
    refreshKindPicker();
    maxDepth_->setValue(static_cast<int>(store_.config().maxDepth));
}

QWidget* SidebarView::buildControls() {
    auto* controls = new QWidget(this);
    auto* column = new QVBoxLayout(controls);
    column->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    column->setSpacing(kRowSpacing);
    column->setAlignment(Qt::AlignTop | Qt::AlignLeft);

    column->addWidget(makeLabel(QStringLiteral("Symbols"), TextStyle::headline, false, controls));

    search_ = new QLineEdit(controls);
    search_->setObjectName(QStringLiteral("searchField"));
    search_->setPlaceholderText(QStringLiteral("Filter symbols\u2026"));
    search_->setClearButtonEnabled(true);
    search_->setAcceptDrops(false);  // a dropped folder belongs to the window
    column->addWidget(search_);
    connect(search_, &QLineEdit::textEdited, this, [this](const QString& text) { store_.setSearchText(text); });

    impactedOnly_ = new QCheckBox(QStringLiteral("Filter: impacted only"), controls);
    impactedOnly_->setObjectName(QStringLiteral("impactedOnlySwitch"));
    column->addWidget(impactedOnly_);
    connect(impactedOnly_, &QCheckBox::toggled, this, [this](bool on) {
        showOnlyAffected_ = on;
        refreshRows();
    });

    maxDepth_ = new Stepper(QStringLiteral("Max depth: %1"), 1, 12, controls);
    maxDepth_->setObjectName(QStringLiteral("maxDepthStepper"));
    column->addWidget(maxDepth_);
    connect(maxDepth_, &Stepper::stepped, this,
            [this](int value) { postToNextTurn(this, [this, value] { store_.updateMaxDepth(value); }); });

    diffRow_ = new QWidget(controls);
    auto* diffLayout = new QHBoxLayout(diffRow_);
    diffLayout->setContentsMargins(0, 0, 0, 0);
    diffLayout->setSpacing(kRowSpacing);
    diffMode_ = new QCheckBox(QStringLiteral("Diff mode"), diffRow_);
    diffMode_->setObjectName(QStringLiteral("diffModeSwitch"));
    loadBaseline_ = smallButton(QStringLiteral("Load baseline\u2026"), diffRow_);
    loadBaseline_->setObjectName(QStringLiteral("loadBaselineButton"));
    diffLayout->addWidget(diffMode_);
    diffLayout->addWidget(loadBaseline_);
    diffLayout->addStretch(1);
    column->addWidget(diffRow_);
    connect(diffMode_, &QCheckBox::clicked, this,
            [this](bool on) { postToNextTurn(this, [this, on] { store_.setDiffModeEnabled(on); }); });
    connect(loadBaseline_, &QPushButton::clicked, this, [this] { store_.chooseBaselineSnapshot(); });

    diffSummary_ = oneLineCaption2(controls);
    diffSummary_->setObjectName(QStringLiteral("diffSummary"));
    column->addWidget(diffSummary_);

    deltaRow_ = new QWidget(controls);
    deltaRow_->setObjectName(QStringLiteral("deltaRow"));
    deltaLayout_ = new QHBoxLayout(deltaRow_);
    deltaLayout_->setContentsMargins(0, 0, 0, 0);
    deltaLayout_->setSpacing(kRowSpacing);
    column->addWidget(deltaRow_);

    diagnostics_ = new DiagnosticsGroup(controls);
    diagnostics_->setObjectName(QStringLiteral("diagnostics"));
    column->addWidget(diagnostics_);

    kindPicker_ = new SegmentedPicker(
        QStringLiteral("Kind"), {QStringLiteral("Functions"), QStringLiteral("Components"), QStringLiteral("Methods")},
        controls);
    kindPicker_->setObjectName(QStringLiteral("kindPicker"));
    column->addWidget(kindPicker_);
    connect(kindPicker_, &SegmentedPicker::activated, this, [this](int index) {
        SymbolKind kind = kPickerKinds.at(static_cast<std::size_t>(index));
        postToNextTurn(this, [this, kind] { store_.setKindFilter(kind); });
    });

    auto* kindsRow = new QHBoxLayout;
    kindsRow->setSpacing(kRowSpacing);
    allKinds_ = smallButton(QStringLiteral("All Kinds"), controls);
    allKinds_->setObjectName(QStringLiteral("allKindsButton"));
    symbolCount_ = makeLabel({}, TextStyle::caption, true, controls);
    symbolCount_->setObjectName(QStringLiteral("symbolCount"));
    kindsRow->addWidget(allKinds_);
    kindsRow->addStretch(1);
    kindsRow->addWidget(symbolCount_);
    column->addLayout(kindsRow);
    connect(allKinds_, &QPushButton::clicked, this,
            [this] { postToNextTurn(this, [this] { store_.setKindFilter(std::nullopt); }); });
    return controls;
}

QWidget* SidebarView::buildFooter() {
    auto* footer = new QWidget(this);
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    auto* select = new QPushButton(QStringLiteral("Select Project\u2026"), footer);
    select->setObjectName(QStringLiteral("selectProjectButton"));
    row->addWidget(select);
    row->addStretch(1);
    connect(select, &QPushButton::clicked, this, [this] { store_.chooseProjectFolder(); });
    return footer;
}

void SidebarView::connectStore() {
    connect(&store_, &ProjectStore::irChanged, this, [this] {
        scheduleRowsRefresh();
        refreshGraphDependents();
    });
    connect(&store_, &ProjectStore::allSymbolIdsSortedChanged, this, &SidebarView::scheduleRowsRefresh);
    connect(&store_, &ProjectStore::scanStateChanged, this, &SidebarView::refreshSymbolCount);
    connect(&store_, &ProjectStore::searchTextChanged, this, [this] {
        if (search_->text() != store_.searchText()) search_->setText(store_.searchText());
        scheduleRowsRefresh();
    });
    connect(&store_, &ProjectStore::kindFilterChanged, this, [this] {
        refreshKindPicker();
        scheduleRowsRefresh();
    });
    connect(&store_, &ProjectStore::selectedSymbolIdChanged, this, &SidebarView::refreshSelectionDependents);
    connect(&store_, &ProjectStore::impactLevelsChanged, this, [this] {
        if (showOnlyAffected_) scheduleRowsRefresh();
        model_->refreshTones();
    });
    connect(&store_, &ProjectStore::configChanged, this, [this] {
        maxDepth_->setValue(static_cast<int>(store_.config().maxDepth));
        refreshDeltaCounts();
    });
    connect(&store_, &ProjectStore::diffModeEnabledChanged, this, [this] {
        diffMode_->setChecked(store_.diffModeEnabled());
        refreshDeltaCounts();
    });
    connect(&store_, &ProjectStore::diffResultChanged, this, &SidebarView::refreshDiffSummary);
    connect(&store_, &ProjectStore::baselineIRChanged, this, &SidebarView::refreshDeltaCounts);
}

SymbolIdList SidebarView::filteredForImpact(SymbolIdList ids) const {
    return vantrel::filteredForImpact(std::move(ids), showOnlyAffected_, store_);
}

QColor SidebarView::rowColor(const std::string& id) const { return toneColor(rowTone(store_, id), palette()); }

// A scan's result arrives as a burst of field changes; the list is rebuilt once for all.
void SidebarView::scheduleRowsRefresh() {
    if (rowsRefreshPending_) return;
    rowsRefreshPending_ = true;
    postToNextTurn(this, [this] {
        rowsRefreshPending_ = false;
        refreshRows();
    });
}

void SidebarView::refreshRows() {
    model_->setIds(filteredForImpact(store_.filteredSymbolIds()));
    showSelectionInList();
}

void SidebarView::refreshSelectionDependents() {
    const bool hasSelection = store_.selectedSymbolId().has_value();
    impactedOnly_->setEnabled(hasSelection);
    maxDepth_->setEnabled(hasSelection);
    if (showOnlyAffected_) scheduleRowsRefresh();
    model_->refreshTones();
    showSelectionInList();
    refreshDeltaCounts();
}

void SidebarView::showSelectionInList() {
    const OptionalSymbolId& selected = store_.selectedSymbolId();
    std::optional<int> row = selected ? model_->rowOf(*selected) : std::nullopt;
    QItemSelectionModel* selection = list_->selectionModel();
    showingSelection_ = true;
    if (row) {
        QModelIndex index = model_->index(*row);
        if (!selection->isSelected(index)) {
            selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
            list_->scrollTo(index);
        }
    } else {
        selection->clearSelection();
    }
    showingSelection_ = false;
}

void SidebarView::onListSelectionChanged() {
    if (showingSelection_) return;
    const QModelIndexList picked = list_->selectionModel()->selectedIndexes();
    if (picked.isEmpty()) return;  // the list cannot clear the selection
    std::string id = model_->idAt(picked.front().row());
    postToNextTurn(this, [this, id] { store_.select(id); });
}

void SidebarView::refreshGraphDependents() {
    const bool hasGraph = store_.ir().has_value();
    diffRow_->setEnabled(hasGraph);
    const bool hasDiagnostics = hasGraph && !store_.ir()->diagnostics.empty();
    diagnostics_->setVisible(hasDiagnostics);
    diagnostics_->setDiagnostics(hasDiagnostics ? store_.ir()->diagnostics : std::vector<ResolutionDiagnostic>{});
    refreshSymbolCount();
    refreshDeltaCounts();
}

void SidebarView::refreshDiffSummary() {
    const OptionalDiffResult& diff = store_.diffResult();
    diffSummary_->setVisible(diff.has_value());
    if (!diff) return;
    diffSummary_->setText(QStringLiteral("+%1/-%2 edges, +%3/-%4 symbols")
                              .arg(diff->addedEdges.size())
                              .arg(diff->removedEdges.size())
                              .arg(diff->addedSymbols.size())
                              .arg(diff->removedSymbols.size()));
}

void SidebarView::refreshDeltaCounts() {
    const std::vector<LevelDeltaCount> counts = store_.blastRadiusDeltaCountsForSelection();
    while (QLayoutItem* item = deltaLayout_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const LevelDeltaCount& count : counts) {
        QLabel* label = oneLineCaption2(deltaRow_);
        label->setText(QStringLiteral("L%1: +%2/-%3").arg(count.level).arg(count.added).arg(count.removed));
        deltaLayout_->addWidget(label);
    }
    deltaLayout_->addStretch(1);
    deltaRow_->setVisible(!counts.empty());
}

void SidebarView::refreshKindPicker() {
    const OptionalSymbolKind& kind = store_.kindFilter();
    int index = 0;  // "Functions" also stands for no filter (and for classes, which have no segment)
    for (std::size_t i = 0; i < kPickerKinds.size(); ++i)
        if (kind == kPickerKinds[i]) index = static_cast<int>(i);
    kindPicker_->setCurrentIndex(index);
}

void SidebarView::refreshSymbolCount() {
    const bool shown = store_.scanState().kind == ScanState::Kind::ready && store_.ir();
    symbolCount_->setVisible(shown);
    if (shown) symbolCount_->setText(QStringLiteral("%1 symbols").arg(store_.ir()->symbols.size()));
}

}  // namespace vantrel
