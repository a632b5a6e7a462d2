// watch: the changes report of `changes`, printed at start and again after every quiet
// burst of saves that changed the graph or the report, until Ctrl-C. Standard output carries only the
// reports (one compact JSON object per line, or text reports each under a line with the
// local time); progress and the failures of single updates go to standard error.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <thread>
#include <utility>

#include "cli/ChangesSupport.h"
#include "cli/Commands.h"
#include "core/config/GlobalDefaults.h"
#include "core/json/JsonDocument.h"
#include "core/live/LiveProject.h"
#include "core/live/LiveSession.h"

namespace vantrel::cli {

const char* const kWatchUsage =
    "usage: vantrel-cli watch DIR [--base REV] [--depth N] [--format text|json] [--config FILE] "
    "[--cache-dir DIR] [--linking names|precise] [--quiet]";

namespace {

std::string localClock() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

struct Posted {
    bool settled = false;       // an update ended since the last take
    bool graphChanged = false;  // and one of them changed the graph
};

// What the session's thread tells the main thread, which prints; updates that end
// before the main thread looks are taken together.
class UpdateMailbox {
public:
    void post(bool graphChanged) {
        {
            std::lock_guard lock(mutex_);
            posted_.settled = true;
            posted_.graphChanged = posted_.graphChanged || graphChanged;
        }
        ready_.notify_one();
    }
    // What was posted since the last take, waiting at most `timeout` for something.
    Posted take(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex_);
        ready_.wait_for(lock, timeout, [&] { return posted_.settled; });
        return std::exchange(posted_, Posted{});
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    Posted posted_;
};

}  // namespace

int runWatchCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(argc, argv, 2,
                                {"--base", "--depth", "--format", "--config", "--cache-dir", "--linking"}, {"--quiet"});
    if (args.positional.size() != 1) throw UsageError("watch takes exactly one folder");
    std::string format = args.value("--format").value_or("text");
    if (format != "text" && format != "json") throw UsageError("unknown format '" + format + "' (text or json)");
    std::int64_t depth = args.integer("--depth", 1, 12).value_or(kDefaultMaxDepth);
    std::string revision = args.value("--base").value_or("HEAD");

    ScanRequest request = changesScanRequest(args);
    if (request.linking) request.config.linking = request.linking;
    ProgressDisplay display(progressMode(request.quiet));
    auto changes = openWorkingChanges(request, revision, display);

    // The project reads its settings again when a settings file changes; --config and
    // --linking keep winning.
    std::optional<std::string> configFile = args.value("--config");
    LiveProjectOptions liveOptions;
    liveOptions.root = request.root;
    liveOptions.loadConfig = [root = request.root, configFile, linking = request.linking] {
        VantrelConfig config = resolveConfig(root, configFile);
        if (linking) config.linking = linking;
        return config;
    };
    liveOptions.maxConcurrentParses = std::max<std::int64_t>(1, std::thread::hardware_concurrency());
    // Only the first scan shows progress: later ones are logged as one line each.
    auto showProgress = std::make_shared<std::atomic<bool>>(true);
    liveOptions.progress = [&display, showProgress](const ScanProgress& p) {
        if (*showProgress) display.update(p);
    };
    liveOptions.isCancelled = [] { return interrupted(); };
    auto project = std::make_unique<LiveProject>(makeScanner(request.cacheDir), std::move(liveOptions));
    try {
        display.begin();
        project->open();
        display.finish();
    } catch (const ScanError& e) {
        display.finish();
        if (e.kind() == ScanError::Kind::cancelled) throw CommandError("scan cancelled", kExitCancelled);
        throw CommandError(std::string("scan failed: ") + e.what());
    }
    *showProgress = false;

    UpdateMailbox mailbox;
    LiveSessionHandlers handlers;
    bool quiet = request.quiet;
    handlers.updated = [&mailbox, quiet](const LiveUpdate& update, std::shared_ptr<const ProjectIR>) {
        if (quiet) {
        } else if (update.fullScan) {
            std::fprintf(stderr, "vantrel-cli watch: scanned again in %.2f s\n", update.seconds);
        } else {
            std::fprintf(stderr, "vantrel-cli watch: %zu file%s analysed again, %zu relinked in %.2f s\n",
                         update.reanalysed.size(), update.reanalysed.size() == 1 ? "" : "s", update.relinkedFiles,
                         update.seconds);
        }
        mailbox.post(true);
    };
    // Every update that ends, even one that left the graph as it was: an edit inside a
    // body changes the report all the same.
    handlers.state = [&mailbox](LiveState state, const std::string& message) {
        if (state == LiveState::failed && !interrupted())
            std::fprintf(stderr, "vantrel-cli watch: update failed: %s\n", message.c_str());
        else if (state == LiveState::upToDate)
            mailbox.post(false);
    };
    handlers.notice = [](const std::string& message) {
        std::fprintf(stderr, "vantrel-cli watch: %s\n", message.c_str());
    };
    LiveSessionOptions sessionOptions;
    LiveSession session(std::move(project), sessionOptions, std::move(handlers));

    bool first = true;
    std::string lastJson;
    // An edit inside a body leaves the graph as it was but may change the report, so an
    // update is printed when either changed.
    auto print = [&](const ProjectIR& graph, bool graphChanged) {
        ChangesReport report;
        try {
            report = computeChanges(*changes, graph, depth, display);
        } catch (const CommandError& e) {
            if (e.exitCode() == kExitCancelled || first) throw;
            // A rebase or checkout in progress: the next burst tries again.
            std::fprintf(stderr, "vantrel-cli watch: %s\n", e.what());
            return;
        }
        std::string json = renderChangesJson(report);
        if (!first && !graphChanged && json == lastJson) return;
        lastJson = json;
        if (format == "json") {
            std::string line = dumpJson(parseJsonOrThrow(json), false) + "\n";
            std::fwrite(line.data(), 1, line.size(), stdout);
        } else {
            std::string text = (first ? "" : "\n") + std::string("--- ") + localClock() + " ---\n" +
                               renderChangesText(report);
            std::fwrite(text.data(), 1, text.size(), stdout);
        }
        std::fflush(stdout);
        first = false;
        if (!request.quiet)
            std::fprintf(stderr, "vantrel-cli watch: %zu changed, %zu reached within depth %lld\n",
                         report.changed.size(), report.reachedCount(), static_cast<long long>(depth));
    };

    print(*session.graph(), true);
    while (!interrupted()) {
        Posted posted = mailbox.take(std::chrono::milliseconds(100));
        if (posted.settled) print(*session.graph(), posted.graphChanged);
    }
    return kExitCancelled;
}

}  // namespace vantrel::cli
