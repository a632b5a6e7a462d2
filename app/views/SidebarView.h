// The left column of the main window, titled "Symbols": the controls that narrow the
// list and set how far impact reaches, the diff summary, the diagnostics of the last
// scan, the symbol list that drives the selection, and "Select Project…". A row's
// context menu is asked for through symbolMenuRequested.
//
// Its one state of its own is the switch "Filter: impacted only"; everything else is
// read from the store and written back through store operations. The list's selection,
// the stepper, the kind picker, "Diff mode" and "All Kinds" write on the next turn of
// the event loop, never while the views react to a change.
#pragma once

#include <QColor>
#include <QWidget>

#include "app/state/ProjectStore.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QHBoxLayout;

namespace vantrel {

class DiagnosticsGroup;
class SegmentedPicker;
class Stepper;
class SymbolListModel;

class SidebarView : public QWidget {
    Q_OBJECT

public:
    explicit SidebarView(ProjectStore& store, QWidget* parent = nullptr);

    // The ids that stay in the list under "Filter: impacted only", in their order.
    SymbolIdList filteredForImpact(SymbolIdList ids) const;
    QColor rowColor(const std::string& id) const;
    bool showOnlyAffected() const { return showOnlyAffected_; }

    QListView* symbolList() const { return list_; }
    const SymbolListModel& rows() const { return *model_; }

signals:
    // A right click (or the menu key) on a row.
    void symbolMenuRequested(const QString& symbolId, const QPoint& globalPos);

private:
    QWidget* buildControls();
    QWidget* buildFooter();
    void connectStore();

    void scheduleRowsRefresh();
    void refreshRows();
    void refreshSelectionDependents();
    void showSelectionInList();
    void refreshGraphDependents();
    void refreshDiffSummary();
    void refreshDeltaCounts();
    void refreshKindPicker();
    void refreshSymbolCount();
    void onListSelectionChanged();

    ProjectStore& store_;
    bool showOnlyAffected_ = false;
    bool rowsRefreshPending_ = false;
    bool showingSelection_ = false;

    QLineEdit* search_;
    QCheckBox* impactedOnly_;
    Stepper* maxDepth_;
    QWidget* diffRow_;
    QCheckBox* diffMode_;
    QPushButton* loadBaseline_;
    QLabel* diffSummary_;
    QWidget* deltaRow_;
    QHBoxLayout* deltaLayout_;
    DiagnosticsGroup* diagnostics_;

public:
    DiagnosticsGroup* diagnostics() const { return diagnostics_; }
    SegmentedPicker* kindPicker_;
    QPushButton* allKinds_;
    QLabel* symbolCount_;
    QListView* list_;
    SymbolListModel* model_;
};

}  // namespace vantrel
