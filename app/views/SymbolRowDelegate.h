// Draws one symbol row: the kind in a frame 78 wide, a dot of diameter 8 in the row's
// tone, then the symbol's name in the row's tone and font, whole, and its file in the
// secondary colour, elided from the front when the row is narrow (NameFirstLine.h).
#pragma once

#include <QStyledItemDelegate>

#include "app/views/NameFirstLine.h"

namespace vantrel {

class SymbolRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Where the name and the file go in a row of `option`'s rectangle and font.
    static NameFirstLine layoutText(const QStyleOptionViewItem& option, const QModelIndex& index);
};

}  // namespace vantrel
