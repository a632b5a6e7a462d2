// One line of a row that names a symbol: the name first, whole, in the row's main font,
// then the secondary texts after it (kind, path, place) in the secondary colour. Only
// the secondary texts give way when the row is narrow, so a long path never cuts the
// name; the name is elided only when it alone is wider than the row.
#pragma once

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>
#include <QStringList>
#include <vector>

class QFontMetrics;
class QPainter;

namespace vantrel {

struct PlacedText {
    QString text;  // as drawn, possibly elided
    QRect rect;
};

struct NameFirstLine {
    PlacedText name;
    std::vector<PlacedText> details;  // those that got any room, in their order
};

// Gap between the name and each secondary text.
constexpr int kNameFirstSpacing = 8;

// Lays `name` and then `details` out left to right in `bounds`. Every detail but the last
// is kept whole while it fits, else elided at its end; the last takes what is left,
// elided by `lastElide` (the front keeps a path's file name in view).
NameFirstLine layoutNameFirst(const QFontMetrics& nameMetrics, const QFontMetrics& detailMetrics, const QString& name,
                              const QStringList& details, const QRect& bounds, Qt::TextElideMode lastElide);

void paintNameFirst(QPainter& painter, const NameFirstLine& line, const QFont& nameFont, const QColor& nameColor,
                    const QFont& detailFont, const QColor& detailColor);

}  // namespace vantrel
