// The shapes of the canvas: node outlines by kind, arrow heads, the bend of an edge,
// and rounded rectangles with continuous corners.
#pragma once

#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <cstddef>
#include <string_view>

#include "core/model/ProjectIR.h"

namespace vantrel {

// function: the inscribed ellipse; method: a diamond; component: a rectangle with
// continuous corners of radius 0.22 × width; classType: a flat-topped hexagon.
QPainterPath nodePath(SymbolKind kind, const QRectF& rect);

// The triangle with its tip at `tip`, pointing away from `from`, `size` long and
// 1.1 × `size` wide at its base.
QPainterPath arrowHeadPath(QPointF tip, QPointF from, double size);

// A rectangle whose corners ease into the sides (a smoothed rounded rectangle); the
// plain rounded rectangle when the sides are too short for that.
QPainterPath continuousRoundedRect(const QRectF& rect, double radius);

// The hash of an id that decides its edges' bends; stable within a run.
std::size_t edgeHash(std::string_view id);
// The signed sideways offset of an edge's control point: 10, 20 or 30 points, to the
// side that the combined hash of its ends picks.
double edgeBend(std::size_t fromHash, std::size_t toHash);
// The control point of the quadratic curve from `p` to `q`: the midpoint moved by `bend`
// along the left-hand normal of p→q.
QPointF edgeControlPoint(QPointF p, QPointF q, double bend);

}  // namespace vantrel
