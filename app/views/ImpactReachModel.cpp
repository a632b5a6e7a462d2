#include "app/views/ImpactReachModel.h"

namespace vantrel {

namespace {

// A group's own index carries 0; a row's carries its group's number plus one.
constexpr quintptr kGroupTag = 0;

}  // namespace

void ImpactReachModel::setReach(ImpactReach reach) {
    beginResetModel();
    reach_ = std::move(reach);
    groups_.clear();
    for (const auto& [level, rows] : reach_.callers) groups_.push_back({level, &rows});
    if (!reach_.callees.empty()) groups_.push_back({0, &reach_.callees});
    endResetModel();
}

QString ImpactReachModel::groupTitle(int group) const {
    const Group& g = groups_.at(static_cast<std::size_t>(group));
    const QString name = g.level == 0 ? QStringLiteral("Callees") : QStringLiteral("Level %1").arg(g.level);
    return name + QStringLiteral(" \u00b7 ") + QString::number(g.rows->size());
}

QModelIndex ImpactReachModel::rowIndex(int group, std::optional<int> row) const {
    QModelIndex groupIndex = index(group, 0);
    return row ? index(*row, 0, groupIndex) : groupIndex;
}

const ReachRow* ImpactReachModel::rowAt(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() == kGroupTag) return nullptr;
    const Group& group = groups_.at(static_cast<std::size_t>(index.internalId() - 1));
    return &group.rows->at(static_cast<std::size_t>(index.row()));
}

QModelIndex ImpactReachModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) return {};
    if (!parent.isValid()) return row < groupCount() ? createIndex(row, 0, kGroupTag) : QModelIndex();
    if (parent.internalId() != kGroupTag || row >= rowCount(parent)) return {};
    return createIndex(row, 0, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex ImpactReachModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == kGroupTag) return {};
    return createIndex(static_cast<int>(child.internalId() - 1), 0, kGroupTag);
}

int ImpactReachModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return groupCount();
    if (parent.internalId() != kGroupTag) return 0;
    return static_cast<int>(groups_.at(static_cast<std::size_t>(parent.row())).rows->size());
}

int ImpactReachModel::columnCount(const QModelIndex&) const { return 1; }

QVariant ImpactReachModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const ReachRow* row = rowAt(index);
    if (role == IsGroupRole) return row == nullptr;
    if (!row) {
        if (role == Qt::DisplayRole) return groupTitle(index.row());
        if (role == LevelRole) return groups_.at(static_cast<std::size_t>(index.row())).level;
        return {};
    }
    switch (role) {
        case Qt::DisplayRole: return QString::fromStdString(row->name);
        case Qt::ToolTipRole:
        case IdRole: return QString::fromStdString(row->id);
        case KindTextRole: return row->kind ? QString::fromUtf8(rawValue(*row->kind)) : QString();
        case PlaceRole: {
            QString place = QString::fromStdString(row->file);
            return row->line ? place + QLatin1Char(':') + QString::number(*row->line) : place;
        }
        default: return {};
    }
}

}  // namespace vantrel
