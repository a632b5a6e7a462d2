// A stand-in until the real WorkingChanges lands: the same steps as `changes`, with the
// base graph kept in memory while the revision names the same commit.
#include "core/changes/WorkingChanges.h"

#include "core/changes/BaseWorkspace.h"
#include "core/changes/ChangeReach.h"
#include "core/changes/ChangedSymbols.h"
#include "core/changes/GitRepository.h"
#include "core/changes/UnifiedDiff.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/FileIO.h"

namespace vantrel {

struct WorkingChanges::State {
    WorkingChangesOptions options;
    git::WorkTree tree;
    std::string baseCommit;
    ProjectIR base;
};

WorkingChanges::WorkingChanges(WorkingChangesOptions options) : state_(std::make_unique<State>()) {
    state_->options = std::move(options);
    state_->tree = git::locateWorkTree(state_->options.root);
}

WorkingChanges::~WorkingChanges() = default;

const ProjectIR& WorkingChanges::baseGraph() const { return state_->base; }

ChangesReport WorkingChanges::compute(const ProjectIR& current, std::int64_t depth) {
    State& s = *state_;
    const std::string& root = s.options.root;
    std::string commit = git::resolveCommit(root, s.options.revision);
    if (commit != s.baseCommit) {
        BaseWorkspace workspace(s.options.supportDir, root);
        SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(s.options.supportDir));
        auto treeId = git::subtreeId(root, commit, s.tree.prefix);
        ProjectIR base;
        if (treeId) {
            BaseWorkspace::Lock lock(workspace);
            std::string key = baseGraphKey(*treeId, s.options.config, scanner.plugins());
            if (auto stored = workspace.loadGraph(key)) {
                base = std::move(*stored);
            } else {
                if (!pathExists(workspace.indexFile())) workspace.clearTree();
                git::checkoutTree(root, *treeId, workspace.indexFile(), workspace.treeDir());
                ScanOptions scan;
                scan.root = workspace.treeDir();
                scan.config = s.options.config;
                scan.maxConcurrentParses = s.options.maxConcurrentParses;
                base = scanner.scanProject(scan);
                workspace.storeGraph(key, base);
            }
        }
        s.base = std::move(base);
        s.baseCommit = commit;
    }
    auto changes = changesBelowFolder(parseUnifiedDiff(git::diffAgainst(root, commit)), git::untrackedFiles(root),
                                      s.tree.prefix);
    auto changed = changedSymbols(changes, current, s.base);
    auto reached = reachOfChanges(changed, current, s.base, depth);
    return makeChangesReport(s.options.revision, commit, depth, changed, reached, current, s.base);
}

}  // namespace vantrel
