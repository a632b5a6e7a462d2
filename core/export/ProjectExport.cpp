#include "core/export/ProjectExport.h"

#include <cmath>

#include "core/model/IRJson.h"

namespace vantrel {

std::string ProjectExport::projectIRJSON(const ProjectIR& ir, bool pretty) {
    // The JSON writer would put null here, which the strict decoder then rejects.
    if (!std::isfinite(ir.lastScan)) throw EncodeError("lastScan is not a finite number");
    return writeProjectIRJson(ir, pretty);
}

std::string ProjectExport::escapeDOT(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (char c : text) {
        if (c == '\\') out += "\\\\";
        else if (c == '"') out += "\\\"";
        else out += c;
    }
    return out;
}

std::string ProjectExport::graphvizDOT(const ProjectIR& ir) {
    // `symbols` and `refsOut` are ordered containers, so both walks are already ascending.
    std::string out = "digraph Vantrel {\n  rankdir=LR;\n  node [shape=box, fontname=\"SF Mono\", fontsize=10];";
    for (const auto& entry : ir.symbols) {
        out += "\n  \"";
        out += escapeDOT(entry.first);
        out += "\";";
    }
    for (const auto& [id, symbol] : ir.symbols) {
        const std::string from = escapeDOT(id);
        for (const auto& callee : symbol.refsOut) {
            out += "\n  \"";
            out += from;
            out += "\" -> \"";
            out += escapeDOT(callee);
            out += "\";";
        }
    }
    out += "\n}";
    return out;
}

}  // namespace vantrel
