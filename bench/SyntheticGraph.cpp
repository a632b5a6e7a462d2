#include "bench/SyntheticGraph.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace vantrel::bench {

ProjectIR realisticProject(int count) {
    std::uint64_t state = 0x2545F4914F6CDD1DULL;
    auto next = [&](std::uint64_t bound) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<int>((state >> 33) % bound);
    };
    auto idOf = [](int i) {
        const int file = i / 5;
        return "src/feature" + std::to_string(file / 40) + "/module" + std::to_string(file % 40) + ".ts:fn" +
               std::to_string(i) + (i % 7 == 0 ? ":class" : ":function");
    };
    ProjectIR ir{"1", 0.0, {}, {}};
    for (int i = 0; i < count; ++i) {
        const std::string id = idOf(i);
        auto& s = ir.symbols[id];
        s.id = id;
        s.kind = i % 7 == 0 ? SymbolKind::classType : SymbolKind::function;
        s.range = {i + 1, 1, i + 9, 2};
    }
    for (int i = 0; i < count; ++i) {
        const std::string from = idOf(i);
        const int calls = 2 + next(3);
        for (int k = 0; k < calls; ++k) {
            const int roll = next(100);
            std::string to;
            if (roll < 3) to = "node_modules/lib/index.js:helper" + std::to_string(next(20)) + ":function";
            else if (roll < 15) to = idOf(next(std::min(count, 50)));
            else to = idOf(std::clamp(i - 100 + next(200), 0, count - 1));
            ir.symbols[from].refsOut.insert(to);
            if (auto it = ir.symbols.find(to); it != ir.symbols.end()) it->second.refsIn.insert(from);
        }
    }
    return ir;
}

std::size_t edgeCount(const ProjectIR& ir) {
    std::size_t n = 0;
    for (const auto& entry : ir.symbols) n += entry.second.refsOut.size();
    return n;
}

double milliseconds(std::chrono::steady_clock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

double medianMs(int runs, const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(milliseconds(std::chrono::steady_clock::now() - start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

std::vector<std::string> mostCalled(const ProjectIR& ir, std::size_t n) {
    std::vector<std::string> ids;
    for (const auto& entry : ir.symbols) ids.push_back(entry.first);
    n = std::min(n, ids.size());
    std::partial_sort(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(n), ids.end(),
                      [&](const std::string& a, const std::string& b) {
                          const std::size_t ca = ir.symbols.at(a).refsIn.size(), cb = ir.symbols.at(b).refsIn.size();
                          return ca != cb ? ca > cb : a < b;
                      });
    ids.resize(n);
    return ids;
}

}  // namespace vantrel::bench
