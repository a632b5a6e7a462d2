// Live update benchmark: the time from the end of a quiet period to the updated graph,
// for one-file saves in a synthetic project (10,000 and 100,000 files are the figures
// quoted). After a full scan it saves files one at a time, spread over the project, in
// two ways, and times each LiveProject::update:
//   - "body": a file's bytes change but not its symbols (the common save);
//   - "new function": a function of a fresh name is added (the set of ids changes);
// and it times a new file with one function written beside the saved one (removed again).
// It also times the immutable copy of the graph that readers on other threads take, and,
// last, the whole path through a live session: a file written, the watcher's quiet period
// (300 ms), the update and the copy handed to the session's handler.
//
//   vantrel_bench_live_update [--files N] [--dir DIR] [--saves N] [--linking names|precise] [--jobs N]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/SyntheticProject.h"
#include "core/live/LiveProject.h"
#include "core/live/LiveSession.h"

#include <condition_variable>
#include <mutex>
#include "core/util/FileIO.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

double msSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

struct Figures {
    std::vector<double> ms;
    void print(const char* label) {
        std::sort(ms.begin(), ms.end());
        if (ms.empty()) return;
        std::printf("  %-28s median %8.2f ms   p90 %8.2f ms   max %8.2f ms   (%zu saves)\n", label, ms[ms.size() / 2],
                    ms[std::min(ms.size() - 1, ms.size() * 9 / 10)], ms.back(), ms.size());
    }
};

}  // namespace

int main(int argc, char** argv) {
    std::int64_t files = 10000;
    std::string dir;
    int saves = 15;
    int jobs = 2;
    bool bodyOnly = false;  // only the saves that keep the symbols (for profiling them)
    LinkingMode linking = LinkingMode::names;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto next = [&] { return i + 1 < argc ? std::string(argv[++i]) : std::string(); };
        if (arg == "--files") files = std::stoll(next());
        else if (arg == "--dir") dir = next();
        else if (arg == "--saves") saves = std::stoi(next());
        else if (arg == "--jobs") jobs = std::stoi(next());
        else if (arg == "--body-only") bodyOnly = true;
        else if (arg == "--linking") linking = next() == "precise" ? LinkingMode::precise : LinkingMode::names;
        else {
            std::fprintf(stderr, "usage: vantrel_bench_live_update [--files N] [--dir DIR] [--saves N] "
                                 "[--linking names|precise] [--jobs N] [--body-only]\n");
            return 2;
        }
    }
    if (dir.empty()) dir = (fs::temp_directory_path() / ("vantrel-live-" + std::to_string(files))).string();
    const std::string project = dir + "/project";
    if (!fs::exists(project)) {
        std::printf("generating %lld files in %s\n", static_cast<long long>(files), project.c_str());
        bench::generateSyntheticProject(project, files, bench::Mix::mixed);
    }
    const std::string cacheDir = dir + "/cache";

    LiveProjectOptions options;
    options.root = project;
    options.maxConcurrentParses = jobs;
    options.loadConfig = [linking] {
        VantrelConfig config;
        config.linking = linking;
        return config;
    };
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(cacheDir)), options);
    auto start = std::chrono::steady_clock::now();
    live.open();
    std::printf("%s linking, %zu symbols: open (full scan and index) %.0f ms\n",
                linking == LinkingMode::precise ? "precise" : "names", live.graph().symbols.size(), msSince(start));

    Figures body, added, newFile, copy;
    for (int round = 0; round < saves; ++round) {
        const std::int64_t index = (files / saves) * round + 7;
        const std::string rel = bench::syntheticRelPath(index % files, files, bench::Mix::mixed);
        const std::string path = project + "/" + rel;
        std::string original;
        if (!readWholeFileInto(path, original)) continue;
        const bool python = rel.ends_with(".py");
        const std::string comment = python ? "\n# saved " : "\n// saved ";

        // A body-only save: a comment, so the symbols stay as they were.
        writeFileAtomically(path, original + comment + std::to_string(round) + "\n");
        start = std::chrono::steady_clock::now();
        LiveUpdate update = live.update({rel});
        body.ms.push_back(msSince(start));
        if (update.reanalysed.size() != 1 || update.relinkedFiles != 1)
            std::fprintf(stderr, "unexpected: %zu files analysed, %zu linked\n", update.reanalysed.size(),
                         update.relinkedFiles);
        start = std::chrono::steady_clock::now();
        auto snapshot = live.snapshot();
        // The first two saves make the two copies readers take in turn; from then on a copy
        // is brought up to date by the symbols the saves touched, the steady state.
        if (round >= 2) copy.ms.push_back(msSince(start));

        if (bodyOnly) {
            writeFileAtomically(path, original);
            live.update({rel});
            continue;
        }
        // A new function of a fresh name.
        const std::string name = "live_saved_" + std::to_string(round);
        writeFileAtomically(path, original + (python ? "\ndef " + name + "():\n    return 1\n"
                                                     : "\nexport function " + name + "() { return 1; }\n"));
        start = std::chrono::steady_clock::now();
        live.update({rel});
        added.ms.push_back(msSince(start));

        writeFileAtomically(path, original);
        live.update({rel});

        // A new file beside it, then gone again (untimed).
        const std::string newRel = rel.substr(0, rel.rfind('/') + 1) + "live_new_" + std::to_string(round) +
                                   (python ? ".py" : ".ts");
        writeFileAtomically(project + "/" + newRel, python ? "def " + name + "():\n    return 1\n"
                                                           : "export function " + name + "() { return 1; }\n");
        start = std::chrono::steady_clock::now();
        live.update({newRel});
        newFile.ms.push_back(msSince(start));
        std::filesystem::remove(project + "/" + newRel);
        live.update({newRel});
    }
    // Through a live session: from the write to the end of its update, less the quiet period.
    Figures session;
    {
        std::mutex mutex;
        std::condition_variable arrived;
        int updates = 0;
        LiveSessionHandlers handlers;
        // An update that leaves the graph as it was calls no `updated`, but every update ends
        // in a state.
        handlers.state = [&](LiveState state, const std::string&) {
            if (state == LiveState::updating) return;
            std::lock_guard lock(mutex);
            ++updates;
            arrived.notify_all();
        };
        auto watched = std::make_unique<LiveProject>(
            SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(cacheDir)), options);
        watched->open();
        LiveSession live(std::move(watched), LiveSessionOptions{}, handlers);
        for (int round = 0; round < saves; ++round) {
            const std::int64_t index = (files / saves) * round + 11;
            const std::string rel = bench::syntheticRelPath(index % files, files, bench::Mix::mixed);
            const std::string path = project + "/" + rel;
            std::string original;
            if (!readWholeFileInto(path, original)) continue;
            const bool python = rel.ends_with(".py");
            int seen = 0;
            {
                std::lock_guard lock(mutex);
                seen = updates;
            }
            writeFileAtomically(path, original + (python ? "\n# watched\n" : "\n// watched\n"));
            start = std::chrono::steady_clock::now();
            std::unique_lock lock(mutex);
            if (!arrived.wait_for(lock, std::chrono::seconds(30), [&] { return updates > seen; })) break;
            session.ms.push_back(msSince(start) - 300.0);
            lock.unlock();
            writeFileAtomically(path, original);
            live.waitUntilIdle(std::chrono::seconds(30));
        }
    }

    body.print("one-file save, body");
    added.print("one-file save, new function");
    newFile.print("new file");
    copy.print("copy for readers");
    session.print("session, after quiet period");
    return 0;
}
