#include "core/changes/ChangeReach.h"

#include <algorithm>
#include <map>
#include <string>

namespace vantrel {

ImpactLevels reachOfChanges(const std::vector<ChangedSymbol>& changed, const ProjectIR& current, const ProjectIR& base,
                            std::int64_t maxDepth) {
    std::map<std::string, int> lowest;
    IdSet changedIds;
    auto merge = [&](const ImpactLevels& levels) {
        for (const auto& [level, ids] : levels) {
            for (const auto& id : ids) {
                auto [it, inserted] = lowest.emplace(id, level);
                if (!inserted) it->second = std::min(it->second, level);
            }
        }
    };
    for (const auto& symbol : changed) {
        changedIds.insert(symbol.id);
        if (symbol.previousId) changedIds.insert(*symbol.previousId);
        const ProjectIR& graph = symbol.change == ChangeKind::removed ? base : current;
        merge(calculateBlastRadius(symbol.id, graph, maxDepth));
        // Callers that still name the old place are broken by the move; the base knows them.
        if (symbol.previousId) merge(calculateBlastRadius(*symbol.previousId, base, maxDepth));
    }
    ImpactLevels reached;
    for (const auto& [id, level] : lowest)
        if (!changedIds.count(id)) reached[level].insert(id);
    return reached;
}

}  // namespace vantrel
