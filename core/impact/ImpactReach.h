// What a change to one symbol reaches, as rows a person reads: its callers level by level
// and its direct callees, each with name, kind and place, and the counts that sum it up.
// The levels come from the blast radius walk (BlastRadius.h); this only describes them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/impact/BlastRadius.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

struct ReachRow {
    std::string id;
    std::string name;                  // the id's name part
    std::optional<SymbolKind> kind;    // the symbol's, else the id's kind part when it names one
    std::string file;                  // the id's file part
    std::optional<std::int64_t> line;  // where it is declared, when the graph holds it
    bool operator==(const ReachRow&) const = default;
};

// File, then line (rows without a line after those with one), then id.
bool reachRowBefore(const ReachRow& a, const ReachRow& b);

struct ImpactReach {
    std::string targetId;
    std::int64_t depth = 0;
    std::map<int, std::vector<ReachRow>> callers;  // level (1 = direct) to its rows; no empty levels
    std::vector<ReachRow> callees;                 // direct callees, ids without a symbol included
    std::size_t callerCount = 0;
    std::size_t callerFileCount = 0;  // distinct files among the callers

    std::size_t levelCount() const { return callers.size(); }
    bool operator==(const ImpactReach&) const = default;
};

// The row of `id`; an id the graph lacks gets what its pieces tell.
[[nodiscard]] ReachRow reachRow(std::string_view id, const ProjectIR& ir);

// Describes `levels`, the blast radius of `targetId` already walked to `depth`; every
// list sorted by reachRowBefore. Pure; cannot fail.
[[nodiscard]] ImpactReach describeReach(std::string_view targetId, const ProjectIR& ir, const ImpactLevels& levels,
                                        std::int64_t depth);

// Walks the blast radius to `depth`, then describes it.
[[nodiscard]] ImpactReach impactReach(std::string_view targetId, const ProjectIR& ir, std::int64_t depth);

// The symbols through which a caller on level L reaches the target: those it calls on
// level L - 1, the target itself for level 1. Empty for an id that is no caller here.
[[nodiscard]] IdSet nextTowardTarget(const ImpactReach& reach, const ProjectIR& ir, std::string_view callerId);

// "12 callers on 3 levels in 7 files", in the singular where a count is 1; "No callers"
// when there are none.
[[nodiscard]] std::string reachSummary(const ImpactReach& reach);

}  // namespace vantrel
