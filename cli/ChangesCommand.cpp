// changes: what a git change reaches. The working tree's graph comes from a scan of the
// folder, the base graph from a scan of the folder as it stood at the base revision; the
// changed lines of git's diff name the changed symbols, whose blast radii are joined.
#include <algorithm>
#include <cstdio>
#include <limits>
#include <thread>

#include "cli/ChangesSupport.h"
#include "cli/Commands.h"
#include "cli/ProgressDisplay.h"
#include "core/cache/ProjectCache.h"
#include "core/changes/ChangesReport.h"
#include "core/changes/GitRepository.h"
#include "core/config/GlobalDefaults.h"
#include "core/util/Paths.h"

namespace vantrel::cli {

const char* const kChangesUsage =
    "usage: vantrel-cli changes DIR [--base REV] [--depth N] [--format text|json|markdown] [--fail-over N] "
    "[--config FILE] [--cache-dir DIR] [--linking names|precise] [--quiet]";

namespace {

// Runs git work; its failures become one-line errors, or an interruption when Ctrl-C
// ended git.
template <typename Work>
auto withGit(Work work) {
    try {
        return work();
    } catch (const git::GitError& e) {
        if (interrupted()) throw CommandError("interrupted", kExitCancelled);
        throw CommandError(e.what());
    }
}

}  // namespace

std::string supportDirFor(const std::optional<std::string>& cacheDir) {
    if (cacheDir) return standardizePath(*cacheDir);
    if (auto dir = defaultApplicationSupportDirectory()) return *dir;
    throw CommandError("no place for the base tree: set HOME or XDG_DATA_HOME, or pass --cache-dir");
}

std::unique_ptr<WorkingChanges> openWorkingChanges(const ScanRequest& request, const std::string& revision,
                                                   ProgressDisplay& display) {
    WorkingChangesOptions options;
    options.root = request.root;
    options.revision = revision;
    options.config = request.config;
    if (request.linking) options.config.linking = request.linking;  // the base graph's key names the mode
    options.supportDir = supportDirFor(request.cacheDir);
    options.maxConcurrentParses =
        request.jobs > 0 ? request.jobs : std::max<std::int64_t>(1, std::thread::hardware_concurrency());
    options.progress = [&display](const ScanProgress& p) { display.update(p); };
    options.isCancelled = [] { return interrupted(); };
    try {
        return withGit([&] { return std::make_unique<WorkingChanges>(std::move(options)); });
    } catch (const WorkingChangesError&) {
        throw CommandError("the cache folder lies inside " + request.root +
                           ", where the base tree would be scanned with it; "
                           "pass a --cache-dir outside it");
    }
}

ChangesReport computeChanges(WorkingChanges& changes, const ProjectIR& current, std::int64_t depth,
                             ProgressDisplay& display) {
    try {
        display.begin();
        ChangesReport report = withGit([&] { return changes.compute(current, depth); });
        display.finish();
        return report;
    } catch (const ScanError& e) {
        display.finish();
        if (e.kind() == ScanError::Kind::cancelled) throw CommandError("scan cancelled", kExitCancelled);
        throw CommandError(std::string("scan failed: ") + e.what());
    } catch (...) {
        display.finish();
        throw;
    }
}

std::string baseOrigin(const BaseGraphInfo& info, const ProjectIR& base) {
    switch (info.origin) {
        case BaseGraphInfo::Origin::absent:
            return "the folder did not exist then";
        case BaseGraphInfo::Origin::stored:
            return "stored graph, " + std::to_string(base.symbols.size()) + " symbols";
        case BaseGraphInfo::Origin::scanned:
        case BaseGraphInfo::Origin::none:
            break;
    }
    return summaryLine(base, info.files, info.parsed, info.fromCache, info.seconds);
}

int runChangesCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(
        argc, argv, 2, {"--base", "--depth", "--format", "--fail-over", "--config", "--cache-dir", "--linking"},
        {"--quiet"});
    if (args.positional.size() != 1) throw UsageError("changes takes exactly one folder");
    std::string format = args.value("--format").value_or("text");
    if (format != "text" && format != "json" && format != "markdown")
        throw UsageError("unknown format '" + format + "' (text, json or markdown)");
    std::int64_t depth = args.integer("--depth", 1, 12).value_or(kDefaultMaxDepth);
    auto failOver = args.integer("--fail-over", 0, std::numeric_limits<std::int64_t>::max());
    std::string revision = args.value("--base").value_or("HEAD");

    ScanRequest request = changesScanRequest(args);
    ProgressDisplay display(progressMode(request.quiet));
    auto changes = openWorkingChanges(request, revision, display);

    ScanOutcome current = runScan(request);
    ChangesReport report = computeChanges(*changes, current.ir, depth, display);
    writeOutput(std::nullopt, format == "json"       ? renderChangesJson(report)
                              : format == "markdown" ? renderChangesMarkdown(report)
                                                     : renderChangesText(report));
    if (!request.quiet) {
        std::fprintf(stderr, "working tree: %s\nbase %s: %s\n%zu changed, %zu reached within depth %lld\n",
                     summaryLine(current).c_str(), report.baseCommit.substr(0, 12).c_str(),
                     baseOrigin(changes->baseInfo(), changes->baseGraph()).c_str(),
                     report.changed.size(), report.reachedCount(), static_cast<long long>(depth));
    }
    if (failOver && static_cast<std::int64_t>(report.reachedCount()) > *failOver) {
        std::fprintf(stderr, "vantrel-cli changes: %zu symbol%s reached, more than --fail-over %lld\n",
                     report.reachedCount(), report.reachedCount() == 1 ? "" : "s", static_cast<long long>(*failOver));
        return kExitGate;
    }
    return kExitOk;
}

}  // namespace vantrel::cli
