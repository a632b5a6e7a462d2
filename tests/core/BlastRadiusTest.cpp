#include <gtest/gtest.h>

#include "core/impact/BlastRadius.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

const std::string kQuery = "src/db.ts:query:function";
const std::string kWarm = "src/cache.ts:warm:function";
const std::string kFind = "src/repo.ts:findUser:function";
const std::string kSave = "src/repo.ts:saveUser:function";
const std::string kGet = "src/api.ts:getUser:function";
const std::string kPost = "src/api.ts:postUser:function";
const std::string kRouter = "src/app.ts:router:function";
const std::string kMain = "src/app.ts:main:function";
const std::string kRun = "bin/cli.ts:run:function";
const std::string kVendor = "vendor/hooks.js:onLoad:function";  // a caller with no symbol

// A small service: query is called by the repository, the api and, through a cache
// that query itself warms, by itself; the router reaches findUser directly and through
// getUser; a vendor hook without a symbol calls findUser.
ProjectIR serviceGraph() {
    testing::GraphBuilder b;
    for (const auto& id : {kQuery, kWarm, kFind, kSave, kGet, kPost, kRouter, kMain, kRun}) b.symbol(id);
    b.call(kQuery, kQuery)
        .call(kQuery, kWarm)
        .call(kWarm, kQuery)
        .call(kFind, kQuery)
        .call(kSave, kQuery)
        .call(kGet, kFind)
        .call(kPost, kFind)
        .call(kPost, kSave)
        .call(kRouter, kFind)
        .call(kRouter, kGet)
        .call(kMain, kGet)
        .call(kRun, kMain);
    ProjectIR ir = b.build();
    ir.symbols[kFind].refsIn.insert(kVendor);
    return ir;
}

TEST(BlastRadius, LevelsFollowCallersAtTheirShortestDistance) {
    const ImpactLevels levels = calculateBlastRadius(kQuery, serviceGraph(), 10);
    const ImpactLevels expected{
        {1, {kWarm, kFind, kSave}},
        // The router also reaches query in 3 steps through getUser; it counts at 2 only.
        // The vendor hook has no symbol: recorded, and nothing beyond it.
        {2, {kGet, kPost, kRouter, kVendor}},
        {3, {kMain}},
        {4, {kRun}},
    };
    EXPECT_EQ(levels, expected);
    // The cycle through warm and the self-call lead back to query, which is never reported.
    for (const auto& [level, ids] : levels) EXPECT_EQ(ids.count(kQuery), 0u) << "level " << level;
}

TEST(BlastRadius, DepthLimitStopsTheWalkButKeepsTheLastLevel) {
    const ProjectIR ir = serviceGraph();
    EXPECT_TRUE(calculateBlastRadius(kQuery, ir, 0).empty());
    EXPECT_TRUE(calculateBlastRadius(kQuery, ir, -2).empty());
    EXPECT_EQ(calculateBlastRadius(kQuery, ir, 1), (ImpactLevels{{1, {kWarm, kFind, kSave}}}));

    const ImpactLevels three = calculateBlastRadius(kQuery, ir, 3);
    ASSERT_EQ(three.size(), 3u);
    EXPECT_EQ(three.at(3), IdSet{kMain});
    EXPECT_EQ(three.count(4), 0u);
}

TEST(BlastRadius, UnknownOrUncalledTargetsHaveNoRadius) {
    const ProjectIR ir = serviceGraph();
    EXPECT_TRUE(calculateBlastRadius("src/gone.ts:old:function", ir, 5).empty());
    EXPECT_TRUE(calculateBlastRadius(kRun, ir, 5).empty());
    // A target whose only caller is itself.
    testing::GraphBuilder b;
    b.symbol("a.py:loop:function").call("a.py:loop:function", "a.py:loop:function");
    EXPECT_TRUE(calculateBlastRadius("a.py:loop:function", b.build(), 5).empty());
}

}  // namespace
}  // namespace vantrel
