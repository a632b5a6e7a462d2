// Comparison of a baseline graph with the current one: which symbols and call edges
// appeared or disappeared, and how one symbol's blast radius changed level by level.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

struct ProjectDiffResult {
    // A call from `fromId` to `toId`. Ordered by `fromId`, then `toId`, in plain byte
    // (code point) order.
    struct Edge {
        std::string fromId;
        std::string toId;
        auto operator<=>(const Edge&) const = default;
        bool operator==(const Edge&) const = default;
    };

    std::vector<std::string> addedSymbols;    // in after, not in before; ascending
    std::vector<std::string> removedSymbols;  // in before, not in after; ascending
    std::vector<Edge> addedEdges;             // edge order
    std::vector<Edge> removedEdges;           // edge order
    bool operator==(const ProjectDiffResult&) const = default;
};

// How one level of a blast radius changed between two graphs.
struct LevelDelta {
    IdSet added;    // at this level after, not before
    IdSet removed;  // at this level before, not after
    bool operator==(const LevelDelta&) const = default;
};

struct ProjectDiff {
    ProjectDiff() = delete;

    // Symbols by the keys of `symbols`; edges from each key to each id of its `refsOut`
    // (callees without a symbol included, `refsIn` never read). Ids, kinds, ranges,
    // diagnostics and the header fields of the graphs play no part.
    static ProjectDiffResult diff(const ProjectIR& before, const ProjectIR& after);

    // One entry for every level from 1 to `maxDepth`, also when both sets are empty;
    // nothing when `maxDepth` is below 1. A symbol that moved from level 1 to 2 is
    // removed at 1 and added at 2.
    static std::map<int, LevelDelta> blastRadiusDelta(std::string_view targetId, const ProjectIR& before,
                                                      const ProjectIR& after, std::int64_t maxDepth);
};

}  // namespace vantrel

template <>
struct std::hash<vantrel::ProjectDiffResult::Edge> {
    std::size_t operator()(const vantrel::ProjectDiffResult::Edge& edge) const noexcept;
};
