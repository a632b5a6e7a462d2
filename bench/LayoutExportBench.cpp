// Times the force layout at its 400-symbol limit and the four export formats of a
// 10,000-symbol project. Targets: layout under 50 ms, each export under 1 s.
#include <cstdio>
#include <string>

#include "bench/SyntheticGraph.h"
#include "core/layout/GraphLayout.h"
#include "imageexport/GraphExport.h"

using vantrel::ProjectIR;
using vantrel::bench::edgeCount;
using vantrel::bench::medianMs;
using vantrel::bench::realisticProject;

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
        const double ms =
            medianMs(3, [&] { bytes = vantrel::GraphExport::makeData(format, exportGraph, exportPositions).size(); });
        std::printf("export %-4s %zu symbols, %zu calls: median %.1f ms of 3 runs, %zu bytes (target < 1000 ms)\n",
                    std::string(vantrel::rawValue(format)).c_str(), exportGraph.symbols.size(), edgeCount(exportGraph),
                    ms, bytes);
    }
    return 0;
}
