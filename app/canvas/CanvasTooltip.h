// The hover tooltip: its texts and where it stands.
#pragma once

#include <QPointF>
#include <QSizeF>
#include <QString>
#include <cstdint>

#include "core/model/ProjectIR.h"

namespace vantrel {

struct TooltipText {
    QString title;     // the short name
    QString kind;      // "function", "method", "component" or "class"
    QString filePath;  // "path:line", cut from the front (see tooltipPath)
};

TooltipText tooltipText(const Symbol& symbol);

inline constexpr int kTooltipPathLength = 44;  // characters, as the reader sees them

// "path:line". Longer than kTooltipPathLength, the front gives way: "…" and the rest
// from the first folder boundary that leaves it short enough; the file's name and the
// line always stay, even when they alone are longer.
QString tooltipPath(const QString& path, std::int64_t line);

// The tooltip's centre for a node at screen point `node` with radius `radius`: above the
// node, kept 140 points from the sides (the right limit winning in a narrow view), 34
// from the top and 24 from the bottom.
QPointF tooltipCenter(QPointF node, double radius, QSizeF viewSize);

}  // namespace vantrel
