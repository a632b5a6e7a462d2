// The tools a coding agent asks about a project's call graph, for McpServer:
//
//   find_symbols   symbols by name or path, best matches first
//   blast_radius   the callers a change to a symbol reaches, level by level
//   callees        what a symbol calls directly
//   changes        what the working tree's changes against a git revision reach
//   symbol_source  a symbol's code, with its file and lines
//   diagnostics    the imports the scan could not resolve, by reason
//
// Each tool reads the graph the provider gives at the moment of the call, so a live
// project's latest graph answers. Every result has a readable text and the same content
// as JSON; every list in either is sorted. An id the graph does not hold is an error
// result that names up to five nearest ids; an argument of the wrong type or out of
// range is InvalidParams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/changes/ChangesReport.h"
#include "core/model/ProjectIR.h"
#include "mcp/McpServer.h"

namespace vantrel::mcp {

// The graph to answer from; called once per tool call, from the server's thread.
using GraphProvider = std::function<std::shared_ptr<const ProjectIR>()>;

// The working tree's changes against `base` (a revision as the user names it), reached to
// `depth` in `current`. Throws ToolFailure (or any std::exception) when it cannot tell:
// no git work tree, a revision that names no commit.
using ChangesProvider =
    std::function<ChangesReport(const ProjectIR& current, const std::string& base, std::int64_t depth)>;

// A tool that cannot answer for a reason the caller should read (an error result).
class ToolFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct GraphToolsOptions {
    GraphProvider graph;
    std::string projectRoot;           // where symbol_source reads files
    ChangesProvider changes;           // empty: `changes` answers that it is not available
    std::string defaultBase = "HEAD";  // `changes` without a base compares with this revision
};

inline constexpr std::int64_t kDefaultFindLimit = 20;
inline constexpr std::int64_t kMaxFindLimit = 200;
inline constexpr std::int64_t kMaxToolDepth = 12;
// A level of a blast radius lists this many callers unless asked for more: an answer of
// thousands of rows would fill the calling model's context without telling it more.
inline constexpr std::int64_t kDefaultCallersPerLevel = 200;
inline constexpr std::int64_t kMaxCallersPerLevel = 5000;
inline constexpr std::size_t kNearestIds = 5;

// The six tools, in name order.
[[nodiscard]] std::vector<Tool> makeGraphTools(GraphToolsOptions options);

// What the server tells the client's model the tools are for.
[[nodiscard]] std::string graphToolsInstructions();

struct SymbolMatch {
    std::string id;
    int rank = 0;  // 0 exact name, 1 name prefix, 2 name substring, 3 path substring
};

// Symbols matching `query` case-blind (ASCII): exact name, then name prefix, then name
// substring, then file path substring; within a rank by id. An empty query matches
// nothing. At most `limit`.
[[nodiscard]] std::vector<SymbolMatch> findSymbols(const ProjectIR& ir, std::string_view query,
                                                   std::optional<SymbolKind> kind, std::size_t limit);

// Up to `count` ids nearest to `id`: by edit distance between short names (case-blind),
// then by id.
[[nodiscard]] std::vector<std::string> nearestIds(const ProjectIR& ir, std::string_view id,
                                                  std::size_t count = kNearestIds);

}  // namespace vantrel::mcp
