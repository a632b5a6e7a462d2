// JSON as a document (nlohmann's), for the files read or written once per scan or
// export: configuration, tsconfig, baselines, cache meta records. Parsing is strict and
// depth-limited; writing sorts keys. Hot paths use the pull reader and the writers of
// this folder instead.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "core/json/DecodeError.h"

namespace vantrel {

// Strict JSON; any failure is a DecodeError. Arrays and objects nested deeper than
// kMaxJsonDepth are refused before parsing: no file read here nests beyond a handful of
// levels, and ten million brackets would otherwise build a document ten million deep.
constexpr int kMaxJsonDepth = 64;
[[nodiscard]] nlohmann::json parseJsonOrThrow(std::string_view bytes);

// Serialises with sorted keys. Invalid UTF-8 in strings is replaced, never an error.
[[nodiscard]] std::string dumpJson(const nlohmann::json& value, bool pretty);

// Strict field access shared by every decoder of this system's own records. `where`
// names the enclosing value in error messages ("" for the top level).
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
