// Diagnostics grouped as the sidebar lists them: sections by reason with the project's own
// failures first and outside packages last, import paths sorted with their importers each
// once, and a filter that reads import paths and importing files alike.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/resolution/DiagnosticGroups.h"

namespace vantrel {
namespace {

using Reason = ResolutionDiagnostic::Reason;

const std::vector<ResolutionDiagnostic> kDiagnostics{
    {"src/ui/App.tsx", "react", Reason::externalModule, "Module 'react' is external (not scanned)"},
    {"src/b.ts", "./missing", Reason::fileNotFound, std::nullopt},
    {"src/a.ts", "./missing", Reason::fileNotFound, "Did you mean ./missing.ts?"},
    {"src/main.ts", "react", Reason::externalModule, "Module 'react' is external (not scanned)"},
    {"src/a.ts", "./missing", Reason::fileNotFound, "Did you mean ./missing.ts?"},  // twice in one file
    {"src/a.ts", "@app/util", Reason::noTsConfig, std::nullopt},
    {"tools/Build.py", "os", Reason::externalModule, std::nullopt},
    {"src/c.ts", "./dup", Reason::ambiguousMatch, std::nullopt},
};

TEST(DiagnosticGroups, SectionsByReasonImportsByPathImportersOnce) {
    const auto sections = groupDiagnostics(kDiagnostics);
    ASSERT_EQ(sections.size(), 4u);
    EXPECT_EQ(sections[0].reason, Reason::fileNotFound);
    EXPECT_EQ(sections[1].reason, Reason::ambiguousMatch);
    EXPECT_EQ(sections[2].reason, Reason::noTsConfig);
    EXPECT_EQ(sections[3].reason, Reason::externalModule);
    EXPECT_FALSE(sections[0].external());
    EXPECT_TRUE(sections[3].external());

    ASSERT_EQ(sections[0].imports.size(), 1u);
    EXPECT_EQ(sections[0].imports[0].importPath, "./missing");
    EXPECT_EQ(sections[0].imports[0].importers, (std::vector<std::string>{"src/a.ts", "src/b.ts"}));
    EXPECT_EQ(sections[0].imports[0].suggestion, "Did you mean ./missing.ts?");
    EXPECT_EQ(sections[0].count, 2u);

    ASSERT_EQ(sections[3].imports.size(), 2u);
    EXPECT_EQ(sections[3].imports[0].importPath, "os");
    EXPECT_EQ(sections[3].imports[0].suggestion, std::nullopt);
    EXPECT_EQ(sections[3].imports[1].importPath, "react");
    EXPECT_EQ(sections[3].imports[1].importers, (std::vector<std::string>{"src/main.ts", "src/ui/App.tsx"}));
    EXPECT_EQ(sections[3].count, 3u);

    EXPECT_EQ(sectionTitle(Reason::externalModule), "External packages");
    EXPECT_TRUE(groupDiagnostics({}).empty());
}

TEST(DiagnosticGroups, FilterReadsImportPathsAndImportersBlindToCase) {
    // An importer matches: only that importer stays under its imports.
    auto sections = groupDiagnostics(kDiagnostics, "SRC/A.");
    ASSERT_EQ(sections.size(), 2u);
    EXPECT_EQ(sections[0].imports[0].importers, (std::vector<std::string>{"src/a.ts"}));
    EXPECT_EQ(sections[1].reason, Reason::noTsConfig);

    // An import path matches: all its importers stay.
    sections = groupDiagnostics(kDiagnostics, "reAct");
    ASSERT_EQ(sections.size(), 1u);
    EXPECT_EQ(sections[0].imports[0].importers.size(), 2u);

    EXPECT_TRUE(groupDiagnostics(kDiagnostics, "nothing like it").empty());
}

}  // namespace
}  // namespace vantrel
