// Times the graph canvas on realistic graphs of 400, 5,000 and 20,000 symbols in a
// 1400 × 900 view: one frame painted offscreen into an image, without and with a
// selection (the selection on a widely called symbol, with a hovered node and its
// tooltip), a frame of a running animation, the rebuild that follows a change of
// selection, and a pointer move's hit test over every node.
//
//   vantrel_bench_canvas [--save DIR] [SYMBOLS...]
// Targets: a frame of 400 symbols under 8 ms, of 20,000 under 50 ms, a pointer move over
// 20,000 nodes under 1 ms. --save writes each timed frame as a PNG into DIR, for
// comparing the drawing of two builds pixel by pixel.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/GraphPainter.h"
#include "app/canvas/GraphScene.h"
#include "app/canvas/NodePicker.h"
#include "bench/SyntheticGraph.h"
#include "core/impact/BlastRadius.h"
#include "core/layout/GraphLayout.h"

using namespace vantrel;
using bench::medianMs;

namespace {

const QSize kView(1400, 900);

double processorMs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

struct Selection {
    std::optional<std::string> id;
    ImpactLevels levels;
    IdSet downstream;
};

Selection selectionOf(const ProjectIR& ir, const std::string& id) {
    return {id, calculateBlastRadius(id, ir, 3), ir.symbols.at(id).refsOut};
}

GraphScene sceneOf(const std::shared_ptr<const GraphTopology>& topology, const ProjectIR& ir, const NodePositions& base,
                   const Selection& selection) {
    static const IdSet kNone;
    static const EdgeSet kNoEdges;
    const SceneInputs inputs{&ir,   base,     selection.id, selection.levels, selection.downstream, kNone,
                             false, kNoEdges, 0.55,         QSizeF(kView)};
    return GraphScene(topology, inputs);
}

GraphFrame frameOf(const GraphScene& scene, const ProjectIR& ir, std::optional<std::size_t> hovered) {
    GraphFrame frame;
    frame.scene = &scene;
    frame.transform = {QPointF(), 1.0, QPointF(kView.width() / 2.0, kView.height() / 2.0)};
    frame.viewSize = QSizeF(kView);
    frame.nodePlaces = &scene.places();
    if (hovered) {
        frame.hovered = hovered;
        frame.scaled.emplace_back(*hovered, 1.12);
        const Symbol& symbol = ir.symbols.at(scene.topology().id(*hovered));
        frame.tooltip = TooltipFrame{tooltipText(symbol), frame.transform.toScreen(scene.place(*hovered)), 18, 1.0};
    }
    return frame;
}

std::size_t levelMembers(const Selection& selection) {
    std::size_t n = 0;
    for (const auto& entry : selection.levels) n += entry.second.size();
    return n;
}

void benchSize(int count, GraphPainter& painter, const CanvasPalette& palette, const QString& saveDir) {
    const ProjectIR ir = bench::realisticProject(count);
    const NodePositions base = computeForceLayout(ir);
    const auto topology = std::make_shared<const GraphTopology>(ir);
    // A symbol of the shared folder that many others call.
    const Selection selection = selectionOf(ir, topology->id(10));
    std::printf("%d symbols, %zu calls; selection %s reaches %zu symbols on 3 levels, calls %zu\n", count,
                bench::edgeCount(ir), selection.id->c_str(), levelMembers(selection), selection.downstream.size());

    QImage image(kView, QImage::Format_ARGB32_Premultiplied);
    // Wall and processor time. The painter shares a frame out over the processors, so
    // the processor time of all threads is larger than the wall time on an idle machine;
    // on a busy one the wall time grows towards it.
    // A full frame lays every edge anew; a frame of an animation (hover, pulse, glide)
    // reuses the edges of the one before.
    auto save = [&](const char* name) {
        if (!saveDir.isEmpty()) image.save(QDir(saveDir).filePath(QString("%1-%2.png").arg(count).arg(name)));
    };
    auto paintMs = [&](const GraphFrame& frame, bool edgesAnew = true) {
        std::vector<double> cpu;
        const double wall = medianMs(9, [&] {
            if (edgesAnew) painter.forgetEdges();
            const double start = processorMs();
            QPainter p(&image);
            painter.paint(p, frame, palette);
            p.end();
            cpu.push_back(processorMs() - start);
        });
        std::sort(cpu.begin(), cpu.end());
        return std::pair(wall, cpu[cpu.size() / 2]);
    };

    const GraphScene plain = sceneOf(topology, ir, base, Selection{});
    const auto [plainWall, plainCpu] = paintMs(frameOf(plain, ir, std::nullopt));
    std::printf("  frame without selection: median %.2f ms of 9 (processor %.2f ms, all threads)\n", plainWall,
                plainCpu);
    save("plain");

    GraphScene selected;
    const double rebuildMs = medianMs(5, [&] { selected = sceneOf(topology, ir, base, selection); });
    const std::size_t hovered = *topology->indexOf(*selection.levels.at(1).begin());
    const auto [selectedWall, selectedCpu] = paintMs(frameOf(selected, ir, hovered));
    std::printf(
        "  frame with selection, a hovered node and its tooltip: median %.2f ms of 9 (processor %.2f ms, "
        "all threads)\n",
        selectedWall, selectedCpu);
    save("selected");
    const auto [animatedWall, animatedCpu] = paintMs(frameOf(selected, ir, hovered), false);
    std::printf(
        "  the same while an animation runs (edges kept): median %.2f ms of 9 (processor %.2f ms, "
        "all threads)\n",
        animatedWall, animatedCpu);
    save("animated");
    std::printf("  scene rebuild after a change of selection (rings, roles, edge styles): median %.2f ms of 5\n",
                rebuildMs);

    // A pointer move: the grid lookup with each candidate's exact square, as the view
    // does it. Points sweep the view in a fixed pattern.
    // The frame has the hovered node's scale under way, as a pointer move finds it.
    const GraphFrame frame = frameOf(selected, ir, hovered);
    NodePicker picker;
    const double gridMs = medianMs(5, [&] { picker = NodePicker(frame, painter.captionLineHeight()); });
    std::vector<QPointF> points;
    for (int i = 0; i < 2000; ++i) points.emplace_back((i * 37) % kView.width(), (i * 53) % kView.height());
    std::size_t hits = 0;
    double worst = 0;
    std::vector<double> each;
    for (const QPointF& point : points) {
        const auto start = std::chrono::steady_clock::now();
        hits += picker.nodeAt(frame, point).has_value();
        each.push_back(bench::milliseconds(std::chrono::steady_clock::now() - start));
        worst = std::max(worst, each.back());
    }
    std::sort(each.begin(), each.end());
    std::printf(
        "  pointer move hit test: median %.4f ms, worst %.4f ms of %zu moves (%zu over a node); "
        "grid rebuild %.2f ms\n",
        each[each.size() / 2], worst, each.size(), hits, gridMs);
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    GraphPainter painter;
    const CanvasPalette palette(QApplication::palette());
    std::vector<int> counts;
    QString saveDir;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--save" && i + 1 < argc) {
            saveDir = QString::fromLocal8Bit(argv[++i]);
            QDir().mkpath(saveDir);
        } else {
            counts.push_back(std::atoi(argv[i]));
        }
    }
    if (counts.empty()) counts = {400, 5000, 20000};
    for (int count : counts) benchSize(count, painter, palette, saveDir);
    return 0;
}
