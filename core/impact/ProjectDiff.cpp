#include "core/impact/ProjectDiff.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <set>

#include "core/impact/BlastRadius.h"

namespace vantrel {

namespace {

using Edge = ProjectDiffResult::Edge;

IdSet symbolIds(const ProjectIR& ir) {
    IdSet ids;
    for (const auto& entry : ir.symbols) ids.insert(ids.end(), entry.first);
    return ids;
}

std::set<Edge> edges(const ProjectIR& ir) {
    std::set<Edge> result;
    for (const auto& [fromId, symbol] : ir.symbols)
        for (const auto& toId : symbol.refsOut) result.insert(Edge{fromId, toId});
    return result;
}

// Both inputs are ordered sets, so the difference comes out already in ascending order.
template <typename Set>
std::vector<typename Set::value_type> sortedDifference(const Set& left, const Set& right) {
    std::vector<typename Set::value_type> out;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(out));
    return out;
}

IdSet setDifference(const IdSet& left, const IdSet& right) {
    IdSet out;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(), std::inserter(out, out.end()));
    return out;
}

}  // namespace

ProjectDiffResult ProjectDiff::diff(const ProjectIR& before, const ProjectIR& after) {
    const IdSet beforeIds = symbolIds(before);
    const IdSet afterIds = symbolIds(after);
    const std::set<Edge> beforeEdges = edges(before);
    const std::set<Edge> afterEdges = edges(after);
    ProjectDiffResult result;
    result.addedSymbols = sortedDifference(afterIds, beforeIds);
    result.removedSymbols = sortedDifference(beforeIds, afterIds);
    result.addedEdges = sortedDifference(afterEdges, beforeEdges);
    result.removedEdges = sortedDifference(beforeEdges, afterEdges);
    return result;
}

std::map<int, LevelDelta> ProjectDiff::blastRadiusDelta(std::string_view targetId, const ProjectIR& before,
                                                        const ProjectIR& after, std::int64_t maxDepth) {
    const ImpactLevels beforeLevels = calculateBlastRadius(targetId, before, maxDepth);
    const ImpactLevels afterLevels = calculateBlastRadius(targetId, after, maxDepth);
    static const IdSet empty;
    auto levelOf = [](const ImpactLevels& levels, int level) -> const IdSet& {
        auto it = levels.find(level);
        return it == levels.end() ? empty : it->second;
    };
    std::map<int, LevelDelta> result;
    // Levels are ints; a depth from a project file is unlimited, so bound the walk there.
    const std::int64_t lastLevel = std::min<std::int64_t>(maxDepth, std::numeric_limits<int>::max());
    for (std::int64_t level = 1; level <= lastLevel; ++level) {
        const int key = static_cast<int>(level);
        const IdSet& was = levelOf(beforeLevels, key);
        const IdSet& is = levelOf(afterLevels, key);
        result.emplace_hint(result.end(), key, LevelDelta{setDifference(is, was), setDifference(was, is)});
    }
    return result;
}

}  // namespace vantrel

std::size_t std::hash<vantrel::ProjectDiffResult::Edge>::operator()(
    const vantrel::ProjectDiffResult::Edge& edge) const noexcept {
    std::size_t seed = std::hash<std::string>{}(edge.fromId);
    return seed ^ (std::hash<std::string>{}(edge.toId) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}
