#include "core/resolution/JSImportResolution.h"

#include "core/resolution/ProjectPackages.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {
ResolutionDiagnostic diagnostic(std::string_view importerRel, std::string_view specifier,
                                ResolutionDiagnostic::Reason reason, std::string suggestion) {
    return ResolutionDiagnostic{std::string(importerRel), std::string(specifier), reason, std::move(suggestion)};
}
}  // namespace

std::string_view unquotedImportSpec(std::string_view rawText) {
    constexpr std::string_view quotes = "\"'`";
    auto begin = rawText.find_first_not_of(quotes);
    if (begin == std::string_view::npos) return {};
    auto end = rawText.find_last_not_of(quotes);
    return rawText.substr(begin, end - begin + 1);
}

JSImportResolution resolveJSImportSource(std::string_view rawText, std::string_view filePath, std::string_view rootPath,
                                         const TSConfigResolver* tsconfig, std::string_view importerRel,
                                         const ProjectPackages* packages) {
    using Reason = ResolutionDiagnostic::Reason;
    std::string_view specifier = unquotedImportSpec(rawText);
    std::string quoted = "'" + std::string(specifier) + "'";

    if (specifier.starts_with(".")) {
        // Relative: beside the importer only; the path mapping plays no part.
        std::string base = resolvePath(deletingLastPathComponent(standardizePath(filePath)), specifier);
        if (auto hit = TSConfigResolver::firstExistingFile(base)) return {relativePath(*hit, rootPath), std::nullopt};
        return {std::nullopt,
                diagnostic(importerRel, specifier, Reason::fileNotFound, "File " + quoted + " does not exist")};
    }
    if (tsconfig) {
        if (auto hit = tsconfig->resolveNonRelative(specifier)) return {relativePath(*hit, rootPath), std::nullopt};
    }
    if (packages) {
        if (auto hit = packages->resolve(specifier)) return {relativePath(*hit, rootPath), std::nullopt};
    }
    if (specifier.starts_with("@/")) {
        std::string suggestion = "Could not resolve " + quoted + " \u2192 No paths mapping found in tsconfig.json";
        return {std::nullopt, diagnostic(importerRel, specifier, Reason::noTsConfig, std::move(suggestion))};
    }
    return {std::nullopt, diagnostic(importerRel, specifier, Reason::externalModule,
                                     "Module " + quoted + " is external (not scanned)")};
}

}  // namespace vantrel
