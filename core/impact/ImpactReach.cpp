#include "core/impact/ImpactReach.h"

#include <algorithm>
#include <limits>
#include <set>
#include <tuple>

namespace vantrel {

namespace {

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

template <typename Ids>
std::vector<ReachRow> sortedRows(const Ids& ids, const ProjectIR& ir) {
    std::vector<ReachRow> rows;
    rows.reserve(ids.size());
    for (const auto& id : ids) rows.push_back(reachRow(id, ir));
    std::sort(rows.begin(), rows.end(), reachRowBefore);
    return rows;
}

}  // namespace

bool reachRowBefore(const ReachRow& a, const ReachRow& b) {
    constexpr std::int64_t noLine = std::numeric_limits<std::int64_t>::max();
    const std::int64_t lineA = a.line.value_or(noLine), lineB = b.line.value_or(noLine);
    return std::tie(a.file, lineA, a.id) < std::tie(b.file, lineB, b.id);
}

ReachRow reachRow(std::string_view id, const ProjectIR& ir) {
    const std::vector<std::string_view> pieces = splitId(id);
    ReachRow row{std::string(id), pieces.size() >= 2 ? std::string(pieces[1]) : std::string(id), std::nullopt,
                 std::string(pieces.front()), std::nullopt};
    if (auto symbol = ir.symbols.find(id); symbol != ir.symbols.end()) {
        row.kind = symbol->second.kind;
        row.line = symbol->second.range.startLine;
    } else if (pieces.size() >= 3) {
        row.kind = symbolKindFromRaw(pieces[2]);
    }
    return row;
}

ImpactReach describeReach(std::string_view targetId, const ProjectIR& ir, const ImpactLevels& levels,
                          std::int64_t depth) {
    ImpactReach reach{std::string(targetId), depth, {}, {}, 0, 0};
    std::set<std::string_view> files;
    for (const auto& [level, ids] : levels) {
        if (ids.empty()) continue;
        auto& rows = reach.callers[level] = sortedRows(ids, ir);
        reach.callerCount += rows.size();
        for (const ReachRow& row : rows) files.insert(row.file);
    }
    reach.callerFileCount = files.size();
    if (auto target = ir.symbols.find(targetId); target != ir.symbols.end())
        reach.callees = sortedRows(target->second.refsOut, ir);
    return reach;
}

ImpactReach impactReach(std::string_view targetId, const ProjectIR& ir, std::int64_t depth) {
    return describeReach(targetId, ir, calculateBlastRadius(targetId, ir, depth), depth);
}

std::string reachSummary(const ImpactReach& reach) {
    if (reach.callerCount == 0) return "No callers";
    return counted(reach.callerCount, "caller") + " on " + counted(reach.levelCount(), "level") + " in " +
           counted(reach.callerFileCount, "file");
}

IdSet nextTowardTarget(const ImpactReach& reach, const ProjectIR& ir, std::string_view callerId) {
    auto caller = ir.symbols.find(callerId);
    if (caller == ir.symbols.end()) return {};
    for (const auto& [level, rows] : reach.callers) {
        if (std::none_of(rows.begin(), rows.end(), [&](const ReachRow& row) { return row.id == callerId; })) continue;
        IdSet closer;
        if (level == 1) {
            closer.insert(reach.targetId);
        } else if (auto previous = reach.callers.find(level - 1); previous != reach.callers.end()) {
            for (const ReachRow& row : previous->second) closer.insert(row.id);
        }
        IdSet toward;
        for (const std::string& callee : caller->second.refsOut)
            if (closer.contains(callee)) toward.insert(callee);
        return toward;
    }
    return {};
}

}  // namespace vantrel
