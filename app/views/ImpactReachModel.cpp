#include "app/views/ImpactReachModel.h"

namespace vantrel {

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

int ImpactReachModel::groupSize(int group) const {
    return static_cast<int>(groups_.at(static_cast<std::size_t>(group)).rows->size());
}

const ReachRow* ImpactReachModel::rowAt(const QModelIndex& index) const {
    auto group = groupOfRow(index);
    if (!group) return nullptr;
    return &groups_.at(static_cast<std::size_t>(*group)).rows->at(static_cast<std::size_t>(index.row()));
}

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
