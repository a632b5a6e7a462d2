// Scan benchmark. Generates a deterministic synthetic project (or takes any folder) and
// reports, for the same files: the single-thread parse-only time (the same parser, no
// analysis: the floor), the cold scan (empty cache), the warm re-scan, a re-scan after
// touching 1% of the files, files/s, MB/s and the peak memory of each phase.
//
//   vantrel_bench_scan [--files N] [--mix ts|py|mixed] [--dir DIR] [--jobs N] [--warm-runs N] [--keep]
//                      [--linking names|precise]
//
// The warm re-scan is repeated --warm-runs times (default 1) and its median reported.
//
// Each phase runs in a child process so that its peak memory is its own. Its time is
// taken inside the child around the work itself (the parse loop, the `scanProject`
// call), so process start-up and the freeing of the graph at exit are not counted.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "bench/SyntheticProject.h"
#include "core/config/GlobalDefaults.h"
#include "core/languages/LanguagePlugin.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/FileIO.h"
#include "core/util/Text.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

struct PhaseResult {
    double seconds = 0;         // the work itself, timed in the child
    double processSeconds = 0;  // the child from fork to exit
    long peakRssKB = 0;
    bool ok = false;
};

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs `body` in a child; `body` gives the seconds of its timed part.
PhaseResult runPhase(const std::function<double()>& body) {
    std::fflush(stdout);
    auto* timed =
        static_cast<double*>(mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (timed == MAP_FAILED) return {};
    *timed = 0;
    auto start = std::chrono::steady_clock::now();
    pid_t pid = fork();
    if (pid == 0) {
        try {
            *timed = body();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "phase failed: %s\n", e.what());
            _exit(1);
        }
        std::fflush(stdout);
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    PhaseResult result;
    result.processSeconds = secondsSince(start);
    result.seconds = *timed;
    munmap(timed, sizeof(double));
    result.peakRssKB = usage.ru_maxrss;
    result.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return result;
}

std::vector<EnumeratedFile> listFiles(const std::string& root, const PluginList& plugins) {
    VantrelConfig config = defaultGlobalConfig();
    PathGlobMatcher exclude(config.exclude);
    Enumerator enumerator = makeEnumerator(root, activePlugins(plugins, config.enabledLanguages));
    std::vector<EnumeratedFile> files;
    if (!enumerator.walker) return files;
    while (auto entry = enumerator.walker->next())
        if (auto file = shouldInclude(*entry, root, exclude, enumerator.pluginByExt, *enumerator.walker))
            files.push_back(std::move(*file));
    return files;
}

double parseOnly(const std::vector<EnumeratedFile>& files, const PluginList& plugins) {
    auto start = std::chrono::steady_clock::now();
    std::size_t nodes = 0;
    for (const auto& file : files) {
        auto bytes = readWholeFile(file.path);
        if (!bytes) continue;
        std::u16string text = utf8ToUtf16(*bytes).value_or(std::u16string());
        for (const auto& plugin : plugins) {
            auto exts = plugin->fileExtensions();
            if (std::find(exts.begin(), exts.end(), file.ext) == exts.end()) continue;
            auto tree = SyntaxTree::parse(plugin->language(file.ext), text);
            if (tree) nodes += ts_node_child_count(tree->root());
            break;
        }
    }
    double seconds = secondsSince(start);
    std::printf("    (parsed %zu files, %zu top-level nodes)\n", files.size(), nodes);
    return seconds;
}

std::optional<LinkingMode> linking;  // --linking; absent: the names mode, as by default

double scanOnce(const std::string& root, const std::string& support, std::int64_t jobs) {
    auto start = std::chrono::steady_clock::now();
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(support));
    ScanStats stats;
    VantrelConfig config = defaultGlobalConfig();
    config.linking = linking;
    ProjectIR ir = scanner.scanProject(root, config, 200, jobs, std::nullopt, {}, {}, &stats);
    double seconds = secondsSince(start);
    std::size_t edges = 0;
    for (const auto& [id, symbol] : ir.symbols) edges += symbol.refsOut.size();
    std::printf("    (phases: count %.3f s, parse %.3f s, name index %.3f s, link %.3f s)\n", stats.countSeconds,
                stats.parseSeconds, stats.indexSeconds, stats.linkSeconds);
    std::printf("    (%lld parsed, %lld from cache, %zu symbols, %zu edges, %zu diagnostics)\n",
                static_cast<long long>(stats.parsed.load()), static_cast<long long>(stats.fromCache.load()),
                ir.symbols.size(), edges, ir.diagnostics.size());
    return seconds;
}

// The run of median time; `runs` ends up sorted by time.
PhaseResult medianOf(std::vector<PhaseResult>& runs) {
    std::sort(runs.begin(), runs.end(),
              [](const PhaseResult& a, const PhaseResult& b) { return a.seconds < b.seconds; });
    return runs[runs.size() / 2];
}

void printSpread(const char* name, const std::vector<PhaseResult>& sortedRuns) {
    if (sortedRuns.size() < 2) return;
    std::printf("%s runs: %zu, fastest %.3f s, slowest %.3f s\n", name, sortedRuns.size(), sortedRuns.front().seconds,
                sortedRuns.back().seconds);
}

void printRow(const char* name, const PhaseResult& r, std::size_t files, std::uint64_t bytes, double reference) {
    std::printf("%-26s %8.3f s %9.0f files/s %7.1f MB/s %8.1f MB peak %8.3f s process", name, r.seconds,
                files / r.seconds, bytes / 1e6 / r.seconds, r.peakRssKB / 1024.0, r.processSeconds);
    if (reference > 0) std::printf("   %.2fx parse-only", r.seconds / reference);
    std::printf("%s\n", r.ok ? "" : "   FAILED");
}

}  // namespace

int main(int argc, char** argv) {
    std::int64_t fileCount = 10000;
    std::int64_t jobs = std::max(1u, std::thread::hardware_concurrency());
    bench::Mix mix = bench::Mix::mixed;
    std::string dir;
    bool keep = false;
    int warmRunCount = 1;
    int coldRunCount = 1;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto next = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
        if (arg == "--files") fileCount = std::stoll(next());
        else if (arg == "--jobs") jobs = std::stoll(next());
        else if (arg == "--warm-runs") warmRunCount = std::max(1, std::stoi(next()));
        else if (arg == "--cold-runs") coldRunCount = std::max(1, std::stoi(next()));
        else if (arg == "--dir") dir = next();
        else if (arg == "--keep") keep = true;
        else if (arg == "--linking") {
            linking = linkingModeFromRaw(next());
            if (!linking) {
                std::fprintf(stderr, "--linking takes names or precise\n");
                return 2;
            }
        } else if (arg == "--mix") {
            std::string m = next();
            mix = m == "ts" ? bench::Mix::typescript : m == "py" ? bench::Mix::python : bench::Mix::mixed;
        } else {
            std::fprintf(stderr,
                         "usage: %s [--files N] [--mix ts|py|mixed] [--dir DIR] [--jobs N] [--cold-runs N] "
                         "[--warm-runs N] [--keep] [--linking names|precise]\n",
                         argv[0]);
            return 2;
        }
    }

    fs::path work = fs::temp_directory_path() / ("vantrel-bench-" + std::to_string(getpid()));
    fs::create_directories(work);
    bool generated = dir.empty();
    std::string root = generated ? (work / "project").string() : fs::absolute(dir).string();
    if (generated) {
        auto start = std::chrono::steady_clock::now();
        bench::generateSyntheticProject(root, fileCount, mix);
        std::printf("generated %lld files in %.2f s at %s\n", static_cast<long long>(fileCount),
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), root.c_str());
    }
    PluginList plugins = SymbolScanner::defaultPlugins();
    auto files = listFiles(root, plugins);
    std::uint64_t bytes = 0;
    for (const auto& f : files) bytes += fs::file_size(f.path);
    std::printf("%zu source files, %.1f MB, %lld parse jobs\n\n", files.size(), bytes / 1e6,
                static_cast<long long>(jobs));

    std::string support = (work / "support").string();
    PhaseResult parse = runPhase([&] { return parseOnly(files, plugins); });
    // Each cold run gets a cache folder of its own, all kept to the end: deleting one
    // between runs would slow the next run's file creation on some file systems.
    std::vector<PhaseResult> coldRuns;
    for (int i = 0; i < coldRunCount; ++i) {
        std::string coldSupport = i == 0 ? support : (work / ("support-cold-" + std::to_string(i))).string();
        coldRuns.push_back(runPhase([&] { return scanOnce(root, coldSupport, jobs); }));
    }
    PhaseResult cold = medianOf(coldRuns);
    std::vector<PhaseResult> warmRuns;
    for (int i = 0; i < warmRunCount; ++i) warmRuns.push_back(runPhase([&] { return scanOnce(root, support, jobs); }));
    PhaseResult warm = medianOf(warmRuns);
    PhaseResult touched;
    if (generated) {
        for (std::size_t i = 0; i < files.size(); i += 100)
            std::ofstream(files[i].path, std::ios::app) << "\n// touched\n";
        touched = runPhase([&] { return scanOnce(root, support, jobs); });
    }

    std::printf("\n");
    printRow("parse only (1 thread)", parse, files.size(), bytes, 0);
    printRow(coldRuns.size() > 1 ? "cold scan (median)" : "cold scan", cold, files.size(), bytes, parse.seconds);
    printRow(warmRuns.size() > 1 ? "warm re-scan (median)" : "warm re-scan", warm, files.size(), bytes, parse.seconds);
    printSpread("cold scan", coldRuns);
    printSpread("warm re-scan", warmRuns);
    if (generated) printRow("re-scan, 1% touched", touched, files.size(), bytes, parse.seconds);
    std::printf("warm / cold: %.1f%%\n", 100.0 * warm.seconds / cold.seconds);

    if (!keep) fs::remove_all(work);
    else std::printf("kept %s\n", work.c_str());
    bool allOk = parse.ok;
    for (const auto& runs : {coldRuns, warmRuns})
        for (const auto& run : runs) allOk = allOk && run.ok;
    return allOk ? 0 : 1;
}
