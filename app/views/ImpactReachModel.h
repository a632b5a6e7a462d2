// The rows of the impact panel as a two-level tree: one group per level of callers
// ("Level 2 · 14"), then "Callees · 3" when there are callees, each group holding its
// symbols in the order of the reach (file, then line). The view asks only for the rows
// it draws, so a reach of thousands costs little more than a few.
#pragma once

#include <QAbstractItemModel>
#include <optional>
#include <string>
#include <vector>

#include "core/impact/ImpactReach.h"

namespace vantrel {

class ImpactReachModel : public QAbstractItemModel {
    Q_OBJECT

public:
    // Rows: DisplayRole the name, ToolTipRole the whole id. Groups: DisplayRole the title,
    // LevelRole the level (0 for the callees).
    enum Role { IdRole = Qt::UserRole + 1, KindTextRole, PlaceRole, IsGroupRole, LevelRole };

    using QAbstractItemModel::QAbstractItemModel;

    void setReach(ImpactReach reach);
    const ImpactReach& reach() const { return reach_; }

    int groupCount() const { return static_cast<int>(groups_.size()); }
    QString groupTitle(int group) const;
    // The index of `row` of `group`; of the group itself when `row` is absent.
    QModelIndex rowIndex(int group, std::optional<int> row = std::nullopt) const;
    // The symbol of a row; nothing for a group or an invalid index.
    const ReachRow* rowAt(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
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
