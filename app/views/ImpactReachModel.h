// The rows of the impact panel as a two-level tree: one group per level of callers
// ("Level 2 · 14"), then "Callees · 3" when there are callees, each group holding its
// symbols in the order of the reach (file, then line). The view asks only for the rows
// it draws, so a reach of thousands costs little more than a few.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/views/GroupedTreeModel.h"
#include "core/impact/ImpactReach.h"

namespace vantrel {

class ImpactReachModel : public GroupedTreeModel {
    Q_OBJECT

public:
    // Rows: DisplayRole the name, ToolTipRole the whole id. Groups: DisplayRole the title,
    // LevelRole the level (0 for the callees).
    enum Role { IdRole = Qt::UserRole + 1, KindTextRole, PlaceRole, IsGroupRole, LevelRole };

    using GroupedTreeModel::GroupedTreeModel;

    void setReach(ImpactReach reach);
    const ImpactReach& reach() const { return reach_; }

    int groupCount() const override { return static_cast<int>(groups_.size()); }
    int groupSize(int group) const override;
    QString groupTitle(int group) const;
    // The symbol of a row; nothing for a group or an invalid index.
    const ReachRow* rowAt(const QModelIndex& index) const;

    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Group {
        int level = 0;  // 0: the callees
        const std::vector<ReachRow>* rows = nullptr;
    };

    ImpactReach reach_;
    std::vector<Group> groups_;  // point into reach_
};

}  // namespace vantrel
