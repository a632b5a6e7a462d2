#include "scan/SymbolScanner.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <exception>
#include <mutex>
#include <thread>

#include "cache/AsyncSemaphore.h"
#include "cache/Hashing.h"
#include "cache/MemoryPressure.h"
#include "languages/js/JSFamilyPlugin.h"
#include "languages/python/PythonPlugin.h"
#include "scan/FileAnalysis.h"
#include "scan/Linker.h"
#include "scan/WorkerPool.h"
#include "util/Paths.h"
#include "util/Timestamp.h"

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

struct Outcome {
    const EnumeratedFile* file = nullptr;
    std::optional<CachedFileResult> result;
    std::exception_ptr error;
};

class ScanRun {
public:
    ScanRun(const SymbolScanner& scanner, const std::string& root, const VantrelConfig& config,
            std::int64_t batchSize, std::int64_t maxConcurrentParses, std::optional<std::int64_t> knownFileCount,
            const ProgressCallback& progress, const CancelCheck& isCancelled, ScanStats* stats)
        : scanner_(scanner),
          root_(root),
          config_(config),
          batchSize_(std::max<std::int64_t>(1, batchSize)),
          permits_(std::max<std::int64_t>(1, maxConcurrentParses)),
          knownFileCount_(knownFileCount),
          progress_(progress),
          isCancelled_(isCancelled),
          stats_(stats),
          exclude_(config.exclude),
          semaphore_(permits_) {}

    ProjectIR run() {
        ir_.lastScan = referenceSecondsNow();
        ir_.projectId = projectIdForRoot(root_);
        active_ = activePlugins(scanner_.plugins(), config_.enabledLanguages);

        std::int64_t fileCount = knownFileCount_ ? *knownFileCount_
                                                 : vantrel::countSourceFiles(root_, config_, scanner_.plugins(), isCancelled_);
        total_ = std::max<std::int64_t>(fileCount, 1);
        report(ScanPhase::discoveringFiles, 0, std::nullopt);

        Enumerator enumerator = makeEnumerator(root_, active_);
        pluginByExt_ = enumerator.pluginByExt;
        tsconfig_ = TSConfigResolver::loadIfPresent(root_);
        passCacheGate();

        // Thread count follows the permits: the semaphore is what bounds the parses.
        pool_.emplace(static_cast<std::size_t>(std::min<std::int64_t>(permits_, 256)));
        parseWalk(enumerator);

        report(ScanPhase::linking, 0, std::nullopt);
        linkWalk();
        pool_.reset();
        report(ScanPhase::savingCache, total_, std::nullopt);

        std::stable_sort(allDiagnostics_.begin(), allDiagnostics_.end(),
                         [](const ResolutionDiagnostic& a, const ResolutionDiagnostic& b) {
                             if (a.importerPath != b.importerPath) return a.importerPath < b.importerPath;
                             return a.importPath < b.importPath;
                         });
        ir_.diagnostics = std::move(allDiagnostics_);
        return std::move(ir_);
    }

private:
    void report(ScanPhase phase, std::int64_t processed, std::optional<std::string> path) {
        if (progress_) progress_(ScanProgress{phase, processed, total_, std::move(path)});
    }

    void pollCancellation() {
        if (isCancelled_ && isCancelled_()) throw ScanError(ScanError::Kind::cancelled);
    }

    void passCacheGate() {
        CacheKey key;
        for (const auto& plugin : active_) key.pluginIds.push_back(plugin->id());
        std::sort(key.pluginIds.begin(), key.pluginIds.end());
        key.exclude = config_.exclude;
        key.enabledLanguages = config_.enabledLanguages;
        key.tsconfigHash = tsconfigHash(root_);
        std::string hash = keyHash(key);
        const ProjectCache& cache = scanner_.cache();
        if (auto meta = cache.loadMeta(root_); meta && (meta->schema != 3 || meta->keyHash != hash))
            cache.invalidateProject(root_);
        cache.saveMeta(ProjectCacheMeta::make(hash), root_);
    }

    void parseWalk(Enumerator& enumerator) {
        std::vector<EnumeratedFile> batch;
        batch.reserve(static_cast<std::size_t>(std::min<std::int64_t>(batchSize_, 1 << 16)));
        if (enumerator.walker) {
            while (auto entry = enumerator.walker->next()) {
                pollCancellation();
                auto file = shouldInclude(*entry, root_, exclude_, pluginByExt_, *enumerator.walker);
                if (!file) continue;
                batch.push_back(std::move(*file));
                if (static_cast<std::int64_t>(batch.size()) < batchSize_) continue;
                std::vector<EnumeratedFile> files;
                files.swap(batch);
                batch.reserve(files.capacity());
                flush(files);
                if (!isMemoryPressureHigh(0)) std::this_thread::yield();
            }
        }
        if (!batch.empty()) flush(batch);
    }

    void flush(const std::vector<EnumeratedFile>& files) {
        Channel<Outcome> outcomes;
        FileAnalysisContext context{root_, pluginByExt_, tsconfig_ ? &*tsconfig_ : nullptr, scanner_.cache(),
                                    isCancelled_, stats_};
        for (const auto& file : files) {
            pool_->post([&, filePtr = &file] {
                semaphore_.wait();
                Outcome outcome;
                outcome.file = filePtr;
                try {
                    outcome.result = parseAndCache(*filePtr, context);
                } catch (...) {
                    outcome.error = std::current_exception();
                }
                semaphore_.signal();
                outcomes.push(std::move(outcome));
            });
        }
        // Every child is waited for, also after a failure: they hold references into
        // this frame, and the ones still running write their records all the same.
        std::exception_ptr failure;
        for (std::size_t received = 0; received < files.size(); ++received) {
            Outcome outcome = outcomes.pop();
            if (failure) continue;
            try {
                if (outcome.error) std::rethrow_exception(outcome.error);
                ++processed_;
                report(ScanPhase::parsing, processed_, outcome.file->relPath);
                if (outcome.result) merge(std::move(*outcome.result));
            } catch (...) {
                failure = std::current_exception();
            }
        }
        if (failure) std::rethrow_exception(failure);
    }

    void merge(CachedFileResult&& result) {
        for (auto& symbol : result.symbols) {
            Symbol stored{symbol.id, symbol.kind, symbol.range, {}, {}};
            ir_.symbols.insert_or_assign(std::move(symbol.id), std::move(stored));
        }
        for (auto& diagnostic : result.diagnostics) allDiagnostics_.push_back(std::move(diagnostic));
    }

    // The walk itself stays in this thread and in walk order; the pool reads each
    // record and resolves its calls, which only reads the graph's keys and the name
    // index, and the walk adds the edges in walk order (an edge changes a symbol's
    // reference sets, never the set of symbols). The next window's records are read
    // while the current one is wired, so the pool does not wait at each window's end.
    void linkWalk() {
        SymbolNameIndex nameIndex = symbolNameIndex(ir_);
        Enumerator enumerator = makeEnumerator(root_, active_);
        if (!enumerator.walker) return;
        std::int64_t linked = 0;
        std::deque<std::unique_ptr<LinkWindow>> windows;  // walk order, at most two
        bool more = true;
        try {
            while (more || !windows.empty()) {
                while (more && windows.size() < 2) {
                    auto window = std::make_unique<LinkWindow>();
                    more = fillWindow(enumerator, window->files);
                    startWindow(*window, nameIndex);
                    windows.push_back(std::move(window));
                }
                wireWindow(*windows.front(), linked);
                windows.pop_front();
            }
        } catch (...) {
            // The tasks of the windows still in flight write into them.
            for (auto& window : windows) window->waitForAll();
            throw;
        }
    }

    struct LinkWindow {
        struct Resolved {
            std::vector<std::pair<std::string, std::string>> edges;
            std::exception_ptr error;
            bool ready = false;
        };
        std::vector<EnumeratedFile> files;
        std::vector<Resolved> resolved;
        std::mutex mutex;
        std::condition_variable done;

        void waitFor(std::size_t i) {
            std::unique_lock lock(mutex);
            done.wait(lock, [&] { return resolved[i].ready; });
        }
        void waitForAll() {
            for (std::size_t i = 0; i < resolved.size(); ++i) waitFor(i);
        }
    };

    // The next files of the walk, up to a window's worth; false once the walk is done.
    bool fillWindow(Enumerator& enumerator, std::vector<EnumeratedFile>& files) {
        files.reserve(kLinkWindow);
        while (files.size() < kLinkWindow) {
            auto entry = enumerator.walker->next();
            if (!entry) return false;
            pollCancellation();
            if (auto file = shouldInclude(*entry, root_, exclude_, enumerator.pluginByExt, *enumerator.walker))
                files.push_back(std::move(*file));
        }
        return true;
    }

    void startWindow(LinkWindow& window, const SymbolNameIndex& nameIndex) {
        window.resolved.resize(window.files.size());
        const ProjectCache& cache = scanner_.cache();
        for (std::size_t i = 0; i < window.files.size(); ++i) {
            pool_->post([&, i] {
                LinkWindow::Resolved result;
                try {
                    if (auto record = cache.loadFile(root_, window.files[i].relPath, RecordFields::links))
                        result.edges = resolveCalls(*record, window.files[i].relPath, nameIndex);
                } catch (...) {
                    result.error = std::current_exception();
                }
                result.ready = true;
                std::lock_guard lock(window.mutex);
                window.resolved[i] = std::move(result);
                window.done.notify_all();
            });
        }
    }

    // Every task of the window is waited for, also after a failure.
    void wireWindow(LinkWindow& window, std::int64_t& linked) {
        std::exception_ptr failure;
        for (std::size_t i = 0; i < window.files.size(); ++i) {
            window.waitFor(i);
            if (failure) continue;
            try {
                LinkWindow::Resolved& result = window.resolved[i];
                if (result.error) std::rethrow_exception(result.error);
                ++linked;
                report(ScanPhase::linking, linked, window.files[i].relPath);
                for (const auto& [caller, callee] : result.edges) link(caller, callee, ir_);
                result.edges = {};
                if (linked % 500 == 0) std::this_thread::yield();
            } catch (...) {
                failure = std::current_exception();
            }
        }
        if (failure) std::rethrow_exception(failure);
    }

    std::vector<std::pair<std::string, std::string>> resolveCalls(const CachedFileResult& record,
                                                                  const std::string& relPath,
                                                                  const SymbolNameIndex& nameIndex) const {
        std::vector<std::pair<std::string, std::string>> edges;
        for (const auto& call : record.calls) {
            if (!ir_.symbols.count(call.callerId)) continue;
            std::string current = symbolFilePath(call.callerId).value_or(relPath);
            if (auto callee = resolveCalleeId(call.calleeName, record.imports, current, nameIndex))
                edges.emplace_back(call.callerId, std::move(*callee));
        }
        return edges;
    }

    static constexpr std::size_t kLinkWindow = 256;

    const SymbolScanner& scanner_;
    const std::string& root_;
    const VantrelConfig& config_;
    const std::int64_t batchSize_;
    const std::int64_t permits_;
    const std::optional<std::int64_t> knownFileCount_;
    const ProgressCallback& progress_;
    const CancelCheck& isCancelled_;
    ScanStats* const stats_;
    const PathGlobMatcher exclude_;

    ProjectIR ir_;
    PluginList active_;
    PluginByExt pluginByExt_;
    std::optional<TSConfigResolver> tsconfig_;
    std::int64_t total_ = 1;
    std::int64_t processed_ = 0;
    std::vector<ResolutionDiagnostic> allDiagnostics_;
    AsyncSemaphore semaphore_;
    std::optional<WorkerPool> pool_;
};

}  // namespace

ProjectIR SymbolScanner::scanProject(const std::string& root, const VantrelConfig& config, std::int64_t batchSize,
                                     std::int64_t maxConcurrentParses, std::optional<std::int64_t> knownFileCount,
                                     const ProgressCallback& progress, const CancelCheck& isCancelled,
                                     ScanStats* stats) const {
    return ScanRun(*this, root, config, batchSize, maxConcurrentParses, knownFileCount, progress, isCancelled, stats)
        .run();
}

}  // namespace vantrel
