#include "core/changes/ChangesReport.h"

#include <nlohmann/json.hpp>

#include "core/model/IRJson.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

ReportedSymbol locate(const std::string& id, const ProjectIR& current, const ProjectIR& base) {
    ReportedSymbol reported{id, std::string(splitId(id).front()), std::nullopt, std::nullopt, std::nullopt};
    for (const ProjectIR* graph : {&current, &base}) {
        if (auto it = graph->symbols.find(id); it != graph->symbols.end()) {
            reported.line = it->second.range.startLine;
            break;
        }
    }
    return reported;
}

std::string plural(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string shortCommit(const std::string& commit) { return commit.substr(0, 12); }

nlohmann::json symbolToReportJson(const ReportedSymbol& symbol) {
    nlohmann::json out{{"id", symbol.id}, {"file", symbol.file}};
    if (symbol.line) out["line"] = *symbol.line;
    if (symbol.change) out["change"] = std::string(rawValue(*symbol.change));
    if (symbol.previousId) out["previousId"] = *symbol.previousId;
    return out;
}

// Text inside a table cell as code: a pipe would end the cell, a backtick the span.
std::string codeCell(const std::string& text) {
    std::string escaped = replaceAll(text, "|", "\\|");
    return text.find('`') == std::string::npos ? "`" + escaped + "`" : "`` " + escaped + " ``";
}

std::string markdownRow(const ReportedSymbol& symbol) {
    auto pieces = splitId(symbol.id);
    std::string name =
        pieces.size() >= 3 ? codeCell(std::string(pieces[1])) + " " + std::string(pieces[2]) : codeCell(symbol.id);
    std::string line = symbol.line ? std::to_string(*symbol.line) : "";
    return "| " + name + " | " + codeCell(symbol.file) + " | " + line + " |\n";
}

std::string markdownSummary(const ChangesReport& report) {
    std::string against = "Changes against `" + replaceAll(report.baseRevision, "`", "'") + "` (`" +
                          shortCommit(report.baseCommit) + "`): ";
    if (report.changed.empty()) return against + "no symbol changed.\n";
    std::map<ChangeKind, std::size_t> counts;
    for (const auto& symbol : report.changed) ++counts[*symbol.change];
    std::string parts;
    for (const auto& [change, count] : counts)
        parts += (parts.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(rawValue(change));
    std::size_t reached = report.reachedCount();
    std::string reach = reached == 0 ? "no other symbol reached" : "**" + plural(reached, "reached symbol") + "**";
    return against + "**" + plural(report.changed.size(), "changed symbol") + "** (" + parts + "), " + reach +
           " within depth " + std::to_string(report.depth) + ".\n";
}

}  // namespace

std::size_t ChangesReport::reachedCount() const {
    std::size_t count = 0;
    for (const auto& [level, symbols] : reached) count += symbols.size();
    return count;
}

ChangesReport makeChangesReport(std::string baseRevision, std::string baseCommit, std::int64_t depth,
                                const std::vector<ChangedSymbol>& changed, const ImpactLevels& reached,
                                const ProjectIR& current, const ProjectIR& base) {
    ChangesReport report{std::move(baseRevision), std::move(baseCommit), depth, {}, {}};
    for (const auto& symbol : changed) {
        ReportedSymbol reported = locate(symbol.id, current, base);
        reported.change = symbol.change;
        reported.previousId = symbol.previousId;
        report.changed.push_back(std::move(reported));
    }
    for (const auto& [level, ids] : reached)
        for (const auto& id : ids) report.reached[level].push_back(locate(id, current, base));
    return report;
}

std::string renderChangesText(const ChangesReport& report) {
    std::string text = "base " + report.baseRevision + " " + report.baseCommit + "\n";
    if (report.changed.empty()) return text + "no symbol changed\n";
    text += plural(report.changed.size(), "changed symbol") + "\n";
    for (const auto& symbol : report.changed) {
        std::string change(rawValue(*symbol.change));
        text += "  " + change + std::string(10 - change.size(), ' ') + symbol.id;
        if (symbol.previousId) text += " (was " + *symbol.previousId + ")";
        text += "\n";
    }
    if (report.reached.empty()) return text + "nothing reached within depth " + std::to_string(report.depth) + "\n";
    text += plural(report.reachedCount(), "reached symbol") + " within depth " + std::to_string(report.depth) + "\n";
    for (const auto& [level, symbols] : report.reached) {
        text += "level " + std::to_string(level) + "\n";
        for (const auto& symbol : symbols) text += "  " + symbol.id + "\n";
    }
    return text;
}

std::string renderChangesJson(const ChangesReport& report) {
    nlohmann::json changed = nlohmann::json::array();
    for (const auto& symbol : report.changed) changed.push_back(symbolToReportJson(symbol));
    nlohmann::json reached = nlohmann::json::array();
    for (const auto& [level, symbols] : report.reached) {
        nlohmann::json members = nlohmann::json::array();
        for (const auto& symbol : symbols) members.push_back(symbolToReportJson(symbol));
        reached.push_back({{"level", level}, {"symbols", std::move(members)}});
    }
    nlohmann::json out{{"base", {{"revision", report.baseRevision}, {"commit", report.baseCommit}}},
                       {"depth", report.depth},
                       {"changed", std::move(changed)},
                       {"reached", std::move(reached)},
                       {"reachedCount", report.reachedCount()}};
    return dumpJson(out, true) + "\n";
}

std::string renderSymbolTableMarkdown(const std::string& heading, const std::vector<ReportedSymbol>& symbols) {
    std::string text = "#### " + heading + "\n\n| Symbol | File | Line |\n|---|---|---|\n";
    for (std::size_t i = 0; i < symbols.size() && i < kMarkdownRowsPerLevel; ++i) text += markdownRow(symbols[i]);
    if (symbols.size() > kMarkdownRowsPerLevel)
        text += "\n… and " + std::to_string(symbols.size() - kMarkdownRowsPerLevel) + " more\n";
    return text;
}

std::string markdownLevelHeading(int level, std::size_t count) {
    return "Level " + std::to_string(level) + ": " + plural(count, "symbol");
}

std::string renderChangesMarkdown(const ChangesReport& report) {
    std::string text = markdownSummary(report);
    for (const auto& [level, symbols] : report.reached)
        text += "\n" + renderSymbolTableMarkdown(markdownLevelHeading(level, symbols.size()), symbols);
    return text;
}

}  // namespace vantrel
