// A scan's diagnostics as a reader goes through them: one section per reason, imports that
// point into the project and fail first, packages outside it (dependencies, the standard
// library) last; within a section one entry per import path with the files that import
// it. A filter keeps the entries whose import path or importing file holds its text.
// Everything comes out sorted, so the same diagnostics always read the same.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"

namespace vantrel {

struct DiagnosticImport {
    std::string importPath;
    std::optional<std::string> suggestion;  // the first one given, in importer order
    std::vector<std::string> importers;     // sorted, each once
};

struct DiagnosticSection {
    ResolutionDiagnostic::Reason reason;
    std::vector<DiagnosticImport> imports;  // by import path
    // The section's import and importer pairs, each once: a file that imports a path twice
    // is one row to fix, though the scan reports each import.
    std::size_t count = 0;
    // A package outside the project: what to install or ignore rather than to fix.
    [[nodiscard]] bool external() const { return reason == ResolutionDiagnostic::Reason::externalModule; }
};

// Sections in the order: files not found, ambiguous imports, no tsconfig, external
// packages; empty sections are left out. `filter` matches case-blind (ASCII) as a
// substring; an import path that matches keeps all its importers.
[[nodiscard]] std::vector<DiagnosticSection> groupDiagnostics(const std::vector<ResolutionDiagnostic>& diagnostics,
                                                              std::string_view filter = {});

// The section's heading: "Files not found", "Ambiguous imports", "No tsconfig.json",
// "External packages".
[[nodiscard]] std::string_view sectionTitle(ResolutionDiagnostic::Reason reason);

}  // namespace vantrel
