#include "core/scan/internal/ParseWalk.h"

#include <algorithm>
#include <thread>

#include "core/cache/MemoryPressure.h"

namespace vantrel::detail {

ParseWalk::ParseWalk(const ScanContext& scan, GraphBuilder& graph, std::int64_t batchSize, std::int64_t permits,
                     const TSConfigResolver* tsconfig)
    : scan_(scan),
      graph_(graph),
      batchSize_(std::max<std::int64_t>(1, batchSize)),
      tsconfig_(tsconfig),
      semaphore_(std::max<std::int64_t>(1, permits)),
      scratch_(scan.lanes),
      sites_(scan.lanes) {}

void ParseWalk::run(Enumerator& enumerator) {
    FileAnalysisContext context{scan_.root,  enumerator.pluginByExt, tsconfig_,     scan_.cache, scan_.isCancelled,
                                scan_.stats, scan_.linking,          scan_.packages};
    std::vector<EnumeratedFile> batch;
    batch.reserve(static_cast<std::size_t>(std::min<std::int64_t>(batchSize_, 1 << 16)));
    if (enumerator.walker) {
        while (auto entry = enumerator.walker->next()) {
            scan_.pollCancellation();
            auto file = shouldInclude(*entry, scan_.root, scan_.exclude, enumerator.pluginByExt, *enumerator.walker);
            if (!file) continue;
            batch.push_back(std::move(*file));
            if (static_cast<std::int64_t>(batch.size()) < batchSize_) continue;
            std::vector<EnumeratedFile> files;
            files.swap(batch);
            batch.reserve(files.capacity());
            flush(files, context);
            if (!isMemoryPressureHigh(0)) std::this_thread::yield();
        }
    }
    if (!batch.empty()) flush(batch, context);
}

// The files of a flush run on the lanes in list order: this thread, which the walk leaves
// idle meanwhile, and pool threads. The lanes bound the parses; the semaphore, passed on
// every file, is a second bound that holds should the lanes ever outnumber its permits.
// Each file's outcome goes to `deliver`, which receives it in the walk's name.
void ParseWalk::flush(const std::vector<EnumeratedFile>& files, const FileAnalysisContext& context) {
    flushFailure_ = nullptr;
    {
        // Every file is waited for, also after a failure: the lanes hold references into
        // this frame, and the ones still running write their records all the same.
        ParallelFor lanes(
            scan_.pool, files.size(), scan_.lanes,
            [&](std::size_t i, std::size_t lane) {
                semaphore_.wait();
                Outcome outcome;
                outcome.file = &files[i];
                FileScratch& scratch = scratch_[lane];
                try {
                    if (parseAndCache(files[i], context, scratch)) {
                        outcome.hasResult = true;
                        outcome.symbols.take(scratch.record);
                        // The record's facts and sites keep their memory for the lane's next file.
                        if (scan_.linking == LinkingMode::precise)
                            outcome.symbols.facts =
                                FileEntry::make(files[i].relPath, scratch.record.facts, scratch.record.sites,
                                                sites_[lane].scratch, sites_[lane].writer);
                    }
                    scratch.releaseLarge();
                } catch (...) {
                    outcome.error = std::current_exception();
                }
                semaphore_.signal();
                deliver(std::move(outcome));
            },
            ParallelFor::CallerJoins::yes);
        lanes.wait();
    }
    if (flushFailure_) std::rethrow_exception(flushFailure_);
}

// Flat combining: whoever finds the receiving side free receives everything waiting, its
// own outcome and those that others left while it was busy; the others go straight back
// to work. Outcomes are thus received one at a time, in the order they arrive, so the
// graph, the counts and the reports need no other lock, and no thread waits to hand one
// over. After letting go the receiver looks again, so nothing left in between is
// forgotten: a later arrival either is seen by that look or finds the receiving side free.
void ParseWalk::deliver(Outcome&& outcome) {
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
void ParseWalk::receive(Outcome& outcome) {
    if (flushFailure_) return;
    try {
        if (outcome.error) std::rethrow_exception(outcome.error);
        ++processed_;
        scan_.report(ScanPhase::parsing, processed_, outcome.file->relPath);
        if (outcome.hasResult) graph_.merge(outcome.symbols);
    } catch (...) {
        flushFailure_ = std::current_exception();
    }
}

}  // namespace vantrel::detail
