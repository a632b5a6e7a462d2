// How a live graph differs from a fresh scan of the same files, for the tools that check
// the live project against full scans (vantrel_live_soak, vantrel_live_replay).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel::bench {

// The differences, one line each, at most `limit`: symbols missing or extra in the live
// graph, symbols whose kind, place or edges differ, and the diagnostics. Empty: equal.
std::vector<std::string> graphDifferences(const ProjectIR& live, const ProjectIR& fresh, std::size_t limit = 12);

}  // namespace vantrel::bench
