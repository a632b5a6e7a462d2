#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <utility>

#include "core/layout/GraphLayout.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

std::string idOf(int i) { return "src/m" + std::to_string(i % 7) + ".ts:f" + std::to_string(i) + ":function"; }

// A deterministic project of `count` symbols with two or three calls each, some of
// them mutual, self-calls and calls to ids without a symbol. `reversed` builds the very
// same graph with every insertion in the opposite order.
ProjectIR pseudoRandomGraph(int count, bool reversed) {
    std::vector<std::pair<int, int>> calls;
    std::uint32_t state = 12345;
    auto next = [&] { return state = state * 1664525u + 1013904223u; };
    for (int i = 0; i < count; ++i)
        for (int k = 0; k < 2 + static_cast<int>(next() % 2); ++k) calls.emplace_back(i, next() % (count + 5));
    calls.emplace_back(0, 0);
    calls.emplace_back(1, 0);
    calls.emplace_back(0, 1);
    std::vector<int> order(count);
    for (int i = 0; i < count; ++i) order[i] = i;
    if (reversed) {
        std::reverse(order.begin(), order.end());
        std::reverse(calls.begin(), calls.end());
    }
    testing::GraphBuilder b;
    for (int i : order) b.symbol(idOf(i));
    for (auto [from, to] : calls) b.call(idOf(from), idOf(to));  // ids >= count have no symbol
    return b.build();
}

// The simulation written the plain way, with maps and a set of edges, to check the
// flat-array version against, bit for bit.
NodePositions referenceLayout(const ProjectIR& ir) {
    std::vector<std::string> ids;
    for (const auto& entry : ir.symbols) ids.push_back(entry.first);
    std::sort(ids.begin(), ids.end());
    std::map<std::string, int> index;
    for (int i = 0; i < static_cast<int>(ids.size()); ++i) index[ids[i]] = i;
    std::set<std::pair<int, int>> edgeSet;
    for (const auto& [id, symbol] : ir.symbols)
        for (const auto& callee : symbol.refsOut) {
            auto it = index.find(callee);
            if (it == index.end() || it->second == index[id]) continue;
            edgeSet.insert({std::min(index[id], it->second), std::max(index[id], it->second)});
        }
    std::vector<std::pair<int, int>> edges(edgeSet.begin(), edgeSet.end());
    std::sort(edges.begin(), edges.end());

    const int n = static_cast<int>(ids.size());
    NodePositions circle = computeCircleLayout(ids);
    std::vector<Point> pos(n), vel(n);
    for (int i = 0; i < n; ++i) pos[i] = circle[ids[i]];
    for (int step = 0; step < 140; ++step) {
        std::vector<Point> force(n);
        for (int i = 0; i < n; ++i)
            for (int j = i + 1; j < n; ++j) {
                double dx = pos[i].x - pos[j].x, dy = pos[i].y - pos[j].y;
                double s = std::max(dx * dx + dy * dy, 0.0009);
                Point f{dx * 0.01 * (1 / s), dy * 0.01 * (1 / s)};
                force[i].x += f.x, force[i].y += f.y, force[j].x -= f.x, force[j].y -= f.y;
            }
        for (auto [a, b] : edges) {
            double dx = pos[b].x - pos[a].x, dy = pos[b].y - pos[a].y;
            double l = std::max(std::sqrt(dx * dx + dy * dy), 0.03);
            Point f{(dx / l) * 0.035 * (l - 0.18), (dy / l) * 0.035 * (l - 0.18)};
            force[a].x += f.x, force[a].y += f.y, force[b].x -= f.x, force[b].y -= f.y;
        }
        for (int i = 0; i < n; ++i) {
            vel[i] = {(vel[i].x + force[i].x) * 0.85, (vel[i].y + force[i].y) * 0.85};
            pos[i] = {std::max(std::min(pos[i].x + vel[i].x, 0.62), -0.62),
                      std::max(std::min(pos[i].y + vel[i].y, 0.62), -0.62)};
        }
    }
    NodePositions out;
    for (int i = 0; i < n; ++i) out[ids[i]] = pos[i];
    return out;
}

bool sameBits(const NodePositions& a, const NodePositions& b) {
    if (a.size() != b.size()) return false;
    for (auto ia = a.begin(), ib = b.begin(); ia != a.end(); ++ia, ++ib) {
        if (ia->first != ib->first) return false;
        if (std::memcmp(&ia->second.x, &ib->second.x, sizeof(double)) != 0) return false;
        if (std::memcmp(&ia->second.y, &ib->second.y, sizeof(double)) != 0) return false;
    }
    return true;
}

void expectWithinBound(const NodePositions& positions) {
    for (const auto& [id, p] : positions) {
        ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y)) << id;
        EXPECT_LE(std::fabs(p.x), kLayoutBound) << id;
        EXPECT_LE(std::fabs(p.y), kLayoutBound) << id;
    }
}

TEST(GraphLayout, CircleStartsAtAngleZeroAndTurnsCounterClockwise) {
    EXPECT_TRUE(computeCircleLayout({}).empty());
    const NodePositions four = computeCircleLayout({"d", "c", "b", "a"});
    EXPECT_EQ(four.at("d"), (Point{0.45, 0.0}));
    EXPECT_NEAR(four.at("c").x, 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(four.at("c").y, 0.45);
    EXPECT_DOUBLE_EQ(four.at("b").x, -0.45);
    EXPECT_DOUBLE_EQ(four.at("a").y, -0.45);
}

TEST(GraphLayout, SmallGraphsAndTheSizeLimit) {
    EXPECT_TRUE(computeForceLayout(ProjectIR{}).empty());
    testing::GraphBuilder one;
    one.symbol("a.ts:only:function").call("a.ts:only:function", "a.ts:only:function");
    EXPECT_EQ(computeForceLayout(one.build()), (NodePositions{{"a.ts:only:function", Point{0.45, 0.0}}}));

    const ProjectIR atLimit = pseudoRandomGraph(400, false);
    const NodePositions simulated = computeForceLayout(atLimit);
    ASSERT_EQ(simulated.size(), 400u);
    expectWithinBound(simulated);
    std::vector<std::string> ids;
    for (const auto& entry : atLimit.symbols) ids.push_back(entry.first);
    EXPECT_FALSE(sameBits(simulated, computeCircleLayout(ids)));

    const ProjectIR overLimit = pseudoRandomGraph(401, false);
    const NodePositions circle = computeForceLayout(overLimit);
    ASSERT_EQ(circle.size(), 401u);
    for (const auto& [id, p] : circle) EXPECT_NEAR(std::hypot(p.x, p.y), 0.45, 1e-12) << id;
    EXPECT_EQ(circle.begin()->second, (Point{0.45, 0.0}));
}

TEST(GraphLayout, MatchesThePlainSimulationBitForBitWhateverTheInsertionOrder) {
    // At 90 symbols the repulsion drives many of them into the same clamped corners, so
    // this also runs the steps where two points coincide (d = 0).
    const ProjectIR forward = pseudoRandomGraph(90, false);
    const ProjectIR backward = pseudoRandomGraph(90, true);
    const NodePositions layout = computeForceLayout(forward);
    EXPECT_TRUE(sameBits(layout, computeForceLayout(backward)));
    EXPECT_TRUE(sameBits(layout, computeForceLayout(forward)));
    EXPECT_TRUE(sameBits(layout, referenceLayout(forward)));
    expectWithinBound(layout);
}

TEST(GraphLayout, OnlyDistinctCallsBetweenExistingSymbolsPull) {
    // A mutual pair, a self-call and a call to an id without a symbol lay out exactly
    // like the single call a -> b.
    testing::GraphBuilder noisy;
    noisy.symbol("a").symbol("b").symbol("c").symbol("d");
    noisy.call("a", "b").call("b", "a").call("c", "c").call("d", "nowhere");
    testing::GraphBuilder plain;
    plain.symbol("a").symbol("b").symbol("c").symbol("d").call("a", "b");
    EXPECT_TRUE(sameBits(computeForceLayout(noisy.build()), computeForceLayout(plain.build())));

    testing::GraphBuilder loose;
    loose.symbol("a").symbol("b").symbol("c").symbol("d");
    EXPECT_FALSE(sameBits(computeForceLayout(loose.build()), computeForceLayout(plain.build())));
}

TEST(GraphLayout, CompleteGraphStaysFiniteAndMatchesThePlainSimulation) {
    // Everyone calls everyone, itself included: 435 springs against the repulsion of a
    // tight cluster, where the distance floors keep every force finite.
    testing::GraphBuilder b;
    for (int i = 0; i < 30; ++i) b.symbol(idOf(i));
    for (int i = 0; i < 30; ++i)
        for (int j = 0; j < 30; ++j) b.call(idOf(i), idOf(j));
    const ProjectIR ir = b.build();
    const NodePositions layout = computeForceLayout(ir);
    expectWithinBound(layout);
    EXPECT_TRUE(sameBits(layout, referenceLayout(ir)));
}

}  // namespace
}  // namespace vantrel
