#include <cmath>
#include <cstdint>

#include "imageexport/DecimalText.h"
#include "imageexport/ExportPlacement.h"
#include "imageexport/GraphExport.h"

namespace vantrel {

namespace {

// Swift-like Int(...) truncation, with a size that is not a number written as 0.
std::string integerText(double value) {
    if (!std::isfinite(value)) return "0";
    return std::to_string(static_cast<std::int64_t>(std::trunc(value)));
}

}  // namespace

std::string GraphExport::makeSVG(const ProjectIR& ir, const NodePositions& positions, double width, double height) {
    const std::string w = integerText(width);
    const std::string h = integerText(height);
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + w + "\" height=\"" + h + "\" viewBox=\"0 0 " + w +
           " " + h + "\">\n";
    out += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>";

    auto placed = [&](const std::string& id, Point* point) {
        auto it = positions.find(id);
        if (it == positions.end()) return false;
        *point = placeOnDrawing(it->second, width, height);
        return true;
    };

    // All lines first so that the dots lie on top of them. `symbols` and `refsOut` are
    // ordered containers: both walks are ascending.
    for (const auto& [id, symbol] : ir.symbols) {
        Point from;
        if (!placed(id, &from)) continue;
        const std::string x1 = decimalText(from.x);
        const std::string y1 = decimalText(from.y);
        for (const auto& callee : symbol.refsOut) {
            Point to;
            if (!placed(callee, &to)) continue;
            out += "\n<line x1=\"" + x1 + "\" y1=\"" + y1 + "\" x2=\"" + decimalText(to.x) + "\" y2=\"" +
                   decimalText(to.y) + "\" stroke=\"#999\" stroke-opacity=\"0.35\" stroke-width=\"1\"/>";
        }
    }
    for (const auto& entry : ir.symbols) {
        Point at;
        if (!placed(entry.first, &at)) continue;
        out += "\n<circle cx=\"" + decimalText(at.x) + "\" cy=\"" + decimalText(at.y) +
               "\" r=\"4\" fill=\"#444\" fill-opacity=\"0.85\" stroke=\"#222\" stroke-width=\"1\"/>";
    }
    out += "\n</svg>";
    return out;
}

}  // namespace vantrel
