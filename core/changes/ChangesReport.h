// The answer of `changes` in its three forms: text for a terminal, JSON for tools, and
// Markdown to paste as a pull-request comment. Every list comes out sorted.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/changes/ChangedSymbols.h"
#include "core/impact/BlastRadius.h"

namespace vantrel {

struct ReportedSymbol {
    std::string id;
    std::string file;                       // the id's file part
    std::optional<std::int64_t> line;       // where it is declared, when a graph holds it
    std::optional<ChangeKind> change;       // for changed symbols only
    std::optional<std::string> previousId;  // for symbols of a renamed file
    bool operator==(const ReportedSymbol&) const = default;
};

struct ChangesReport {
    std::string baseRevision;  // as the user named it
    std::string baseCommit;    // the full commit id it names
    std::int64_t depth = 3;
    std::vector<ReportedSymbol> changed;                 // added, modified, removed; each by id
    std::map<int, std::vector<ReportedSymbol>> reached;  // by level, then by id

    std::size_t reachedCount() const;
};

// Locations come from `current`, else from `base` (removed symbols and their callers).
[[nodiscard]] ChangesReport makeChangesReport(std::string baseRevision, std::string baseCommit, std::int64_t depth,
                                              const std::vector<ChangedSymbol>& changed, const ImpactLevels& reached,
                                              const ProjectIR& current, const ProjectIR& base);

// Rows of one Markdown table; the rest of a level is counted below it.
constexpr std::size_t kMarkdownRowsPerLevel = 50;

// One section of the Markdown: a "#### heading" line, then a table (Symbol, File, Line)
// of `symbols` in their order, up to kMarkdownRowsPerLevel rows and the rest counted.
// Other reports of reach render their tables with it, so that every table reads alike.
[[nodiscard]] std::string renderSymbolTableMarkdown(const std::string& heading,
                                                    const std::vector<ReportedSymbol>& symbols);
// The heading of a level's table: "Level 2: 1 symbol".
[[nodiscard]] std::string markdownLevelHeading(int level, std::size_t count);

[[nodiscard]] std::string renderChangesText(const ChangesReport& report);
[[nodiscard]] std::string renderChangesJson(const ChangesReport& report);
[[nodiscard]] std::string renderChangesMarkdown(const ChangesReport& report);

}  // namespace vantrel
