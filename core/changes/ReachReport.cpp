#include "core/changes/ReachReport.h"

#include <algorithm>

#include "core/changes/ChangesReport.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

// In id order, as `vantrel-cli changes` lists a level, so that a pasted table reads as
// the command's does (the panel itself lists by file and line).
std::vector<ReportedSymbol> reported(const std::vector<ReachRow>& rows) {
    std::vector<ReportedSymbol> symbols;
    symbols.reserve(rows.size());
    for (const ReachRow& row : rows) symbols.push_back({row.id, row.file, row.line, std::nullopt, std::nullopt});
    std::sort(symbols.begin(), symbols.end(),
              [](const ReportedSymbol& a, const ReportedSymbol& b) { return a.id < b.id; });
    return symbols;
}

std::string textLine(const std::string& level, const ReachRow& row) {
    std::string kind = row.kind ? std::string(rawValue(*row.kind)) : std::string();
    std::string place = row.file + (row.line ? ":" + std::to_string(*row.line) : std::string());
    return level + "\t" + row.name + "\t" + kind + "\t" + place + "\n";
}

// `target` is the selected id as the format shows it.
std::string summaryLine(const std::string& target, const ImpactReach& reach) {
    return target + ": " + reachSummary(reach) + " within depth " + std::to_string(reach.depth);
}

}  // namespace

std::string renderReachMarkdown(const ImpactReach& reach) {
    // A backtick in the id would end its code span early.
    std::string text = summaryLine("`" + replaceAll(reach.targetId, "`", "'") + "`", reach) + ".\n";
    for (const auto& [level, rows] : reach.callers)
        text += "\n" + renderSymbolTableMarkdown(markdownLevelHeading(level, rows.size()), reported(rows));
    if (!reach.callees.empty())
        text += "\n" + renderSymbolTableMarkdown("Callees: " + std::to_string(reach.callees.size()) +
                                                     (reach.callees.size() == 1 ? " symbol" : " symbols"),
                                                 reported(reach.callees));
    return text;
}

std::string renderReachText(const ImpactReach& reach) {
    std::string text = summaryLine(reach.targetId, reach) + "\n";
    for (const auto& [level, rows] : reach.callers)
        for (const ReachRow& row : rows) text += textLine("L" + std::to_string(level), row);
    for (const ReachRow& row : reach.callees) text += textLine("callee", row);
    return text;
}

}  // namespace vantrel
