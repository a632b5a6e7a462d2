#include "mcp/GraphTools.h"

#include <algorithm>
#include <limits>

#include "core/impact/ImpactReach.h"
#include "core/resolution/DiagnosticGroups.h"
#include "core/source/SymbolSource.h"
#include "core/util/Text.h"

namespace vantrel::mcp {

namespace {

using nlohmann::json;

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = asciiLower(c);
    return out;
}

// ---- arguments ---------------------------------------------------------------------

std::string stringArgument(const json& arguments, const char* name) {
    auto it = arguments.find(name);
    if (it == arguments.end()) throw InvalidParams(std::string("'") + name + "' is required");
    if (!it->is_string()) throw InvalidParams(std::string("'") + name + "' must be a string");
    return it->get<std::string>();
}

std::optional<std::string> optionalString(const json& arguments, const char* name) {
    auto it = arguments.find(name);
    if (it == arguments.end() || it->is_null()) return std::nullopt;
    if (!it->is_string()) throw InvalidParams(std::string("'") + name + "' must be a string");
    return it->get<std::string>();
}

// A whole number within [min, max]; JSON numbers like 3.0 count as whole.
std::int64_t integerArgument(const json& arguments, const char* name, std::int64_t fallback, std::int64_t min,
                             std::int64_t max) {
    auto it = arguments.find(name);
    if (it == arguments.end() || it->is_null()) return fallback;
    std::optional<std::int64_t> value;
    if (it->is_number_integer()) {
        value = it->get<std::int64_t>();
    } else if (it->is_number_unsigned()) {
        value = std::numeric_limits<std::int64_t>::max();
    } else if (it->is_number_float()) {
        double d = it->get<double>();
        if (d == static_cast<double>(static_cast<std::int64_t>(d))) value = static_cast<std::int64_t>(d);
    }
    if (!value || *value < min || *value > max)
        throw InvalidParams(std::string("'") + name + "' must be a whole number from " + std::to_string(min) + " to " +
                            std::to_string(max));
    return *value;
}

// ---- shared pieces -----------------------------------------------------------------

std::shared_ptr<const ProjectIR> currentGraph(const GraphToolsOptions& options) {
    auto graph = options.graph ? options.graph() : nullptr;
    if (!graph) throw ToolFailure("the project's graph is not ready yet");
    return graph;
}

json rowJson(const ReachRow& row) {
    json out{{"id", row.id}, {"name", row.name}, {"file", row.file}};
    if (row.kind) out["kind"] = rawValue(*row.kind);
    if (row.line) out["line"] = *row.line;
    return out;
}

std::string place(const ReachRow& row) { return row.line ? row.file + ":" + std::to_string(*row.line) : row.file; }

// The symbol named by the "id" argument, or the error result naming the nearest ids.
struct Lookup {
    const Symbol* symbol = nullptr;
    ToolResult error;
};

Lookup lookUp(const ProjectIR& ir, const std::string& id) {
    if (auto it = ir.symbols.find(id); it != ir.symbols.end()) return {&it->second, {}};
    auto nearest = nearestIds(ir, id);
    std::string message = "No symbol '" + id + "'.";
    std::string text = message;
    if (!nearest.empty()) {
        text += " Nearest ids: ";
        for (std::size_t i = 0; i < nearest.size(); ++i) text += (i ? ", " : "") + nearest[i];
    }
    text += " (find_symbols searches by name.)";
    return {nullptr, ToolResult{text, json{{"error", message}, {"nearest", nearest}}, true}};
}

// An output schema that also admits the unknown-id error's shape, since clients check
// structured content against the schema whether or not it reports an error.
json withLookupError(json schema) {
    schema["properties"]["error"] = {{"type", "string"}};
    schema["properties"]["nearest"] = {{"type", "array"}, {"items", {{"type", "string"}}}};
    json required = schema["required"];
    schema.erase("required");
    schema["anyOf"] = json::array({json{{"required", required}}, json{{"required", {"error", "nearest"}}}});
    return schema;
}

const char* const kRowSchema = R"({
  "type": "object",
  "properties": {
    "id": {"type": "string"}, "name": {"type": "string"}, "kind": {"type": "string"},
    "file": {"type": "string"}, "line": {"type": "integer"}
  },
  "required": ["id", "name", "file"]
})";

const char* const kIdInput = R"({
  "type": "object",
  "properties": {"id": {"type": "string", "description": "A symbol id, \"path:name:kind\", as find_symbols gives it"}},
  "required": ["id"]
})";

// ---- the tools -----------------------------------------------------------------------

Tool findSymbolsTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "find_symbols";
    tool.title = "Find symbols";
    tool.description =
        "Finds functions, methods, components and classes by name (case-insensitive): exact names first, then "
        "names that start with the query, then names that contain it, then symbols whose file path contains it. "
        "Gives each symbol's id, which the other tools take.";
    tool.inputSchema = json::parse(R"({
      "type": "object",
      "properties": {
        "query": {"type": "string", "description": "Part of a symbol's name or file path"},
        "kind": {"type": "string", "enum": ["function", "method", "component", "class"]},
        "limit": {"type": "integer", "minimum": 1, "maximum": 200, "default": 20}
      },
      "required": ["query"]
    })");
    json match = json::parse(kRowSchema);
    match["properties"]["match"] = {{"type", "string"}, {"enum", {"exact", "prefix", "substring", "path"}}};
    tool.outputSchema = {{"type", "object"},
                         {"properties",
                          {{"query", {{"type", "string"}}},
                           {"total", {{"type", "integer"}}},
                           {"matches", {{"type", "array"}, {"items", match}}}}},
                         {"required", {"query", "total", "matches"}}};
    tool.call = [options](const json& arguments) {
        std::string query = stringArgument(arguments, "query");
        std::optional<SymbolKind> kind;
        if (auto raw = optionalString(arguments, "kind")) {
            kind = symbolKindFromRaw(*raw);
            if (!kind) throw InvalidParams("'kind' must be function, method, component or class");
        }
        auto limit = integerArgument(arguments, "limit", kDefaultFindLimit, 1, kMaxFindLimit);
        auto graph = currentGraph(*options);
        auto all = findSymbols(*graph, query, kind, std::numeric_limits<std::size_t>::max());
        static const char* const kMatchNames[] = {"exact", "prefix", "substring", "path"};
        json matches = json::array();
        std::string text;
        for (std::size_t i = 0; i < all.size() && i < static_cast<std::size_t>(limit); ++i) {
            ReachRow row = reachRow(all[i].id, *graph);
            json entry = rowJson(row);
            entry["match"] = kMatchNames[all[i].rank];
            matches.push_back(std::move(entry));
            text += row.id + "\t" + place(row) + "\n";
        }
        std::string head = all.empty() ? "No symbols match '" + query + "'."
                           : matches.size() < all.size()
                               ? std::to_string(all.size()) + " symbols match '" + query + "'; the first " +
                                     std::to_string(matches.size()) + ":"
                               : std::to_string(all.size()) +
                                     (all.size() == 1 ? " symbol matches '" : " symbols match '") + query + "':";
        return ToolResult{head + "\n" + text, json{{"query", query}, {"total", all.size()}, {"matches", matches}}};
    };
    return tool;
}

Tool blastRadiusTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "blast_radius";
    tool.title = "Blast radius";
    tool.description =
        "What a change to a symbol can break: the symbols that call it (level 1), those that call them (level 2), "
        "and so on up to `depth`, each with its file and line, and a count per level. Each level lists its first "
        "`limit` callers by file and line; `omitted` counts the rest.";
    tool.inputSchema = json::parse(kIdInput);
    tool.inputSchema["properties"]["depth"] = {
        {"type", "integer"}, {"minimum", 1}, {"maximum", kMaxToolDepth}, {"default", 3}};
    tool.inputSchema["properties"]["limit"] = {{"type", "integer"},
                                               {"minimum", 1},
                                               {"maximum", kMaxCallersPerLevel},
                                               {"default", kDefaultCallersPerLevel},
                                               {"description", "Callers listed per level; the count is complete"}};
    json level = {{"type", "object"},
                  {"properties",
                   {{"level", {{"type", "integer"}}},
                    {"count", {{"type", "integer"}}},
                    {"omitted", {{"type", "integer"}}},
                    {"callers", {{"type", "array"}, {"items", json::parse(kRowSchema)}}}}},
                  {"required", {"level", "count", "callers"}}};
    tool.outputSchema = withLookupError({{"type", "object"},
                                         {"properties",
                                          {{"id", {{"type", "string"}}},
                                           {"depth", {{"type", "integer"}}},
                                           {"summary", {{"type", "string"}}},
                                           {"callerCount", {{"type", "integer"}}},
                                           {"callerFileCount", {{"type", "integer"}}},
                                           {"levels", {{"type", "array"}, {"items", level}}}}},
                                         {"required", {"id", "depth", "summary", "callerCount", "levels"}}});
    tool.call = [options](const json& arguments) {
        std::string id = stringArgument(arguments, "id");
        auto depth = integerArgument(arguments, "depth", 3, 1, kMaxToolDepth);
        auto limit = static_cast<std::size_t>(
            integerArgument(arguments, "limit", kDefaultCallersPerLevel, 1, kMaxCallersPerLevel));
        auto graph = currentGraph(*options);
        auto found = lookUp(*graph, id);
        if (!found.symbol) return found.error;
        ImpactReach reach = impactReach(id, *graph, depth);
        std::string summary = reachSummary(reach);
        std::string text = id + " (depth " + std::to_string(depth) + "): " + summary + "\n";
        json levels = json::array();
        for (const auto& [level, rows] : reach.callers) {
            json callers = json::array();
            text += "Level " + std::to_string(level) + " (" + std::to_string(rows.size()) + "):\n";
            const std::size_t shown = std::min(limit, rows.size());
            for (std::size_t i = 0; i < shown; ++i) {
                callers.push_back(rowJson(rows[i]));
                text += "  " + rows[i].id + "\t" + place(rows[i]) + "\n";
            }
            if (shown < rows.size()) text += "  ... and " + std::to_string(rows.size() - shown) + " more\n";
            levels.push_back({{"level", level},
                              {"count", rows.size()},
                              {"omitted", rows.size() - shown},
                              {"callers", std::move(callers)}});
        }
        return ToolResult{text, json{{"id", id},
                                     {"depth", depth},
                                     {"summary", summary},
                                     {"callerCount", reach.callerCount},
                                     {"callerFileCount", reach.callerFileCount},
                                     {"levels", std::move(levels)}}};
    };
    return tool;
}

Tool calleesTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "callees";
    tool.title = "Callees";
    tool.description =
        "What a symbol calls directly, each with its file and line (calls to names outside the project that the "
        "scan recorded have no line).";
    tool.inputSchema = json::parse(kIdInput);
    tool.outputSchema = withLookupError({{"type", "object"},
                                         {"properties",
                                          {{"id", {{"type", "string"}}},
                                           {"count", {{"type", "integer"}}},
                                           {"callees", {{"type", "array"}, {"items", json::parse(kRowSchema)}}}}},
                                         {"required", {"id", "count", "callees"}}});
    tool.call = [options](const json& arguments) {
        std::string id = stringArgument(arguments, "id");
        auto graph = currentGraph(*options);
        auto found = lookUp(*graph, id);
        if (!found.symbol) return found.error;
        std::vector<ReachRow> rows;
        for (const auto& callee : found.symbol->refsOut) rows.push_back(reachRow(callee, *graph));
        std::sort(rows.begin(), rows.end(), reachRowBefore);
        json callees = json::array();
        std::string text = id + (rows.empty()       ? " calls nothing in the project.\n"
                                 : rows.size() == 1 ? " calls 1 symbol:\n"
                                                    : " calls " + std::to_string(rows.size()) + " symbols:\n");
        for (const auto& row : rows) {
            callees.push_back(rowJson(row));
            text += "  " + row.id + "\t" + place(row) + "\n";
        }
        return ToolResult{text, json{{"id", id}, {"count", rows.size()}, {"callees", std::move(callees)}}};
    };
    return tool;
}

Tool changesTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "changes";
    tool.title = "Working changes";
    tool.description =
        "What the uncommitted changes reach: the symbols that git's diff against `base` touches (added, modified, "
        "removed) and, level by level up to `depth`, the callers they reach. Needs the project in a git work tree.";
    tool.inputSchema = json::parse(R"({
      "type": "object",
      "properties": {
        "base": {"type": "string", "description": "The git revision to compare with; the server's base (HEAD unless started with --base) when left out"},
        "depth": {"type": "integer", "minimum": 1, "maximum": 12, "default": 3}
      }
    })");
    tool.call = [options](const json& arguments) {
        std::string base = optionalString(arguments, "base").value_or(options->defaultBase);
        if (base.empty()) throw InvalidParams("'base' must name a revision");
        auto depth = integerArgument(arguments, "depth", 3, 1, kMaxToolDepth);
        if (!options->changes) throw ToolFailure("changes are not available for this project");
        auto graph = currentGraph(*options);
        ChangesReport report = options->changes(*graph, base, depth);
        return ToolResult{renderChangesMarkdown(report), json::parse(renderChangesJson(report))};
    };
    return tool;
}

// The fence language of a file, for the text form.
std::string fenceLanguage(const std::string& file) {
    std::string ext =
        lowered(file.substr(file.find_last_of('.') == std::string::npos ? file.size() : file.find_last_of('.') + 1));
    if (ext == "py" || ext == "pyi") return "python";
    if (ext == "ts" || ext == "mts" || ext == "cts") return "typescript";
    if (ext == "tsx") return "tsx";
    if (ext == "jsx") return "jsx";
    if (ext == "js" || ext == "mjs" || ext == "cjs") return "javascript";
    return "";
}

Tool symbolSourceTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "symbol_source";
    tool.title = "Symbol source";
    tool.description = "A symbol's code as it is on disk now, with its file and line range.";
    tool.inputSchema = json::parse(kIdInput);
    tool.outputSchema = withLookupError(json::parse(R"({
      "type": "object",
      "properties": {
        "id": {"type": "string"}, "file": {"type": "string"},
        "startLine": {"type": "integer"}, "endLine": {"type": "integer"},
        "truncated": {"type": "boolean"}, "code": {"type": "string"}
      },
      "required": ["id", "file", "startLine", "endLine", "truncated", "code"]
    })"));
    tool.call = [options](const json& arguments) {
        std::string id = stringArgument(arguments, "id");
        auto graph = currentGraph(*options);
        auto found = lookUp(*graph, id);
        if (!found.symbol) return found.error;
        std::vector<std::string> callees;
        for (const auto& callee : found.symbol->refsOut) callees.push_back(reachRow(callee, *graph).name);
        std::sort(callees.begin(), callees.end());
        callees.erase(std::unique(callees.begin(), callees.end()), callees.end());
        std::string file = found.symbol->fileRelPath();
        SymbolSource source = loadSymbolSource(options->projectRoot, file, found.symbol->range, callees);
        if (!source.error.empty()) throw ToolFailure("cannot read " + file + ": " + source.error);
        std::string code;
        for (const auto& line : source.text.lines) code += line + "\n";
        std::int64_t first = source.text.firstLine;
        std::int64_t last = first + static_cast<std::int64_t>(source.text.lines.size()) - 1;
        std::string text = file + ":" + std::to_string(first) + "-" + std::to_string(last) +
                           (source.truncated ? " (cut short)" : "") + "\n```" + fenceLanguage(file) + "\n" + code +
                           "```\n";
        return ToolResult{text, json{{"id", id},
                                     {"file", file},
                                     {"startLine", first},
                                     {"endLine", last},
                                     {"truncated", source.truncated},
                                     {"code", code}}};
    };
    return tool;
}

Tool diagnosticsTool(std::shared_ptr<const GraphToolsOptions> options) {
    Tool tool;
    tool.name = "diagnostics";
    tool.title = "Unresolved imports";
    tool.description =
        "The imports the scan could not resolve, grouped by reason (files not found, ambiguous imports, no "
        "tsconfig, external packages), each import path with the files that import it. Calls through them have "
        "no edges in the graph.";
    tool.inputSchema = json::parse(R"({"type": "object", "properties": {}})");
    tool.outputSchema = json::parse(R"({
      "type": "object",
      "properties": {
        "total": {"type": "integer"},
        "sections": {"type": "array", "items": {
          "type": "object",
          "properties": {
            "reason": {"type": "string"}, "title": {"type": "string"}, "count": {"type": "integer"},
            "imports": {"type": "array", "items": {
              "type": "object",
              "properties": {
                "importPath": {"type": "string"}, "suggestion": {"type": "string"},
                "importers": {"type": "array", "items": {"type": "string"}}
              },
              "required": ["importPath", "importers"]
            }}
          },
          "required": ["reason", "title", "count", "imports"]
        }}
      },
      "required": ["total", "sections"]
    })");
    tool.call = [options](const json&) {
        auto graph = currentGraph(*options);
        auto sections = groupDiagnostics(graph->diagnostics);
        json out = json::array();
        std::size_t total = 0;
        std::string text;
        for (const auto& section : sections) {
            total += section.count;
            std::string title(sectionTitle(section.reason));
            text += title + " (" + std::to_string(section.count) + "):\n";
            json imports = json::array();
            for (const auto& import : section.imports) {
                json entry{{"importPath", import.importPath}, {"importers", import.importers}};
                text += "  " + import.importPath + " in ";
                for (std::size_t i = 0; i < import.importers.size(); ++i) text += (i ? ", " : "") + import.importers[i];
                if (import.suggestion) {
                    entry["suggestion"] = *import.suggestion;
                    text += " (" + *import.suggestion + ")";
                }
                text += "\n";
                imports.push_back(std::move(entry));
            }
            out.push_back({{"reason", rawValue(section.reason)},
                           {"title", title},
                           {"count", section.count},
                           {"imports", std::move(imports)}});
        }
        if (sections.empty()) text = "Every import resolved.\n";
        return ToolResult{text, json{{"total", total}, {"sections", std::move(out)}}};
    };
    return tool;
}

std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> previous(b.size() + 1), current(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) previous[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j)
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (a[i - 1] != b[j - 1])});
        std::swap(previous, current);
    }
    return previous[b.size()];
}

}  // namespace

std::vector<SymbolMatch> findSymbols(const ProjectIR& ir, std::string_view query, std::optional<SymbolKind> kind,
                                     std::size_t limit) {
    std::vector<SymbolMatch> matches;
    const std::string needle = lowered(query);
    if (needle.empty()) return matches;
    for (const auto& [id, symbol] : ir.symbols) {
        if (kind && symbol.kind != *kind) continue;
        std::string name = lowered(symbol.shortName());
        int rank = name == needle                                                    ? 0
                   : name.starts_with(needle)                                        ? 1
                   : name.find(needle) != std::string::npos                          ? 2
                   : lowered(symbol.fileRelPath()).find(needle) != std::string::npos ? 3
                                                                                     : -1;
        if (rank >= 0) matches.push_back({id, rank});
    }
    // The map gives ids in order, so a stable sort by rank leaves ties by id.
    std::stable_sort(matches.begin(), matches.end(),
                     [](const SymbolMatch& a, const SymbolMatch& b) { return a.rank < b.rank; });
    if (matches.size() > limit) matches.resize(limit);
    return matches;
}

std::vector<std::string> nearestIds(const ProjectIR& ir, std::string_view id, std::size_t count) {
    Symbol probe;
    probe.id = std::string(id);
    const std::string wanted = lowered(probe.shortName());
    std::vector<std::pair<std::size_t, const std::string*>> scored;
    scored.reserve(ir.symbols.size());
    for (const auto& [candidate, symbol] : ir.symbols)
        scored.emplace_back(editDistance(wanted, lowered(symbol.shortName())), &candidate);
    auto byDistanceThenId = [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : *a.second < *b.second;
    };
    std::size_t kept = std::min(count, scored.size());
    std::partial_sort(scored.begin(), scored.begin() + static_cast<std::ptrdiff_t>(kept), scored.end(),
                      byDistanceThenId);
    std::vector<std::string> out;
    for (std::size_t i = 0; i < kept; ++i) out.push_back(*scored[i].second);
    return out;
}

std::vector<Tool> makeGraphTools(GraphToolsOptions given) {
    auto options = std::make_shared<const GraphToolsOptions>(std::move(given));
    std::vector<Tool> tools{blastRadiusTool(options), calleesTool(options),     changesTool(options),
                            diagnosticsTool(options), findSymbolsTool(options), symbolSourceTool(options)};
    return tools;
}

std::string graphToolsInstructions() {
    return "Vantrel answers questions about this project's call graph (JavaScript, TypeScript and Python), kept up "
           "to date as files are saved. Use find_symbols to get a symbol's id from its name; blast_radius for what a "
           "change to it can break (its callers, level by level); callees for what it calls; symbol_source for its "
           "code; changes for what the uncommitted git changes reach; diagnostics for imports the scan could not "
           "resolve, where calls have no edges. Calls are found by name and import, so dynamic calls are missed.";
}

}  // namespace vantrel::mcp
