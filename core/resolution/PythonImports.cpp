#include "core/resolution/PythonImports.h"

#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

// Pieces between dots; empty pieces (from "a..b" or a leading dot) are left out.
std::vector<std::string_view> dottedComponents(std::string_view text) {
    std::vector<std::string_view> pieces;
    for (auto piece : splitKeepingEmpty(text, "."))
        if (!piece.empty()) pieces.push_back(piece);
    return pieces;
}

// Trimmed, non-empty pieces of a comma-separated list, in order.
std::vector<std::string_view> listItems(std::string_view text) {
    std::vector<std::string_view> items;
    for (auto piece : splitKeepingEmpty(text, ",")) {
        auto item = trimWhitespace(piece);
        if (!item.empty()) items.push_back(item);
    }
    return items;
}

std::vector<ImportEntry> parseImportForm(std::string_view rest) {
    std::vector<ImportEntry> entries;
    for (auto item : listItems(rest)) {
        AsSplit split = splitAs(item);
        ImportEntry entry;
        if (split.alias) {
            entry.localName = *split.alias;
        } else {
            auto components = dottedComponents(split.module);
            entry.localName = components.empty() ? split.module : std::string(components.front());
        }
        entry.moduleSpec = split.module;
        entry.displayImportPath = split.module;
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::vector<ImportEntry> parseFromForm(std::string_view rest) {
    // Searched behind "from " only, so "from import x" finds nothing rather than a
    // keyword that overlaps the "from ".
    constexpr std::string_view keyword = " import ";
    auto at = rest.find(keyword);
    if (at == std::string_view::npos) return {};
    std::string module(trimWhitespace(rest.substr(0, at)));
    std::vector<ImportEntry> entries;
    for (auto item : listItems(trimWhitespace(rest.substr(at + keyword.size())))) {
        AsSplit split = splitAs(item);
        const std::string& name = split.module;
        ImportEntry entry;
        if (split.alias) {
            entry.localName = *split.alias;
        } else {
            auto components = dottedComponents(name);
            entry.localName = components.empty() ? name : std::string(components.back());
        }
        entry.moduleSpec = module;
        entry.displayImportPath = module + std::string(keyword) + name;
        entry.preferSubmodule = true;
        entry.submoduleName = name;
        entries.push_back(std::move(entry));
    }
    return entries;
}

// name/__init__.py, then name.py, below `base`.
std::optional<std::string> resolveDotted(const std::string& base, std::string_view name) {
    std::string path = base;
    for (auto piece : dottedComponents(name)) path = appendPathComponent(path, piece);
    std::string package = appendPathComponent(path, "__init__.py");
    if (pathExists(package)) return package;
    std::string module = path + ".py";
    if (pathExists(module)) return module;
    return std::nullopt;
}

}  // namespace

AsSplit splitAs(std::string_view text) {
    auto pieces = splitKeepingEmpty(text, " as ");
    if (pieces.size() == 2) {
        auto module = trimWhitespace(pieces[0]);
        auto alias = trimWhitespace(pieces[1]);
        if (!module.empty() && !alias.empty()) return AsSplit{std::string(module), std::string(alias)};
    }
    return AsSplit{std::string(text), std::nullopt};
}

LeadingDots splitLeadingDots(std::string_view moduleSpec) {
    std::size_t count = 0;
    while (count < moduleSpec.size() && moduleSpec[count] == '.') ++count;
    return LeadingDots{count, std::string(moduleSpec.substr(count))};
}

std::vector<ImportEntry> parsePythonImportStatement(std::string_view text) {
    std::string flat = replaceAll(text, "\n", " ");
    std::string_view statement = trimWhitespace(flat);
    if (statement.starts_with("import ")) return parseImportForm(statement.substr(7));
    if (statement.starts_with("from ")) return parseFromForm(statement.substr(5));
    return {};
}

PythonResolution resolvePythonModule(std::string_view moduleSpec, std::string_view importingFile,
                                     std::string_view rootPath, bool preferSubmodule,
                                     const std::optional<std::string>& submoduleName) {
    std::string_view specifier = trimWhitespace(moduleSpec);
    if (specifier.empty()) return PythonResolution::notFound();
    LeadingDots dots = splitLeadingDots(specifier);

    std::string base = deletingLastPathComponent(standardizePath(importingFile));
    for (std::size_t up = 1; up < dots.dotCount; ++up) base = deletingLastPathComponent(base);

    if (dots.dotCount == 0) {
        base = standardizePath(rootPath);
        auto components = dottedComponents(dots.remainder);
        std::string top = components.empty() ? dots.remainder : std::string(components.front());
        if (!pathExists(appendPathComponent(base, top)) && !pathExists(appendPathComponent(base, top + ".py")))
            return PythonResolution::external();
    }

    auto found = [&](const std::string& file) { return PythonResolution::resolved(relativePath(file, rootPath)); };

    if (preferSubmodule && submoduleName && !submoduleName->empty()) {
        std::string dotted = dots.remainder.empty() ? *submoduleName : dots.remainder + "." + *submoduleName;
        if (auto hit = resolveDotted(base, dotted)) return found(*hit);
    }
    if (!dots.remainder.empty()) {
        if (auto hit = resolveDotted(base, dots.remainder)) return found(*hit);
        return PythonResolution::notFound();
    }
    std::string package = appendPathComponent(base, "__init__.py");
    if (pathExists(package)) return found(package);
    return PythonResolution::notFound();
}

PythonResolution resolvePythonModuleForLinking(std::string_view moduleSpec, std::string_view importingFile,
                                               std::string_view rootPath, bool preferSubmodule,
                                               const std::optional<std::string>& submoduleName) {
    PythonResolution resolution =
        resolvePythonModule(moduleSpec, importingFile, rootPath, preferSubmodule, submoduleName);
    if (resolution.outcome != PythonResolution::Outcome::external) return resolution;
    const std::string sourceRoot = appendPathComponent(standardizePath(rootPath), "src");
    if (!isDirectory(sourceRoot)) return resolution;
    PythonResolution below = resolvePythonModule(moduleSpec, importingFile, sourceRoot, preferSubmodule, submoduleName);
    if (below.outcome != PythonResolution::Outcome::resolved) return resolution;
    return PythonResolution::resolved("src/" + below.path);
}

std::optional<ResolutionDiagnostic> pythonImportDiagnostic(const PythonResolution& resolution,
                                                           std::string_view importerPath,
                                                           std::string_view displayImportPath) {
    std::string shown(displayImportPath);
    switch (resolution.outcome) {
        case PythonResolution::Outcome::resolved: return std::nullopt;
        case PythonResolution::Outcome::external:
            return ResolutionDiagnostic{std::string(importerPath), shown, ResolutionDiagnostic::Reason::externalModule,
                                        "Module '" + shown + "' is external (not scanned)"};
        case PythonResolution::Outcome::notFound:
            return ResolutionDiagnostic{std::string(importerPath), shown, ResolutionDiagnostic::Reason::fileNotFound,
                                        "Could not resolve '" + shown + "' \u2192 file not found"};
    }
    return std::nullopt;
}

}  // namespace vantrel
