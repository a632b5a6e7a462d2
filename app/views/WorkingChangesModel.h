// The rows of the impact panel's Working Changes mode as a two-level tree: "Changed · N"
// with every changed symbol (added ones first, then modified, then removed; each run by
// file and line), then one group per level of what they reach ("Level 1 · 4"), each by
// file and line. Roles are ImpactReachModel's, so one delegate draws both; a changed
// row's ChangeRole says how it changed, and the Changed group's level is kChangedLevel.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/views/ImpactReachModel.h"
#include "core/changes/ChangesReport.h"
#include "core/impact/ImpactReach.h"

namespace vantrel {

struct ChangeRow {
    ReachRow row;
    std::optional<ChangeKind> change;  // set in the Changed group only
    bool operator==(const ChangeRow&) const = default;
};

class WorkingChangesModel : public GroupedTreeModel {
    Q_OBJECT

public:
    static constexpr int ChangeRole = ImpactReachModel::LevelRole + 1;
    static constexpr int kChangedLevel = -1;

    using GroupedTreeModel::GroupedTreeModel;

    // Names, kinds and lines come from `current`; a removed symbol's from what its id tells.
    void setReport(const ChangesReport& report, const ProjectIR& current);
    void clear();

    int groupCount() const override { return static_cast<int>(groups_.size()); }
    int groupSize(int group) const override;
    QString groupTitle(int group) const;
    int groupLevel(int group) const { return groups_.at(static_cast<std::size_t>(group)).level; }
    const std::vector<ChangeRow>& groupRows(int group) const { return groups_.at(static_cast<std::size_t>(group)).rows; }
    const ChangeRow* rowAt(const QModelIndex& index) const;

    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Group {
        int level = 0;
        std::vector<ChangeRow> rows;
    };
    std::vector<Group> groups_;
};

// "added", "modified", "removed".
QString changeMark(ChangeKind change);

}  // namespace vantrel
