#include "app/views/GroupedTreeModel.h"

namespace vantrel {

namespace {
constexpr quintptr kGroupTag = 0;
}  // namespace

QModelIndex GroupedTreeModel::rowIndex(int group, std::optional<int> row) const {
    QModelIndex groupIndex = index(group, 0);
    return row ? index(*row, 0, groupIndex) : groupIndex;
}

std::optional<int> GroupedTreeModel::groupOfRow(const QModelIndex& index) {
    if (!index.isValid() || index.internalId() == kGroupTag) return std::nullopt;
    return static_cast<int>(index.internalId() - 1);
}

QModelIndex GroupedTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) return {};
    if (!parent.isValid()) return row < groupCount() ? createIndex(row, 0, kGroupTag) : QModelIndex();
    if (parent.internalId() != kGroupTag || row >= rowCount(parent)) return {};
    return createIndex(row, 0, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex GroupedTreeModel::parent(const QModelIndex& child) const {
    auto group = groupOfRow(child);
    return group ? createIndex(*group, 0, kGroupTag) : QModelIndex();
}

int GroupedTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return groupCount();
    if (parent.internalId() != kGroupTag) return 0;
    return groupSize(parent.row());
}

int GroupedTreeModel::columnCount(const QModelIndex&) const { return 1; }

}  // namespace vantrel
