// What the working tree's changes reach, asked again and again against a live graph: the
// base graph (the folder as it stood at a git revision) is obtained once and kept until the
// revision names a commit whose tree below the folder differs; each `compute` re-runs git's
// diff (and its list of untracked files) and joins the changed symbols' reach in the given
// current graph. `vantrel-cli changes`, `watch`, the MCP server's `changes` tool and the
// application's Working Changes mode share it.
//
// The base tree is checked out below `supportDir` (see BaseWorkspace) and scanned with a
// SymbolScanner whose cache lives below the same folder, so a test that gives a temporary
// support folder touches nothing of the user's.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "core/changes/ChangesReport.h"
#include "core/config/VantrelConfig.h"
#include "core/model/ProjectIR.h"
#include "core/scan/SymbolScanner.h"

namespace vantrel {

struct WorkingChangesOptions {
    std::string root;                // the scanned folder, inside a git work tree
    std::string revision = "HEAD";   // the base, as the user names it
    VantrelConfig config;            // the base graph is scanned with the same settings
    std::string supportDir;          // where the base tree, its graph and its cache records are kept
    std::int64_t maxConcurrentParses = 4;
    ProgressCallback progress;  // the base scan's progress, when there is one
    CancelCheck isCancelled;    // polled by the base scan
};

// The support folder lies inside the scanned folder without a hidden folder between them:
// the checked-out base tree would be scanned as part of the working tree.
class WorkingChangesError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How the base graph of the last compute was obtained, for summaries and tests.
struct BaseGraphInfo {
    enum class Origin { none, absent, stored, scanned };
    std::string commit;                 // the full commit id the revision named
    std::optional<std::string> treeId;  // the folder's tree then; none when it did not exist
    Origin origin = Origin::none;       // none before the first compute
    // Of the scan when origin is scanned.
    std::int64_t files = 0;
    std::int64_t parsed = 0;
    std::int64_t fromCache = 0;
    double seconds = 0;
    // How many times a base graph was obtained (read back or scanned) by this object; a
    // compute that keeps the last one does not count.
    std::int64_t loads = 0;
};

class WorkingChanges {
public:
    // Throws git::GitError when root is not in a work tree or the revision names no commit
    // now (so a mistyped revision fails before any scan), WorkingChangesError when the
    // support folder lies inside root.
    explicit WorkingChanges(WorkingChangesOptions options);
    ~WorkingChanges();
    WorkingChanges(const WorkingChanges&) = delete;
    WorkingChanges& operator=(const WorkingChanges&) = delete;

    // The report for `current` (the working tree's graph). Throws git::GitError (the
    // revision names no commit, git failed) or ScanError (the base tree's scan failed).
    ChangesReport compute(const ProjectIR& current, std::int64_t depth);
    // The base graph of the last compute (empty before the first).
    const ProjectIR& baseGraph() const;
    const BaseGraphInfo& baseInfo() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vantrel
