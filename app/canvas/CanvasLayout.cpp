#include "app/canvas/CanvasLayout.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantrel {

namespace {

template <typename Ids>
void ring(NodePlaces& places, const Ids& ids, QPointF center, double radius, double phase) {
    const double n = static_cast<double>(ids.size());
    double i = 0;
    for (const auto& id : ids) {
        const double angle = 2.0 * std::numbers::pi / n * i + phase;
        places.try_emplace(std::string(id), center.x() + std::cos(angle) * radius,
                           center.y() + std::sin(angle) * radius);
        ++i;
    }
}

}  // namespace

RingRadii ringRadii(double shorterSide) {
    const double r = std::max(shorterSide * 0.5 - 70.0, 140.0);
    return {std::min(r * 0.35, 160.0), std::min(r * 0.6, 300.0), std::min(r * 0.85, 440.0), std::min(r * 0.48, 240.0),
            std::min(r, 520.0)};
}

NodePlaces layoutPositions(const ProjectIR& ir, const NodePositions& basePositions, QPointF center, QSizeF size,
                           const std::optional<SelectionFocus>& focus) {
    const double m = std::min(size.width(), size.height());
    NodePlaces places;
    if (!focus) {
        for (const auto& [id, p] : basePositions)
            places.emplace_hint(places.end(), id, QPointF(p.x * m + center.x(), p.y * m + center.y()));
        return places;
    }

    const RingRadii radii = ringRadii(m);
    places.emplace(focus->selectedId, center);
    static const IdSet kNone;
    auto level = [&](int n) -> const IdSet& {
        auto it = focus->impactLevels.find(n);
        return it == focus->impactLevels.end() ? kNone : it->second;
    };
    ring(places, level(1), center, radii.level1, 0.0);
    ring(places, level(2), center, radii.level2, 0.35);
    ring(places, level(3), center, radii.level3, 0.7);
    ring(places, focus->downstreamContext, center, radii.downstream, -0.25);

    std::vector<std::string_view> rest;
    for (const auto& entry : ir.symbols)
        if (!places.count(entry.first)) rest.push_back(entry.first);
    ring(places, rest, center, radii.outer, 0.15);
    return places;
}

double focusedShift(const std::vector<FocusedNode>& nodes, double viewWidth) {
    double left = -20, right = kFocusedColumnWidth;
    for (const FocusedNode& node : nodes) {
        left = std::min(left, node.at.x - 20);
        right = std::max(right, node.at.x + kFocusedColumnWidth);
    }
    if (right - left <= viewWidth) return -(left + right) / 2;
    return std::max(viewWidth / 2 - right - 10, 330 - viewWidth / 2);
}

double focusedDrop(const std::vector<FocusedNode>& nodes, double viewHeight, double reserved) {
    constexpr double kRoom = 26;
    double top = -kRoom, bottom = kRoom;
    for (const FocusedNode& node : nodes) {
        top = std::min(top, node.at.y - kRoom);
        bottom = std::max(bottom, node.at.y + kRoom);
    }
    const double free = viewHeight - reserved;
    if (bottom - top <= free) return reserved / 2 - (top + bottom) / 2;
    return reserved / 2;
}

}  // namespace vantrel
