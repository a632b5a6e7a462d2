// The JSON forms of the cache's records and key: compact, keys sorted at every level,
// "/" written as "\/", absent optionals left out. Decoding is strict.
#include <nlohmann/json.hpp>

#include "cache/Hashing.h"
#include "cache/ProjectCache.h"
#include "model/IRJson.h"
#include "util/FileIO.h"
#include "util/Paths.h"
#include "util/Text.h"
#include "util/Timestamp.h"

namespace vantrel {

using nlohmann::json;
using namespace jsonfield;

namespace {

// nlohmann's objects keep their keys sorted, so the dump is already in key order. A "/"
// can only stand inside a string of the dump, so escaping it over the whole text is safe.
std::string encodeCompact(const json& value) { return replaceAll(dumpJson(value, false), "/", "\\/"); }

json stringArray(const std::vector<std::string>& values) {
    json array = json::array();
    for (const auto& value : values) array.push_back(value);
    return array;
}

}  // namespace

ProjectCacheMeta ProjectCacheMeta::make(std::string keyHash) {
    ProjectCacheMeta meta;
    meta.schema = 3;
    meta.keyHash = std::move(keyHash);
    meta.updatedAt = referenceSecondsNow();
    return meta;
}

std::string encodeFileRecord(const CachedFileResult& record) {
    json calls = json::array();
    for (const auto& call : record.calls)
        calls.push_back(json{{"calleeName", call.calleeName}, {"callerId", call.callerId}});
    json diagnostics = json::array();
    for (const auto& diagnostic : record.diagnostics) diagnostics.push_back(diagnosticToJson(diagnostic));
    json imports = json::object();
    for (const auto& [name, path] : record.imports) imports[name] = path;
    json symbols = json::array();
    for (const auto& symbol : record.symbols) symbols.push_back(symbolToJson(symbol));
    return encodeCompact(json{{"calls", std::move(calls)},
                              {"diagnostics", std::move(diagnostics)},
                              {"fileHash", record.fileHash},
                              {"imports", std::move(imports)},
                              {"symbols", std::move(symbols)}});
}

std::optional<CachedFileResult> decodeFileRecord(std::string_view bytes) {
    try {
        json root = parseJsonOrThrow(bytes);
        expectObject(root, "");
        CachedFileResult record;
        record.fileHash = requireString(root, "fileHash", "");
        std::size_t index = 0;
        for (const auto& symbol : requireArray(root, "symbols", ""))
            record.symbols.push_back(symbolFromJson(symbol, "symbols[" + std::to_string(index++) + "]"));
        for (const auto& [name, path] : requireObject(root, "imports", "").items()) {
            if (!path.is_string()) return std::nullopt;
            record.imports.emplace(name, path.get<std::string>());
        }
        index = 0;
        for (const auto& call : requireArray(root, "calls", "")) {
            std::string where = "calls[" + std::to_string(index++) + "]";
            expectObject(call, where);
            record.calls.push_back(
                CachedCallSite{requireString(call, "callerId", where), requireString(call, "calleeName", where)});
        }
        index = 0;
        for (const auto& diagnostic : requireArray(root, "diagnostics", "")) {
            std::string where = "diagnostics[" + std::to_string(index++) + "]";
            record.diagnostics.push_back(diagnosticFromJson(diagnostic, where));
        }
        return record;
    } catch (...) {
        return std::nullopt;
    }
}

std::string encodeMeta(const ProjectCacheMeta& meta) {
    return encodeCompact(json{{"keyHash", meta.keyHash}, {"schema", meta.schema}, {"updatedAt", meta.updatedAt}});
}

std::optional<ProjectCacheMeta> decodeMeta(std::string_view bytes) {
    try {
        json root = parseJsonOrThrow(bytes);
        expectObject(root, "");
        ProjectCacheMeta meta;
        meta.keyHash = requireString(root, "keyHash", "");
        meta.schema = requireInteger(root, "schema", "");
        meta.updatedAt = requireNumber(root, "updatedAt", "");
        return meta;
    } catch (...) {
        return std::nullopt;
    }
}

std::string encodeCacheKey(const CacheKey& key) {
    try {
        json object = json::object();
        if (key.enabledLanguages) object["enabledLanguages"] = stringArray(*key.enabledLanguages);
        object["exclude"] = stringArray(key.exclude);
        object["pluginIds"] = stringArray(key.pluginIds);
        if (key.tsconfigHash) object["tsconfigHash"] = *key.tsconfigHash;
        return encodeCompact(object);
    } catch (...) {
        return {};
    }
}

std::string keyHash(const CacheKey& key) { return sha256Hex(encodeCacheKey(key)); }

std::optional<std::string> tsconfigHash(std::string_view projectRoot) {
    // Only the root files count, hashed raw: white space changes the key too.
    for (const char* name : {"tsconfig.json", "jsconfig.json"}) {
        if (auto bytes = readWholeFile(appendPathComponent(projectRoot, name))) return sha256Hex(*bytes);
    }
    return std::nullopt;
}

}  // namespace vantrel
