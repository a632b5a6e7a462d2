#include <gtest/gtest.h>

#include "core/impact/ProjectDiff.h"
#include "core/impact/ProjectDiffJson.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

using Edge = ProjectDiffResult::Edge;

const std::string kMain = "a.ts:main:function";
const std::string kHelper = "a.ts:helper:function";
const std::string kOld = "b.ts:old:function";
const std::string kThingClass = "b.ts:Thing:class";
const std::string kThingFunction = "b.ts:Thing:function";
const std::string kFresh = "d.ts:fresh:function";
const std::string kUpper = "Z.ts:upper:function";
const std::string kExternal = "ext/lib.js:x:function";  // never a symbol
const std::string kGhost = "q.ts:ghost:function";       // only ever in a refsIn

ProjectIR baseline() {
    testing::GraphBuilder b;
    b.symbol(kMain).symbol(kHelper).symbol(kOld).symbol(kThingClass, SymbolKind::classType);
    b.call(kMain, kHelper).call(kMain, kOld).call(kHelper, kOld).call(kThingClass, kHelper);
    return b.build();
}

// The next scan: old is gone but main still lists it, Thing became a function, main now
// reaches helper through fresh, helper moved in its file, and a refsIn entry without
// its refsOut counterpart must not count as an edge.
ProjectIR current() {
    testing::GraphBuilder b;
    b.symbol(kMain).symbol(kHelper).symbol(kThingFunction).symbol(kFresh).symbol(kUpper);
    b.call(kMain, kOld).call(kMain, kFresh).call(kMain, kExternal).call(kFresh, kHelper).call(kThingFunction, kHelper);
    ProjectIR ir = b.build();
    ir.symbols[kHelper].range = TextRange{40, 1, 52, 2};
    ir.symbols[kHelper].refsIn.insert(kGhost);
    ir.projectId = "-17";
    ir.lastScan = 1234.5;
    return ir;
}

TEST(ProjectDiff, ReportsSymbolsAndEdgesInCodePointAndEdgeOrder) {
    const ProjectDiffResult result = ProjectDiff::diff(baseline(), current());
    EXPECT_EQ(result.addedSymbols, (std::vector<std::string>{kUpper, kThingFunction, kFresh}));
    EXPECT_EQ(result.removedSymbols, (std::vector<std::string>{kThingClass, kOld}));
    // main -> old survives: the edge is listed in both graphs, symbol or not.
    EXPECT_EQ(result.addedEdges,
              (std::vector<Edge>{{kMain, kFresh}, {kMain, kExternal}, {kThingFunction, kHelper}, {kFresh, kHelper}}));
    EXPECT_EQ(result.removedEdges, (std::vector<Edge>{{kHelper, kOld}, {kMain, kHelper}, {kThingClass, kHelper}}));
}

TEST(ProjectDiff, GraphAgainstItselfIsEmptyAtEveryLevel) {
    const ProjectIR ir = current();
    EXPECT_EQ(ProjectDiff::diff(ir, ir), ProjectDiffResult{});
    const auto delta = ProjectDiff::blastRadiusDelta(kHelper, ir, ir, 4);
    ASSERT_EQ(delta.size(), 4u);
    for (const auto& [level, pair] : delta) EXPECT_EQ(pair, LevelDelta{}) << "level " << level;
}

TEST(ProjectDiff, BlastRadiusDeltaComparesLevelByLevel) {
    const ProjectIR before = baseline();
    const ProjectIR after = current();

    // main moved from level 1 to level 2; level 3 is empty but present.
    const std::map<int, LevelDelta> expected{
        {1, {{kThingFunction, kFresh, kGhost}, {kMain, kThingClass}}},
        {2, {{kMain}, {}}},
        {3, {{}, {}}},
    };
    EXPECT_EQ(ProjectDiff::blastRadiusDelta(kHelper, before, after, 3), expected);

    // A target only in the new graph: everything is added.
    const std::map<int, LevelDelta> fresh{{1, {{kMain}, {}}}, {2, {{}, {}}}};
    EXPECT_EQ(ProjectDiff::blastRadiusDelta(kFresh, before, after, 2), fresh);

    const auto nowhere = ProjectDiff::blastRadiusDelta("x.ts:none:function", before, after, 2);
    EXPECT_EQ(nowhere, (std::map<int, LevelDelta>{{1, {}}, {2, {}}}));
    EXPECT_TRUE(ProjectDiff::blastRadiusDelta(kHelper, before, after, 0).empty());
    EXPECT_TRUE(ProjectDiff::blastRadiusDelta(kHelper, before, after, -1).empty());
}

TEST(ProjectDiffJson, RoundTripsAndRejectsIncompleteRecords) {
    const ProjectDiffResult result = ProjectDiff::diff(baseline(), current());
    const std::string text = dumpJson(projectDiffResultToJson(result), true);
    EXPECT_EQ(decodeProjectDiffResult(text), result);
    EXPECT_EQ(decodeProjectDiffResult(R"({"addedSymbols":[],"removedSymbols":[],"addedEdges":[],"removedEdges":[]})"),
              ProjectDiffResult{});

    const char* broken[] = {
        R"({"addedSymbols":[],"removedSymbols":[],"addedEdges":[]})",
        R"({"addedSymbols":[1],"removedSymbols":[],"addedEdges":[],"removedEdges":[]})",
        R"({"addedSymbols":[],"removedSymbols":[],"addedEdges":[{"fromId":"a"}],"removedEdges":[]})",
        R"({"addedSymbols":[],"removedSymbols":[],"addedEdges":[],"removedEdges":[["a","b"]]})",
        R"({"addedSymbols":null,"removedSymbols":[],"addedEdges":[],"removedEdges":[]})",
        R"([])",
        R"({"addedSymbols":[)",
    };
    for (const char* json : broken) EXPECT_THROW(decodeProjectDiffResult(json), DecodeError) << json;
}

}  // namespace
}  // namespace vantrel
