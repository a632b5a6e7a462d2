// Times the force layout at its 400-symbol limit and the four export formats of a
// 10,000-symbol project. Targets: layout under 50 ms, each export under 1 s.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "GraphExport.h"
#include "layout/GraphLayout.h"

namespace {

using vantrel::ProjectIR;
using Clock = std::chrono::steady_clock;

// A project of `count` symbols in folders of 40 files with 5 symbols each. Every symbol
// makes 2 to 4 calls, mostly to its own folder, with a few calls to a shared utility
// folder and to ids outside the project. Deterministic: a fixed linear congruential
// generator drives every choice.
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
        s.kind = i % 7 == 0 ? vantrel::SymbolKind::classType : vantrel::SymbolKind::function;
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

double milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double medianMs(int runs, const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        work();
        times.push_back(milliseconds(Clock::now() - start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

std::size_t edgeCount(const ProjectIR& ir) {
    std::size_t n = 0;
    for (const auto& entry : ir.symbols) n += entry.second.refsOut.size();
    return n;
}

}  // namespace

int main() {
    const ProjectIR layoutGraph = realisticProject(400);
    vantrel::NodePositions positions;
    const double layoutMs = medianMs(9, [&] { positions = vantrel::computeForceLayout(layoutGraph); });
    std::printf("force layout, %zu symbols, %zu calls: median %.2f ms of 9 runs (target < 50 ms)\n",
                layoutGraph.symbols.size(), edgeCount(layoutGraph), layoutMs);

    const ProjectIR exportGraph = realisticProject(10000);
    vantrel::NodePositions exportPositions;
    const double circleMs = medianMs(3, [&] { exportPositions = vantrel::computeForceLayout(exportGraph); });
    std::printf("circle layout, %zu symbols: median %.2f ms\n", exportGraph.symbols.size(), circleMs);

    for (vantrel::GraphExportFormat format : vantrel::kAllGraphExportFormats) {
        std::size_t bytes = 0;
        const double ms = medianMs(3, [&] {
            bytes = vantrel::GraphExport::makeData(format, exportGraph, exportPositions).size();
        });
        std::printf("export %-4s %zu symbols, %zu calls: median %.1f ms of 3 runs, %zu bytes (target < 1000 ms)\n",
                    std::string(vantrel::rawValue(format)).c_str(), exportGraph.symbols.size(), edgeCount(exportGraph),
                    ms, bytes);
    }
    return 0;
}
