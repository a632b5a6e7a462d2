// The rows of the panels below the graph that group symbols (impact, changes): a group
// header in the semibold caption after a dot in the group's colour, and rows that name a
// symbol first (NameFirstLine) with their details after it in the secondary colour.
// A panel says which index is a group, its colour and a row's details.
#pragma once

#include <QStringList>
#include <QStyledItemDelegate>

#include "app/canvas/CanvasPalette.h"

class QTreeView;

namespace vantrel {

class GroupedRowDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    virtual bool isGroup(const QModelIndex& index) const = 0;
    virtual ColorRef groupColor(const QModelIndex& index) const = 0;
    // Kind, place and such; the last gives way from its front when the row is narrow.
    virtual QStringList details(const QModelIndex& index) const = 0;
};

// Gives `tree` the delegate (the tree takes it) and the panels' look: no header or frame,
// one row selected at a time, rows of one height, no horizontal scrolling.
void useGroupedRows(QTreeView* tree, GroupedRowDelegate* delegate);

}  // namespace vantrel
