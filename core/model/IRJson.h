// The JSON form of the project model. Keys are written sorted at every level.
// The decoder is strict: any missing key, wrong type or unknown enumeration text
// fails the whole decode with a DecodeError naming the problem, except for the two
// stated leniencies (a missing or null top-level "diagnostics", a missing or null
// "suggestion"). Unknown keys are ignored.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "model/ProjectIR.h"

namespace vantrel {

class DecodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

nlohmann::json rangeToJson(const TextRange& range);
nlohmann::json symbolToJson(const Symbol& symbol);
nlohmann::json diagnosticToJson(const ResolutionDiagnostic& diagnostic);
nlohmann::json projectIRToJson(const ProjectIR& ir);

// `where` names the value in error messages, for example "symbols[\"a.ts:f:function\"]".
TextRange rangeFromJson(const nlohmann::json& value, const std::string& where);
Symbol symbolFromJson(const nlohmann::json& value, const std::string& where);
ResolutionDiagnostic diagnosticFromJson(const nlohmann::json& value, const std::string& where);
ProjectIR projectIRFromJson(const nlohmann::json& value);

// Parses text and decodes it; a syntax error is a DecodeError too.
ProjectIR decodeProjectIR(std::string_view bytes);

// Strict JSON; any failure is a DecodeError. Arrays and objects nested deeper than
// kMaxJsonDepth are refused before parsing: no file read here nests beyond a handful of
// levels, and ten million brackets would otherwise build a document ten million deep.
constexpr int kMaxJsonDepth = 64;
nlohmann::json parseJsonOrThrow(std::string_view bytes);

// Serialises with sorted keys. Invalid UTF-8 in strings is replaced, never an error.
std::string dumpJson(const nlohmann::json& value, bool pretty);

// The graph's JSON form written straight to text, byte for byte what
// dumpJson(projectIRToJson(ir), pretty) gives, without building a document first: a
// large project's document takes several times the memory of the graph itself.
std::string writeProjectIRJson(const ProjectIR& ir, bool pretty);

// Strict field access shared by every decoder of this system's own records.
namespace jsonfield {
const nlohmann::json& require(const nlohmann::json& object, const char* key, const std::string& where);
std::string requireString(const nlohmann::json& object, const char* key, const std::string& where);
std::int64_t requireInteger(const nlohmann::json& object, const char* key, const std::string& where);
double requireNumber(const nlohmann::json& object, const char* key, const std::string& where);
const nlohmann::json& requireArray(const nlohmann::json& object, const char* key, const std::string& where);
const nlohmann::json& requireObject(const nlohmann::json& object, const char* key, const std::string& where);
void expectObject(const nlohmann::json& value, const std::string& where);
std::string describeType(const nlohmann::json& value);
}  // namespace jsonfield

}  // namespace vantrel
