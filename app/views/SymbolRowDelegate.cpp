#include "app/views/SymbolRowDelegate.h"

#include <QPainter>
#include <QPainterPath>

#include "app/canvas/CanvasPalette.h"
#include "app/views/SymbolListModel.h"
#include "app/views/SymbolRows.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {

constexpr int kInset = 8;
constexpr int kKindWidth = 78;
constexpr int kSpacing = 8;
constexpr int kDot = 8;

}  // namespace

void SymbolRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QPalette& palette = option.palette;
    QRect row = option.rect;
    if (option.state & QStyle::State_Selected) {
        // A soft highlight keeps the row's own colour readable on it.
        QPainterPath highlight;
        highlight.addRoundedRect(QRectF(row).adjusted(4, 1, -4, -1), 5, 5);
        painter->fillPath(highlight, CanvasPalette(palette).color(named(NamedColor::accentColor, 0.22)));
    }
    const auto tone = static_cast<RowTone>(index.data(SymbolListModel::ToneRole).toInt());
    const QColor color = toneColor(tone, palette);

    QRect kindRect(row.left() + kInset, row.top(), kKindWidth, row.height());
    painter->setFont(textStyleFont(TextStyle::caption2));
    painter->setPen(palette.color(QPalette::PlaceholderText));
    painter->drawText(kindRect, Qt::AlignLeft | Qt::AlignVCenter, index.data(SymbolListModel::KindTextRole).toString());

    const int dotLeft = kindRect.right() + 1 + kSpacing;
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawEllipse(QRectF(dotLeft, row.center().y() - kDot / 2.0 + 0.5, kDot, kDot));

    paintNameFirst(*painter, layoutText(option, index), option.font, color, option.font,
                   palette.color(QPalette::PlaceholderText));
    painter->restore();
}

NameFirstLine SymbolRowDelegate::layoutText(const QStyleOptionViewItem& option, const QModelIndex& index) {
    const QRect row = option.rect;
    const int textLeft = row.left() + kInset + kKindWidth + kSpacing * 2 + kDot;
    const QRect bounds(textLeft, row.top(), row.right() - kInset - textLeft + 1, row.height());
    return layoutNameFirst(option.fontMetrics, option.fontMetrics, index.data(SymbolListModel::NameRole).toString(),
                           {index.data(SymbolListModel::PathRole).toString()}, bounds, Qt::ElideLeft);
}

QSize SymbolRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {kInset * 2 + kKindWidth + kSpacing * 2 + kDot + 120, option.fontMetrics.height() + 10};
}

}  // namespace vantrel
