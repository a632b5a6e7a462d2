#include "scan/SymbolScanner.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <tuple>

#include "cache/AsyncSemaphore.h"
#include "cache/Hashing.h"
#include "cache/MemoryPressure.h"
#include "languages/js/JSFamilyPlugin.h"
#include "languages/python/PythonPlugin.h"
#include "scan/FileAnalysis.h"
#include "scan/Linker.h"
#include "scan/WorkerPool.h"
#include "util/Paths.h"
#include "util/TextOrder.h"
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

// One file's part of the graph, made ready on the worker: its symbols already sit in
// map nodes of their own, in id order, so merging them costs the parse walk's thread
// no allocation and, thanks to the order, seldom a full search of the graph.
struct Outcome {
    const EnumeratedFile* file = nullptr;
    bool hasResult = false;
    std::vector<SymbolMap::node_type> symbols;
    std::vector<ResolutionDiagnostic> diagnostics;
    std::exception_ptr error;

    // Moves out what the graph keeps; the lists of `result` keep their memory for the
    // worker's next file.
    void take(CachedFileResult& result) {
        hasResult = true;
        SymbolMap byId;
        // A later symbol of one id replaces an earlier one, as in the graph itself.
        for (auto& symbol : result.symbols) {
            Symbol stored{symbol.id, symbol.kind, symbol.range, {}, {}};
            byId.insert_or_assign(std::move(symbol.id), std::move(stored));
        }
        symbols.reserve(byId.size());
        while (!byId.empty()) symbols.push_back(byId.extract(byId.begin()));
        diagnostics.assign(std::make_move_iterator(result.diagnostics.begin()),
                           std::make_move_iterator(result.diagnostics.end()));
    }
};

// Stable, by importer path, then import path.
std::vector<ResolutionDiagnostic> sortedDiagnostics(std::vector<ResolutionDiagnostic> diagnostics) {
    auto order = orderByText(
        diagnostics, [](const ResolutionDiagnostic& d) -> std::string_view { return d.importerPath; },
        [](const ResolutionDiagnostic& a, const ResolutionDiagnostic& b) { return a.importPath < b.importPath; });
    std::vector<ResolutionDiagnostic> sorted;
    sorted.reserve(diagnostics.size());
    for (std::uint32_t i : order) sorted.push_back(std::move(diagnostics[i]));
    return sorted;
}

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

        Stopwatch clock = std::chrono::steady_clock::now();
        std::int64_t fileCount = knownFileCount_ ? *knownFileCount_
                                                 : vantrel::countSourceFiles(root_, config_, scanner_.plugins(), isCancelled_);
        total_ = std::max<std::int64_t>(fileCount, 1);
        lap(clock, &ScanStats::countSeconds);
        report(ScanPhase::discoveringFiles, 0, std::nullopt);

        Enumerator enumerator = makeEnumerator(root_, active_);
        pluginByExt_ = enumerator.pluginByExt;
        tsconfig_ = TSConfigResolver::loadIfPresent(root_);
        passCacheGate();

        // Thread count follows the permits: the semaphore is what bounds the parses.
        pool_.emplace(static_cast<std::size_t>(std::min<std::int64_t>(permits_, 256)));
        parseWalk(enumerator);
        lap(clock, &ScanStats::parseSeconds);

        report(ScanPhase::linking, 0, std::nullopt);
        // Filled by the merges as each id entered the graph, so it holds every id of the
        // complete graph; only its order is left to make.
        nameIndex_.finish();
        lap(clock, &ScanStats::indexSeconds);
        linkWalk(nameIndex_);
        lap(clock, &ScanStats::linkSeconds);
        pool_.reset();
        report(ScanPhase::savingCache, total_, std::nullopt);

        ir_.diagnostics = sortedDiagnostics(std::move(allDiagnostics_));
        return std::move(ir_);
    }

private:
    using Stopwatch = std::chrono::steady_clock::time_point;

    void lap(Stopwatch& clock, double ScanStats::*field) {
        auto now = std::chrono::steady_clock::now();
        if (stats_) stats_->*field = std::chrono::duration<double>(now - clock).count();
        clock = now;
    }

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

    // The children of a flush run as a few lanes taking the files in list order: this
    // thread, which the walk leaves idle meanwhile, and pool threads. Each child hands
    // its outcome to `deliver`, which receives it in the scan's name: outcomes are
    // received one at a time, in the order they arrive, so the graph, the counts and the
    // reports need no other lock, and no thread waits to hand one over.
    void flush(const std::vector<EnumeratedFile>& files) {
        FileAnalysisContext context{root_, pluginByExt_, tsconfig_ ? &*tsconfig_ : nullptr, scanner_.cache(),
                                    isCancelled_, stats_};
        flushFailure_ = nullptr;
        {
            // Every child is waited for, also after a failure: they hold references into
            // this frame, and the ones still running write their records all the same.
            IndexedTasks children(*pool_, files.size(), static_cast<std::size_t>(permits_), [&](std::size_t i) {
                semaphore_.wait();
                Outcome outcome;
                outcome.file = &files[i];
                try {
                    // Per thread, so that file after file reuses the memory of its lists;
                    // lists grown by an uncommon file let theirs go.
                    thread_local CachedFileResult result;
                    if (parseAndCache(files[i], context, result)) outcome.take(result);
                    if (result.symbols.capacity() > 1024 || result.diagnostics.capacity() > 1024 ||
                        result.calls.capacity() > 4096)
                        result = CachedFileResult{};
                } catch (...) {
                    outcome.error = std::current_exception();
                }
                semaphore_.signal();
                deliver(std::move(outcome));
            }, IndexedTasks::CallerJoins::yes);
            children.wait();
        }
        if (flushFailure_) std::rethrow_exception(flushFailure_);
    }

    // Whoever finds the receiving side free receives everything waiting, its own outcome
    // and those that others left while it was busy; the others go straight back to work.
    // After letting go it looks again, so nothing left in between is forgotten: a later
    // arrival either is seen by that look or finds the receiving side free itself.
    void deliver(Outcome&& outcome) {
        {
            std::lock_guard lock(arrivalsMutex_);
            arrivals_.push_back(std::move(outcome));
        }
        std::vector<Outcome> taken;
        while (true) {
            std::unique_lock receiving(receiveMutex_, std::try_to_lock);
            if (!receiving) return;
            {
                std::lock_guard lock(arrivalsMutex_);
                taken.swap(arrivals_);
            }
            for (auto& arrived : taken) receive(arrived);
            taken.clear();
            receiving.unlock();
            std::lock_guard lock(arrivalsMutex_);
            if (arrivals_.empty()) return;
        }
    }

    // The first failure ends the flush; what arrives after it is dropped.
    void receive(Outcome& outcome) {
        if (flushFailure_) return;
        try {
            if (outcome.error) std::rethrow_exception(outcome.error);
            ++processed_;
            report(ScanPhase::parsing, processed_, outcome.file->relPath);
            if (outcome.hasResult) merge(outcome);
        } catch (...) {
            flushFailure_ = std::current_exception();
        }
    }

    void merge(Outcome& outcome) {
        // Each id goes in just before the hint when that is its place, which it is for a
        // file's ids following one another; otherwise the map searches as usual.
        auto hint = ir_.symbols.end();
        for (auto& node : outcome.symbols) {
            auto at = ir_.symbols.insert(hint, std::move(node));
            if (node) at->second = std::move(node.mapped());  // the id was there: replaced
            else nameIndex_.add(at->first, at->second);
            hint = std::next(at);
        }
        for (auto& diagnostic : outcome.diagnostics) allDiagnostics_.push_back(std::move(diagnostic));
    }

    // The walk itself stays in this thread and in walk order, and reports each file; the
    // pool reads each record, resolves its calls and adds the edges. Resolving only reads
    // the graph's keys and the name index; an edge changes two reference sets, each
    // under the lock of its symbol's stripe, and never the set of symbols. The sets do
    // not depend on the order of insertion, so neither does the graph. Later windows'
    // records are read while the current one is reported, so the pool does not wait at
    // each window's end.
    void linkWalk(const SymbolNameIndex& nameIndex) {
        Enumerator enumerator = makeEnumerator(root_, active_);
        if (!enumerator.walker) return;
        std::int64_t linked = 0;
        std::deque<std::unique_ptr<LinkWindow>> windows;  // walk order
        bool more = true;
        try {
            while (more || !windows.empty()) {
                while (more && windows.size() < 4) {
                    auto window = std::make_unique<LinkWindow>();
                    more = fillWindow(enumerator, window->files);
                    startWindow(*window, nameIndex);
                    windows.push_back(std::move(window));
                }
                finishWindow(*windows.front(), linked);
                windows.pop_front();
            }
        } catch (...) {
            // The tasks of the windows still in flight write into them and into the graph.
            for (auto& window : windows) window->waitForAll();
            throw;
        }
    }

    struct LinkWindow {
        std::vector<EnumeratedFile> files;
        std::vector<std::exception_ptr> errors;
        std::optional<IndexedTasks> tasks;

        void waitForAll() {
            if (tasks) tasks->wait();
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
        window.errors.resize(window.files.size());
        const ProjectCache& cache = scanner_.cache();
        window.tasks.emplace(*pool_, window.files.size(), static_cast<std::size_t>(permits_), [&](std::size_t i) {
            try {
                // Per thread, so that each record reuses the memory of the one before.
                thread_local CachedFileResult record;
                thread_local std::string bytes;
                if (cache.loadFileInto(root_, window.files[i].relPath, RecordFields::links, record, bytes))
                    wireCalls(record, window.files[i].relPath, nameIndex);
            } catch (...) {
                window.errors[i] = std::current_exception();
            }
        });
    }

    // Reports the window's files in walk order once all of them are wired.
    void finishWindow(LinkWindow& window, std::int64_t& linked) {
        window.waitForAll();
        for (std::size_t i = 0; i < window.files.size(); ++i) {
            if (window.errors[i]) std::rethrow_exception(window.errors[i]);
            ++linked;
            report(ScanPhase::linking, linked, window.files[i].relPath);
            if (linked % 500 == 0) std::this_thread::yield();
        }
    }

    // The call sites of one file's record, in order: a caller missing from the graph is
    // skipped, the callee is resolved by name, and a self-edge is never made. Callers are
    // found through the name index too (an id without a name only through the graph).
    void wireCalls(const CachedFileResult& record, const std::string& relPath, const SymbolNameIndex& nameIndex) {
        Symbol* caller = nullptr;
        std::string_view callerId;
        const std::string* lastCallerId = nullptr;  // a file's calls come in runs of one caller
        for (const auto& call : record.calls) {
            if (!lastCallerId || *lastCallerId != call.callerId) {
                lastCallerId = &call.callerId;
                std::tie(caller, callerId) = findSymbol(call.callerId, nameIndex);
            }
            if (!caller) continue;
            std::string_view current = symbolFilePath(call.callerId).value_or(relPath);
            const NameCandidate* callee = resolveCallee(call.calleeName, record.imports, current, nameIndex);
            if (!callee || callee->id == callerId) continue;
            // The scan owns the graph it indexed; the index only hands its symbols out as const.
            Symbol& target = const_cast<Symbol&>(*callee->symbol);
            {
                std::lock_guard lock(stripeOf(*caller));
                caller->refsOut.insert(target.id);
            }
            std::lock_guard lock(stripeOf(target));
            target.refsIn.insert(std::string(callerId));
        }
    }

    // The graph's symbol of `id` and its key; none when the graph has no such symbol.
    std::pair<Symbol*, std::string_view> findSymbol(const std::string& id, const SymbolNameIndex& nameIndex) {
        if (const NameCandidate* found = nameIndex.find(id))
            return {const_cast<Symbol*>(found->symbol), found->id};
        if (idNameAndFileLength(id)) return {nullptr, {}};  // a named id is in the index if anywhere
        auto it = ir_.symbols.find(id);
        if (it == ir_.symbols.end()) return {nullptr, {}};
        return {&it->second, it->first};
    }

    std::mutex& stripeOf(const Symbol& symbol) {
        auto address = reinterpret_cast<std::uintptr_t>(&symbol);
        return edgeLocks_[(address / alignof(Symbol)) % edgeLocks_.size()];
    }

    static constexpr std::size_t kLinkWindow = 256;
    // Windows in flight, the one being reported included. The pool must not run dry while
    // this thread waits for a processor to walk on: with two, the link walk of 10,210
    // files took 69 ms on two cores, with four 64 ms, with eight no less.
    static constexpr std::size_t kWindowsAhead = 4;

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
    SymbolNameIndex nameIndex_;  // names of ir_'s symbols, borrowed from its keys
    PluginList active_;
    PluginByExt pluginByExt_;
    std::optional<TSConfigResolver> tsconfig_;
    std::int64_t total_ = 1;
    std::int64_t processed_ = 0;
    std::vector<ResolutionDiagnostic> allDiagnostics_;
    AsyncSemaphore semaphore_;
    std::optional<WorkerPool> pool_;
    std::array<std::mutex, 61> edgeLocks_;  // stripes of the symbols' reference sets
    // Receiving a flush's outcomes (see `deliver`): the graph, `processed_`, the
    // diagnostics and the reports are touched only while `receiveMutex_` is held.
    std::mutex arrivalsMutex_;
    std::vector<Outcome> arrivals_;
    std::mutex receiveMutex_;
    std::exception_ptr flushFailure_;
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
