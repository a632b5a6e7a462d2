#include "app/views/WorkingChangesModel.h"

#include <algorithm>

namespace vantrel {

namespace {

int changeOrder(const std::optional<ChangeKind>& change) { return change ? static_cast<int>(*change) : 3; }

}  // namespace

QString changeMark(ChangeKind change) { return QString::fromUtf8(rawValue(change)); }

void WorkingChangesModel::setReport(const ChangesReport& report, const ProjectIR& current) {
    beginResetModel();
    groups_.clear();
    Group changed{kChangedLevel, {}};
    for (const ReportedSymbol& symbol : report.changed) {
        ChangeRow row{reachRow(symbol.id, current), symbol.change};
        if (!row.row.line) row.row.line = symbol.line;  // a removed symbol's line at the base
        changed.rows.push_back(std::move(row));
    }
    std::sort(changed.rows.begin(), changed.rows.end(), [](const ChangeRow& a, const ChangeRow& b) {
        if (changeOrder(a.change) != changeOrder(b.change)) return changeOrder(a.change) < changeOrder(b.change);
        return reachRowBefore(a.row, b.row);
    });
    if (!changed.rows.empty()) groups_.push_back(std::move(changed));
    for (const auto& [level, symbols] : report.reached) {
        Group group{level, {}};
        for (const ReportedSymbol& symbol : symbols) {
            ChangeRow row{reachRow(symbol.id, current), std::nullopt};
            if (!row.row.line) row.row.line = symbol.line;
            group.rows.push_back(std::move(row));
        }
        std::sort(group.rows.begin(), group.rows.end(),
                  [](const ChangeRow& a, const ChangeRow& b) { return reachRowBefore(a.row, b.row); });
        if (!group.rows.empty()) groups_.push_back(std::move(group));
    }
    endResetModel();
}

void WorkingChangesModel::clear() {
    beginResetModel();
    groups_.clear();
    endResetModel();
}

QString WorkingChangesModel::groupTitle(int group) const {
    const Group& g = groups_.at(static_cast<std::size_t>(group));
    const QString name = g.level == kChangedLevel ? QStringLiteral("Changed") : QStringLiteral("Level %1").arg(g.level);
    return name + QStringLiteral(" \u00b7 ") + QString::number(g.rows.size());
}

int WorkingChangesModel::groupSize(int group) const {
    return static_cast<int>(groups_.at(static_cast<std::size_t>(group)).rows.size());
}

const ChangeRow* WorkingChangesModel::rowAt(const QModelIndex& index) const {
    auto group = groupOfRow(index);
    if (!group) return nullptr;
    return &groups_.at(static_cast<std::size_t>(*group)).rows.at(static_cast<std::size_t>(index.row()));
}

QVariant WorkingChangesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const ChangeRow* row = rowAt(index);
    if (role == ImpactReachModel::IsGroupRole) return row == nullptr;
    if (!row) {
        if (role == Qt::DisplayRole) return groupTitle(index.row());
        if (role == ImpactReachModel::LevelRole) return groupLevel(index.row());
        return {};
    }
    switch (role) {
        case Qt::DisplayRole: return QString::fromStdString(row->row.name);
        case Qt::ToolTipRole:
        case ImpactReachModel::IdRole: return QString::fromStdString(row->row.id);
        case ImpactReachModel::KindTextRole: return row->row.kind ? QString::fromUtf8(rawValue(*row->row.kind)) : QString();
        case ImpactReachModel::PlaceRole: {
            QString place = QString::fromStdString(row->row.file);
            return row->row.line ? place + QLatin1Char(':') + QString::number(*row->row.line) : place;
        }
        case ChangeRole: return row->change ? changeMark(*row->change) : QString();
        default: return {};
    }
}

}  // namespace vantrel
