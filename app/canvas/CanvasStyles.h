// How edges and nodes look: pure functions of what a symbol is to the current selection.
#pragma once

#include <QString>
#include <optional>

#include "app/canvas/CanvasPalette.h"

namespace vantrel {

// What one id is to the current selection.
struct NodeRole {
    bool selected = false;
    std::optional<int> level;  // its impact level, if any
    bool downstream = false;   // in the selection's downstream context
    bool changed = false;      // changed in the working tree, while the Working Changes mode is on
    bool operator==(const NodeRole&) const = default;
};

struct EdgeStyle {
    ColorRef color;
    double lineWidth = 0.8;
    double opacity = 0.066;
    bool showArrow = false;
    double arrowSize = 6.5;
    bool dashed = false;
    bool operator==(const EdgeStyle&) const = default;
};

struct NodeStyle {
    ColorRef fill;
    ColorRef stroke;
    double lineWidth = 1.0;
    double opacity = 1.0;
    bool operator==(const NodeStyle&) const = default;
};

// The `edgeOpacity` preference limited to 0.3 to 1.0.
double clampedEdgeOpacity(double preference);

// What diff mode says of an edge: added since the baseline, or a call of the baseline
// between symbols that both still exist.
enum class EdgeChange { none, added, removed };

// The first rule that applies: an edge added since the baseline is purple, a hue no
// level and not the downstream uses; a removed one is dashed red; an edge from the
// selection into its downstream context is blue; any other is secondary, with an arrow
// when either end is the selection, on a level or downstream, its width by the nearer
// level of its ends and its opacity from the preference.
EdgeStyle edgeStyle(const NodeRole& from, const NodeRole& to, EdgeChange change, double edgeOpacityPreference);

// Selected red; levels 3, 2, 1 green, yellow, orange; downstream blue; then a search
// hit, the hovered node, and gray, dimmed while something else is selected. A changed
// symbol keeps that fill inside a thick teal outline and is never dimmed.
NodeStyle nodeStyle(const NodeRole& role, bool hasSelection, bool searchHit, bool hovered);

// 0.9 for "small", 1.35 for "large", 1.0 for any other `graphNodeSize`.
double nodeSizeFactor(const QString& graphNodeSize);
// 24 times the factor for the selected node, 18 times it for any other.
double nodeRadius(bool selected, const QString& graphNodeSize);
inline double nodeRadius(bool selected, double sizeFactor) { return (selected ? 24.0 : 18.0) * sizeFactor; }

}  // namespace vantrel
