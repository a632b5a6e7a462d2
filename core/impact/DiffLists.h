// What a baseline comparison names, as rows a person reads: the symbols added, removed
// and changed, and the calls added and removed, each with the level at which it
// touches the selection's reach. ProjectDiff finds the differences; this describes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "core/impact/ImpactReach.h"
#include "core/impact/ProjectDiff.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// The level at which an entry touches the selection's reach: 0 for the selection itself,
// 1 and up for its callers; nothing when it lies outside the reach or nothing is selected.
using TouchLevel = std::optional<int>;

struct DiffSymbolRow {
    ReachRow row;  // from the graph that holds the symbol: the baseline for a removed one
    TouchLevel level;
    bool operator==(const DiffSymbolRow&) const = default;
};

struct DiffEdgeRow {
    ReachRow from;
    ReachRow to;
    TouchLevel level;  // the nearer of its ends' levels
    bool operator==(const DiffEdgeRow&) const = default;
};

struct DiffLists {
    std::vector<DiffSymbolRow> addedSymbols;
    std::vector<DiffSymbolRow> removedSymbols;
    // In both graphs, with other callees, another kind or another length in lines. A
    // symbol that only moved (an edit above it shifted its lines) is not changed, and
    // neither is one that only gained or lost callers: that change is its caller's.
    std::vector<DiffSymbolRow> changedSymbols;
    std::vector<DiffEdgeRow> addedEdges;
    std::vector<DiffEdgeRow> removedEdges;

    bool empty() const {
        return addedSymbols.empty() && removedSymbols.empty() && changedSymbols.empty() && addedEdges.empty() &&
               removedEdges.empty();
    }
    bool operator==(const DiffLists&) const = default;
};

// Levels are read from the selection's blast radius to `depth` in the current graph, and
// for ids it does not reach (such as removed symbols) in the baseline's. Every list is
// sorted: entries that touch the reach first, by level, then by reachRowBefore (edges by
// their source's row, then their target's). Pure; cannot fail.
[[nodiscard]] DiffLists diffLists(const ProjectIR& before, const ProjectIR& after, const ProjectDiffResult& diff,
                                  std::optional<std::string_view> selectedId, std::int64_t depth);

}  // namespace vantrel
