#include "bench/GraphDifferences.h"

namespace vantrel::bench {

std::vector<std::string> graphDifferences(const ProjectIR& live, const ProjectIR& fresh, std::size_t limit) {
    std::vector<std::string> out;
    auto add = [&](std::string line) {
        if (out.size() < limit) out.push_back(std::move(line));
    };
    for (const auto& [id, symbol] : fresh.symbols) {
        auto it = live.symbols.find(id);
        if (it == live.symbols.end()) add("missing in the live graph: " + id);
        else if (!(it->second == symbol)) {
            add("differs: " + id + " (callers " + std::to_string(it->second.refsIn.size()) + " vs " +
                std::to_string(symbol.refsIn.size()) + ", callees " + std::to_string(it->second.refsOut.size()) +
                " vs " + std::to_string(symbol.refsOut.size()) + ")");
        }
    }
    for (const auto& [id, symbol] : live.symbols)
        if (!fresh.symbols.contains(id)) add("only in the live graph: " + id);
    if (live.diagnostics != fresh.diagnostics)
        add("diagnostics differ: " + std::to_string(live.diagnostics.size()) + " vs " +
            std::to_string(fresh.diagnostics.size()));
    return out;
}

}  // namespace vantrel::bench
