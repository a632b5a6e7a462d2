#include "core/resolution/DiagnosticGroups.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "core/util/Text.h"

namespace vantrel {

namespace {

using Reason = ResolutionDiagnostic::Reason;

constexpr std::array<Reason, 4> kSectionOrder{Reason::fileNotFound, Reason::ambiguousMatch, Reason::noTsConfig,
                                              Reason::externalModule};

bool containsFolded(std::string_view text, std::string_view needle) {
    if (needle.empty()) return true;
    auto at = std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                          [](char a, char b) { return asciiLower(a) == asciiLower(b); });
    return at != text.end();
}

}  // namespace

std::string_view sectionTitle(Reason reason) {
    switch (reason) {
        case Reason::fileNotFound: return "Files not found";
        case Reason::ambiguousMatch: return "Ambiguous imports";
        case Reason::noTsConfig: return "No tsconfig.json";
        case Reason::externalModule: return "External packages";
    }
    return "Files not found";
}

std::vector<DiagnosticSection> groupDiagnostics(const std::vector<ResolutionDiagnostic>& diagnostics,
                                                std::string_view filter) {
    // reason -> import path -> importer -> its suggestion
    std::map<Reason, std::map<std::string_view, std::map<std::string_view, const std::optional<std::string>*>>> sorted;
    for (const ResolutionDiagnostic& d : diagnostics) {
        if (!containsFolded(d.importPath, filter) && !containsFolded(d.importerPath, filter)) continue;
        sorted[d.reason][d.importPath].emplace(d.importerPath, &d.suggestion);
    }
    std::vector<DiagnosticSection> sections;
    for (Reason reason : kSectionOrder) {
        auto found = sorted.find(reason);
        if (found == sorted.end()) continue;
        DiagnosticSection section{reason, {}, 0};
        for (const auto& [importPath, importers] : found->second) {
            DiagnosticImport entry{std::string(importPath), std::nullopt, {}};
            for (const auto& [importer, suggestion] : importers) {
                if (!entry.suggestion && *suggestion) entry.suggestion = **suggestion;
                entry.importers.emplace_back(importer);
            }
            section.count += entry.importers.size();
            section.imports.push_back(std::move(entry));
        }
        sections.push_back(std::move(section));
    }
    return sections;
}

}  // namespace vantrel
