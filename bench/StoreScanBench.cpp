// Scans a synthetic project through the project store and reports how responsive the
// main thread stays (the longest gap between two turns of its event loop while the scan
// runs; target under 50 ms) and the store's total time against `vantrel-cli scan` of
// the same files with the same batch size and parse concurrency (target: at most 10%
// more). Every scan starts from an empty cache; the median of the runs is reported.
//
//   vantrel_bench_store_scan [--files N] [--runs N]
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/state/ProjectStore.h"
#include "bench/ContinuingPlatform.h"
#include "bench/SyntheticProject.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

struct StoreRun {
    double seconds = 0;
    double longestGapMs = 0;
    std::int64_t reports = 0;
    std::size_t symbols = 0;
};

StoreRun scanThroughStore(const std::string& root, const std::string& support) {
    bench::ContinuingPlatform platform;
    ProjectStore store(ProjectStoreEnvironment{&platform, ProjectCache(support), AppLocations{}, {}, LiveSessionOptions{}});
    StoreRun run;
    QObject::connect(&store, &ProjectStore::scanProgressChanged, [&] { ++run.reports; });

    // A 1 ms probe: the time between two of its ticks is the time between two turns of
    // the loop in which it could have run.
    QElapsedTimer sinceTick;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    probe.setInterval(1);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        run.longestGapMs = std::max(run.longestGapMs, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
    });

    QEventLoop loop;
    QObject::connect(&store, &ProjectStore::scanStateChanged, [&] {
        auto kind = store.scanState().kind;
        if (kind == ScanState::Kind::ready || kind == ScanState::Kind::failed) loop.quit();
    });
    auto start = std::chrono::steady_clock::now();
    store.scan(QString::fromStdString(root));
    sinceTick.start();
    probe.start();
    loop.exec();
    probe.stop();
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (store.scanState().kind == ScanState::Kind::failed)
        std::fprintf(stderr, "scan failed: %s\n", qPrintable(store.scanState().message));
    run.symbols = store.ir() ? store.ir()->symbols.size() : 0;
    return run;
}

// The scan time that `vantrel-cli scan` reports in its summary line ("... in 1.23 s").
double scanThroughCli(const std::string& root, const std::string& support, const std::string& log) {
    std::string command = std::string("\"") + VANTREL_CLI_PATH + "\" scan \"" + root + "\" --cache-dir \"" + support +
                          "\" --jobs " + std::to_string(ScanJob::kMaxConcurrentParses) + " --out /dev/null 2> \"" +
                          log + "\"";
    if (std::system(command.c_str()) != 0) return -1;
    std::ifstream in(log);
    std::string line, last;
    while (std::getline(in, line))
        if (line.find(" in ") != std::string::npos) last = line;
    auto at = last.rfind(" in ");
    return at == std::string::npos ? -1 : std::atof(last.c_str() + at + 4);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::int64_t fileCount = 10000;
    int runs = 3;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string arg = argv[i];
        if (arg == "--files") fileCount = std::atoll(argv[i + 1]);
        else if (arg == "--runs") runs = std::max(1, std::atoi(argv[i + 1]));
    }

    fs::path work = fs::temp_directory_path() / ("vantrel-store-bench-" + std::to_string(getpid()));
    std::string root = (work / "project").string();
    bench::generateSyntheticProject(root, fileCount, bench::Mix::mixed);
    std::printf("%lld files, %d cold runs each\n", static_cast<long long>(fileCount), runs);

    std::vector<double> storeSeconds, cliSeconds, gaps;
    for (int i = 0; i < runs; ++i) {
        std::string tag = std::to_string(i);
        double cli = scanThroughCli(root, (work / ("cli-cache" + tag)).string(), (work / "cli.log").string());
        StoreRun store = scanThroughStore(root, (work / ("store-cache" + tag)).string());
        std::printf("run %d: store %.3f s (longest loop gap %.1f ms, %lld reports, %zu symbols), cli %.3f s\n", i,
                    store.seconds, store.longestGapMs, static_cast<long long>(store.reports), store.symbols, cli);
        storeSeconds.push_back(store.seconds);
        cliSeconds.push_back(cli);
        gaps.push_back(store.longestGapMs);
    }
    double storeMedian = median(storeSeconds), cliMedian = median(cliSeconds);
    std::printf("\nlongest event-loop gap: %.1f ms (worst of runs; target < 50 ms)\n",
                *std::max_element(gaps.begin(), gaps.end()));
    std::printf("store %.3f s vs cli %.3f s (medians): %+.1f%% (target <= +10%%)\n", storeMedian, cliMedian,
                100.0 * (storeMedian - cliMedian) / cliMedian);
    fs::remove_all(work);
    return 0;
}
