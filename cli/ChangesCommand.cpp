// changes: what a git change reaches. The working tree's graph comes from a scan of the
// folder, the base graph from a scan of the folder as it stood at the base revision; the
// changed lines of git's diff name the changed symbols, whose blast radii are joined.
#include <cstdio>
#include <limits>

#include "cli/Commands.h"
#include "core/changes/BaseWorkspace.h"
#include "core/changes/ChangeReach.h"
#include "core/changes/ChangedSymbols.h"
#include "core/changes/ChangesReport.h"
#include "core/changes/GitRepository.h"
#include "core/changes/UnifiedDiff.h"
#include "core/config/GlobalDefaults.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

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

std::string supportDirFor(const std::optional<std::string>& cacheDir) {
    if (cacheDir) return standardizePath(*cacheDir);
    if (auto dir = defaultApplicationSupportDirectory()) return *dir;
    throw CommandError("no place for the base tree: set HOME or XDG_DATA_HOME, or pass --cache-dir");
}

// The base tree inside the scanned folder would be scanned as part of the working tree,
// unless a hidden folder (which scans pass over) holds it.
void requireOutsideScan(const std::string& baseTree, const std::string& root) {
    std::string relative = relativePath(baseTree, root);
    if (relative.starts_with("/")) return;
    for (auto component : splitKeepingEmpty(relative, "/"))
        if (component.starts_with(".")) return;
    throw CommandError("the cache folder lies inside " + root +
                       ", where the base tree would be scanned with it; "
                       "pass a --cache-dir outside it");
}

struct BaseGraph {
    ProjectIR ir;
    std::string origin;  // how it was obtained, for the summary
};

// The folder's graph at `commit`: the stored one when the same tree was scanned with the
// same settings before, else a scan of a checkout of that tree.
BaseGraph loadBaseGraph(const git::WorkTree& tree, const std::string& commit, const BaseWorkspace& workspace,
                        const ScanRequest& scanTemplate) {
    const std::string& root = scanTemplate.root;
    auto treeId = withGit([&] { return git::subtreeId(root, commit, tree.prefix); });
    if (!treeId) return {ProjectIR{}, "the folder did not exist then"};
    BaseWorkspace::Lock lock(workspace);
    std::string key = baseGraphKey(*treeId, scanTemplate.config, SymbolScanner::defaultPlugins());
    if (auto stored = workspace.loadGraph(key)) {
        std::string origin = "stored graph, " + std::to_string(stored->symbols.size()) + " symbols";
        return {std::move(*stored), origin};
    }
    // Without its index the tree's files are of unknown origin: they must not enter the scan.
    if (!pathExists(workspace.indexFile())) workspace.clearTree();
    withGit([&] {
        try {
            git::checkoutTree(root, *treeId, workspace.indexFile(), workspace.treeDir());
        } catch (const git::GitError&) {
            if (interrupted()) throw;
            // A damaged index or the lock of a killed run: start afresh, once.
            workspace.clearTree();
            git::checkoutTree(root, *treeId, workspace.indexFile(), workspace.treeDir());
        }
    });
    ScanRequest request = scanTemplate;
    request.root = workspace.treeDir();
    ScanOutcome outcome = runScan(request);
    workspace.storeGraph(key, outcome.ir);
    std::string origin = summaryLine(outcome);
    return {std::move(outcome.ir), origin};
}

}  // namespace

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

    ScanRequest request;
    request.root = requireFolder(args.positional[0]);
    request.cacheDir = args.value("--cache-dir");
    request.quiet = args.has("--quiet");
    request.linking = linkingOption(args);
    auto tree = withGit([&] { return git::locateWorkTree(request.root); });
    std::string commit = withGit([&] { return git::resolveCommit(request.root, revision); });
    request.config = resolveConfig(request.root, args.value("--config"));
    if (request.linking) request.config.linking = request.linking;  // the base graph's key names the mode
    BaseWorkspace workspace(supportDirFor(request.cacheDir), request.root);
    requireOutsideScan(workspace.treeDir(), request.root);

    auto changes = withGit([&] {
        return changesBelowFolder(parseUnifiedDiff(git::diffAgainst(request.root, commit)),
                                  git::untrackedFiles(request.root), tree.prefix);
    });
    ScanOutcome current = runScan(request);
    BaseGraph base = loadBaseGraph(tree, commit, workspace, request);

    auto changed = changedSymbols(changes, current.ir, base.ir);
    auto reached = reachOfChanges(changed, current.ir, base.ir, depth);
    ChangesReport report = makeChangesReport(revision, commit, depth, changed, reached, current.ir, base.ir);
    writeOutput(std::nullopt, format == "json"       ? renderChangesJson(report)
                              : format == "markdown" ? renderChangesMarkdown(report)
                                                     : renderChangesText(report));
    if (!request.quiet) {
        std::fprintf(stderr, "working tree: %s\nbase %s: %s\n%zu changed, %zu reached within depth %lld\n",
                     summaryLine(current).c_str(), commit.substr(0, 12).c_str(), base.origin.c_str(),
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
