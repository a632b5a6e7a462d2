// Frames painted on several threads in bands of rows are the frames one thread paints
// straight onto the image, pixel for pixel, on a graph dense enough that curves, arrow
// heads and node images cross every band boundary. The names beside nodes: which nodes
// carry one in a crowded and in a close view, and where they go.
#include <QImage>
#include <QPainter>
#include <QTest>
#include <atomic>
#include <cmath>
#include <memory>
#include <numbers>
#include <set>

#include "app/canvas/CanvasLabels.h"
#include "app/canvas/CanvasTooltip.h"
#include "app/canvas/GraphPainter.h"
#include "app/canvas/GraphScene.h"
#include "core/impact/BlastRadius.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;

namespace {

// 3,000 symbols of every kind in files of five, each calling two to four others: mostly
// near neighbours, some of the first fifty (so those are widely called), a few library
// ids without a symbol. Places scatter over a disc, as a force layout leaves them.
struct DenseGraph {
    ProjectIR ir{"1", 0.0, {}, {}};
    NodePositions places;

    DenseGraph() {
        std::uint64_t state = 0x9E3779B97F4A7C15ULL;
        auto next = [&](std::uint64_t bound) {
            state = state * 6364136223846793005ULL + 1442695040888963407ULL;
            return static_cast<int>((state >> 33) % bound);
        };
        constexpr int kSymbols = 3000;
        auto idOf = [](int i) { return "src/m" + std::to_string(i / 5) + ".ts:f" + std::to_string(i); };
        const SymbolKind kinds[] = {SymbolKind::function, SymbolKind::method, SymbolKind::classType,
                                    SymbolKind::component};
        for (int i = 0; i < kSymbols; ++i) {
            Symbol& s = ir.symbols[idOf(i)];
            s.id = idOf(i);
            s.kind = kinds[i % 4];
            s.range = {i + 1, 1, i + 5, 2};
            const double angle = next(3600) * 0.1 * std::numbers::pi / 180;
            const double radius = std::sqrt(next(10000) / 10000.0) * 0.7;
            places[s.id] = {radius * std::cos(angle), radius * std::sin(angle)};
        }
        for (int i = 0; i < kSymbols; ++i) {
            for (int k = 2 + next(3); k > 0; --k) {
                const int roll = next(100);
                const std::string to = roll < 3    ? "node_modules/lib.js:helper" + std::to_string(next(10))
                                       : roll < 15 ? idOf(next(50))
                                                   : idOf(std::clamp(i - 60 + next(120), 0, kSymbols - 1));
                ir.symbols[idOf(i)].refsOut.insert(to);
                if (auto it = ir.symbols.find(to); it != ir.symbols.end()) it->second.refsIn.insert(idOf(i));
            }
        }
    }
};

QImage paintFrame(GraphPainter& painter, const GraphScene& scene, const ProjectIR& ir, QSize size, double dpr,
                  bool withFocus, double zoom = 1.3) {
    QImage image(size * dpr, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::black);  // what the frame must cover
    GraphFrame frame;
    frame.scene = &scene;
    frame.transform = {QPointF(-20, 15), zoom, QPointF(size.width() / 2.0, size.height() / 2.0)};
    frame.viewSize = QSizeF(size);
    frame.nodePlaces = &scene.places();
    std::vector<std::uint8_t> hits(scene.topology().symbolCount(), 0);
    if (withFocus) {
        // The selection's pulse, a node swelling under the pointer with its tooltip, another
        // shrinking back, and search hits.
        frame.selectionPulse = 0.6;
        const std::size_t hovered = 123, leaving = 1204;
        frame.hovered = hovered;
        frame.scaled = {{hovered, 1.12}, {leaving, 1.05}};
        for (std::size_t i = 0; i < hits.size(); i += 97) hits[i] = 1;
        frame.searchHits = &hits;
        const Symbol& symbol = ir.symbols.at(scene.topology().id(hovered));
        frame.tooltip = TooltipFrame{tooltipText(symbol), frame.transform.toScreen(scene.place(hovered)), 18, 0.9};
    }
    QPainter p(&image);
    painter.paint(p, frame, CanvasPalette(QPalette()));
    return image;
}

}  // namespace

class GraphPainterTest : public QObject {
    Q_OBJECT

private slots:
    void bandsOnSeveralThreadsPaintWhatOneThreadPaints() {
        const DenseGraph graph;
        const auto topology = std::make_shared<const GraphTopology>(graph.ir);
        const std::optional<std::string> none, hub = "src/m1.ts:f7";  // one of the widely called
        const ImpactLevels noLevels, levels = calculateBlastRadius(*hub, graph.ir, 3);
        const IdSet noIds, downstream = graph.ir.symbols.at(*hub).refsOut;
        const EdgeSet noEdges;
        const QSize view(900, 640);
        const GraphScene plain(
            topology, SceneInputs{&graph.ir, graph.places, none, noLevels, noIds, noIds, false, noEdges, 0.55, view});
        const GraphScene selected(
            topology, SceneInputs{&graph.ir, graph.places, hub, levels, downstream, noIds, false, noEdges, 0.55, view});
        std::size_t reached = 0;
        for (const auto& entry : levels) reached += entry.second.size();
        QVERIFY(reached > 100);  // wide strokes and arrow heads all over

        GraphPainter one(1), two(2), three(3);
        for (const GraphScene* scene : {&plain, &selected}) {
            const bool focus = scene == &selected;
            for (double dpr : {1.0, 2.0}) {
                const QImage serial = paintFrame(one, *scene, graph.ir, view, dpr, focus);
                // Twice each: once laying the edges, once reusing them as an animation does.
                for (GraphPainter* painter : {&two, &two, &three, &three}) {
                    const QImage banded = paintFrame(*painter, *scene, graph.ir, view, dpr, focus);
                    QVERIFY2(banded == serial, qPrintable(QString("threads differ at dpr %1, %2").arg(dpr).arg(focus)));
                }
                two.forgetEdges();
                three.forgetEdges();
            }
        }
        // Close up, most curves cross the view from thousands of pixels away.
        const QImage closeUp = paintFrame(one, selected, graph.ir, view, 1.0, true, 12);
        two.forgetEdges();
        QVERIFY(paintFrame(two, selected, graph.ir, view, 1.0, true, 12) == closeUp);

        // The frames are far from empty: the ground shows in under half of the view.
        const QImage frame = paintFrame(one, selected, graph.ir, view, 1.0, true);
        const QRgb ground = frame.pixel(0, 0);
        int drawn = 0;
        for (int y = 0; y < frame.height(); ++y)
            for (int x = 0; x < frame.width(); ++x) drawn += frame.pixel(x, y) != ground;
        QVERIFY(drawn > frame.width() * frame.height() / 2);
    }

    void theSelectionAndItsDirectCallersAreNamedAndAllNodesWhenFew() {
        const DenseGraph graph;
        const auto topology = std::make_shared<const GraphTopology>(graph.ir);
        const std::optional<std::string> hub = "src/m1.ts:f7";
        const ImpactLevels levels = calculateBlastRadius(*hub, graph.ir, 3);
        const IdSet noIds, downstream = graph.ir.symbols.at(*hub).refsOut;
        const EdgeSet noEdges;
        const QSize view(900, 640);
        const GraphScene scene(
            topology, SceneInputs{&graph.ir, graph.places, hub, levels, downstream, noIds, false, noEdges, 0.55, view});
        const QRectF viewRect(QPointF(0, 0), QSizeF(view));
        auto screen = [&](std::size_t symbol, double zoom) {
            return ViewTransform{QPointF(-20, 15), zoom, QPointF(view.width() / 2.0, view.height() / 2.0)}.toScreen(
                scene.place(symbol));
        };
        GraphPainter painter(1);

        // Crowded: the selection and exactly the direct callers on screen, nothing else.
        paintFrame(painter, scene, graph.ir, view, 1.0, false);
        std::set<std::size_t> named, expected{*topology->indexOf(*hub)}, allowed = expected;
        for (const PlacedLabel& label : painter.labels()) named.insert(label.symbol);
        std::size_t onScreen = 0;
        for (std::size_t s = 0; s < topology->symbolCount(); ++s) onScreen += viewRect.contains(screen(s, 1.3));
        QVERIFY(onScreen >= kAllNamesBelow);
        for (const std::string& id : levels.at(1)) {
            const std::size_t s = *topology->indexOf(id);
            allowed.insert(s);  // one just off screen may keep its name
            if (viewRect.contains(screen(s, 1.3))) expected.insert(s);
        }
        QVERIFY(expected.size() > 3);
        for (std::size_t s : expected) QVERIFY2(named.count(s), qPrintable(QString::fromStdString(topology->id(s))));
        for (std::size_t s : named) QVERIFY2(allowed.count(s), qPrintable(QString::fromStdString(topology->id(s))));

        // Close up, few nodes on screen: each gets its name where it fits, and names
        // other than the required ones never overlap another. The first zoom that leaves
        // more than ten and fewer than kAllNamesBelow on screen:
        std::set<std::size_t> visible;
        for (double zoom : {2.0, 2.5, 3.0, 4.0, 5.0, 6.0}) {
            visible.clear();
            for (std::size_t s = 0; s < topology->symbolCount(); ++s)
                if (scene.hasPlace(s) && viewRect.contains(screen(s, zoom))) visible.insert(s);
            if (visible.size() > 10 && visible.size() < kAllNamesBelow - 30) {  // clear of squares at the edges
                paintFrame(painter, scene, graph.ir, view, 1.0, false, zoom);
                break;
            }
        }
        QVERIFY(visible.size() > 10 && visible.size() < kAllNamesBelow - 30);
        // Every node on screen is named (where they go: the next test).
        const std::vector<PlacedLabel>& labels = painter.labels();
        named.clear();
        for (const PlacedLabel& label : labels) named.insert(label.symbol);
        for (std::size_t s : visible) QVERIFY(named.count(s));
    }

    void namesFindTheFirstFreeSpotAroundTheirNode() {
        // Three nodes of 20 in a row, names 60 wide: closer than their names.
        auto node = [](std::size_t symbol, double x, LabelPriority priority) {
            return LabelCandidate{symbol, QRectF(x, 0, 20, 20), QSizeF(60, 14), priority};
        };
        const std::vector<PlacedLabel> placed = placeLabels({node(2, 150, LabelPriority::optional),
                                                             node(1, 100, LabelPriority::required),
                                                             node(0, 200, LabelPriority::selected)});
        QCOMPARE(placed.size(), 3u);
        // The selection first, to the right (225 to 285). The caller's right (125 to 185)
        // holds the third node (150 to 170), its left (35 to 95) is free. The third's right
        // (175 to 235) holds the selection's node, its left (85 to 145) the caller's name:
        // below.
        QCOMPARE(placed[0].symbol, 0u);
        QCOMPARE(placed[0].rect, QRectF(225, 3, 60, 14));
        QCOMPARE(placed[1].rect, QRectF(35, 3, 60, 14));
        QCOMPARE(placed[2].rect, QRectF(130, 25, 60, 14));
        // Hemmed in on all sides: right, left, below and above, then the spot with the
        // fewest names on it, the first of equals. The fifth finds one on each (right),
        // the sixth two right and one left (left), the seventh, optional, below.
        std::vector<LabelCandidate> crowd;
        for (std::size_t i = 0; i < 6; ++i) crowd.push_back(node(10 + i, 0, LabelPriority::required));
        crowd.push_back(node(99, 0, LabelPriority::optional));
        const std::vector<PlacedLabel> crowded = placeLabels(crowd);
        QCOMPARE(crowded.size(), 7u);
        QCOMPARE(crowded[4].rect, crowded[0].rect);
        QCOMPARE(crowded[5].rect, crowded[1].rect);
        QCOMPARE(crowded[6].rect, crowded[2].rect);
        QCOMPARE(crowded[6].symbol, 99u);
        QCOMPARE(labelPriority({false, false, false}, kAllNamesBelow - 1, false), LabelPriority::optional);
        QCOMPARE(labelPriority({false, false, false}, kAllNamesBelow, false), std::nullopt);
        QCOMPARE(labelPriority({false, false, true}, 5000, true), LabelPriority::optional);
        QCOMPARE(labelPriority({false, true, false}, 5000, false), LabelPriority::required);
    }
};

VANTREL_REGISTER_TEST_CLASS(GraphPainterTest);
#include "GraphPainterTest.moc"
