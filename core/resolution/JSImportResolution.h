// Turns the source text of one JS family import into a project file, or into the
// diagnostic that says why not. Relative sources are looked up beside the importing file;
// everything else goes through the project's TSConfigResolver, when there is one.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/model/ProjectIR.h"

namespace vantrel {

class ProjectPackages;
class TSConfigResolver;

// Exactly one of the two is set.
struct JSImportResolution {
    std::optional<std::string> resolved;             // the file as relativePath(file, root) gives it
    std::optional<ResolutionDiagnostic> diagnostic;  // fileNotFound, noTsConfig or externalModule
};

// `rawText` is the string node's text, quotes included; `filePath` the importing file and
// `rootPath` the project root, both absolute; `importerRel` the importer's relative path.
// With `packages` (precise linking), a non-relative import that the path mapping leaves
// open may name one of the project's own packages.
JSImportResolution resolveJSImportSource(std::string_view rawText, std::string_view filePath, std::string_view rootPath,
                                         const TSConfigResolver* tsconfig, std::string_view importerRel,
                                         const ProjectPackages* packages = nullptr);

// The import text without its surrounding quotes and backticks, as diagnostics show it.
std::string_view unquotedImportSpec(std::string_view rawText);

}  // namespace vantrel
