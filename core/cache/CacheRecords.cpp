#include "core/cache/CacheRecords.h"

#include <array>
#include <climits>
#include <initializer_list>
#include <nlohmann/json.hpp>

#include "core/cache/Hashing.h"
#include "core/json/JsonDocument.h"
#include "core/json/JsonReader.h"
#include "core/json/JsonWriter.h"
#include "core/model/SymbolJsonShape.h"
#include "core/util/Text.h"
#include "core/util/Timestamp.h"

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
    meta.schema = kCacheSchema;
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

void appendSymbol(std::string& out, const Symbol& symbol) {
    JsonTextWriter writer(out, JsonTextWriter::Layout::compact, true);
    symboljson::writeSymbol(writer, symbol);
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

// Reads one object, handing each key to `field` with its position in `required` (N for
// a key not listed there), so that the reader of a field needs no second comparison of
// the key; `field` gives false to have the value skipped, as for unknown keys. Every
// name in `required` must have been seen. `required` lists the keys in written order,
// which is the order to try first: a record of ours costs one comparison per key.
template <std::size_t N, typename Field>
void readObject(JsonReader& reader, const std::array<std::string_view, N>& required, Field field) {
    if (reader.peek() != JsonReader::Type::object) throw DecodeError("expected an object");
    std::array<bool, N> seen{};
    std::string scratch;
    std::string_view key;
    std::size_t expected = 0;
    reader.beginObject();
    while (true) {
        std::size_t which = expected;
        if (which < N && reader.takeKey(required[which])) {
            key = required[which];
        } else {
            if (!reader.nextKey(key, scratch)) break;
            which = 0;
            while (which < N && key != required[which]) ++which;
        }
        if (which < N) {
            seen[which] = true;
            expected = which + 1;
        }
        if (!field(which, key)) reader.skipValue();
    }
    for (std::size_t i = 0; i < N; ++i)
        if (!seen[i]) throw DecodeError("missing key '" + std::string(required[i]) + "'");
}

// A string read into `out`, or only checked when it is not kept. The reader refuses
// anything but a string where it reads or skips one, so no separate test of the type is
// needed.
void readOrSkipString(JsonReader& reader, std::string& out, bool keep) {
    if (keep) reader.readString(out);
    else reader.skipString();
}

template <typename Element>
void readArray(JsonReader& reader, Element element) {
    if (reader.peek() != JsonReader::Type::array) throw DecodeError("expected an array");
    reader.beginArray();
    while (reader.nextElement()) element();
}

void readIdSet(JsonReader& reader, IdSet& ids, bool keep) {
    ids.clear();
    std::string id;
    readArray(reader, [&] {
        readOrSkipString(reader, id, keep);
        if (keep) ids.insert(id);
    });
}

// The forms this file's encoder writes, read by fixed literals before anything more
// general is tried. Each either reads its object exactly as the general reader below
// would (the same value readers on the same bytes, so the same values and the same
// failures) or, where the text differs from the written form, takes nothing and leaves
// the object to the general reader. A record of ours is read almost wholly this way.
bool readCanonicalSymbol(JsonReader& reader, Symbol& symbol, std::string& scratch, bool keep) {
    using namespace symboljson;
    const JsonReader::Mark start = reader.mark();
    if (!reader.takeLiteral(kBeforeId.view())) return false;
    readOrSkipString(reader, symbol.id, keep);
    if (!reader.takeLiteral(kBeforeKind.view())) return reader.reset(start), false;
    auto kind = symbolKindFromRaw(reader.readStringView(scratch));
    if (!kind) throw DecodeError("unknown kind");
    symbol.kind = *kind;
    if (!reader.takeLiteral(kBeforeRange.view())) return reader.reset(start), false;
    const auto targets = rangeTargets(symbol.range);
    *targets[0] = reader.readInteger();
    for (std::size_t i = 1; i < targets.size(); ++i) {
        if (!reader.takeLiteral(kBetweenRangeValues[i - 1].view())) return reader.reset(start), false;
        *targets[i] = reader.readInteger();
    }
    if (!reader.takeLiteral(kAfterRangeNoRefs.view())) return reader.reset(start), false;
    symbol.refsIn.clear();
    symbol.refsOut.clear();
    return true;
}

bool readCanonicalCall(JsonReader& reader, CachedCallSite& call, bool keep) {
    const JsonReader::Mark start = reader.mark();
    if (!reader.takeLiteral("{\"calleeName\":")) return false;
    readOrSkipString(reader, call.calleeName, keep);
    if (!reader.takeLiteral(",\"callerId\":")) return reader.reset(start), false;
    readOrSkipString(reader, call.callerId, keep);
    if (!reader.takeLiteral("}")) return reader.reset(start), false;
    return true;
}

bool readCanonicalDiagnostic(JsonReader& reader, ResolutionDiagnostic& diagnostic, std::string& scratch, bool keep) {
    const JsonReader::Mark start = reader.mark();
    if (!reader.takeLiteral("{\"importPath\":")) return false;
    readOrSkipString(reader, diagnostic.importPath, keep);
    if (!reader.takeLiteral(",\"importerPath\":")) return reader.reset(start), false;
    readOrSkipString(reader, diagnostic.importerPath, keep);
    if (!reader.takeLiteral(",\"reason\":")) return reader.reset(start), false;
    auto reason = reasonFromRaw(reader.readStringView(scratch));
    if (!reason) throw DecodeError("unknown reason");
    diagnostic.reason = *reason;
    diagnostic.suggestion.reset();
    if (reader.takeLiteral(",\"suggestion\":")) {
        // Written only as a string; anything else is for the general reader.
        if (reader.peekByte() != '"') return reader.reset(start), false;
        if (keep) diagnostic.suggestion = reader.readString();
        else reader.skipString();
    }
    if (!reader.takeLiteral("}")) return reader.reset(start), false;
    return true;
}

// Into `symbol`, whose strings keep their capacity when it is reused as scratch. A
// symbol that is not kept is checked all the same.
void readSymbol(JsonReader& reader, Symbol& symbol, std::string& scratch, bool keep) {
    using namespace symboljson;
    static_assert(kFields[0] == kId && kFields[1] == kKind && kFields[2] == kRange && kFields[3] == kRefsIn &&
                  kFields[4] == kRefsOut);
    readObject(reader, kFields, [&](std::size_t which, std::string_view) {
        switch (which) {
            case 0: readOrSkipString(reader, symbol.id, keep); return true;
            case 1: {
                auto kind = symbolKindFromRaw(reader.readStringView(scratch));
                if (!kind) throw DecodeError("unknown kind");
                symbol.kind = *kind;
                return true;
            }
            case 2: {
                const auto targets = rangeTargets(symbol.range);
                readObject(reader, kRangeFields, [&](std::size_t field, std::string_view) {
                    if (field >= kRangeFields.size()) return false;
                    *targets[field] = reader.readInteger();
                    return true;
                });
                return true;
            }
            case 3: readIdSet(reader, symbol.refsIn, keep); return true;
            case 4: readIdSet(reader, symbol.refsOut, keep); return true;
            default: return false;
        }
    });
}

void readDiagnostic(JsonReader& reader, ResolutionDiagnostic& diagnostic, std::string& scratch, bool keep) {
    diagnostic.suggestion.reset();
    static constexpr std::array<std::string_view, 3> kKeys{"importPath", "importerPath", "reason"};
    readObject(reader, kKeys, [&](std::size_t which, std::string_view key) {
        switch (which) {
            case 0: readOrSkipString(reader, diagnostic.importPath, keep); return true;
            case 1: readOrSkipString(reader, diagnostic.importerPath, keep); return true;
            case 2: {
                auto reason = reasonFromRaw(reader.readStringView(scratch));
                if (!reason) throw DecodeError("unknown reason");
                diagnostic.reason = *reason;
                return true;
            }
            default:
                if (key != "suggestion") return false;
                if (reader.peekNull()) {
                    reader.readNull();
                    diagnostic.suggestion.reset();
                } else {
                    if (keep) diagnostic.suggestion = reader.readString();
                    else reader.skipString();
                }
                return true;
        }
    });
}

// Precise linking's parts: tuples as arrays of strings, which keeps a record of many
// sites small and its reading a run of string reads.
void appendStrings(std::string& out, std::initializer_list<std::string_view> values) {
    out.push_back('[');
    bool first = true;
    for (std::string_view value : values) {
        if (!first) out.push_back(',');
        first = false;
        appendJsonString(out, value, true);
    }
    out.push_back(']');
}

void appendTypedNames(std::string& out, const std::vector<TypedName>& names) {
    appendArray(out, names, [](std::string& o, const TypedName& n) { appendStrings(o, {n.name, n.type}); });
}

void appendBindings(std::string& out, const std::vector<ImportBinding>& bindings) {
    appendArray(out, bindings, [](std::string& o, const ImportBinding& b) {
        appendStrings(o, {b.local, b.path, b.name});
    });
}

void appendFacts(std::string& out, const FileFacts& facts) {
    out.append("{\"classes\":");
    appendArray(out, facts.classes, [](std::string& o, const ClassFacts& c) {
        o.append("{\"bases\":");
        appendArray(o, c.bases, [](std::string& oo, const std::string& b) { appendJsonString(oo, b, true); });
        o.append(",\"fields\":");
        appendTypedNames(o, c.fields);
        o.append(",\"methods\":");
        appendTypedNames(o, c.methods);
        o.append(",\"name\":");
        appendJsonString(o, c.name, true);
        o.push_back('}');
    });
    out.append(",\"exports\":");
    appendBindings(out, facts.exports);
    out.append(",\"functions\":");
    appendTypedNames(out, facts.functions);
    out.append(",\"imports\":");
    appendBindings(out, facts.imports);
    out.append(",\"variables\":");
    appendTypedNames(out, facts.variables);
    out.push_back('}');
}

// Sites in runs of one caller and class, as the analysis makes them: the caller's id is
// written once a run, and the run's sites are one string of "line column form length
// callee" groups separated by spaces. One string read per run instead of five values per
// site keeps a warm precise scan's record reading close to the names mode's; the length
// prefix leaves the callee free to hold any character.
void appendSites(std::string& out, const std::vector<CallSite>& sites) {
    out.push_back('[');
    std::string packed;
    for (std::size_t i = 0; i < sites.size();) {
        const CallSite& first = sites[i];
        if (i) out.push_back(',');
        out.push_back('[');
        appendJsonString(out, first.callerId, true);
        out.push_back(',');
        appendJsonString(out, first.enclosingClass, true);
        out.push_back(',');
        packed.clear();
        for (;
             i < sites.size() && sites[i].callerId == first.callerId && sites[i].enclosingClass == first.enclosingClass;
             ++i) {
            const CallSite& site = sites[i];
            if (!packed.empty()) packed.push_back(' ');
            packed.append(std::to_string(site.line)).push_back(' ');
            packed.append(std::to_string(site.column)).push_back(' ');
            packed.append(std::to_string(static_cast<int>(site.form))).push_back(' ');
            packed.append(std::to_string(site.callee.size())).push_back(' ');
            packed.append(site.callee);
        }
        appendJsonString(out, packed, true);
        out.push_back(']');
    }
    out.push_back(']');
}

// One array of exactly `N` strings into `targets`, checked alike when not kept.
template <std::size_t N>
void readStringTuple(JsonReader& reader, bool keep, const std::array<std::string*, N>& targets) {
    std::size_t count = 0;
    readArray(reader, [&] {
        if (count == N) throw DecodeError("tuple too long");
        readOrSkipString(reader, *targets[count++], keep);
    });
    if (count != N) throw DecodeError("tuple too short");
}

// An array into the elements already in `out`, whose strings keep their capacity from one
// record to the next; `read(element)` reads one.
template <typename T, typename Read>
void readReusing(JsonReader& reader, bool keep, std::vector<T>& out, Read read) {
    std::size_t count = 0;
    T skipped{};
    readArray(reader, [&] {
        T* target = &skipped;
        if (keep) {
            if (count == out.size()) out.emplace_back();
            target = &out[count++];
        }
        read(*target);
    });
    out.resize(count);
}

void readTypedNames(JsonReader& reader, bool keep, std::vector<TypedName>& out) {
    readReusing(reader, keep, out, [&](TypedName& t) { readStringTuple<2>(reader, keep, {&t.name, &t.type}); });
}

void readBindings(JsonReader& reader, bool keep, std::vector<ImportBinding>& out) {
    readReusing(reader, keep, out, [&](ImportBinding& b) {
        readStringTuple<3>(reader, keep, {&b.local, &b.path, &b.name});
    });
}

void readFacts(JsonReader& reader, bool keep, FileFacts& facts) {
    static constexpr std::array<std::string_view, 5> kKeys{"classes", "exports", "functions", "imports", "variables"};
    readObject(reader, kKeys, [&](std::size_t which, std::string_view) {
        switch (which) {
            case 0:
                readReusing(reader, keep, facts.classes, [&](ClassFacts& c) {
                    static constexpr std::array<std::string_view, 4> kClass{"bases", "fields", "methods", "name"};
                    readObject(reader, kClass, [&](std::size_t field, std::string_view) {
                        switch (field) {
                            case 0: {
                                std::size_t bases = 0;
                                std::string skipped;
                                readArray(reader, [&] {
                                    std::string* target = &skipped;
                                    if (keep) {
                                        if (bases == c.bases.size()) c.bases.emplace_back();
                                        target = &c.bases[bases++];
                                    }
                                    readOrSkipString(reader, *target, keep);
                                });
                                if (keep) c.bases.resize(bases);
                                return true;
                            }
                            case 1: readTypedNames(reader, keep, c.fields); return true;
                            case 2: readTypedNames(reader, keep, c.methods); return true;
                            case 3: readOrSkipString(reader, c.name, keep); return true;
                            default: return false;
                        }
                    });
                });
                return true;
            case 1: readBindings(reader, keep, facts.exports); return true;
            case 2: readTypedNames(reader, keep, facts.functions); return true;
            case 3: readBindings(reader, keep, facts.imports); return true;
            case 4: readTypedNames(reader, keep, facts.variables); return true;
            default: return false;
        }
    });
}

// A decimal number of at most nine digits at `at` in `packed`, then the separator or the end.
std::int32_t readPackedNumber(std::string_view packed, std::size_t& at) {
    std::int32_t value = 0;
    const std::size_t start = at;
    while (at < packed.size() && packed[at] >= '0' && packed[at] <= '9') {
        if (at - start == 9) throw DecodeError("site number too long");
        value = value * 10 + (packed[at++] - '0');
    }
    if (at == start) throw DecodeError("expected a site number");
    if (at < packed.size() && packed[at++] != ' ') throw DecodeError("expected a space in a site");
    return value;
}

// Into the sites already there, whose strings keep their capacity from record to record.
void readSites(JsonReader& reader, bool keep, std::vector<CallSite>& sites) {
    std::size_t count = 0;
    std::string caller, enclosingClass, scratch;
    auto element = [&] {
        if (!reader.nextElement()) throw DecodeError("site run too short");
    };
    readArray(reader, [&] {
        // [callerId, enclosingClass, "line column form length callee ..."]
        if (reader.peek() != JsonReader::Type::array) throw DecodeError("expected an array");
        reader.beginArray();
        element();
        readOrSkipString(reader, caller, keep);
        element();
        readOrSkipString(reader, enclosingClass, keep);
        element();
        if (reader.peek() != JsonReader::Type::string) throw DecodeError("expected a string");
        const std::string_view packed = reader.readStringView(scratch);
        if (reader.nextElement()) throw DecodeError("site run too long");
        if (packed.empty()) throw DecodeError("empty site run");
        for (std::size_t at = 0; at < packed.size();) {
            const std::int32_t line = readPackedNumber(packed, at);
            const std::int32_t column = readPackedNumber(packed, at);
            const std::int32_t form = readPackedNumber(packed, at);
            const std::int32_t length = readPackedNumber(packed, at);
            if (form > static_cast<std::int32_t>(CallForm::resultMember)) throw DecodeError("site form out of range");
            if (length == 0 || static_cast<std::size_t>(length) > packed.size() - at)
                throw DecodeError("site callee out of range");
            const std::string_view callee = packed.substr(at, static_cast<std::size_t>(length));
            at += static_cast<std::size_t>(length);
            if (at < packed.size() && packed[at++] != ' ') throw DecodeError("expected a space after a callee");
            if (at == packed.size() && packed.back() == ' ') throw DecodeError("site run ends in a space");
            if (!keep) continue;
            if (count == sites.size()) sites.emplace_back();
            CallSite& site = sites[count++];
            site.callerId = caller;
            site.enclosingClass = enclosingClass;
            site.callee.assign(callee);
            site.line = line;
            site.column = column;
            site.form = static_cast<CallForm>(form);
        }
    });
    sites.resize(count);
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
    if (!record.facts.empty()) {
        out.append(",\"facts\":");
        appendFacts(out, record.facts);
    }
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
    out.push_back('}');
    if (!record.sites.empty()) {
        out.append(",\"sites\":");
        appendSites(out, record.sites);
    }
    out.append(",\"symbols\":");
    appendArray(out, record.symbols, appendSymbol);
    out.push_back('}');
    return out;
}

bool decodeFileRecordInto(std::string_view bytes, RecordFields keep, CachedFileResult& record) {
    const bool keepSymbols = keep != RecordFields::links;
    const bool keepLinks = keep != RecordFields::symbols;
    try {
        JsonReader reader(bytes);
        // Fields the caller does not keep are checked all the same, without keeping
        // their strings, so the record is readable or not whatever part of it is kept.
        Symbol symbol;
        CachedCallSite call;
        ResolutionDiagnostic diagnostic;
        std::string scratch;
        static constexpr std::array<std::string_view, 5> kKeys{"calls", "diagnostics", "fileHash", "imports",
                                                               "symbols"};
        bool sawFacts = false, sawSites = false;
        readObject(reader, kKeys, [&](std::size_t which, std::string_view key) {
            switch (which) {
                case 0: {
                    // Into the call sites already there, whose strings keep their capacity.
                    std::size_t count = 0;
                    readArray(reader, [&] {
                        CachedCallSite* target = &call;
                        if (keepLinks) {
                            if (count == record.calls.size()) record.calls.emplace_back();
                            target = &record.calls[count++];
                        }
                        if (readCanonicalCall(reader, *target, keepLinks)) return;
                        static constexpr std::array<std::string_view, 2> kCall{"calleeName", "callerId"};
                        readObject(reader, kCall, [&](std::size_t field, std::string_view) {
                            if (field >= kCall.size()) return false;
                            readOrSkipString(reader, field == 0 ? target->calleeName : target->callerId, keepLinks);
                            return true;
                        });
                    });
                    record.calls.resize(count);
                    return true;
                }
                case 1:
                    record.diagnostics.clear();
                    readArray(reader, [&] {
                        if (!readCanonicalDiagnostic(reader, diagnostic, scratch, keepSymbols))
                            readDiagnostic(reader, diagnostic, scratch, keepSymbols);
                        if (keepSymbols) record.diagnostics.push_back(std::move(diagnostic));
                    });
                    return true;
                case 2: reader.readString(record.fileHash); return true;
                case 3: {
                    record.imports.clear();
                    if (reader.peek() != JsonReader::Type::object) throw DecodeError("expected an object");
                    std::string_view name;
                    std::string path;
                    reader.beginObject();
                    while (reader.nextKey(name, scratch)) {
                        readOrSkipString(reader, path, keepLinks);
                        if (keepLinks) record.imports.insert_or_assign(std::string(name), path);
                    }
                    return true;
                }
                case 4:
                    record.symbols.clear();
                    readArray(reader, [&] {
                        if (!readCanonicalSymbol(reader, symbol, scratch, keepSymbols))
                            readSymbol(reader, symbol, scratch, keepSymbols);
                        if (keepSymbols) record.symbols.push_back(std::move(symbol));
                    });
                    return true;
                default:
                    // Precise linking's parts, absent from the names mode's records.
                    if (key == "facts") {
                        readFacts(reader, keepSymbols, record.facts);
                        sawFacts = true;
                        return true;
                    }
                    if (key == "sites") {
                        readSites(reader, keepLinks, record.sites);
                        sawSites = true;
                        return true;
                    }
                    return false;
            }
        });
        reader.finish();
        if (!sawFacts) {
            // Emptied in place: the lists keep their memory for the next record.
            record.facts.classes.clear();
            record.facts.functions.clear();
            record.facts.variables.clear();
            record.facts.imports.clear();
            record.facts.exports.clear();
        }
        if (!sawSites) record.sites.clear();
        return true;
    } catch (...) {
        return false;
    }
}

std::optional<CachedFileResult> decodeFileRecord(std::string_view bytes, RecordFields keep) {
    CachedFileResult record;
    if (!decodeFileRecordInto(bytes, keep, record)) return std::nullopt;
    return record;
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
        if (key.linking) object["linking"] = *key.linking;
        if (key.preciseFormat) object["preciseFormat"] = *key.preciseFormat;
        if (key.packagesHash) object["packagesHash"] = *key.packagesHash;
        return encodeCompact(object);
    } catch (...) {
        return {};
    }
}

std::string keyHash(const CacheKey& key) { return sha256Hex(encodeCacheKey(key)); }

}  // namespace vantrel
