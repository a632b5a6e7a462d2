// The blast radius of a symbol: the callers that a change to it can reach, grouped by
// how many call steps away they are.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>

#include "core/model/ProjectIR.h"

namespace vantrel {

// Level (1 = direct callers) to the ids first reached at that level.
using ImpactLevels = std::map<int, IdSet>;

// Breadth-first along `refsIn` only, up to `maxDepth` steps. Every id stands once, at
// its lowest level; the target itself never does, and a level without members has no
// key. An id without a symbol is recorded but not followed. `maxDepth` below 1 gives
// nothing. Pure; cannot fail.
[[nodiscard]] ImpactLevels calculateBlastRadius(std::string_view targetId, const ProjectIR& ir, std::int64_t maxDepth);

}  // namespace vantrel
