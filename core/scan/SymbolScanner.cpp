#include "core/scan/SymbolScanner.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "core/cache/Hashing.h"
#include "core/languages/js/JSFamilyPlugin.h"
#include "core/languages/python/PythonPlugin.h"
#include "core/resolution/ProjectPackages.h"
#include "core/scan/internal/GraphBuilder.h"
#include "core/scan/internal/LinkWalk.h"
#include "core/scan/internal/ParseWalk.h"
#include "core/scan/internal/ScanContext.h"
#include "core/util/Timestamp.h"

namespace vantrel {

SymbolScanner::SymbolScanner(PluginList plugins, ProjectCache cache)
    : plugins_(std::move(plugins)), cache_(std::move(cache)) {}

PluginList SymbolScanner::defaultPlugins() {
    return {std::make_shared<JSFamilyPlugin>(), std::make_shared<PythonPlugin>()};
}

std::int64_t SymbolScanner::countSourceFiles(const std::string& root, const VantrelConfig& config,
                                             const CancelCheck& isCancelled) const {
    return vantrel::countSourceFiles(root, config, plugins_, isCancelled);
}

std::string projectIdForRoot(const std::string& root) {
    // FNV-1a: stable across runs, which the label does not need but does no harm.
    std::uint64_t hash = 1469598103934665603ULL;
    for (unsigned char c : root) {
        hash ^= c;
        hash *= 1099511628211ULL;
    }
    return std::to_string(static_cast<std::int64_t>(hash));
}

namespace {

using Stopwatch = std::chrono::steady_clock::time_point;

void lap(Stopwatch& clock, ScanStats* stats, double ScanStats::*field) {
    auto now = std::chrono::steady_clock::now();
    if (stats) stats->*field = std::chrono::duration<double>(now - clock).count();
    clock = now;
}

// Voids the project's records when the settings that shaped them or their format changed.
void passCacheGate(const ProjectCache& cache, const std::string& root, const VantrelConfig& config,
                   const PluginList& active, const ProjectPackages* packages) {
    CacheKey key;
    for (const auto& plugin : active) key.pluginIds.push_back(plugin->id());
    std::sort(key.pluginIds.begin(), key.pluginIds.end());
    key.exclude = config.exclude;
    key.enabledLanguages = config.enabledLanguages;
    key.tsconfigHash = tsconfigHash(root);
    if (packages) {
        key.linking = std::string(rawValue(LinkingMode::precise));
        key.packagesHash = sha256Hex(packages->fingerprint());
        key.preciseFormat = kPreciseRecordFormat;
    }
    std::string hash = keyHash(key);
    if (auto meta = cache.loadMeta(root); meta && (meta->schema != kCacheSchema || meta->keyHash != hash))
        cache.invalidateProject(root);
    cache.saveMeta(ProjectCacheMeta::make(hash), root);
}

}  // namespace

// Count, cache gate, parse walk, name index, link walk: the graph builder carries the
// symbols from the first walk to the second, the cache carries the call sites.
ProjectIR SymbolScanner::scanProject(const ScanOptions& options) const {
    const std::string& root = options.root;
    detail::GraphBuilder graph(projectIdForRoot(root), referenceSecondsNow());
    const PluginList active = activePlugins(plugins_, options.config.enabledLanguages);
    const PathGlobMatcher exclude(options.config.exclude);
    const std::int64_t permits = std::max<std::int64_t>(1, options.maxConcurrentParses);
    const LinkingMode linking = options.config.linking.value_or(LinkingMode::names);
    const ProjectCache cache = cache_.forLinking(linking);
    std::optional<ProjectPackages> packages;
    if (linking == LinkingMode::precise) packages = ProjectPackages::load(root);

    Stopwatch clock = std::chrono::steady_clock::now();
    std::int64_t fileCount = options.knownFileCount
                                 ? *options.knownFileCount
                                 : vantrel::countSourceFiles(root, options.config, plugins_, options.isCancelled);
    lap(clock, options.stats, &ScanStats::countSeconds);

    // One thread per permit; a flush's lanes are as many, the walking thread being one.
    WorkerPool pool(static_cast<std::size_t>(std::min<std::int64_t>(permits, 256)));
    const detail::ScanContext scan{root,
                                   exclude,
                                   active,
                                   cache,
                                   options.progress,
                                   options.isCancelled,
                                   options.stats,
                                   pool,
                                   pool.threadCount(),
                                   std::max<std::int64_t>(fileCount, 1),
                                   linking,
                                   packages ? &*packages : nullptr};
    scan.report(ScanPhase::discoveringFiles, 0, std::nullopt);

    Enumerator parseFiles = makeEnumerator(root, active);
    std::optional<TSConfigResolver> tsconfig = TSConfigResolver::loadIfPresent(root);
    passCacheGate(cache, root, options.config, active, packages ? &*packages : nullptr);
    detail::ParseWalk(scan, graph, options.batchSize, permits, tsconfig ? &*tsconfig : nullptr).run(parseFiles);
    lap(clock, options.stats, &ScanStats::parseSeconds);

    scan.report(ScanPhase::linking, 0, std::nullopt);
    graph.finishIndex();
    lap(clock, options.stats, &ScanStats::indexSeconds);
    std::optional<detail::PreciseLinker> precise;
    if (linking == LinkingMode::precise) precise.emplace(graph.facts(), graph.nameIndex());
    Enumerator linkFiles = makeEnumerator(root, active);
    detail::LinkWalk(scan, graph, precise ? &*precise : nullptr).run(linkFiles);
    lap(clock, options.stats, &ScanStats::linkSeconds);
    scan.report(ScanPhase::savingCache, scan.total, std::nullopt);
    return graph.take();
}

ProjectIR SymbolScanner::scanProject(const std::string& root, const VantrelConfig& config, std::int64_t batchSize,
                                     std::int64_t maxConcurrentParses, std::optional<std::int64_t> knownFileCount,
                                     const ProgressCallback& progress, const CancelCheck& isCancelled,
                                     ScanStats* stats) const {
    return scanProject(
        ScanOptions{root, config, batchSize, maxConcurrentParses, knownFileCount, progress, isCancelled, stats});
}

}  // namespace vantrel
