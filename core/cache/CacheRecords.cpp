// The JSON forms of the cache's records and key: compact, keys sorted at every level,
// "/" written as "\/", absent optionals left out. Decoding is strict.
#include <array>
#include <nlohmann/json.hpp>

#include "cache/Hashing.h"
#include "cache/ProjectCache.h"
#include "model/IRJson.h"
#include "model/JsonReader.h"
#include "model/JsonWriter.h"
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

// File records are written once per parsed file and read twice per file by every scan,
// so they are encoded and decoded directly, without a document in between.
namespace {

void appendKey(std::string& out, std::string_view key) {
    appendJsonString(out, key, true);
    out.push_back(':');
}

void appendStringArray(std::string& out, const IdSet& values) {
    out.push_back('[');
    bool first = true;
    for (const auto& value : values) {
        if (!first) out.push_back(',');
        first = false;
        appendJsonString(out, value, true);
    }
    out.push_back(']');
}

void appendSymbol(std::string& out, const Symbol& symbol) {
    out.append("{");
    appendKey(out, "id");
    appendJsonString(out, symbol.id, true);
    out.push_back(',');
    appendKey(out, "kind");
    appendJsonString(out, rawValue(symbol.kind), true);
    out.append(",\"range\":{\"endCol\":");
    appendJsonInteger(out, symbol.range.endCol);
    out.append(",\"endLine\":");
    appendJsonInteger(out, symbol.range.endLine);
    out.append(",\"startCol\":");
    appendJsonInteger(out, symbol.range.startCol);
    out.append(",\"startLine\":");
    appendJsonInteger(out, symbol.range.startLine);
    out.append("},\"refsIn\":");
    appendStringArray(out, symbol.refsIn);
    out.append(",\"refsOut\":");
    appendStringArray(out, symbol.refsOut);
    out.push_back('}');
}

void appendDiagnostic(std::string& out, const ResolutionDiagnostic& diagnostic) {
    out.append("{\"importPath\":");
    appendJsonString(out, diagnostic.importPath, true);
    out.append(",\"importerPath\":");
    appendJsonString(out, diagnostic.importerPath, true);
    out.append(",\"reason\":");
    appendJsonString(out, rawValue(diagnostic.reason), true);
    if (diagnostic.suggestion) {
        out.append(",\"suggestion\":");
        appendJsonString(out, *diagnostic.suggestion, true);
    }
    out.push_back('}');
}

template <typename Items, typename Append>
void appendArray(std::string& out, const Items& items, Append append) {
    out.push_back('[');
    bool first = true;
    for (const auto& item : items) {
        if (!first) out.push_back(',');
        first = false;
        append(out, item);
    }
    out.push_back(']');
}

// Reads one object, handing each key to `field`; unknown keys are skipped. Every name
// in `required` must have been seen.
template <std::size_t N, typename Field>
void readObject(JsonReader& reader, const std::array<std::string_view, N>& required, Field field) {
    if (reader.peek() != JsonReader::Type::object) throw DecodeError("expected an object");
    std::array<bool, N> seen{};
    std::string key;
    reader.beginObject();
    while (reader.nextKey(key)) {
        for (std::size_t i = 0; i < N; ++i)
            if (key == required[i]) seen[i] = true;
        if (!field(key)) reader.skipValue();
    }
    for (std::size_t i = 0; i < N; ++i)
        if (!seen[i]) throw DecodeError("missing key '" + std::string(required[i]) + "'");
}

std::string readStringValue(JsonReader& reader) {
    if (reader.peek() != JsonReader::Type::string) throw DecodeError("expected a string");
    return reader.readString();
}

template <typename Element>
void readArray(JsonReader& reader, Element element) {
    if (reader.peek() != JsonReader::Type::array) throw DecodeError("expected an array");
    reader.beginArray();
    while (reader.nextElement()) element();
}

IdSet readIdSet(JsonReader& reader) {
    IdSet ids;
    readArray(reader, [&] { ids.insert(readStringValue(reader)); });
    return ids;
}

// Into `symbol`, whose strings keep their capacity when it is reused as scratch.
void readSymbol(JsonReader& reader, Symbol& symbol) {
    symbol.refsIn.clear();
    symbol.refsOut.clear();
    static constexpr std::array<std::string_view, 5> kKeys{"id", "kind", "range", "refsIn", "refsOut"};
    readObject(reader, kKeys, [&](const std::string& key) {
        if (key == "id") {
            if (reader.peek() != JsonReader::Type::string) throw DecodeError("expected a string");
            reader.readString(symbol.id);
        } else if (key == "kind") {
            auto kind = symbolKindFromRaw(readStringValue(reader));
            if (!kind) throw DecodeError("unknown kind");
            symbol.kind = *kind;
        } else if (key == "range") {
            static constexpr std::array<std::string_view, 4> kRange{"startLine", "startCol", "endLine", "endCol"};
            readObject(reader, kRange, [&](const std::string& field) {
                std::int64_t* target = field == "startLine" ? &symbol.range.startLine
                                       : field == "startCol" ? &symbol.range.startCol
                                       : field == "endLine"  ? &symbol.range.endLine
                                       : field == "endCol"   ? &symbol.range.endCol
                                                             : nullptr;
                if (!target) return false;
                *target = reader.readInteger();
                return true;
            });
        } else if (key == "refsIn") {
            symbol.refsIn = readIdSet(reader);
        } else if (key == "refsOut") {
            symbol.refsOut = readIdSet(reader);
        } else {
            return false;
        }
        return true;
    });
}

ResolutionDiagnostic readDiagnostic(JsonReader& reader) {
    ResolutionDiagnostic diagnostic;
    static constexpr std::array<std::string_view, 3> kKeys{"importerPath", "importPath", "reason"};
    readObject(reader, kKeys, [&](const std::string& key) {
        if (key == "importerPath") {
            diagnostic.importerPath = readStringValue(reader);
        } else if (key == "importPath") {
            diagnostic.importPath = readStringValue(reader);
        } else if (key == "reason") {
            auto reason = reasonFromRaw(readStringValue(reader));
            if (!reason) throw DecodeError("unknown reason");
            diagnostic.reason = *reason;
        } else if (key == "suggestion") {
            if (reader.peekNull()) {
                reader.readNull();
                diagnostic.suggestion.reset();
            } else {
                diagnostic.suggestion = readStringValue(reader);
            }
        } else {
            return false;
        }
        return true;
    });
    return diagnostic;
}

}  // namespace

std::string encodeFileRecord(const CachedFileResult& record) {
    std::string out;
    out.reserve(256 + record.symbols.size() * 160 + record.calls.size() * 96);
    out.append("{\"calls\":");
    appendArray(out, record.calls, [](std::string& o, const CachedCallSite& call) {
        o.append("{\"calleeName\":");
        appendJsonString(o, call.calleeName, true);
        o.append(",\"callerId\":");
        appendJsonString(o, call.callerId, true);
        o.push_back('}');
    });
    out.append(",\"diagnostics\":");
    appendArray(out, record.diagnostics, appendDiagnostic);
    out.append(",\"fileHash\":");
    appendJsonString(out, record.fileHash, true);
    out.append(",\"imports\":{");
    bool first = true;
    for (const auto& [name, path] : record.imports) {
        if (!first) out.push_back(',');
        first = false;
        appendKey(out, name);
        appendJsonString(out, path, true);
    }
    out.append("},\"symbols\":");
    appendArray(out, record.symbols, appendSymbol);
    out.push_back('}');
    return out;
}

std::optional<CachedFileResult> decodeFileRecord(std::string_view bytes, RecordFields keep) {
    const bool keepSymbols = keep != RecordFields::links;
    const bool keepLinks = keep != RecordFields::symbols;
    try {
        JsonReader reader(bytes);
        CachedFileResult record;
        // Fields the caller does not keep are read all the same, into scratch values that
        // are reused, so the record is readable or not whatever part of it is kept.
        Symbol scratchSymbol;
        CachedCallSite scratchCall;
        std::string scratchPath;
        static constexpr std::array<std::string_view, 5> kKeys{"calls", "diagnostics", "fileHash", "imports", "symbols"};
        readObject(reader, kKeys, [&](const std::string& key) {
            if (key == "fileHash") {
                record.fileHash = readStringValue(reader);
            } else if (key == "symbols") {
                record.symbols.clear();
                readArray(reader, [&] {
                    readSymbol(reader, scratchSymbol);
                    if (keepSymbols) record.symbols.push_back(std::move(scratchSymbol));
                });
            } else if (key == "imports") {
                record.imports.clear();
                std::string name;
                if (reader.peek() != JsonReader::Type::object) throw DecodeError("expected an object");
                reader.beginObject();
                while (reader.nextKey(name)) {
                    if (reader.peek() != JsonReader::Type::string) throw DecodeError("expected a string");
                    reader.readString(scratchPath);
                    if (keepLinks) record.imports.insert_or_assign(name, scratchPath);
                }
            } else if (key == "calls") {
                record.calls.clear();
                readArray(reader, [&] {
                    static constexpr std::array<std::string_view, 2> kCall{"callerId", "calleeName"};
                    readObject(reader, kCall, [&](const std::string& field) {
                        std::string* target = field == "callerId"     ? &scratchCall.callerId
                                              : field == "calleeName" ? &scratchCall.calleeName
                                                                      : nullptr;
                        if (!target) return false;
                        if (reader.peek() != JsonReader::Type::string) throw DecodeError("expected a string");
                        reader.readString(*target);
                        return true;
                    });
                    if (keepLinks) record.calls.push_back(std::move(scratchCall));
                });
            } else if (key == "diagnostics") {
                record.diagnostics.clear();
                readArray(reader, [&] {
                    ResolutionDiagnostic diagnostic = readDiagnostic(reader);
                    if (keepSymbols) record.diagnostics.push_back(std::move(diagnostic));
                });
            } else {
                return false;
            }
            return true;
        });
        reader.finish();
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
