// The rows of the sidebar's symbol list: one id per row, in ascending order, with the
// symbol's name, its file, its kind and its tone; the whole id is the tooltip. The list view asks only for the rows it
// draws, so tens of thousands of rows cost nothing until they are scrolled into view.
#pragma once

#include <QAbstractListModel>
#include <optional>

#include "app/state/ProjectStore.h"

namespace vantrel {

class SymbolListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { KindTextRole = Qt::UserRole + 1, ToneRole, NameRole, PathRole };

    explicit SymbolListModel(const ProjectStore& store, QObject* parent = nullptr);

    // Replaces the rows; a list equal to the current one changes nothing (no reset, so the
    // view keeps its current row and selection). `ids` must ascend.
    void setIds(SymbolIdList ids);
    const SymbolIdList& ids() const { return ids_; }
    std::optional<int> rowOf(const std::string& id) const;
    std::string idAt(int row) const { return ids_.at(static_cast<std::size_t>(row)); }

    // The selection or its impact changed: every row's tone may have.
    void refreshTones();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    const ProjectStore& store_;
    SymbolIdList ids_;
};

}  // namespace vantrel
