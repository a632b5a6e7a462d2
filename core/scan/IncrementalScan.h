// A scan that can be brought up to date in part. After a full scan it keeps, beside the
// graph, each file's hash, symbol ids, diagnostics and import words, and (in the names
// mode) which files call which names. `update` is told which paths may have changed,
// finds out from the disk what did, and then:
//   - re-reads and re-analyses only the changed and added files, and, when files appeared
//     or went, the files whose imports name them (their resolution may differ now);
//   - in the names mode re-links only the call sites whose target their names can touch:
//     those of the re-analysed files, and those calling a name whose set of symbols
//     changed (a call's target depends on nothing else);
//   - in precise linking, whose targets depend on the facts of the whole project, keeps
//     the facts, the sites and what each file's resolutions read (files and names, see
//     LinkReads) in memory: a save that keeps a file's facts and ids re-links its own
//     sites; any other change (facts or ids changed, files come or go) changes the facts
//     in place and re-links the files whose resolutions read a changed file, a file whose
//     bases or bindings changed with it, or a name whose declarations changed.
// The graph it leaves is the one a full scan of the same files, with no cache, gives.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/scan/SymbolScanner.h"

namespace vantrel {

// What one update changed. Paths are project-relative and sorted.
struct IncrementalChanges {
    std::vector<std::string> changed;     // files whose bytes changed
    std::vector<std::string> added;
    std::vector<std::string> removed;
    std::vector<std::string> reanalysed;  // changed, added and the files whose imports name them
    std::size_t relinkedFiles = 0;        // files whose call sites were resolved again
    bool fullScan = false;
    // The ids of the symbols that were added, removed or changed (their place or edges),
    // sorted; or all of them, when the whole project was linked again.
    std::vector<std::string> touchedIds;
    bool allTouched = false;
    bool diagnosticsChanged = false;
    // Precise linking: a file that came or went changed how the project's own packages
    // resolve (an entry such as src/index.ts). Nothing was updated; only a full scan gives
    // the graph a full scan gives.
    bool needsFullScan = false;
};

class IncrementalScan {
public:
    IncrementalScan(const SymbolScanner& scanner, std::string root, VantrelConfig config,
                    std::int64_t maxConcurrentParses);
    ~IncrementalScan();
    IncrementalScan(const IncrementalScan&) = delete;
    IncrementalScan& operator=(const IncrementalScan&) = delete;

    // The full scan through the cache, then every file's record read back for the index.
    // Throws ScanError.
    void scanAll(const ProgressCallback& progress = {}, const CancelCheck& isCancelled = {},
                 std::optional<std::int64_t> knownFileCount = std::nullopt);
    // Brings the graph up to date with whatever happened at or below `paths` (relative to
    // the root; a folder stands for all below it). Throws ScanError when a file cannot be
    // read or parsed, leaving the graph as it was.
    IncrementalChanges update(const std::vector<std::string>& paths);

    // The source files whose modification time is not older than the last full scan's
    // start (less a margin for coarse file-system clocks), and the known files gone since:
    // what a save during that scan, before anything watched, may have changed.
    std::vector<std::string> touchedSinceScan() const;

    ProjectIR& graph();
    const VantrelConfig& config() const;
    // Whether a scan would enter this folder ("" the root) / take this file.
    bool includesFolder(const std::string& relDir) const;
    bool includesFile(const std::string& relPath) const;

private:
    struct State;
    std::unique_ptr<State> s_;
};

}  // namespace vantrel
