// What a set of changed symbols reaches: the union of their blast radii.
#pragma once

#include <cstdint>
#include <vector>

#include "core/changes/ChangedSymbols.h"
#include "core/impact/BlastRadius.h"

namespace vantrel {

// Each reached id stands once, at the lowest level at which any changed symbol reaches
// it. Added and modified symbols are walked in `current`; a removed symbol, and the
// previous id of a renamed one, in `base`, where their callers still stand. No changed
// symbol (by id or previous id) is among the reached ones. Pure; cannot fail.
[[nodiscard]] ImpactLevels reachOfChanges(const std::vector<ChangedSymbol>& changed, const ProjectIR& current,
                                          const ProjectIR& base, std::int64_t maxDepth);

}  // namespace vantrel
