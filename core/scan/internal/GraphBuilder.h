// The graph while a scan builds it, between the scan's two walks: it owns the symbols,
// the index of their names and the locks of their reference sets. The parse walk merges
// each file's symbols in, one file at a time; the index is then ordered once; the link
// walk's lanes add edges concurrently, which never changes the set of symbols.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/cache/CacheRecords.h"
#include "core/model/ProjectIR.h"
#include "core/scan/internal/ProjectFacts.h"
#include "core/scan/internal/SymbolNameIndex.h"

namespace vantrel::detail {

// One file's part of the graph, made ready on a worker: its symbols already sit in map
// nodes of their own, in id order, so merging them costs the merging thread no
// allocation and, thanks to the order, seldom a full search of the graph.
struct FileSymbols {
    std::vector<SymbolMap::node_type> symbols;
    std::vector<ResolutionDiagnostic> diagnostics;
    // Precise linking: the file's type facts.
    std::unique_ptr<FileEntry> facts;

    // Moves out of `record` what the graph keeps; its lists keep their memory for the
    // worker's next file. A later symbol of one id replaces an earlier one, as in the
    // graph itself.
    void take(CachedFileResult& record);
};

// Stable, by importer path, then import path: the order of a graph's diagnostics.
std::vector<ResolutionDiagnostic> sortedDiagnostics(std::vector<ResolutionDiagnostic> diagnostics);

// A symbol of the graph with its key, which outlives the builder's walks.
struct GraphSymbol {
    Symbol* symbol = nullptr;
    std::string_view id;
};

class GraphBuilder {
public:
    GraphBuilder(std::string projectId, double lastScan);
    GraphBuilder(const GraphBuilder&) = delete;
    GraphBuilder& operator=(const GraphBuilder&) = delete;

    // Merge phase: one caller at a time.
    void merge(FileSymbols& file);
    // Orders the name index and indexes the type facts; once, after the last merge and
    // before the first edge.
    void finishIndex();

    // Link phase: any number of threads at once.
    const SymbolNameIndex& nameIndex() const { return index_; }
    // Every file's type facts (precise linking; empty otherwise).
    ProjectFacts& facts() { return facts_; }
    // The graph's symbol of `id`; none when the graph has no such symbol.
    [[nodiscard]] GraphSymbol find(std::string_view id);
    // Adds the edge to both ends' reference sets, each under the lock of its stripe.
    void addEdge(const GraphSymbol& caller, Symbol& callee);

    // The finished graph, its diagnostics sorted; the builder is spent.
    [[nodiscard]] ProjectIR take();

private:
    std::mutex& stripeOf(const Symbol& symbol);

    ProjectIR ir_;
    SymbolNameIndex index_;  // names of ir_'s symbols, borrowed from its keys
    ProjectFacts facts_;
    std::vector<ResolutionDiagnostic> diagnostics_;
    std::array<std::mutex, 61> stripes_;  // locks of the symbols' reference sets
    bool indexFinished_ = false;
};

}  // namespace vantrel::detail
