// The project graph: symbols with their call references, plus the imports that
// could not be resolved. Plain value data; everything else only reads it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

enum class SymbolKind { function, method, component, classType };

// "function", "method", "component", "class": the JSON text and the text inside ids.
std::string_view rawValue(SymbolKind kind);
std::optional<SymbolKind> symbolKindFromRaw(std::string_view raw);

struct TextRange {
    std::int64_t startLine = 0;
    std::int64_t startCol = 0;
    std::int64_t endLine = 0;
    std::int64_t endCol = 0;
    bool operator==(const TextRange&) const = default;
};

// Sets of symbol ids. Ordered so that every walk over them is deterministic.
using IdSet = std::set<std::string>;

struct Symbol {
    std::string id;
    SymbolKind kind = SymbolKind::function;
    TextRange range;
    IdSet refsIn;   // callers
    IdSet refsOut;  // callees
    bool operator==(const Symbol&) const = default;

    // Second ":"-piece of the id when there are two or more pieces, else the id.
    std::string shortName() const;
    // First ":"-piece of the id.
    std::string fileRelPath() const;
};

// Builds "path:name:kind".
std::string makeSymbolId(std::string_view fileRelPath, std::string_view name, SymbolKind kind);

struct ResolutionDiagnostic {
    enum class Reason { noTsConfig, externalModule, fileNotFound, ambiguousMatch };

    std::string importerPath;
    std::string importPath;
    Reason reason = Reason::fileNotFound;
    std::optional<std::string> suggestion;
    bool operator==(const ResolutionDiagnostic&) const = default;
};

std::string_view rawValue(ResolutionDiagnostic::Reason reason);
std::optional<ResolutionDiagnostic::Reason> reasonFromRaw(std::string_view raw);

// Symbols by id. The transparent order lets an id held as a view be looked up without
// copying it into a string first.
using SymbolMap = std::map<std::string, Symbol, std::less<>>;

struct ProjectIR {
    std::string projectId;
    double lastScan = 0;  // seconds since 2001-01-01T00:00:00Z
    SymbolMap symbols;
    std::vector<ResolutionDiagnostic> diagnostics;
};

// Splits text at every ':' keeping empty pieces.
std::vector<std::string_view> splitId(std::string_view id);

}  // namespace vantrel

template <>
struct std::hash<vantrel::TextRange> {
    std::size_t operator()(const vantrel::TextRange& r) const noexcept;
};
template <>
struct std::hash<vantrel::Symbol> {
    std::size_t operator()(const vantrel::Symbol& s) const noexcept;
};
template <>
struct std::hash<vantrel::ResolutionDiagnostic> {
    std::size_t operator()(const vantrel::ResolutionDiagnostic& d) const noexcept;
};
