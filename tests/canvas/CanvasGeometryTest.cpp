// Where things stand on the canvas: the rings around a selection, arrow heads and edge
// bends, which node lies under the pointer, and the tooltip's place and path.
#include <QTest>
#include <cmath>
#include <numbers>

#include "app/canvas/CanvasLayout.h"
#include "app/canvas/CanvasShapes.h"
#include "app/canvas/CanvasTooltip.h"
#include "app/canvas/NodePicker.h"
#include "tests/app/AppTestSupport.h"
#include "tests/support/GraphBuilder.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

// The selection "s" with callers a1, a2 (level 1), b (level 2, alone on its ring),
// c1..c3 (level 3) and e (level 4); it calls d and a1, and itself. x and y are unrelated.
struct RingFixture {
    ProjectIR ir = GraphBuilder()
                       .symbol("s")
                       .symbol("a1")
                       .symbol("a2")
                       .symbol("b")
                       .symbol("c1")
                       .symbol("c2")
                       .symbol("c3")
                       .symbol("d")
                       .symbol("e")
                       .symbol("x")
                       .symbol("y")
                       .call("a1", "s")
                       .call("a2", "s")
                       .call("b", "a1")
                       .call("c1", "b")
                       .call("c2", "b")
                       .call("c3", "b")
                       .call("e", "c1")
                       .call("s", "d")
                       .call("s", "a1")
                       .call("s", "s")
                       .build();
    ImpactLevels levels{{1, {"a1", "a2"}}, {2, {"b"}}, {3, {"c1", "c2", "c3"}}, {4, {"e"}}};
    IdSet downstream{"a1", "d", "s"};

    NodePlaces layout(QSizeF size) const {
        const QPointF center(size.width() / 2, size.height() / 2);
        return layoutPositions(ir, {{"s", {0.1, 0.1}}}, center, size, SelectionFocus{"s", levels, downstream});
    }
};

double distance(QPointF a, QPointF b) { return std::hypot(a.x() - b.x(), a.y() - b.y()); }

QPointF onRing(QPointF center, double radius, double angle) {
    return center + QPointF(std::cos(angle), std::sin(angle)) * radius;
}

}  // namespace

class CanvasGeometryTest : public QObject {
    Q_OBJECT

private slots:
    void ringsAroundTheSelectionInASmallAndALargeView() {
        const RingFixture f;
        struct Case {
            QSizeF size;
            double level1, level2, level3, downstream, outer;
        };
        for (const Case& c : {Case{{500, 300}, 49, 84, 119, 67.2, 140}, Case{{2400, 1600}, 160, 300, 440, 240, 520}}) {
            const NodePlaces places = f.layout(c.size);
            const QPointF center(c.size.width() / 2, c.size.height() / 2);
            // The selection stays at the centre although it also stands in a ring's list.
            QCOMPARE(places.at("s"), center);
            QCOMPARE(distance(places.at("a2"), center), c.level1);
            // a1 is on level 1 and downstream: its level's ring keeps it.
            QCOMPARE(places.at("a1"), onRing(center, c.level1, 0));
            // A ring of one stands at its phase.
            QCOMPARE(places.at("b"), onRing(center, c.level2, 0.35));
            QCOMPARE(places.at("c2"), onRing(center, c.level3, 2 * std::numbers::pi / 3 + 0.7));
            // The downstream ring counts the members placed before: d is the second of three.
            QCOMPARE(places.at("d"), onRing(center, c.downstream, 2 * std::numbers::pi / 3 - 0.25));
            // Level 4 has no ring: e joins the unrelated symbols outside, in id order.
            QCOMPARE(places.at("e"), onRing(center, c.outer, 0.15));
            QCOMPARE(places.at("y"), onRing(center, c.outer, 2 * std::numbers::pi / 3 * 2 + 0.15));
            QCOMPARE(places.size(), f.ir.symbols.size());
        }
    }

    void withoutSelectionTheBaseLayoutIsScaledByTheShorterSide() {
        const ProjectIR ir = GraphBuilder().symbol("a").symbol("b").symbol("c").build();
        const NodePositions base{{"a", {0.62, 0}}, {"b", {-0.25, 0.5}}};
        const NodePlaces places = layoutPositions(ir, base, {400, 300}, {800, 600}, std::nullopt);
        QCOMPARE(places.size(), std::size_t{2});  // c has no base position, so no place
        QCOMPARE(places.at("a"), QPointF(400 + 0.62 * 600, 300));
        QCOMPARE(places.at("b"), QPointF(400 - 150, 300 + 300));
    }

    void arrowHeadsPointAtTheirTipAndSurviveACurveOfNoLength() {
        const QPainterPath arrow = arrowHeadPath({10, 0}, {0, 0}, 6.5);
        QCOMPARE(QPointF(arrow.elementAt(0)), QPointF(10, 0));
        QCOMPARE(QPointF(arrow.elementAt(1)), QPointF(3.5, 3.575));
        QCOMPARE(QPointF(arrow.elementAt(2)), QPointF(3.5, -3.575));
        // A self-call puts the control point on the tip: the head stays finite.
        const QPointF control = edgeControlPoint({5, 5}, {5, 5}, 30);
        QCOMPARE(control, QPointF(5, 5));
        const QPointF corner = arrowHeadPath({5, 5}, control, 7).elementAt(1);
        QVERIFY(std::isfinite(corner.x()) && std::isfinite(corner.y()));
    }

    void edgesBendByTenTwentyOrThirtyPointsToASideFixedByTheirEnds() {
        const std::size_t from = edgeHash("src/a.ts:f:function"), to = edgeHash("src/b.ts:g:function");
        const double bend = edgeBend(from, to);
        QVERIFY(std::abs(bend) == 10 || std::abs(bend) == 20 || std::abs(bend) == 30);
        QCOMPARE(edgeBend(from, to), bend);
        // The control point stands `bend` off the chord's middle, on its left-hand normal.
        QCOMPARE(edgeControlPoint({0, 0}, {100, 0}, 20), QPointF(50, 20));
        QCOMPARE(edgeControlPoint({0, 0}, {0, 100}, -10), QPointF(10, 50));
    }

    void thePickerFindsTheTopmostSquareAndFollowsAHoverScale() {
        // a and b overlap, b (the later id) on top; c lies outside the view.
        const ProjectIR ir = GraphBuilder().symbol("a").symbol("b").symbol("c").build();
        const QSizeF view(800, 600);
        auto base = [&](QPointF screen) { return Point{(screen.x() - 400) / 600, (screen.y() - 300) / 600}; };
        const NodePositions positions{{"a", base({100, 100})}, {"b", base({110, 100})}, {"c", base({900, 100})}};
        const std::optional<std::string> none;
        const ImpactLevels noLevels;
        const IdSet noIds;
        const EdgeSet noEdges;
        const GraphScene scene(std::make_shared<const GraphTopology>(ir),
                               SceneInputs{&ir, positions, none, noLevels, noIds, noIds, false, noEdges, 0.55, view});
        GraphFrame frame;
        frame.scene = &scene;
        frame.transform = {QPointF(), 1.0, QPointF(400, 300)};
        frame.viewSize = view;
        frame.nodePlaces = &scene.places();
        const NodePicker picker(frame, 12);

        QCOMPARE(picker.nodeAt(frame, {105, 100}), std::optional<std::size_t>(1));
        QCOMPARE(picker.nodeAt(frame, {84, 100}), std::optional<std::size_t>(0));
        QCOMPARE(picker.nodeAt(frame, {81, 100}), std::nullopt);
        QCOMPARE(picker.nodeAt(frame, {300, 300}), std::nullopt);
        // a grows by 12% while hovered: its wider square counts without a new index.
        frame.scaled = {{0, 1.12}};
        QCOMPARE(picker.nodeAt(frame, {81, 100}), std::optional<std::size_t>(0));
    }

    void theTooltipStaysInsideTheView() {
        const QSizeF view(800, 600);
        QCOMPARE(tooltipCenter({400, 300}, 18, view), QPointF(400, 238));
        QCOMPARE(tooltipCenter({5, 10}, 18, view), QPointF(140, 34));      // top left corner
        QCOMPARE(tooltipCenter({795, 650}, 24, view), QPointF(660, 576));  // bottom right, node below the view
        // Narrower than 280: the right limit wins over the left one.
        QCOMPARE(tooltipCenter({10, 300}, 18, {200, 600}), QPointF(60, 238));
    }

    void theFocusedLayoutIsCentredWhenItFitsElseKeepsTheSelectionAndItsCallersInSight() {
        auto at = [](std::initializer_list<double> xs) {
            std::vector<FocusedNode> nodes;
            for (double x : xs) nodes.push_back({"id", 0, {x, 0}, {}});
            return nodes;
        };
        // From -560 to 240 in 1000: centred.
        QCOMPARE(focusedShift(at({0, -300, -540}), 1000), 160.0);
        // Callees too, from -320 to 540.
        QCOMPARE(focusedShift(at({0, -300, 300}), 1000), -110.0);
        // From -1520 to 240: the right end 10 inside the view.
        QCOMPARE(focusedShift(at({0, -300, -1500}), 1000), 250.0);
        // Wide on both sides: the selection 330 from the left side.
        QCOMPARE(focusedShift(at({0, -1500, 1500}), 1000), -170.0);
    }

    void theFocusedLayoutKeepsClearOfTheLegend() {
        auto at = [](std::initializer_list<double> ys) {
            std::vector<FocusedNode> nodes;
            for (double y : ys) nodes.push_back({"id", 0, {0, y}, {}});
            return nodes;
        };
        // From -126 to 126 in 600 less 100 at the top: centred in the 500 below, 50 down.
        QCOMPARE(focusedDrop(at({0, -100, 100}), 600, 100), 50.0);
        // Lopsided, from -26 to 326: its middle (150) to the middle below the legend (50).
        QCOMPARE(focusedDrop(at({0, 300}), 600, 100), -100.0);
        // Taller than 500, from -526 to 826: the selection in the middle below the legend.
        QCOMPARE(focusedDrop(at({0, -500, 800}), 600, 100), 50.0);
        // No legend: centred as before.
        QCOMPARE(focusedDrop(at({0, -100, 100}), 600, 0), 0.0);
    }

    void tooltipPathsKeepTheFileNameAndLineAndGiveWayAtTheFront() {
        QCOMPARE(tooltipPath("src/a.ts", 12), QString("src/a.ts:12"));
        const QString exactly44 = "src/" + QString(33, 'a') + ".ts";  // with ":123"
        QCOMPARE(tooltipPath(exactly44, 123), exactly44 + ":123");
        // 65 characters: the longest tail from a folder boundary that fits 44 with the "…".
        QCOMPARE(tooltipPath("packages/checkout/src/components/cart/summary/CartSummary.tsx", 120),
                 QString("\u2026/cart/summary/CartSummary.tsx:120"));
        // A file name longer than the limit is kept whole, with its folder cut away.
        const QString longName = QString(50, 'x') + ".py";
        QCOMPARE(tooltipPath("deep/folder/" + longName, 7), QString("\u2026/") + longName + ":7");
        QCOMPARE(tooltipPath(longName, 7), longName + ":7");
        // Characters, not code units: a letter with a combining accent counts once.
        const QString accented = "src/" + QString(33, 'x') + QString("e\u0301") + ".ts";
        QCOMPARE(tooltipPath(accented, 12), accented + ":12");
    }
};

VANTREL_REGISTER_TEST_CLASS(CanvasGeometryTest);
#include "CanvasGeometryTest.moc"
