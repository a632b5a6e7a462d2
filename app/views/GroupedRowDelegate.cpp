#include "app/views/GroupedRowDelegate.h"

#include <QApplication>
#include <QHeaderView>
#include <QPainter>
#include <QTreeView>

#include "app/views/Appearance.h"
#include "app/views/NameFirstLine.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {

constexpr int kRowInset = 6;
constexpr int kDot = 8;

}  // namespace

void GroupedRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem background(option);
    initStyleOption(&background, index);
    background.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    painter->save();
    const QPalette& palette = option.palette;
    const bool selected = option.state & QStyle::State_Selected;
    const QColor main = palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    const QRect text = option.rect.adjusted(kRowInset, 0, -kRowInset, 0);
    if (isGroup(index)) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(CanvasPalette(palette).color(groupColor(index)));
        painter->drawEllipse(QRectF(text.left(), text.center().y() - kDot / 2.0 + 0.5, kDot, kDot));
        painter->setFont(textStyleFont(TextStyle::caption, true));
        painter->setPen(main);
        painter->drawText(text.adjusted(kDot + kRowInset, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                          index.data(Qt::DisplayRole).toString());
    } else {
        const QFont detailFont = textStyleFont(TextStyle::caption);
        const NameFirstLine line = layoutNameFirst(option.fontMetrics, QFontMetrics(detailFont),
                                                   index.data(Qt::DisplayRole).toString(), details(index), text,
                                                   Qt::ElideLeft);
        const QColor detail = selected ? withOpacity(main, 0.75) : palette.color(QPalette::PlaceholderText);
        paintNameFirst(*painter, line, option.font, main, detailFont, detail);
    }
    painter->restore();
}

QSize GroupedRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {200, option.fontMetrics.height() + 8};
}

void useGroupedRows(QTreeView* tree, GroupedRowDelegate* delegate) {
    delegate->setParent(tree);
    tree->setItemDelegate(delegate);
    tree->setHeaderHidden(true);
    tree->setUniformRowHeights(true);
    tree->setIndentation(14);
    tree->setFrameShape(QFrame::NoFrame);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);
    tree->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    tree->header()->setStretchLastSection(true);
}

}  // namespace vantrel
