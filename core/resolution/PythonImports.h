// Python imports are read from the text of one import statement, not from its syntax
// tree, and resolved to files of the project by existence tests alone. The only search
// root for an absolute import is the project root: no search path, no virtual
// environment, no guessing of source folders.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

// One imported name of a statement.
struct ImportEntry {
    std::string localName;                     // key for the file's imports map
    std::string moduleSpec;                    // module as written, leading dots included
    std::string displayImportPath;             // what diagnostics show
    bool preferSubmodule = false;              // `from` imports: the imported name may be a submodule
    std::optional<std::string> submoduleName;  // the imported name, for `from` imports
    bool operator==(const ImportEntry&) const = default;
};

struct PythonResolution {
    enum class Outcome { resolved, external, notFound };

    Outcome outcome = Outcome::notFound;
    std::string path;  // only for `resolved`: the file as relativePath() gives it

    static PythonResolution resolved(std::string path) { return {Outcome::resolved, std::move(path)}; }
    static PythonResolution external() { return {Outcome::external, {}}; }
    static PythonResolution notFound() { return {Outcome::notFound, {}}; }
    bool operator==(const PythonResolution&) const = default;
};

struct AsSplit {
    std::string module;
    std::optional<std::string> alias;
    bool operator==(const AsSplit&) const = default;
};

struct LeadingDots {
    std::size_t dotCount = 0;
    std::string remainder;
    bool operator==(const LeadingDots&) const = default;
};

// Cuts at every " as " and trims the pieces. Exactly two non-empty pieces give module
// and alias; anything else gives the text unchanged and no alias.
AsSplit splitAs(std::string_view text);

// The "." characters at the start, and the text behind them.
LeadingDots splitLeadingDots(std::string_view moduleSpec);

// The entries of one `import ...` or `from ... import ...` statement, in order. Purely
// textual: line feeds become blanks, parentheses and backslashes stay in the names, and
// `*` is a name like any other. Text of no known form gives no entries.
std::vector<ImportEntry> parsePythonImportStatement(std::string_view text);

// Finds the file of a module. Relative specs start at the importing file's folder (one
// dot) or above it; absolute ones at the root, and only when their top-level name exists
// there, else they are external. A package's __init__.py wins over a module file of the
// same name, and an imported submodule wins over the package it is imported from.
PythonResolution resolvePythonModule(std::string_view moduleSpec, std::string_view importingFile,
                                     std::string_view rootPath, bool preferSubmodule,
                                     const std::optional<std::string>& submoduleName);

// The same for precise linking, which also knows the `src/` layout: an absolute import
// that the root does not hold is looked for below <root>/src (a package there is imported
// by its name); a file found there keeps its path from the project root.
PythonResolution resolvePythonModuleForLinking(std::string_view moduleSpec, std::string_view importingFile,
                                               std::string_view rootPath, bool preferSubmodule,
                                               const std::optional<std::string>& submoduleName);

// The diagnostic for an entry that did not resolve; nothing for a resolved one.
std::optional<ResolutionDiagnostic> pythonImportDiagnostic(const PythonResolution& resolution,
                                                           std::string_view importerPath,
                                                           std::string_view displayImportPath);

}  // namespace vantrel
