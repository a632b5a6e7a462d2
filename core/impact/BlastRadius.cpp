#include "core/impact/BlastRadius.h"

#include <deque>
#include <string>
#include <utility>

namespace vantrel {

ImpactLevels calculateBlastRadius(std::string_view targetId, const ProjectIR& ir, std::int64_t maxDepth) {
    ImpactLevels result;
    IdSet visited;
    // Duplicates may enter the queue; the visited test drops them when they reach the
    // front, and FIFO order guarantees that the first visit is at the lowest level.
    std::deque<std::pair<std::string, std::int64_t>> queue;
    queue.emplace_back(std::string(targetId), 0);
    while (!queue.empty()) {
        auto [id, level] = std::move(queue.front());
        queue.pop_front();
        if (visited.count(id) != 0 || level > maxDepth) continue;
        visited.insert(id);
        if (level >= 1) result[static_cast<int>(level)].insert(id);
        auto symbol = ir.symbols.find(id);
        if (symbol == ir.symbols.end()) continue;
        for (const auto& caller : symbol->second.refsIn) queue.emplace_back(caller, level + 1);
    }
    return result;
}

}  // namespace vantrel
