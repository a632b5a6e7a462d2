// The changes panel: while a baseline is loaded, what differs from it, by name. One
// group per kind of change that has any ("Added symbols · 2", "Removed edges · 1", in a
// fixed order), each row the symbol's name (for an edge "caller → callee") first, then
// file:line and the level at which it touches the selection's reach (DiffLists.h). The
// panel hides itself without a baseline.
//
// A click on a row selects its symbol (for an edge its caller, or its callee when the
// caller is gone) on the next turn of the event loop; a removed symbol selects nothing.
// "Unload Baseline" forgets the baseline through the store.
#pragma once

#include <QWidget>

#include "app/state/ProjectStore.h"
#include "core/impact/DiffLists.h"

class QPushButton;
class QTreeWidget;

namespace vantrel {

class ElidedLabel;

class ChangesPanel : public QWidget {
    Q_OBJECT

public:
    enum Role { IdRole = Qt::UserRole + 1, DetailsRole, IsGroupRole, GroupColorRole };

    explicit ChangesPanel(ProjectStore& store, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return tree_; }
    QPushButton* unloadButton() const { return unload_; }
    QString summaryText() const;
    const DiffLists& lists() const { return lists_; }

private:
    void scheduleRefresh();
    void refresh();

    ProjectStore& store_;
    bool refreshPending_ = false;
    DiffLists lists_;
    ElidedLabel* summary_;
    QPushButton* unload_;
    QTreeWidget* tree_;
};

}  // namespace vantrel
