// What `changes` and `watch` share: the base graph's support folder, a WorkingChanges
// opened from the command's options, and its failures as the commands' one-line errors.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/CliSupport.h"
#include "cli/ProgressDisplay.h"
#include "core/changes/WorkingChanges.h"

namespace vantrel::cli {

// --cache-dir, else the user's application-support folder; CommandError when neither is set.
std::string supportDirFor(const std::optional<std::string>& cacheDir);

// Checks the work tree and the revision at once. The base scan, when one comes, shows on
// `display`, which must outlive the result. CommandError for git's failures and a cache
// folder inside the scanned one.
std::unique_ptr<WorkingChanges> openWorkingChanges(const ScanRequest& request, const std::string& revision,
                                                   ProgressDisplay& display);

// One compute; git's failures and the base scan's become CommandError (130 when interrupted).
ChangesReport computeChanges(WorkingChanges& changes, const ProjectIR& current, std::int64_t depth,
                             ProgressDisplay& display);

// How the base graph of the last compute came about, for the summary on standard error.
std::string baseOrigin(const BaseGraphInfo& info, const ProjectIR& base);

}  // namespace vantrel::cli
