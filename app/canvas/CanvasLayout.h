// Where each symbol stands on the canvas, in view points before pan and zoom.
#pragma once

#include <QPointF>
#include <QSizeF>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/impact/BlastRadius.h"
#include "core/layout/FocusedLayout.h"
#include "core/layout/GraphLayout.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// Symbol id (or, around a selection, any id of its rings) to its place.
using NodePlaces = std::map<std::string, QPointF>;

// What the rings around a selection are made of.
struct SelectionFocus {
    std::string selectedId;
    const ImpactLevels& impactLevels;
    const IdSet& downstreamContext;
};

// The radii of the rings for a view whose shorter side is `shorterSide`.
struct RingRadii {
    double level1 = 0;
    double level2 = 0;
    double level3 = 0;
    double downstream = 0;
    double outer = 0;
};
RingRadii ringRadii(double shorterSide);

// Without a focus, the store's base layout (units of the shorter side around the
// origin) scaled around `center`. With one, the selection at `center`, levels 1 to 3
// and the downstream context on rings of their own, and every other symbol on the
// outer ring; each ring's list in ascending id order, and an id keeps the first place
// it was given (the selection first, then the rings in that order).
NodePlaces layoutPositions(const ProjectIR& ir, const NodePositions& basePositions, QPointF center, QSizeF size,
                           const std::optional<SelectionFocus>& focus);

// How far right of the view's centre the focused layout's selection stands, so the view
// shows most of it. The layout spans from its leftmost node (less a node's radius, 20) to
// its rightmost one's name (plus a column, at least the selection's own): if that fits
// the view's width it is centred; otherwise its right end is kept 10 points inside the
// view, but never so far right that the selection stands less than 330 points from the
// view's left side (its direct callers in sight).
double focusedShift(const std::vector<FocusedNode>& nodes, double viewWidth);

// How far below the view's centre the focused layout's selection stands, so that no node
// lies under the legend, which takes the top `reserved` points of the view. The layout
// spans from its top node to its bottom one (each less or plus a node's room, 26): when
// that fits the height below the legend it is centred there; otherwise the selection is, so
// that it stays in sight with the rows nearest it (the rest is reached by panning).
double focusedDrop(const std::vector<FocusedNode>& nodes, double viewHeight, double reserved);

}  // namespace vantrel
