#include "core/changes/WorkingChanges.h"

#include <chrono>

#include "core/cache/ProjectCache.h"
#include "core/changes/BaseWorkspace.h"
#include "core/changes/ChangeReach.h"
#include "core/changes/ChangedSymbols.h"
#include "core/changes/GitRepository.h"
#include "core/changes/UnifiedDiff.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

// A hidden folder on the way from root to the tree is passed over by every scan.
bool scannedWithRoot(const std::string& baseTree, const std::string& root) {
    std::string relative = relativePath(baseTree, root);
    if (relative.starts_with("/")) return false;
    for (auto component : splitKeepingEmpty(relative, "/"))
        if (component.starts_with(".")) return false;
    return true;
}

}  // namespace

struct WorkingChanges::State {
    WorkingChangesOptions options;
    git::WorkTree tree;
    BaseWorkspace workspace;
    SymbolScanner scanner;
    ProjectIR base;
    BaseGraphInfo info;

    // The folder's graph in tree `treeId`: the stored one when the same tree was scanned
    // with the same settings before, else a scan of a checkout of that tree. Nothing
    // changes when it throws.
    void loadBase(const std::optional<std::string>& treeId) {
        BaseGraphInfo next;
        next.treeId = treeId;
        next.loads = info.loads + 1;
        if (!treeId) {
            next.origin = BaseGraphInfo::Origin::absent;
            base = ProjectIR{};
            info = std::move(next);
            return;
        }
        BaseWorkspace::Lock lock(workspace);
        std::string key = baseGraphKey(*treeId, options.config, scanner.plugins());
        if (auto stored = workspace.loadGraph(key)) {
            next.origin = BaseGraphInfo::Origin::stored;
            base = std::move(*stored);
            info = std::move(next);
            return;
        }
        // Without its index the tree's files are of unknown origin: they must not enter the scan.
        if (!pathExists(workspace.indexFile())) workspace.clearTree();
        try {
            git::checkoutTree(options.root, *treeId, workspace.indexFile(), workspace.treeDir());
        } catch (const git::GitError&) {
            if (options.isCancelled && options.isCancelled()) throw;
            // A damaged index or the lock of a killed run: start afresh, once.
            workspace.clearTree();
            git::checkoutTree(options.root, *treeId, workspace.indexFile(), workspace.treeDir());
        }
        auto start = std::chrono::steady_clock::now();
        ScanStats stats;
        ScanOptions scan;
        scan.root = workspace.treeDir();
        scan.config = options.config;
        scan.maxConcurrentParses = options.maxConcurrentParses;
        scan.knownFileCount = scanner.countSourceFiles(scan.root, scan.config, options.isCancelled);
        scan.progress = options.progress;
        scan.isCancelled = options.isCancelled;
        scan.stats = &stats;
        ProjectIR scanned = scanner.scanProject(scan);
        workspace.storeGraph(key, scanned);
        next.origin = BaseGraphInfo::Origin::scanned;
        next.files = *scan.knownFileCount;
        next.parsed = stats.parsed.load();
        next.fromCache = stats.fromCache.load();
        next.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        base = std::move(scanned);
        info = std::move(next);
    }
};

WorkingChanges::WorkingChanges(WorkingChangesOptions options) {
    options.root = standardizePath(options.root);
    git::WorkTree tree = git::locateWorkTree(options.root);
    git::resolveCommit(options.root, options.revision);
    BaseWorkspace workspace(options.supportDir, options.root);
    if (scannedWithRoot(workspace.treeDir(), options.root))
        throw WorkingChangesError("the support folder lies inside " + options.root +
                                  ", where the base tree would be scanned with it");
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(standardizePath(options.supportDir)));
    state_ = std::make_unique<State>(
        State{std::move(options), std::move(tree), std::move(workspace), std::move(scanner), {}, {}});
}

WorkingChanges::~WorkingChanges() = default;

const ProjectIR& WorkingChanges::baseGraph() const { return state_->base; }
const BaseGraphInfo& WorkingChanges::baseInfo() const { return state_->info; }

ChangesReport WorkingChanges::compute(const ProjectIR& current, std::int64_t depth) {
    State& s = *state_;
    const std::string& root = s.options.root;
    std::string commit = git::resolveCommit(root, s.options.revision);
    // The diff first: it is what changes between computes, and what a user waits for.
    auto changes = changesBelowFolder(parseUnifiedDiff(git::diffAgainst(root, commit)), git::untrackedFiles(root),
                                      s.tree.prefix);

    if (s.info.origin == BaseGraphInfo::Origin::none || commit != s.info.commit) {
        auto treeId = git::subtreeId(root, commit, s.tree.prefix);
        bool sameTree = s.info.origin != BaseGraphInfo::Origin::none && treeId == s.info.treeId;
        if (!sameTree) s.loadBase(treeId);
        s.info.commit = commit;
    }

    auto changed = changedSymbols(changes, current, s.base);
    auto reached = reachOfChanges(changed, current, s.base, depth);
    return makeChangesReport(s.options.revision, commit, depth, changed, reached, current, s.base);
}

}  // namespace vantrel
