// What the working tree's changes reach, asked again and again against a live graph: the
// base graph (the folder as it stood at a git revision) is scanned once and kept until the
// revision names another commit; each `compute` re-runs git's diff and joins the changed
// symbols' reach in the given current graph. `vantrel-cli changes`, `watch`, the MCP
// server's `changes` tool and the application's Working Changes mode share it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/changes/ChangesReport.h"
#include "core/config/VantrelConfig.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

struct WorkingChangesOptions {
    std::string root;                // the scanned folder, inside a git work tree
    std::string revision = "HEAD";   // the base, as the user names it
    VantrelConfig config;            // the base graph is scanned with the same settings
    std::string supportDir;          // where the base tree and its graph are kept
    std::int64_t maxConcurrentParses = 4;
};

class WorkingChanges {
public:
    // Throws git::GitError when root is not in a work tree.
    explicit WorkingChanges(WorkingChangesOptions options);
    ~WorkingChanges();
    // The report for `current` (the working tree's graph). Throws git::GitError (the
    // revision names no commit, git failed) or ScanError (the base tree's scan failed).
    ChangesReport compute(const ProjectIR& current, std::int64_t depth);
    // The base graph of the last compute (empty before the first).
    const ProjectIR& baseGraph() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vantrel
