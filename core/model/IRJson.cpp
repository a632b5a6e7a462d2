#include "core/model/IRJson.h"

#include "core/model/SymbolJsonShape.h"

namespace vantrel {

using nlohmann::json;
using namespace jsonfield;

namespace {
std::string key(std::string_view name) { return std::string(name); }
}  // namespace

json rangeToJson(const TextRange& r) {
    json out = json::object();
    const auto values = symboljson::rangeValues(r);
    for (std::size_t i = 0; i < values.size(); ++i) out[key(symboljson::kRangeFields[i])] = values[i];
    return out;
}

json symbolToJson(const Symbol& s) {
    json refsIn = json::array();
    for (const auto& id : s.refsIn) refsIn.push_back(id);
    json refsOut = json::array();
    for (const auto& id : s.refsOut) refsOut.push_back(id);
    using namespace symboljson;
    return json{{key(kId), s.id},
                {key(kKind), std::string(rawValue(s.kind))},
                {key(kRange), rangeToJson(s.range)},
                {key(kRefsIn), std::move(refsIn)},
                {key(kRefsOut), std::move(refsOut)}};
}

json diagnosticToJson(const ResolutionDiagnostic& d) {
    json out{
        {"importerPath", d.importerPath}, {"importPath", d.importPath}, {"reason", std::string(rawValue(d.reason))}};
    if (d.suggestion) out["suggestion"] = *d.suggestion;
    return out;
}

json projectIRToJson(const ProjectIR& ir) {
    json symbols = json::object();
    for (const auto& [key, symbol] : ir.symbols) symbols[key] = symbolToJson(symbol);
    json diagnostics = json::array();
    for (const auto& d : ir.diagnostics) diagnostics.push_back(diagnosticToJson(d));
    return json{{"projectId", ir.projectId},
                {"lastScan", ir.lastScan},
                {"symbols", std::move(symbols)},
                {"diagnostics", std::move(diagnostics)}};
}

TextRange rangeFromJson(const json& value, const std::string& where) {
    expectObject(value, where);
    TextRange range;
    const auto targets = symboljson::rangeTargets(range);
    for (std::size_t i = 0; i < targets.size(); ++i)
        *targets[i] = requireInteger(value, symboljson::kRangeFields[i].data(), where);
    return range;
}

static IdSet idSetFromJson(const json& object, const char* key, const std::string& where) {
    const json& array = requireArray(object, key, where);
    IdSet ids;
    std::size_t index = 0;
    for (const auto& element : array) {
        if (!element.is_string())
            throw DecodeError("key '" + where + "." + key + "[" + std::to_string(index) +
                              "]': expected a string, found " + describeType(element));
        ids.insert(element.get<std::string>());
        ++index;
    }
    return ids;
}

Symbol symbolFromJson(const json& value, const std::string& where) {
    expectObject(value, where);
    using namespace symboljson;
    Symbol s;
    s.id = requireString(value, kId.data(), where);
    std::string kind = requireString(value, kKind.data(), where);
    auto parsed = symbolKindFromRaw(kind);
    if (!parsed) throw DecodeError("key '" + where + ".kind': unknown symbol kind '" + kind + "'");
    s.kind = *parsed;
    s.range = rangeFromJson(require(value, kRange.data(), where), where + "." + key(kRange));
    s.refsIn = idSetFromJson(value, kRefsIn.data(), where);
    s.refsOut = idSetFromJson(value, kRefsOut.data(), where);
    return s;
}

ResolutionDiagnostic diagnosticFromJson(const json& value, const std::string& where) {
    expectObject(value, where);
    ResolutionDiagnostic d;
    d.importerPath = requireString(value, "importerPath", where);
    d.importPath = requireString(value, "importPath", where);
    std::string reason = requireString(value, "reason", where);
    auto parsed = reasonFromRaw(reason);
    if (!parsed) throw DecodeError("key '" + where + ".reason': unknown reason '" + reason + "'");
    d.reason = *parsed;
    auto it = value.find("suggestion");
    if (it != value.end() && !it->is_null()) {
        if (!it->is_string())
            throw DecodeError("key '" + where + ".suggestion': expected a string, found " + describeType(*it));
        d.suggestion = it->get<std::string>();
    }
    return d;
}

ProjectIR projectIRFromJson(const json& value) {
    expectObject(value, "");
    ProjectIR ir;
    ir.projectId = requireString(value, "projectId", "");
    ir.lastScan = requireNumber(value, "lastScan", "");
    const json& symbols = requireObject(value, "symbols", "");
    for (const auto& [key, symbolJson] : symbols.items())
        ir.symbols.emplace(key, symbolFromJson(symbolJson, "symbols[\"" + key + "\"]"));
    auto it = value.find("diagnostics");
    if (it != value.end() && !it->is_null()) {
        if (!it->is_array()) throw DecodeError("key 'diagnostics': expected an array, found " + describeType(*it));
        std::size_t index = 0;
        for (const auto& d : *it) {
            ir.diagnostics.push_back(diagnosticFromJson(d, "diagnostics[" + std::to_string(index) + "]"));
            ++index;
        }
    }
    return ir;
}

ProjectIR decodeProjectIR(std::string_view bytes) { return projectIRFromJson(parseJsonOrThrow(bytes)); }

}  // namespace vantrel
