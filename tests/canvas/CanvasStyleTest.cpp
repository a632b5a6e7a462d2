// How edges and nodes look, which edges a scene draws, and how the edge masks lay
// translucent strokes.
#include <QImage>
#include <QPalette>
#include <cmath>
#include <QTest>

#include "app/canvas/CanvasStyles.h"
#include "app/canvas/EdgeLayer.h"
#include "app/canvas/EdgeMask.h"
#include "app/canvas/GraphScene.h"
#include "tests/app/AppTestSupport.h"
#include "tests/support/GraphBuilder.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const NodeRole kSelected{true, std::nullopt, false};
const NodeRole kPlain{};
NodeRole level(int n, bool downstream = false) { return {false, n, downstream}; }
const NodeRole kDownstream{false, std::nullopt, true};

int maxAlpha(const QImage& image) {
    int most = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) most = std::max(most, qAlpha(image.pixel(x, y)));
    return most;
}

}  // namespace

class CanvasStyleTest : public QObject {
    Q_OBJECT

private slots:
    void edgeStylesByTheFirstRuleThatApplies() {
        // Added and removed since the baseline win over everything, the selection's calls
        // next. Added is in a hue that no level and not the downstream has; removed is
        // dashed.
        QCOMPARE(edgeStyle(kSelected, kDownstream, EdgeChange::added, 0.55),
                 (EdgeStyle{named(NamedColor::purple), 2.0, 0.95, true, 7.0}));
        QCOMPARE(edgeStyle(level(1), kSelected, EdgeChange::removed, 0.55),
                 (EdgeStyle{named(NamedColor::red), 1.6, 0.85, true, 6.5, true}));
        for (const NodeRole& role : {kSelected, level(1), level(2), level(3), kDownstream}) {
            QVERIFY(nodeStyle(role, true, false, false).fill.name != NamedColor::purple);
            QVERIFY(nodeStyle(role, true, false, false).stroke.name != NamedColor::purple);
        }
        QCOMPARE(edgeStyle(kSelected, level(1, true), EdgeChange::none, 0.55),
                 (EdgeStyle{named(NamedColor::blue), 2.1, 0.8, true, 7.0}));
        // Otherwise secondary; the nearer level of the two ends sets the width.
        const EdgeStyle toSelection = edgeStyle(level(1), kSelected, EdgeChange::none, 0.55);
        QCOMPARE(toSelection.color, named(NamedColor::secondary));
        QCOMPARE(toSelection.lineWidth, 2.6);
        QCOMPARE(toSelection.arrowSize, 6.5);
        QCOMPARE(edgeStyle(level(3), level(2), EdgeChange::none, 0.55).lineWidth, 1.8);
        QCOMPARE(edgeStyle(kPlain, level(3), EdgeChange::none, 0.55).lineWidth, 1.2);
        QCOMPARE(edgeStyle(level(4), kDownstream, EdgeChange::none, 0.55).lineWidth, 1.4);
        const EdgeStyle beyondLevels = edgeStyle(level(5), kPlain, EdgeChange::none, 0.55);
        QCOMPARE(beyondLevels.lineWidth, 0.8);
        QVERIFY(beyondLevels.showArrow);  // a level of any depth still earns an arrow
        // The default preference gives these two opacities; others are clamped first.
        QCOMPARE(beyondLevels.opacity, 0.3025);
        const EdgeStyle unrelated = edgeStyle(kPlain, kPlain, EdgeChange::none, 0.55);
        QVERIFY(!unrelated.showArrow);
        QCOMPARE(unrelated.opacity, 0.066);
        QCOMPARE(edgeStyle(kPlain, kPlain, EdgeChange::none, 0.05).opacity, 0.3 * 0.12);
        QCOMPARE(edgeStyle(kPlain, level(2), EdgeChange::none, 7.0).opacity, 0.55);
    }

    void nodeStylesLetLevelsWinOverSearchAndHover() {
        QCOMPARE(nodeStyle(kSelected, true, true, true).fill, named(NamedColor::red));
        QCOMPARE(nodeStyle(level(2), true, true, true).fill, named(NamedColor::yellow));
        QCOMPARE(nodeStyle(level(1, true), true, false, false).stroke, named(NamedColor::orange));
        QCOMPARE(nodeStyle(kDownstream, true, true, false),
                 (NodeStyle{named(NamedColor::blue, 0.5), named(NamedColor::blue), 1.5, 0.65}));
        QCOMPARE(nodeStyle(kPlain, true, true, true).fill, named(NamedColor::accentColor, 0.25));
        QCOMPARE(nodeStyle(kPlain, false, false, true).stroke, named(NamedColor::secondary));
        // Unrelated nodes, level 4 among them, dim only while something is selected.
        QCOMPARE(nodeStyle(level(4), true, false, false).opacity, 0.15);
        QCOMPARE(nodeStyle(kPlain, false, false, false).opacity, 1.0);

        // A changed symbol keeps its fill in a thick teal ring and is never dimmed.
        NodeRole changedLevel = level(1);
        changedLevel.changed = true;
        QCOMPARE(nodeStyle(changedLevel, true, false, false),
                 (NodeStyle{named(NamedColor::orange), named(NamedColor::teal), 4.0, 1.0}));
        NodeRole changedPlain = kPlain;
        changedPlain.changed = true;
        QCOMPARE(nodeStyle(changedPlain, true, false, false),
                 (NodeStyle{named(NamedColor::gray), named(NamedColor::teal), 4.0, 1.0}));
        // Teal reads on both windows and is no level's hue.
        for (const bool dark : {false, true}) {
            QPalette palette;
            palette.setColor(QPalette::Window, dark ? QColor(30, 30, 30) : QColor(246, 246, 246));
            const CanvasPalette colors(palette);
            const QColor teal = colors.color(NamedColor::teal);
            QVERIFY(std::abs(teal.lightness() - colors.windowBackground().lightness()) > 60);
            for (NamedColor other : {NamedColor::red, NamedColor::orange, NamedColor::yellow, NamedColor::green,
                                     NamedColor::blue, NamedColor::purple})
                QVERIFY(std::abs(teal.hslHue() - colors.color(other).hslHue()) > 15);
        }
    }

    void nodeSizesFollowThePreference() {
        struct Case {
            const char* preference;
            double unselected, selected;
        };
        for (const Case& c : {Case{"small", 32.4, 43.2}, Case{"medium", 36, 48}, Case{"large", 48.6, 64.8},
                              Case{"huge", 36, 48}, Case{"", 36, 48}}) {
            QCOMPARE(2 * nodeRadius(false, c.preference), c.unselected);
            QCOMPARE(2 * nodeRadius(true, c.preference), c.selected);
        }
    }

    void aSceneDrawsNoOutgoingEdgesOfACollapsedNodeAndNoneToPlacelessIds() {
        // hub calls leaf and an id outside the project; caller calls hub; leaf calls itself.
        const ProjectIR ir = GraphBuilder()
                                 .symbol("caller")
                                 .symbol("hub")
                                 .symbol("leaf")
                                 .call("caller", "hub")
                                 .call("hub", "leaf")
                                 .call("hub", "lib:x:function")
                                 .call("leaf", "leaf")
                                 .build();
        const NodePositions base{{"caller", {0, 0}}, {"hub", {0.2, 0}}, {"leaf", {0.4, 0}}};
        const auto topology = std::make_shared<const GraphTopology>(ir);
        const std::optional<std::string> none;
        const ImpactLevels noLevels;
        const IdSet noIds;
        const EdgeSet noEdges;
        auto drawn = [&](const IdSet& collapsed) {
            const SceneInputs inputs{&ir,       base,  none,    noLevels, noIds,
                                     collapsed, false, noEdges, 0.55,     QSizeF(800, 600)};
            const GraphScene scene(topology, inputs);
            std::set<std::pair<std::string, std::string>> edges;
            for (std::size_t e = 0; e < topology->edges().size(); ++e)
                if (scene.edgeStyleIndex(e) != GraphScene::kNoEdge)
                    edges.emplace(topology->id(topology->edges()[e].from), topology->id(topology->edges()[e].to));
            return edges;
        };
        using Edges = std::set<std::pair<std::string, std::string>>;
        QCOMPARE(drawn({}), (Edges{{"caller", "hub"}, {"hub", "leaf"}, {"leaf", "leaf"}}));
        QCOMPARE(drawn({"hub"}), (Edges{{"caller", "hub"}, {"leaf", "leaf"}}));
    }

    void aSceneGivesRolesAndEdgeStylesAroundTheSelection() {
        // s calls t and an id outside the project; u calls s; v calls u; t calls v.
        const ProjectIR ir = GraphBuilder()
                                 .symbol("s")
                                 .symbol("t")
                                 .symbol("u")
                                 .symbol("v")
                                 .call("s", "t")
                                 .call("s", "lib:x:function")
                                 .call("u", "s")
                                 .call("v", "u")
                                 .call("t", "v")
                                 .build();
        const NodePositions base{{"s", {0, 0}}, {"t", {0.1, 0}}, {"u", {0.2, 0}}, {"v", {0.3, 0}}};
        const std::optional<std::string> selected("s");
        const ImpactLevels levels{{1, {"u"}}, {2, {"v"}}};
        const IdSet downstream{"lib:x:function", "t"};
        const IdSet noIds;
        const EdgeSet added{{"t", "v"}};
        const auto topology = std::make_shared<const GraphTopology>(ir);
        const GraphScene scene(
            topology, SceneInputs{&ir, base, selected, levels, downstream, noIds, true, added, 0.55, QSizeF(800, 600)});
        auto point = [&](const char* id) { return *topology->indexOf(id); };
        QCOMPARE(scene.role(point("s")), kSelected);
        QCOMPARE(scene.role(point("v")), level(2));
        QCOMPARE(scene.role(point("lib:x:function")), kDownstream);
        // The callee without a symbol stands on the downstream ring, so its call is drawn.
        QVERIFY(scene.hasPlace(point("lib:x:function")));
        auto styleOf = [&](const char* from, const char* to) {
            for (std::size_t e = 0; e < topology->edges().size(); ++e)
                if (topology->edges()[e].from == point(from) && topology->edges()[e].to == point(to))
                    return scene.edgeStyles().at(scene.edgeStyleIndex(e));
            return EdgeStyle{};
        };
        QCOMPARE(styleOf("s", "lib:x:function").color, named(NamedColor::blue));
        QCOMPARE(styleOf("t", "v").color, named(NamedColor::purple));
        QCOMPARE(styleOf("v", "u").lineWidth, 2.6);
    }

    void removedEdgesOfTheBaselineAreDrawnDashedInDiffModeOnly() {
        // Now a calls b; the baseline also had b -> a and a -> gone (a symbol since deleted).
        const ProjectIR ir = GraphBuilder().symbol("a").symbol("b").call("a", "b").build();
        const std::vector<ProjectDiffResult::Edge> removed{{"b", "a"}, {"a", "gone"}};
        const auto topology = std::make_shared<const GraphTopology>(ir, removed);
        QCOMPARE(topology->edges().size(), std::size_t{2});  // a -> b, then b -> a
        QCOMPARE(topology->firstRemovedEdge(), std::size_t{1});
        QCOMPARE(topology->pointCount(), std::size_t{2});  // "gone" is no point
        const NodePositions base{{"a", {0, 0}}, {"b", {0.3, 0}}};
        const std::optional<std::string> none;
        const ImpactLevels noLevels;
        const IdSet noIds;
        const EdgeSet added{{"a", "b"}};
        auto styles = [&](bool diffMode) {
            const GraphScene scene(topology, SceneInputs{&ir, base, none, noLevels, noIds, noIds, diffMode, added,
                                                         0.55, QSizeF(800, 600)});
            std::vector<std::optional<EdgeStyle>> out;
            for (std::size_t e = 0; e < topology->edges().size(); ++e)
                out.push_back(scene.edgeStyleIndex(e) == GraphScene::kNoEdge
                                  ? std::nullopt
                                  : std::optional(scene.edgeStyles().at(scene.edgeStyleIndex(e))));
            return out;
        };
        const auto on = styles(true);
        QCOMPARE(on[0]->color, named(NamedColor::purple));
        QVERIFY(!on[0]->dashed);
        QCOMPARE(on[1]->color, named(NamedColor::red));
        QVERIFY(on[1]->dashed);
        const auto off = styles(false);
        QCOMPARE(off[0]->color, named(NamedColor::secondary));
        QVERIFY(!off[1].has_value());
    }

    void aDashedCurveIsLaidAsEvenlySpacedDashes() {
        // A straight run 90 points long: ten periods of 9, each dash 5.4 long.
        const QPointF p(10, 20), q(100, 20);
        const auto pieces = dashPieces(p, (p + q) / 2, q);
        QCOMPARE(pieces.size(), std::size_t{10});
        QCOMPARE(pieces.front().p, p);
        QCOMPARE(pieces.front().q, QPointF(15.4, 20));
        QCOMPARE(pieces[1].p, QPointF(19, 20));
        QCOMPARE(pieces.back().q, QPointF(96.4, 20));
        for (const QuadPiece& piece : pieces) QCOMPARE(piece.c.y(), 20.0);
        // Too short for a period: one dash still shows it.
        QCOMPARE(dashPieces(p, p, QPointF(12, 20)).size(), std::size_t{1});
    }

    void edgeMasksLayStrokesOfOneHueAsSourceOverWouldOnceEachPixel() {
        QImage layer(200, 60, QImage::Format_ARGB32_Premultiplied);
        EdgeMask mask(layer.size());

        // Two pixels wide on a pixel boundary: rows 19 and 20 fully, nothing beside.
        layer.fill(Qt::transparent);
        mask.strokeQuad({5, 20}, {30, 20}, {55, 20}, 2.0, 1.0);
        mask.paintOnto(layer, qRgb(0, 0, 255));
        QCOMPARE(layer.pixel(30, 19), qRgba(0, 0, 255, 255));
        QCOMPARE(layer.pixel(30, 20), qRgba(0, 0, 255, 255));
        QCOMPARE(qAlpha(layer.pixel(30, 18)), 0);
        QCOMPARE(qAlpha(layer.pixel(30, 21)), 0);

        // A curve is laid in pieces; where they meet, also where it turns past 45 degrees
        // or doubles back on itself, nothing is laid twice.
        for (double width : {0.8, 2.6}) {
            layer.fill(Qt::transparent);
            mask.strokeQuad({5, 35}, {30, -20}, {55, 35}, width, 0.5);
            mask.strokeQuad({154.4, 31.3}, {94.2, 30.3}, {111.1, 39.4}, width, 0.5);
            mask.paintOnto(layer, qRgb(0, 0, 0));
            QVERIFY(maxAlpha(layer) <= 128);
        }

        // Two crossing strokes of one hue at half strength make three quarters.
        layer.fill(Qt::transparent);
        mask.strokeQuad({30.5, 0}, {30.5, 20}, {30.5, 40}, 1.0, 0.5);
        mask.strokeQuad({0, 10.5}, {30, 10.5}, {60, 10.5}, 1.0, 0.5);
        mask.paintOnto(layer, qRgb(0, 0, 0));
        QVERIFY(std::abs(qAlpha(layer.pixel(30, 10)) - 191) <= 1);

        // A curve of no length (a self-call) lays nothing.
        layer.fill(Qt::transparent);
        mask.strokeQuad({20, 20}, {20, 20}, {20, 20}, 2.6, 1.0);
        mask.paintOnto(layer, qRgb(0, 0, 0));
        QCOMPARE(maxAlpha(layer), 0);
    }
};

VANTREL_REGISTER_TEST_CLASS(CanvasStyleTest);
#include "CanvasStyleTest.moc"
