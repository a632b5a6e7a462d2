// A project's graph kept up to date file by file. After one full scan it holds, beside
// the graph, what it needs to redo only part of the work: each file's hash and symbols,
// and which files call which names. `update` is told which paths may have changed
// (files or folders, as a watcher names them), finds out from the disk what did, re-reads
// and re-analyses only those files (and the files whose imports their appearance or
// disappearance may resolve differently), and re-links only the call sites whose
// resolution their names can touch. The graph it leaves is exactly the one a full scan
// of the same files, with no cache, would give, in either linking mode.
//
// Not thread-safe: one thread at a time calls it (the live session's own). Readers on
// other threads take `snapshot()`, an immutable copy.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/model/ProjectIR.h"
#include "core/scan/IncrementalScan.h"
#include "core/scan/SymbolScanner.h"

namespace vantrel {

// What one call changed (the files, see IncrementalChanges), whether the graph readers see
// differs from before, and how long the call took.
struct LiveUpdate : IncrementalChanges {
    bool graphChanged = false;  // symbols, edges or diagnostics differ from before
    double seconds = 0;         // wall-clock time of the call
    bool empty() const { return changed.empty() && added.empty() && removed.empty() && !fullScan; }
};

// Settings of a live project. `loadConfig` gives the configuration to scan with; it is
// asked again when a settings file (vantrel.json, tsconfig.json, jsconfig.json, a
// package.json in precise linking) changes, since that calls for a full scan.
struct LiveProjectOptions {
    std::string root;
    std::function<VantrelConfig()> loadConfig;
    std::int64_t maxConcurrentParses = 4;
    ProgressCallback progress;  // the full scans' progress
    CancelCheck isCancelled;    // polled by full scans
    // The files the first scan will find, when counted already (spares its counting walk;
    // later full scans count again, since files may have come or gone).
    std::optional<std::int64_t> knownFileCount;
};

class LiveProject {
public:
    LiveProject(SymbolScanner scanner, LiveProjectOptions options);
    ~LiveProject();
    LiveProject(const LiveProject&) = delete;
    LiveProject& operator=(const LiveProject&) = delete;

    // The first full scan (through the cache). Throws ScanError.
    LiveUpdate open();
    // Brings the graph up to date with whatever happened at or below `paths` (relative to
    // the root; a folder stands for everything below it). Throws ScanError when a file
    // cannot be read or parsed; the graph is then as it was, and a later call may retry.
    LiveUpdate update(const std::vector<std::string>& paths);
    // A full scan through the cache, settings read again.
    LiveUpdate rescan();

    const std::string& root() const;
    const VantrelConfig& config() const;
    const ProjectIR& graph() const;
    // An immutable copy of the graph, shared until the next change.
    std::shared_ptr<const ProjectIR> snapshot() const;

    // What may have changed while the last full scan ran, before anything watched: the
    // session asks for it once its watcher is in place and updates those files.
    std::vector<std::string> touchedSinceScan() const;

    // Whether a folder (relative path, "" the root) can hold files of the project: not
    // hidden, not node_modules, not excluded. The watcher asks before it watches a folder.
    bool watchesFolder(const std::string& relDir) const;
    // Whether a change to this relative path matters to the project: a source file it
    // would scan, or a settings file.
    bool caresAbout(const std::string& relPath) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vantrel
