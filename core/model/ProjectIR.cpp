#include "core/model/ProjectIR.h"

#include <functional>

namespace vantrel {

std::string_view rawValue(SymbolKind kind) {
    switch (kind) {
        case SymbolKind::function: return "function";
        case SymbolKind::method: return "method";
        case SymbolKind::component: return "component";
        case SymbolKind::classType: return "class";
    }
    return "function";
}

std::optional<SymbolKind> symbolKindFromRaw(std::string_view raw) {
    if (raw == "function") return SymbolKind::function;
    if (raw == "method") return SymbolKind::method;
    if (raw == "component") return SymbolKind::component;
    if (raw == "class") return SymbolKind::classType;
    return std::nullopt;
}

std::string_view rawValue(ResolutionDiagnostic::Reason reason) {
    using R = ResolutionDiagnostic::Reason;
    switch (reason) {
        case R::noTsConfig: return "noTsConfig";
        case R::externalModule: return "externalModule";
        case R::fileNotFound: return "fileNotFound";
        case R::ambiguousMatch: return "ambiguousMatch";
    }
    return "fileNotFound";
}

std::optional<ResolutionDiagnostic::Reason> reasonFromRaw(std::string_view raw) {
    using R = ResolutionDiagnostic::Reason;
    if (raw == "noTsConfig") return R::noTsConfig;
    if (raw == "externalModule") return R::externalModule;
    if (raw == "fileNotFound") return R::fileNotFound;
    if (raw == "ambiguousMatch") return R::ambiguousMatch;
    return std::nullopt;
}

std::vector<std::string_view> splitId(std::string_view id) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (true) {
        auto colon = id.find(':', start);
        if (colon == std::string_view::npos) {
            pieces.push_back(id.substr(start));
            return pieces;
        }
        pieces.push_back(id.substr(start, colon - start));
        start = colon + 1;
    }
}

std::string Symbol::shortName() const {
    auto pieces = splitId(id);
    return pieces.size() >= 2 ? std::string(pieces[1]) : id;
}

std::string Symbol::fileRelPath() const { return std::string(splitId(id).front()); }

std::string makeSymbolId(std::string_view fileRelPath, std::string_view name, SymbolKind kind) {
    std::string id;
    auto kindText = rawValue(kind);
    id.reserve(fileRelPath.size() + name.size() + kindText.size() + 2);
    id.append(fileRelPath).append(":").append(name).append(":").append(kindText);
    return id;
}

}  // namespace vantrel

namespace {
inline void combine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}
}  // namespace

std::size_t std::hash<vantrel::TextRange>::operator()(const vantrel::TextRange& r) const noexcept {
    std::size_t seed = 0;
    for (auto v : {r.startLine, r.startCol, r.endLine, r.endCol}) combine(seed, std::hash<std::int64_t>{}(v));
    return seed;
}

std::size_t std::hash<vantrel::Symbol>::operator()(const vantrel::Symbol& s) const noexcept {
    std::size_t seed = std::hash<std::string>{}(s.id);
    combine(seed, std::hash<std::string_view>{}(vantrel::rawValue(s.kind)));
    combine(seed, std::hash<vantrel::TextRange>{}(s.range));
    // The sets are ordered, so walking them feeds the same sequence for equal sets.
    for (const auto& ref : s.refsIn) combine(seed, std::hash<std::string>{}(ref));
    combine(seed, 0x1);
    for (const auto& ref : s.refsOut) combine(seed, std::hash<std::string>{}(ref));
    return seed;
}

std::size_t std::hash<vantrel::ResolutionDiagnostic>::operator()(
    const vantrel::ResolutionDiagnostic& d) const noexcept {
    std::size_t seed = std::hash<std::string>{}(d.importerPath);
    combine(seed, std::hash<std::string>{}(d.importPath));
    combine(seed, std::hash<std::string_view>{}(vantrel::rawValue(d.reason)));
    combine(seed, d.suggestion ? std::hash<std::string>{}(*d.suggestion) : 0x5bd1e995);
    return seed;
}
