#include "app/views/NameFirstLine.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

namespace vantrel {

NameFirstLine layoutNameFirst(const QFontMetrics& nameMetrics, const QFontMetrics& detailMetrics, const QString& name,
                              const QStringList& details, const QRect& bounds, Qt::TextElideMode lastElide) {
    NameFirstLine line;
    const QString shownName = nameMetrics.elidedText(name, Qt::ElideRight, bounds.width());
    const int nameWidth = std::min(nameMetrics.horizontalAdvance(shownName), bounds.width());
    line.name = {shownName, QRect(bounds.left(), bounds.top(), nameWidth, bounds.height())};

    // Less room than an ellipsis and a letter says nothing; such a text is left out.
    const int leastUseful = detailMetrics.horizontalAdvance(QStringLiteral("\u2026m"));
    int left = bounds.left() + nameWidth;
    for (qsizetype i = 0; i < details.size(); ++i) {
        left += kNameFirstSpacing;
        const int room = bounds.right() + 1 - left;
        if (room < leastUseful) break;
        const bool last = i + 1 == details.size();
        const QString shown = detailMetrics.elidedText(details[i], last ? lastElide : Qt::ElideRight, room);
        const int width = std::min(detailMetrics.horizontalAdvance(shown), room);
        line.details.push_back({shown, QRect(left, bounds.top(), width, bounds.height())});
        left += width;
    }
    return line;
}

void paintNameFirst(QPainter& painter, const NameFirstLine& line, const QFont& nameFont, const QColor& nameColor,
                    const QFont& detailFont, const QColor& detailColor) {
    painter.setFont(nameFont);
    painter.setPen(nameColor);
    painter.drawText(line.name.rect, Qt::AlignLeft | Qt::AlignVCenter, line.name.text);
    painter.setFont(detailFont);
    painter.setPen(detailColor);
    for (const PlacedText& detail : line.details)
        painter.drawText(detail.rect, Qt::AlignLeft | Qt::AlignVCenter, detail.text);
}

}  // namespace vantrel
