// What both walks of one scan share: the project, its settings, the pool and its lanes,
// progress reports and the cancellation poll. Lives for one scan.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "core/cache/ProjectCache.h"
#include "core/config/PathGlobMatcher.h"
#include "core/resolution/ProjectPackages.h"
#include "core/scan/Discovery.h"
#include "core/scan/ScanProgress.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/ParallelFor.h"

namespace vantrel::detail {

struct ScanContext {
    const std::string& root;
    const PathGlobMatcher& exclude;
    const PluginList& active;  // the plugins the configuration enables
    const ProjectCache& cache;
    const ProgressCallback& progress;
    const CancelCheck& isCancelled;
    ScanStats* stats;
    WorkerPool& pool;
    // Lanes of each flush and link window, the calling thread's included: the bound on
    // the files worked on at once.
    std::size_t lanes;
    std::int64_t total;  // the files counted before the walks, at least 1
    LinkingMode linking = LinkingMode::names;
    const ProjectPackages* packages = nullptr;  // precise linking: the project's own packages

    void report(ScanPhase phase, std::int64_t processed, std::optional<std::string> path) const {
        if (progress) progress(ScanProgress{phase, processed, total, std::move(path)});
    }
    void pollCancellation() const {
        if (isCancelled && isCancelled()) throw ScanError(ScanError::Kind::cancelled);
    }
};

}  // namespace vantrel::detail
