// Streaming writer of the graph's JSON form, in the document writer's exact layout.
#include "core/json/JsonWriter.h"
#include "core/model/IRJson.h"
#include "core/model/SymbolJsonShape.h"

namespace vantrel {

namespace {

using Writer = JsonTextWriter;

void writeDiagnostic(Writer& w, const ResolutionDiagnostic& d) {
    w.beginObject();
    w.key("importPath");
    w.string(d.importPath);
    w.key("importerPath");
    w.string(d.importerPath);
    w.key("reason");
    w.string(rawValue(d.reason));
    if (d.suggestion) {
        w.key("suggestion");
        w.string(*d.suggestion);
    }
    w.endObject();
}

}  // namespace

std::string writeProjectIRJson(const ProjectIR& ir, bool pretty) {
    std::string out;
    out.reserve(256 + ir.symbols.size() * (pretty ? 420 : 220) + ir.diagnostics.size() * 200);
    Writer w(out, pretty ? Writer::Layout::pretty : Writer::Layout::compact);
    w.beginObject();
    w.key("diagnostics");
    w.beginArray(ir.diagnostics.empty());
    for (const auto& d : ir.diagnostics) {
        w.element();
        writeDiagnostic(w, d);
    }
    w.endArray();
    w.key("lastScan");
    w.number(ir.lastScan);
    w.key("projectId");
    w.string(ir.projectId);
    w.key("symbols");
    w.beginObject(ir.symbols.empty());
    for (const auto& [id, symbol] : ir.symbols) {
        w.key(id);
        symboljson::writeSymbol(w, symbol);
    }
    w.endObject();
    w.endObject();
    return out;
}

}  // namespace vantrel
