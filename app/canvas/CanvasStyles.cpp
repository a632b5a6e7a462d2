#include "app/canvas/CanvasStyles.h"

#include <algorithm>

namespace vantrel {

double clampedEdgeOpacity(double preference) { return std::clamp(preference, 0.3, 1.0); }

EdgeStyle edgeStyle(const NodeRole& from, const NodeRole& to, EdgeChange change, double edgeOpacityPreference) {
    if (change == EdgeChange::added) return {named(NamedColor::purple), 2.0, 0.95, true, 7.0};
    if (change == EdgeChange::removed) return {named(NamedColor::red), 1.6, 0.85, true, 6.5, true};
    if (from.selected && to.downstream) return {named(NamedColor::blue), 2.1, 0.8, true, 7.0};

    EdgeStyle style;
    style.color = named(NamedColor::secondary);
    style.arrowSize = 6.5;
    const bool touchesDownstream = from.downstream || to.downstream;
    style.showArrow = from.selected || to.selected || from.level || to.level || touchesDownstream;
    switch (std::min(from.level.value_or(99), to.level.value_or(99))) {
        case 1: style.lineWidth = 2.6; break;
        case 2: style.lineWidth = 1.8; break;
        case 3: style.lineWidth = 1.2; break;
        default: style.lineWidth = touchesDownstream ? 1.4 : 0.8; break;
    }
    style.opacity = clampedEdgeOpacity(edgeOpacityPreference) * (style.showArrow ? 0.55 : 0.12);
    return style;
}

namespace {

NodeStyle baseNodeStyle(const NodeRole& role, bool hasSelection, bool searchHit, bool hovered) {
    if (role.selected) return {named(NamedColor::red), named(NamedColor::white), 4.0, 1.0};
    if (role.level == 3) return {named(NamedColor::green), named(NamedColor::green), 1.8, 1.0};
    if (role.level == 2) return {named(NamedColor::yellow), named(NamedColor::yellow), 2.2, 1.0};
    if (role.level == 1) return {named(NamedColor::orange), named(NamedColor::orange), 3.0, 1.0};
    if (role.downstream) return {named(NamedColor::blue, 0.5), named(NamedColor::blue), 1.5, 0.65};
    if (searchHit) return {named(NamedColor::accentColor, 0.25), named(NamedColor::accentColor), 2.5, 1.0};
    if (hovered) return {named(NamedColor::secondary, 0.15), named(NamedColor::secondary), 2.0, 1.0};
    return {named(NamedColor::gray), named(NamedColor::gray), 1.0, hasSelection ? 0.15 : 1.0};
}

}  // namespace

NodeStyle nodeStyle(const NodeRole& role, bool hasSelection, bool searchHit, bool hovered) {
    NodeStyle style = baseNodeStyle(role, hasSelection, searchHit, hovered);
    if (role.changed) {
        style.stroke = named(NamedColor::teal);
        style.lineWidth = 4.0;
        style.opacity = 1.0;
    }
    return style;
}

double nodeSizeFactor(const QString& graphNodeSize) {
    if (graphNodeSize == QLatin1String("small")) return 0.9;
    if (graphNodeSize == QLatin1String("large")) return 1.35;
    return 1.0;
}

double nodeRadius(bool selected, const QString& graphNodeSize) {
    return nodeRadius(selected, nodeSizeFactor(graphNodeSize));
}

}  // namespace vantrel
