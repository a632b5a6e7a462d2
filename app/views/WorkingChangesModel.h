// The rows of the impact panel's Working Changes mode as a two-level tree: "Changed · N"
// with every changed symbol (added ones first, then modified, then removed; each run by
// file and line), then one group per level of what they reach ("Level 1 · 4"), each by
// file and line. Roles are ImpactReachModel's, so one delegate draws both; a changed
// row's ChangeRole says how it changed, and the Changed group's level is kChangedLevel.
#pragma once

#include <QAbstractItemModel>
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

class WorkingChangesModel : public QAbstractItemModel {
    Q_OBJECT

public:
    static constexpr int ChangeRole = ImpactReachModel::LevelRole + 1;
    static constexpr int kChangedLevel = -1;

    using QAbstractItemModel::QAbstractItemModel;

    // Names, kinds and lines come from `current`; a removed symbol's from what its id tells.
    void setReport(const ChangesReport& report, const ProjectIR& current);
    void clear();

    int groupCount() const { return static_cast<int>(groups_.size()); }
    QString groupTitle(int group) const;
    int groupLevel(int group) const { return groups_.at(static_cast<std::size_t>(group)).level; }
    const std::vector<ChangeRow>& groupRows(int group) const { return groups_.at(static_cast<std::size_t>(group)).rows; }
    QModelIndex rowIndex(int group, std::optional<int> row = std::nullopt) const;
    const ChangeRow* rowAt(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
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
