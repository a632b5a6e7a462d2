#include "core/json/JsonDocument.h"

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

std::string dumpJson(const json& value, bool pretty) {
    return value.dump(pretty ? 2 : -1, ' ', false, json::error_handler_t::replace);
}

}  // namespace vantrel
