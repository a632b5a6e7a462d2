#include "model/IRJson.h"

#include <cmath>

namespace vantrel {

using nlohmann::json;

namespace jsonfield {

std::string describeType(const json& value) {
    if (value.is_null()) return "null";
    if (value.is_boolean()) return "a boolean";
    if (value.is_number_integer()) return "an integer";
    if (value.is_number()) return "a number";
    if (value.is_string()) return "a string";
    if (value.is_array()) return "an array";
    return "an object";
}

static std::string at(const std::string& where, const char* key) {
    return where.empty() ? std::string(key) : where + "." + key;
}

void expectObject(const json& value, const std::string& where) {
    if (!value.is_object())
        throw DecodeError((where.empty() ? std::string("top level") : where) + ": expected an object, found " +
                          describeType(value));
}

const json& require(const json& object, const char* key, const std::string& where) {
    auto it = object.find(key);
    if (it == object.end()) throw DecodeError("missing key '" + at(where, key) + "'");
    return *it;
}

std::string requireString(const json& object, const char* key, const std::string& where) {
    const json& value = require(object, key, where);
    if (!value.is_string())
        throw DecodeError("key '" + at(where, key) + "': expected a string, found " + describeType(value));
    return value.get<std::string>();
}

std::int64_t requireInteger(const json& object, const char* key, const std::string& where) {
    const json& value = require(object, key, where);
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) {
        double d = value.get<double>();
        if (std::isfinite(d) && std::floor(d) == d && std::fabs(d) < 9.2e18) return static_cast<std::int64_t>(d);
        throw DecodeError("key '" + at(where, key) + "': expected an integer, found " + value.dump());
    }
    throw DecodeError("key '" + at(where, key) + "': expected an integer, found " + describeType(value));
}

double requireNumber(const json& object, const char* key, const std::string& where) {
    const json& value = require(object, key, where);
    if (!value.is_number())
        throw DecodeError("key '" + at(where, key) + "': expected a number, found " + describeType(value));
    return value.get<double>();
}

const json& requireArray(const json& object, const char* key, const std::string& where) {
    const json& value = require(object, key, where);
    if (!value.is_array())
        throw DecodeError("key '" + at(where, key) + "': expected an array, found " + describeType(value));
    return value;
}

const json& requireObject(const json& object, const char* key, const std::string& where) {
    const json& value = require(object, key, where);
    if (!value.is_object())
        throw DecodeError("key '" + at(where, key) + "': expected an object, found " + describeType(value));
    return value;
}

}  // namespace jsonfield

using namespace jsonfield;

json rangeToJson(const TextRange& r) {
    return json{{"startLine", r.startLine}, {"startCol", r.startCol}, {"endLine", r.endLine}, {"endCol", r.endCol}};
}

json symbolToJson(const Symbol& s) {
    json refsIn = json::array();
    for (const auto& id : s.refsIn) refsIn.push_back(id);
    json refsOut = json::array();
    for (const auto& id : s.refsOut) refsOut.push_back(id);
    return json{{"id", s.id},
                {"kind", std::string(rawValue(s.kind))},
                {"range", rangeToJson(s.range)},
                {"refsIn", std::move(refsIn)},
                {"refsOut", std::move(refsOut)}};
}

json diagnosticToJson(const ResolutionDiagnostic& d) {
    json out{{"importerPath", d.importerPath},
             {"importPath", d.importPath},
             {"reason", std::string(rawValue(d.reason))}};
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
    return TextRange{requireInteger(value, "startLine", where), requireInteger(value, "startCol", where),
                     requireInteger(value, "endLine", where), requireInteger(value, "endCol", where)};
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
    Symbol s;
    s.id = requireString(value, "id", where);
    std::string kind = requireString(value, "kind", where);
    auto parsed = symbolKindFromRaw(kind);
    if (!parsed) throw DecodeError("key '" + where + ".kind': unknown symbol kind '" + kind + "'");
    s.kind = *parsed;
    s.range = rangeFromJson(require(value, "range", where), where + ".range");
    s.refsIn = idSetFromJson(value, "refsIn", where);
    s.refsOut = idSetFromJson(value, "refsOut", where);
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
        if (!it->is_array())
            throw DecodeError("key 'diagnostics': expected an array, found " + describeType(*it));
        std::size_t index = 0;
        for (const auto& d : *it) {
            ir.diagnostics.push_back(diagnosticFromJson(d, "diagnostics[" + std::to_string(index) + "]"));
            ++index;
        }
    }
    return ir;
}

// True when arrays and objects open more than `limit` deep, strings skipped. A look at
// the bytes before parsing: nlohmann's parser callback, which could count depth too,
// rescans a container's members at the end of each member object.
static bool nestsDeeperThan(std::string_view bytes, int limit) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char c = bytes[i];
        if (inString) {
            if (c == '\\') ++i;
            else if (c == '"') inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

json parseJsonOrThrow(std::string_view bytes) {
    if (nestsDeeperThan(bytes, kMaxJsonDepth))
        throw DecodeError("nested deeper than " + std::to_string(kMaxJsonDepth) + " levels");
    try {
        return json::parse(bytes.begin(), bytes.end());
    } catch (const json::exception& e) {
        // A syntax error, or a number too large for a double (out_of_range). nlohmann's
        // text leads with its own error id; keep only the readable part.
        std::string what = e.what();
        auto pos = what.find("] ");
        throw DecodeError("not valid JSON: " + (pos == std::string::npos ? what : what.substr(pos + 2)));
    }
}

ProjectIR decodeProjectIR(std::string_view bytes) { return projectIRFromJson(parseJsonOrThrow(bytes)); }

std::string dumpJson(const json& value, bool pretty) {
    return value.dump(pretty ? 2 : -1, ' ', false, json::error_handler_t::replace);
}

}  // namespace vantrel
