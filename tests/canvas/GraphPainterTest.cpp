// Frames painted on several threads in bands of rows are the frames one thread paints
// straight onto the image, pixel for pixel, on a graph dense enough that curves, arrow
// heads and node images cross every band boundary.
#include <QImage>
#include <QPainter>
#include <QTest>
#include <atomic>
#include <cmath>
#include <memory>
#include <numbers>

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
};

VANTREL_REGISTER_TEST_CLASS(GraphPainterTest);
#include "GraphPainterTest.moc"
