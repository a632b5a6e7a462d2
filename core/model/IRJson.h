// The JSON form of the project model. Keys are written sorted at every level.
// The decoder is strict: any missing key, wrong type or unknown enumeration text
// fails the whole decode with a DecodeError naming the problem, except for the two
// stated leniencies (a missing or null top-level "diagnostics", a missing or null
// "suggestion"). Unknown keys are ignored.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "core/json/JsonDocument.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

nlohmann::json rangeToJson(const TextRange& range);
nlohmann::json symbolToJson(const Symbol& symbol);
nlohmann::json diagnosticToJson(const ResolutionDiagnostic& diagnostic);
nlohmann::json projectIRToJson(const ProjectIR& ir);

// `where` names the value in error messages, for example "symbols[\"a.ts:f:function\"]".
TextRange rangeFromJson(const nlohmann::json& value, const std::string& where);
Symbol symbolFromJson(const nlohmann::json& value, const std::string& where);
ResolutionDiagnostic diagnosticFromJson(const nlohmann::json& value, const std::string& where);
[[nodiscard]] ProjectIR projectIRFromJson(const nlohmann::json& value);

// Parses text and decodes it; a syntax error is a DecodeError too.
[[nodiscard]] ProjectIR decodeProjectIR(std::string_view bytes);

// The graph's JSON form written straight to text, byte for byte what
// dumpJson(projectIRToJson(ir), pretty) gives, without building a document first: a
// large project's document takes several times the memory of the graph itself.
[[nodiscard]] std::string writeProjectIRJson(const ProjectIR& ir, bool pretty);

}  // namespace vantrel
