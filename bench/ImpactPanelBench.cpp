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
#include <fstream>
#include <string>
#include <vector>

#include "app/state/ProjectStore.h"
#include "app/views/ImpactPanel.h"
#include "app/views/ImpactReachModel.h"
#include "bench/ContinuingPlatform.h"
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

// fan_0_0, called by five functions, each called by five more, five levels deep; fifty
// functions to a file.
std::string writeFan(const fs::path& root) {
    constexpr int kLevels = 5, kBranch = 5, kPerFile = 50;
    int width = 1;
    for (int level = 0; level <= kLevels; ++level, width *= kBranch) {
        for (int first = 0; first < width; first += kPerFile) {
            fs::create_directories(root / "fan");
            std::ofstream out(root / "fan" / ("level" + std::to_string(level) + "_" + std::to_string(first) + ".py"));
            for (int i = first; i < std::min(width, first + kPerFile); ++i) {
                out << "def fan_" << level << "_" << i << "():\n    return ";
                if (level == 0) out << "0\n\n\n";
                else out << "fan_" << level - 1 << "_" << i / kBranch << "()\n\n\n";
            }
        }
    }
    return "fan/level0_0.py:fan_0_0:function";
}

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});  // offscreen chatter
    std::int64_t fileCount = 2350;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::string(argv[i]) == "--files") fileCount = std::atoll(argv[i + 1]);

    fs::path work = fs::temp_directory_path() / ("vantrel-impact-bench-" + std::to_string(getpid()));
    std::string root = (work / "project").string();
    bench::generateSyntheticProject(root, fileCount, bench::Mix::mixed);
    const std::string fanRoot = writeFan(root);

    bench::ContinuingPlatform platform;
    ProjectStore store(
        ProjectStoreEnvironment{&platform, ProjectCache((work / "support").string()), AppLocations{}, {}});
    ImpactPanel panel(store);
    panel.resize(1000, 300);
    panel.show();
    store.scan(QString::fromStdString(root));
    while (!store.selectedSymbolId()) QCoreApplication::processEvents(QEventLoop::AllEvents);
    const ProjectIR& ir = *store.ir();

    // The symbols with the most direct callers and the fan's root first; then every 97th id.
    std::vector<std::string> ids = store.allSymbolIdsSorted();
    std::vector<std::string> hubs = ids;
    std::partial_sort(hubs.begin(), hubs.begin() + 5, hubs.end(), [&](const std::string& a, const std::string& b) {
        return ir.symbols.at(a).refsIn.size() > ir.symbols.at(b).refsIn.size();
    });
    hubs.resize(5);
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
