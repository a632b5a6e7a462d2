#include "core/scan/internal/GraphBuilder.h"

#include <cassert>
#include <cstdint>
#include <iterator>

#include "core/util/TextOrder.h"

namespace vantrel::detail {

void FileSymbols::take(CachedFileResult& record) {
    SymbolMap byId;
    for (auto& symbol : record.symbols) {
        Symbol stored{symbol.id, symbol.kind, symbol.range, {}, {}};
        byId.insert_or_assign(std::move(symbol.id), std::move(stored));
    }
    symbols.reserve(byId.size());
    while (!byId.empty()) symbols.push_back(byId.extract(byId.begin()));
    diagnostics.assign(std::make_move_iterator(record.diagnostics.begin()),
                       std::make_move_iterator(record.diagnostics.end()));
}

GraphBuilder::GraphBuilder(std::string projectId, double lastScan) {
    ir_.projectId = std::move(projectId);
    ir_.lastScan = lastScan;
}

void GraphBuilder::merge(FileSymbols& file) {
    assert(!indexFinished_ && "symbols enter the graph before the index is ordered");
    // Each id goes in just before the hint when that is its place, which it is for a
    // file's ids following one another; otherwise the map searches as usual.
    auto hint = ir_.symbols.end();
    for (auto& node : file.symbols) {
        auto at = ir_.symbols.insert(hint, std::move(node));
        if (node) at->second = std::move(node.mapped());  // the id was there: replaced
        else index_.add(at->first, at->second);
        hint = std::next(at);
    }
    for (auto& diagnostic : file.diagnostics) diagnostics_.push_back(std::move(diagnostic));
    if (file.facts) facts_.add(std::move(file.facts));
}

void GraphBuilder::finishIndex() {
    assert(!indexFinished_);
    // Filled by the merges as each id entered the graph, so it holds every id of the
    // complete graph; only its order is left to make.
    index_.finish();
    facts_.finish();
    indexFinished_ = true;
}

GraphSymbol GraphBuilder::find(std::string_view id) {
    assert(indexFinished_);
    if (const NameCandidate* found = index_.find(id)) return {found->symbol, found->id};
    if (idNameAndFileLength(id)) return {};  // a named id is in the index if anywhere
    auto it = ir_.symbols.find(id);
    if (it == ir_.symbols.end()) return {};
    return {&it->second, it->first};
}

std::mutex& GraphBuilder::stripeOf(const Symbol& symbol) {
    auto address = reinterpret_cast<std::uintptr_t>(&symbol);
    return stripes_[(address / alignof(Symbol)) % stripes_.size()];
}

void GraphBuilder::addEdge(const GraphSymbol& caller, Symbol& callee) {
    assert(indexFinished_ && caller.symbol && caller.symbol != &callee);
    {
        std::lock_guard lock(stripeOf(*caller.symbol));
        caller.symbol->refsOut.insert(callee.id);
    }
    std::lock_guard lock(stripeOf(callee));
    callee.refsIn.insert(std::string(caller.id));
}

std::vector<ResolutionDiagnostic> sortedDiagnostics(std::vector<ResolutionDiagnostic> diagnostics) {
    auto order = orderByText(
        diagnostics, [](const ResolutionDiagnostic& d) -> std::string_view { return d.importerPath; },
        [](const ResolutionDiagnostic& a, const ResolutionDiagnostic& b) { return a.importPath < b.importPath; });
    std::vector<ResolutionDiagnostic> sorted;
    sorted.reserve(diagnostics.size());
    for (std::uint32_t i : order) sorted.push_back(std::move(diagnostics[i]));
    return sorted;
}


ProjectIR GraphBuilder::take() {
    ir_.diagnostics = sortedDiagnostics(std::move(diagnostics_));
    index_ = SymbolNameIndex();  // it borrows from the graph that leaves here
    return std::move(ir_);
}

}  // namespace vantrel::detail
