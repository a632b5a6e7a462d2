// The focused view's layout over one realistic reach: 125 direct callers in five files,
// a second level of 30, deeper levels of a few, callees of which one also calls back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "core/layout/FocusedLayout.h"

namespace vantrel {
namespace {

std::string member(int file, int i) {
    return "src/feature" + std::to_string(file) + ".ts:caller" + std::to_string(i) + ":function";
}

struct Reach {
    ImpactLevels callers;
    IdSet callees;

    Reach() {
        for (int i = 0; i < 125; ++i) callers[1].insert(member(i % 5, i));
        for (int i = 0; i < 30; ++i) callers[2].insert("lib/level2.py:user" + std::to_string(i) + ":function");
        callers[3] = {"app/main.ts:start:function"};
        callers[4] = {"app/boot.ts:boot:function", "app/boot.ts:init:function"};
        callers[5] = {"bin/cli.ts:run:function"};
        // caller7 calls the selection and is called by it: it stays a caller.
        callees = {member(2, 7), "node_modules/lodash/index.js:map", "src/target.ts:helper:function"};
    }

    std::vector<FocusedNode> layout(const std::set<FocusedGroupKey>& expanded = {}) const {
        return computeFocusedLayout({"src/target.ts:target:function", callers, callees, expanded});
    }
};

std::vector<const FocusedNode*> onLevel(const std::vector<FocusedNode>& nodes, int level) {
    std::vector<const FocusedNode*> found;
    for (const FocusedNode& node : nodes)
        if (node.level == level) found.push_back(&node);
    return found;
}

TEST(FocusedLayoutTest, ABigLevelIsGroupedByFileAndExpandsGroupByGroup) {
    const Reach reach;
    const std::vector<FocusedNode> grouped = reach.layout();
    ASSERT_EQ(grouped.front().id, "src/target.ts:target:function");
    EXPECT_EQ(grouped.front().at, (Point{0, 0}));

    // 125 over the threshold: one group per file, each of 25 in ascending id order.
    const auto level1 = onLevel(grouped, 1);
    ASSERT_EQ(level1.size(), 5u);
    for (int file = 0; file < 5; ++file) {
        const FocusedNode& group = *level1[file];
        ASSERT_EQ(group.members.size(), 25u);
        EXPECT_EQ(fileOfSymbolId(group.id), "src/feature" + std::to_string(file) + ".ts");
        EXPECT_EQ(group.id, group.members.front());
        EXPECT_TRUE(std::is_sorted(group.members.begin(), group.members.end()));
    }
    // 30 and fewer stay single; levels past 3 are there too.
    EXPECT_EQ(onLevel(grouped, 2).size(), 30u);
    EXPECT_EQ(onLevel(grouped, 4).size(), 2u);
    EXPECT_EQ(onLevel(grouped, 5).size(), 1u);
    // Callees without the one that is already a caller.
    const auto callees = onLevel(grouped, kFocusedCalleeLevel);
    ASSERT_EQ(callees.size(), 2u);
    EXPECT_EQ(callees[0]->id, "node_modules/lodash/index.js:map");

    // Expanding one file shows its 25 alone; the other four stay grouped.
    const auto expanded = reach.layout({{1, "src/feature3.ts"}});
    const auto level1Expanded = onLevel(expanded, 1);
    ASSERT_EQ(level1Expanded.size(), 4u + 25u);
    std::size_t groups = 0;
    for (const FocusedNode* node : level1Expanded) groups += node->isGroup();
    EXPECT_EQ(groups, 4u);
    // The threshold itself does not group.
    ImpactLevels sixty{{1, {}}};
    for (int i = 0; i < 60; ++i) sixty[1].insert(member(i % 2, i));
    EXPECT_EQ(computeFocusedLayout({"t", sixty, {}, {}}).size(), 61u);
    sixty[1].insert(member(9, 60));  // a file of one member is never a group
    const auto sixtyOne = computeFocusedLayout({"t", sixty, {}, {}});
    ASSERT_EQ(sixtyOne.size(), 4u);
    EXPECT_EQ(sixtyOne[3].id, member(9, 60));
    EXPECT_FALSE(sixtyOne[3].isGroup());
}

TEST(FocusedLayoutTest, NoTwoNodesShareACellAndLevelsDoNotMix) {
    const Reach reach;
    std::set<FocusedGroupKey> all;
    for (int file = 0; file < 5; ++file) all.insert({1, "src/feature" + std::to_string(file) + ".ts"});
    const std::vector<FocusedNode> nodes = reach.layout(all);
    ASSERT_EQ(nodes.size(), 1u + 125 + 30 + 1 + 2 + 1 + 2);

    // A node with its name takes a column's width and a row's height.
    for (std::size_t a = 0; a < nodes.size(); ++a)
        for (std::size_t b = a + 1; b < nodes.size(); ++b) {
            const bool apart = std::abs(nodes[a].at.x - nodes[b].at.x) >= kFocusedColumnWidth ||
                               std::abs(nodes[a].at.y - nodes[b].at.y) >= kFocusedRowPitch;
            ASSERT_TRUE(apart) << nodes[a].id << " and " << nodes[b].id;
        }
    // Each level's block lies wholly left of the one before; callees wholly right; the
    // selection's name has its gap on both sides.
    double right = -kFocusedSelectionGap / 2;
    for (int level = 1; level <= 5; ++level) {
        double left = right;
        for (const FocusedNode* node : onLevel(nodes, level)) {
            EXPECT_LE(node->at.x + kFocusedColumnWidth, right + 1e-9) << node->id;
            left = std::min(left, node->at.x);
        }
        right = left;
    }
    for (const FocusedNode* node : onLevel(nodes, kFocusedCalleeLevel)) EXPECT_GE(node->at.x, kFocusedColumnWidth);
    // 125 callers make a block about as tall as wide, not one column of 6,000 points.
    double top = 0, bottom = 0;
    for (const FocusedNode* node : onLevel(nodes, 1)) {
        top = std::min(top, node->at.y);
        bottom = std::max(bottom, node->at.y);
    }
    EXPECT_LT(bottom - top, 30 * kFocusedRowPitch);
    EXPECT_NEAR(top, -(bottom), 1e-9);  // centred on the selection's row
}

TEST(FocusedLayoutTest, TheSameReachGivesTheSameNumbers) {
    const Reach reach;
    const auto first = reach.layout({{1, "src/feature0.ts"}});
    const auto second = reach.layout({{1, "src/feature0.ts"}});
    ASSERT_EQ(first.size(), second.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].id, second[i].id);
        EXPECT_EQ(first[i].at, second[i].at);  // bit for bit
        EXPECT_EQ(first[i].members, second[i].members);
    }
}

}  // namespace
}  // namespace vantrel
