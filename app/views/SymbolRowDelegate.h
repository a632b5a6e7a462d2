// Draws one symbol row: the kind in a frame 78 wide, a dot of diameter 8 and the whole
// id, both in the row's tone, 8 apart, the id truncated in the middle.
#pragma once

#include <QStyledItemDelegate>

namespace vantrel {

class SymbolRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace vantrel
