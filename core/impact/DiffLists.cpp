#include "core/impact/DiffLists.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <tuple>

#include "core/impact/BlastRadius.h"

namespace vantrel {

namespace {

// The level of each id, the current graph's first.
class Levels {
public:
    Levels(const ProjectIR& before, const ProjectIR& after, std::optional<std::string_view> selectedId,
           std::int64_t depth) {
        if (!selectedId) return;
        selected_ = std::string(*selectedId);
        add(calculateBlastRadius(*selectedId, after, depth));
        add(calculateBlastRadius(*selectedId, before, depth));
    }

    TouchLevel of(const std::string& id) const {
        if (selected_ && id == *selected_) return 0;
        auto it = levels_.find(id);
        if (it == levels_.end()) return std::nullopt;
        return it->second;
    }

private:
    void add(const ImpactLevels& levels) {
        for (const auto& [level, ids] : levels)
            for (const std::string& id : ids) levels_.emplace(id, level);  // keeps an earlier entry
    }

    std::optional<std::string> selected_;
    std::map<std::string, int, std::less<>> levels_;
};

int levelKey(const TouchLevel& level) { return level.value_or(std::numeric_limits<int>::max()); }

bool symbolRowBefore(const DiffSymbolRow& a, const DiffSymbolRow& b) {
    if (levelKey(a.level) != levelKey(b.level)) return levelKey(a.level) < levelKey(b.level);
    return reachRowBefore(a.row, b.row);
}

bool edgeRowBefore(const DiffEdgeRow& a, const DiffEdgeRow& b) {
    if (levelKey(a.level) != levelKey(b.level)) return levelKey(a.level) < levelKey(b.level);
    if (a.from != b.from) return reachRowBefore(a.from, b.from);
    return reachRowBefore(a.to, b.to);
}

TouchLevel nearer(const TouchLevel& a, const TouchLevel& b) {
    if (!a) return b;
    if (!b) return a;
    return std::min(*a, *b);
}

bool changed(const Symbol& before, const Symbol& after) {
    const auto length = [](const TextRange& r) { return r.endLine - r.startLine; };
    return before.refsOut != after.refsOut || before.kind != after.kind || length(before.range) != length(after.range);
}

// The row of an id from the current graph when it holds the symbol, else the baseline.
ReachRow rowOf(const std::string& id, const ProjectIR& before, const ProjectIR& after) {
    return reachRow(id, after.symbols.count(id) || !before.symbols.count(id) ? after : before);
}

}  // namespace

DiffLists diffLists(const ProjectIR& before, const ProjectIR& after, const ProjectDiffResult& diff,
                    std::optional<std::string_view> selectedId, std::int64_t depth) {
    const Levels levels(before, after, selectedId, depth);
    DiffLists lists;
    for (const std::string& id : diff.addedSymbols) lists.addedSymbols.push_back({reachRow(id, after), levels.of(id)});
    for (const std::string& id : diff.removedSymbols)
        lists.removedSymbols.push_back({reachRow(id, before), levels.of(id)});
    for (const auto& [id, symbol] : after.symbols) {
        auto old = before.symbols.find(id);
        if (old != before.symbols.end() && changed(old->second, symbol))
            lists.changedSymbols.push_back({reachRow(id, after), levels.of(id)});
    }
    const auto edgeRows = [&](const std::vector<ProjectDiffResult::Edge>& edges, std::vector<DiffEdgeRow>& out) {
        for (const auto& edge : edges)
            out.push_back({rowOf(edge.fromId, before, after), rowOf(edge.toId, before, after),
                           nearer(levels.of(edge.fromId), levels.of(edge.toId))});
        std::sort(out.begin(), out.end(), edgeRowBefore);
    };
    edgeRows(diff.addedEdges, lists.addedEdges);
    edgeRows(diff.removedEdges, lists.removedEdges);
    for (auto* list : {&lists.addedSymbols, &lists.removedSymbols, &lists.changedSymbols})
        std::sort(list->begin(), list->end(), symbolRowBefore);
    return lists;
}

}  // namespace vantrel
