// Turns a folder into a linked ProjectIR. Files are parsed in parallel in batches, or
// taken from the on-disk cache when their bytes are unchanged; their call sites go to
// the cache records and come back one file at a time in a second walk that wires the
// edges. Memory stays bounded by the batch plus the project's symbols, and the result
// does not depend on the order in which parallel work finishes.
#pragma once

#include <atomic>
#include <functional>
#include <optional>

#include "core/cache/ProjectCache.h"
#include "core/config/VantrelConfig.h"
#include "core/languages/PluginList.h"
#include "core/model/ProjectIR.h"
#include "core/scan/Discovery.h"
#include "core/scan/ScanProgress.h"

namespace vantrel {

using ProgressCallback = std::function<void(const ScanProgress&)>;

// Counts of how files were handled, for summaries and benchmarks, and the wall-clock
// seconds of the scan's phases (written by the scanning thread as each phase ends).
struct ScanStats {
    std::atomic<std::int64_t> parsed{0};
    std::atomic<std::int64_t> fromCache{0};
    double countSeconds = 0;  // the counting walk, when no count was given
    double parseSeconds = 0;  // cache gate, parse walk and its flushes
    double indexSeconds = 0;  // the name index
    double linkSeconds = 0;   // the link walk
};

// Everything one scan takes. `batchSize` files go to the lanes at a time; at most
// `maxConcurrentParses` (at least 1) are worked on at once. `knownFileCount`, when given,
// spares the counting walk. `progress` is called serially (never two calls at once, each
// seeing what the one before did) from the calling thread or the scan's workers;
// `isCancelled` may be called from several threads at once.
struct ScanOptions {
    std::string root;
    VantrelConfig config;
    std::int64_t batchSize = 200;
    std::int64_t maxConcurrentParses = 4;
    std::optional<std::int64_t> knownFileCount;
    ProgressCallback progress;
    CancelCheck isCancelled;
    ScanStats* stats = nullptr;
};

class SymbolScanner {
public:
    SymbolScanner(PluginList plugins, ProjectCache cache);

    // The JS family and Python plugins, in that order.
    static PluginList defaultPlugins();

    const PluginList& plugins() const { return plugins_; }
    const ProjectCache& cache() const { return cache_; }

    // Files a scan with this configuration would process (see countSourceFiles).
    [[nodiscard]] std::int64_t countSourceFiles(const std::string& root, const VantrelConfig& config,
                                                const CancelCheck& isCancelled = {}) const;

    // Blocks the calling thread until the scan ends. Throws ScanError (kind cancelled
    // when `isCancelled` answered true at a poll).
    [[nodiscard]] ProjectIR scanProject(const ScanOptions& options) const;
    // The same, the options given one by one.
    [[nodiscard]] ProjectIR scanProject(const std::string& root, const VantrelConfig& config, std::int64_t batchSize,
                                        std::int64_t maxConcurrentParses, std::optional<std::int64_t> knownFileCount,
                                        const ProgressCallback& progress, const CancelCheck& isCancelled,
                                        ScanStats* stats = nullptr) const;

private:
    PluginList plugins_;
    ProjectCache cache_;
};

// Decimal text of a signed 64-bit hash of the root path: an opaque label.
std::string projectIdForRoot(const std::string& root);

}  // namespace vantrel
