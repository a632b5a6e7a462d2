// The impact panel over a synthetic project of about 20,000 symbols: how long it takes
// from selecting a symbol to a panel that shows its reach (the store's blast radius walk,
// the rows, the summary, the tree's layout and one paint), at depth 3 and 12, for symbols
// spread over the project and for the root of a fan of 3,905 callers on five levels (the
// generated modules alone reach a few dozen at most). Target: under 50 ms.
//
//   vantrel_bench_impact_panel [--files N]     (offscreen; 2350 files and the fan give about 20,000 symbols)
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTreeView>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "app/state/ProjectStore.h"
#include "app/views/ImpactPanel.h"
#include "app/views/ImpactReachModel.h"
#include "bench/ContinuingPlatform.h"
#include "bench/SyntheticGraph.h"
#include "bench/SyntheticProject.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

// Milliseconds from asking for the selection until the panel shows it and has painted.
double selectMs(ProjectStore& store, ImpactPanel& panel, const std::string& id) {
    QElapsedTimer timer;
    timer.start();
    store.select(id);
    while (panel.rows().reach().targetId != id) QCoreApplication::processEvents(QEventLoop::AllEvents);
    panel.tree()->viewport()->repaint();
    return timer.nsecsElapsed() / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    bench::silenceToolkit();
    const std::int64_t fileCount = bench::filesOption(argc, argv, 2350);

    fs::path work = fs::temp_directory_path() / ("vantrel-impact-bench-" + std::to_string(getpid()));
    std::string root = (work / "project").string();
    bench::generateSyntheticProject(root, fileCount, bench::Mix::mixed);
    const std::string fanRoot = bench::writeCallerFan(root);

    bench::BenchStore harness(work);
    ProjectStore& store = harness.store;
    ImpactPanel panel(store);
    panel.resize(1000, 300);
    panel.show();
    const ProjectIR& ir = harness.scan(root);

    // The symbols with the most direct callers and the fan's root first; then every 97th id.
    std::vector<std::string> ids = store.allSymbolIdsSorted();
    std::vector<std::string> hubs = bench::mostCalled(ir, 5);
    hubs.push_back(fanRoot);
    std::printf("%lld files, %zu symbols\n", static_cast<long long>(fileCount), ir.symbols.size());

    for (const int depth : {3, 12}) {
        store.updateMaxDepth(depth);
        std::vector<double> times;
        std::size_t largest = 0;
        for (const std::string& hub : hubs) {
            times.push_back(selectMs(store, panel, hub));
            largest = std::max(largest, panel.rows().reach().callerCount);
        }
        for (std::size_t i = 0; i < ids.size(); i += 97) times.push_back(selectMs(store, panel, ids[i]));
        std::sort(times.begin(), times.end());
        std::printf("depth %d: %zu selections, median %.2f ms, worst %.2f ms (largest reach %zu callers)\n", depth,
                    times.size(), times[times.size() / 2], times.back(), largest);
    }
    std::printf("target: every selection under 50 ms\n");
    fs::remove_all(work);
    return 0;
}
