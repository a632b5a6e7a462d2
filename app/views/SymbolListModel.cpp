#include "app/views/SymbolListModel.h"

#include <algorithm>

#include "app/views/SymbolRows.h"

namespace vantrel {

SymbolListModel::SymbolListModel(const ProjectStore& store, QObject* parent)
    : QAbstractListModel(parent), store_(store) {}

void SymbolListModel::setIds(SymbolIdList ids) {
    if (ids == ids_) return;
    beginResetModel();
    ids_ = std::move(ids);
    endResetModel();
}

std::optional<int> SymbolListModel::rowOf(const std::string& id) const {
    auto found = std::lower_bound(ids_.begin(), ids_.end(), id);
    if (found == ids_.end() || *found != id) return std::nullopt;
    return static_cast<int>(found - ids_.begin());
}

void SymbolListModel::refreshTones() {
    if (!ids_.empty()) emit dataChanged(index(0), index(rowCount() - 1), {ToneRole});
}

int SymbolListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ids_.size());
}

QVariant SymbolListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const std::string& id = ids_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case Qt::DisplayRole:
        case Qt::ToolTipRole: return QString::fromStdString(id);
        case KindTextRole: {
            if (!store_.ir()) return {};
            auto symbol = store_.ir()->symbols.find(id);
            if (symbol == store_.ir()->symbols.end()) return {};
            return QString::fromUtf8(rawValue(symbol->second.kind));
        }
        case ToneRole: return static_cast<int>(rowTone(store_, id));
        case NameRole: {
            const auto pieces = splitId(id);
            return QString::fromUtf8(pieces.size() >= 2 ? pieces[1] : std::string_view(id));
        }
        case PathRole: return QString::fromUtf8(splitId(id).front());
        default: return {};
    }
}

}  // namespace vantrel
