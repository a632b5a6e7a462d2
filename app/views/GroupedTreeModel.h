// The tree plumbing of the panels' grouped lists: groups at the top level, their rows
// beneath, one column. A row's index carries its group's number plus one, a group's
// carries 0. Subclasses say how many groups and rows there are, and what they show.
#pragma once

#include <QAbstractItemModel>
#include <optional>

namespace vantrel {

class GroupedTreeModel : public QAbstractItemModel {
public:
    using QAbstractItemModel::QAbstractItemModel;

    virtual int groupCount() const = 0;
    virtual int groupSize(int group) const = 0;

    // The index of `row` of `group`; of the group itself when `row` is absent.
    QModelIndex rowIndex(int group, std::optional<int> row = std::nullopt) const;
    // The group a row belongs to; nothing for a group or an invalid index.
    static std::optional<int> groupOfRow(const QModelIndex& index);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
};

}  // namespace vantrel
