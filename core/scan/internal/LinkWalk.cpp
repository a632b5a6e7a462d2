#include "core/scan/internal/LinkWalk.h"

#include <deque>
#include <string_view>
#include <thread>

#include "core/scan/internal/Linker.h"

namespace vantrel::detail {

LinkWalk::LinkWalk(const ScanContext& scan, GraphBuilder& graph, const PreciseLinker* precise)
    : scan_(scan), graph_(graph), precise_(precise), scratch_(scan.lanes * kWindowsAhead) {}

void LinkWalk::run(Enumerator& enumerator) {
    if (!enumerator.walker) return;
    std::int64_t linked = 0;
    std::deque<std::unique_ptr<Window>> windows;  // walk order
    bool more = true;
    try {
        while (more || !windows.empty()) {
            while (more && windows.size() < kWindowsAhead) {
                auto window = std::make_unique<Window>();
                more = fillWindow(enumerator, window->files);
                startWindow(*window);
                windows.push_back(std::move(window));
            }
            finishWindow(*windows.front(), linked);
            windows.pop_front();
        }
    } catch (...) {
        // The lanes of the windows still in flight write into them and into the graph.
        for (auto& window : windows) window->waitForAll();
        throw;
    }
}

// The next files of the walk, up to a window's worth; false once the walk is done.
bool LinkWalk::fillWindow(Enumerator& enumerator, std::vector<EnumeratedFile>& files) {
    files.reserve(kWindowFiles);
    while (files.size() < kWindowFiles) {
        auto entry = enumerator.walker->next();
        if (!entry) return false;
        scan_.pollCancellation();
        if (auto file = shouldInclude(*entry, scan_.root, scan_.exclude, enumerator.pluginByExt, *enumerator.walker))
            files.push_back(std::move(*file));
    }
    return true;
}

void LinkWalk::startWindow(Window& window) {
    window.errors.resize(window.files.size());
    // Windows start in turn and at most kWindowsAhead are in flight, so the window this
    // one replaces in the ring of scratch slots has finished.
    LaneScratch* scratch = &scratch_[nextScratch_ * scan_.lanes];
    nextScratch_ = (nextScratch_ + 1) % kWindowsAhead;
    window.lanes.emplace(
        scan_.pool, window.files.size(), scan_.lanes, [this, &window, scratch](std::size_t i, std::size_t lane) {
            try {
                const std::string& relPath = window.files[i].relPath;
                if (precise_) {
                    wireSites(relPath);
                    return;
                }
                LaneScratch& mine = scratch[lane];
                if (scan_.cache.loadFileInto(scan_.root, relPath, RecordFields::links, mine.record, mine.bytes))
                    wireCalls(mine.record, relPath);
            } catch (...) {
                window.errors[i] = std::current_exception();
            }
        });
}

// Reports the window's files in walk order once all of them are wired.
void LinkWalk::finishWindow(Window& window, std::int64_t& linked) {
    window.waitForAll();
    for (std::size_t i = 0; i < window.files.size(); ++i) {
        if (window.errors[i]) std::rethrow_exception(window.errors[i]);
        ++linked;
        scan_.report(ScanPhase::linking, linked, window.files[i].relPath);
        if (linked % 500 == 0) std::this_thread::yield();
    }
}

// The call sites of one file's record, in order: a caller missing from the graph is
// skipped, the callee is resolved by name, and a self-edge is never made.
void LinkWalk::wireCalls(const CachedFileResult& record, const std::string& relPath) {
    GraphSymbol caller;
    const std::string* lastCallerId = nullptr;  // a file's calls come in runs of one caller
    for (const auto& call : record.calls) {
        if (!lastCallerId || *lastCallerId != call.callerId) {
            lastCallerId = &call.callerId;
            caller = graph_.find(call.callerId);
        }
        if (!caller.symbol) continue;
        std::string_view current = symbolFilePath(call.callerId).value_or(relPath);
        const NameCandidate* callee = resolveCallee(call.calleeName, record.imports, current, graph_.nameIndex());
        if (!callee || callee->id == caller.id) continue;
        graph_.addEdge(caller, *callee->symbol);
    }
}

// The same for precise linking, from the sites the parse walk kept: each site's callee
// expression is evaluated to its symbol. The sites are freed as they are wired, so their
// memory goes to the edges that the walk adds.
void LinkWalk::wireSites(const std::string& relPath) {
    const FileEntry* file = precise_->file(relPath);
    if (!file) return;
    const FileSites sites = graph_.facts().takeSites(relPath);
    GraphSymbol caller;
    ClassRef self;
    sites.forEach(
        relPath,
        [&](std::string_view callerId, std::string_view klass) {
            if (caller.id != callerId) caller = graph_.find(callerId);
            self = PreciseLinker::enclosingClass(*file, klass);
        },
        [&](CallForm form, std::string_view callee) {
            if (!caller.symbol) return;
            const NameCandidate* target = precise_->resolve(form, callee, *file, self);
            if (!target || target->id == caller.id) return;
            graph_.addEdge(caller, *target->symbol);
        });
}

}  // namespace vantrel::detail
