// The sidebar's symbol list over a synthetic project of about 50,000 symbols: how long
// the main thread is busy when the scan's result arrives and the list fills (against
// the same scan without a sidebar, so the list's own share shows), and how long one
// frame of the list takes while it scrolls from top to bottom, while a search narrows
// it and when the selection jumps. Target for the list's share and each frame: under
// 50 ms, so that nothing stalls.
//
//   vantrel_bench_sidebar [--files N]     (offscreen; 7200 files give about 50,000 symbols)
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QListView>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "app/state/ProjectStore.h"
#include "app/views/SidebarView.h"
#include "app/views/SymbolListModel.h"
#include "bench/ContinuingPlatform.h"
#include "bench/SyntheticProject.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

// Runs the event loop until `done` holds, and reports the longest gap between two of
// its turns (a 1 ms probe timer measures them).
template <typename Done>
double longestGapUntil(Done done) {
    QElapsedTimer sinceTick;
    double longest = 0;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    probe.setInterval(1);
    QEventLoop loop;
    QObject::connect(&probe, &QTimer::timeout, [&] {
        longest = std::max(longest, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
        if (done()) loop.quit();
    });
    sinceTick.start();
    probe.start();
    loop.exec();
    return longest;
}

// The time of one synchronous repaint of the list's visible rows.
double paintMs(QListView* list) {
    QElapsedTimer timer;
    timer.start();
    list->viewport()->repaint();
    return timer.nsecsElapsed() / 1e6;
}

void settleEvents() {
    QEventLoop loop;
    QTimer::singleShot(20, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    std::int64_t fileCount = 7200;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::string(argv[i]) == "--files") fileCount = std::atoll(argv[i + 1]);

    fs::path work = fs::temp_directory_path() / ("vantrel-sidebar-bench-" + std::to_string(getpid()));
    std::string root = (work / "project").string();
    bench::generateSyntheticProject(root, fileCount, bench::Mix::mixed);

    bench::ContinuingPlatform platform;
    ProjectStore store(
        ProjectStoreEnvironment{&platform, ProjectCache((work / "support").string()), AppLocations{}, {}, LiveSessionOptions{}});
    // Without a sidebar, twice: the first fills the cache, the second is the comparison.
    double storeGap = 0;
    for (int run = 0; run < 2; ++run) {
        store.scan(QString::fromStdString(root));
        storeGap = longestGapUntil([&] { return store.selectedSymbolId().has_value(); });
    }

    SidebarView sidebar(store);
    sidebar.resize(340, 900);
    sidebar.show();
    QListView* list = sidebar.symbolList();
    // From the start of the scan to a filled list with the first symbol selected; the
    // result's arrival, the layout and the list's filling all run on the main thread.
    store.scan(QString::fromStdString(root));
    const double fillGap = longestGapUntil([&] {
        return store.ir() && sidebar.rows().ids().size() == store.ir()->symbols.size() &&
               !list->selectionModel()->selectedIndexes().isEmpty();
    });
    const std::size_t symbols = store.ir()->symbols.size();
    const double firstPaint = paintMs(list);
    std::printf("%lld files, %zu symbols in the list\n", static_cast<long long>(fileCount), symbols);
    std::printf(
        "scan to filled list: longest event-loop gap %.1f ms with the sidebar, %.1f ms without; "
        "first paint %.1f ms\n",
        fillGap, storeGap, firstPaint);

    // Scroll from top to bottom in 400 steps, painting each frame.
    QScrollBar* bar = list->verticalScrollBar();
    std::vector<double> frames;
    for (int step = 0; step <= 400; ++step) {
        bar->setValue(static_cast<int>(static_cast<long long>(bar->maximum()) * step / 400));
        frames.push_back(paintMs(list));
    }
    std::sort(frames.begin(), frames.end());
    std::printf("scrolling: median frame %.2f ms, worst %.2f ms over %zu frames\n", frames[frames.size() / 2],
                frames.back(), frames.size());

    // A search narrows the list; then the selection jumps to a symbol near the end.
    store.setSearchText(QStringLiteral("helper"));
    const double searchGap = longestGapUntil([&] { return sidebar.rows().ids().size() < symbols; });
    const double searchPaint = paintMs(list);
    std::printf("search \"helper\" (%zu rows): longest gap %.1f ms, paint %.1f ms\n", sidebar.rows().ids().size(),
                searchGap, searchPaint);
    store.setSearchText(QString());
    settleEvents();
    const std::string target = store.allSymbolIdsSorted()[symbols * 9 / 10];
    store.select(target);
    const double selectGap = longestGapUntil([&] { return store.selectedSymbolId() == target; });
    settleEvents();
    std::printf("selection jump: longest gap %.1f ms, paint %.1f ms\n", selectGap, paintMs(list));
    std::printf("target: the sidebar's share of a gap, and every frame, under 50 ms\n");
    fs::remove_all(work);
    return 0;
}
