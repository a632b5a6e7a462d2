#include <gtest/gtest.h>

#include "core/impact/DiffLists.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

const std::string kMain = "app.ts:main:function";
const std::string kLoad = "app.ts:load:function";
const std::string kRender = "app.ts:render:function";
const std::string kQuery = "db.ts:query:function";
const std::string kPaint = "ui.ts:paint:function";
const std::string kLegacy = "old.ts:legacy:function";
const std::string kLookup = "cache.ts:lookup:function";
const std::string kLog = "ext.js:log:function";  // never a symbol

void place(ProjectIR& ir, const std::string& id, std::int64_t start, std::int64_t end) {
    ir.symbols[id].range = TextRange{start, 0, end, 1};
}

ProjectIR before() {
    testing::GraphBuilder b;
    b.symbol(kMain).symbol(kLoad).symbol(kRender).symbol(kQuery).symbol(kPaint).symbol(kLegacy);
    b.call(kMain, kLoad).call(kMain, kRender).call(kLoad, kQuery).call(kRender, kPaint).call(kLegacy, kQuery);
    ProjectIR ir = b.build();
    place(ir, kMain, 1, 5);
    place(ir, kLoad, 10, 14);
    place(ir, kRender, 20, 30);
    place(ir, kQuery, 1, 9);
    place(ir, kPaint, 1, 4);
    place(ir, kLegacy, 7, 9);
    return ir;
}

// A day later: legacy is gone, load caches through the new lookup, query grew, main no
// longer renders, paint logs, and render only moved down two lines.
ProjectIR after() {
    testing::GraphBuilder b;
    b.symbol(kMain).symbol(kLoad).symbol(kRender).symbol(kQuery).symbol(kPaint).symbol(kLookup);
    b.call(kMain, kLoad).call(kLoad, kQuery).call(kLoad, kLookup).call(kLookup, kQuery);
    b.call(kRender, kPaint).call(kPaint, kLog);
    ProjectIR ir = b.build();
    place(ir, kMain, 1, 5);
    place(ir, kLoad, 12, 16);
    place(ir, kRender, 22, 32);
    place(ir, kQuery, 1, 12);
    place(ir, kPaint, 1, 4);
    place(ir, kLookup, 3, 8);
    return ir;
}

ReachRow row(const std::string& id, std::int64_t line) {
    const auto pieces = splitId(id);
    return ReachRow{id, std::string(pieces[1]), SymbolKind::function, std::string(pieces[0]), line};
}

ReachRow external(const std::string& id) {
    return ReachRow{id, "log", SymbolKind::function, "ext.js", std::nullopt};
}

TEST(DiffLists, NamesEveryChangeWithTheLevelAtWhichItTouchesTheReach) {
    const ProjectIR old = before(), now = after();
    const DiffLists lists = diffLists(old, now, ProjectDiff::diff(old, now), kQuery, 3);
    // Reach of query: load and lookup (now) and legacy (then) call it; main calls load.
    EXPECT_EQ(lists.addedSymbols, (std::vector<DiffSymbolRow>{{row(kLookup, 3), 1}}));
    EXPECT_EQ(lists.removedSymbols, (std::vector<DiffSymbolRow>{{row(kLegacy, 7), 1}}));
    EXPECT_EQ(lists.changedSymbols, (std::vector<DiffSymbolRow>{{row(kQuery, 1), 0},
                                                                 {row(kLoad, 12), 1},
                                                                 {row(kMain, 1), 2},
                                                                 {row(kPaint, 1), std::nullopt}}));
    EXPECT_EQ(lists.addedEdges, (std::vector<DiffEdgeRow>{{row(kLookup, 3), row(kQuery, 1), 0},
                                                           {row(kLoad, 12), row(kLookup, 3), 1},
                                                           {row(kPaint, 1), external(kLog), std::nullopt}}));
    EXPECT_EQ(lists.removedEdges, (std::vector<DiffEdgeRow>{{row(kLegacy, 7), row(kQuery, 1), 0},
                                                             {row(kMain, 1), row(kRender, 22), 2}}));
    EXPECT_FALSE(lists.empty());
}

TEST(DiffLists, WithoutSelectionListsByFileAndLineAndAGraphAgainstItselfIsEmpty) {
    const ProjectIR old = before(), now = after();
    const DiffLists lists = diffLists(old, now, ProjectDiff::diff(old, now), std::nullopt, 3);
    EXPECT_EQ(lists.changedSymbols, (std::vector<DiffSymbolRow>{{row(kMain, 1), std::nullopt},
                                                                 {row(kLoad, 12), std::nullopt},
                                                                 {row(kQuery, 1), std::nullopt},
                                                                 {row(kPaint, 1), std::nullopt}}));
    EXPECT_EQ(lists.removedEdges, (std::vector<DiffEdgeRow>{{row(kMain, 1), row(kRender, 22), std::nullopt},
                                                             {row(kLegacy, 7), row(kQuery, 1), std::nullopt}}));
    EXPECT_TRUE(diffLists(now, now, ProjectDiff::diff(now, now), kQuery, 3).empty());
}

}  // namespace
}  // namespace vantrel
