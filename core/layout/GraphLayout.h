// Base positions of the graph's symbols: a deterministic force simulation up to
// kForceLayoutLimit symbols, a circle beyond. Coordinates are abstract, around the
// origin, in units of the drawing's shorter side; views scale them to their own size.
// The same graph always gives the same numbers, bit for bit, on one platform.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

// Symbol id to position.
using NodePositions = std::map<std::string, Point>;

inline constexpr std::size_t kForceLayoutLimit = 400;  // more symbols: the circle is final
inline constexpr double kCircleLayoutRadius = 0.45;
inline constexpr double kLayoutBound = 0.62;  // |x| and |y| of a force layout never exceed it

// Every key of `ir.symbols` gets a position. Ids are sorted ascending, the start is the
// circle layout of that list, and 140 steps of pairwise repulsion, springs along the
// (undirected, deduplicated) calls between existing symbols, damping and clamping to
// ±kLayoutBound follow. Self-calls and callees without a symbol are ignored.
[[nodiscard]] NodePositions computeForceLayout(const ProjectIR& ir);

// The id at index i of n stands at angle i / n * 2π on a circle of radius 0.45 around
// the origin, index 0 at (0.45, 0). Duplicate ids keep the position of their last index.
[[nodiscard]] NodePositions computeCircleLayout(const std::vector<std::string>& ids);

}  // namespace vantrel
