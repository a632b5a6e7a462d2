// The hover tooltip: its texts and where it stands.
#pragma once

#include <QPointF>
#include <QSizeF>
#include <QString>

#include "core/model/ProjectIR.h"

namespace vantrel {

struct TooltipText {
    QString title;     // the short name
    QString kind;      // "function", "method", "component" or "class"
    QString filePath;  // shortened to 45 characters at most
};

TooltipText tooltipText(const Symbol& symbol);

// A path of more than 44 characters becomes its first 22, "…" and its last 22.
QString shortenedTooltipPath(const QString& path);

// The tooltip's centre for a node at screen point `node` with radius `radius`: above the
// node, kept 140 points from the sides (the right limit winning in a narrow view), 34
// from the top and 24 from the bottom.
QPointF tooltipCenter(QPointF node, double radius, QSizeF viewSize);

}  // namespace vantrel
