// The cache's records as values, and their JSON forms: compact, keys sorted at every
// level, "/" written as "\/", absent optionals left out. Decoding is strict, and gives
// nothing rather than raising, as everything of the cache does.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/FileAnalysisResult.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// The format of the records. A project whose meta record has another schema loses all its
// records at the next scan; raise it with any change of what a record holds or means.
inline constexpr std::int64_t kCacheSchema = 3;
// The format of what only precise records hold (sites and facts), part of their cache key
// so that a change voids only the precise records.
inline constexpr std::int64_t kPreciseRecordFormat = 2;

struct CachedFileResult {
    std::string fileHash;  // sha256Hex of the file's raw bytes
    std::vector<Symbol> symbols;
    std::map<std::string, std::string> imports;
    std::vector<CachedCallSite> calls;
    std::vector<ResolutionDiagnostic> diagnostics;
    // Precise linking's records only; the names mode's records never hold them.
    std::vector<CallSite> sites{};
    FileFacts facts{};
    bool operator==(const CachedFileResult&) const = default;
};

struct ProjectCacheMeta {
    std::int64_t schema = kCacheSchema;
    std::string keyHash;
    double updatedAt = 0;  // seconds since 2001-01-01
    // The current schema, updatedAt now.
    static ProjectCacheMeta make(std::string keyHash);
    bool operator==(const ProjectCacheMeta&) const = default;
};

// The scan settings whose change voids all of a project's records.
struct CacheKey {
    std::vector<std::string> pluginIds;  // sorted
    std::vector<std::string> exclude;    // unchanged
    std::optional<std::vector<std::string>> enabledLanguages;
    std::optional<std::string> tsconfigHash;
    // Precise linking: its mode, and the SHA-256 of the project's package names and entry
    // files, through which imports of the project's own packages resolve.
    std::optional<std::string> linking{};
    std::optional<std::string> packagesHash{};
    std::optional<std::int64_t> preciseFormat{};
};

// What a reader of a file record keeps: the scan's merge needs `fileHash`, `symbols`,
// `diagnostics` and `facts`, its link phase `calls`, `imports` and `sites`. The fields left out stay empty;
// they are still read and checked, so a record decodes or fails alike for every choice.
enum class RecordFields { all, symbols, links };

// Record encodings (compact, sorted keys, "/" written as "\/") and strict decoders.
[[nodiscard]] std::string encodeFileRecord(const CachedFileResult& record);
[[nodiscard]] std::optional<CachedFileResult> decodeFileRecord(std::string_view bytes,
                                                               RecordFields keep = RecordFields::all);
// The same into `record`, reusing what it holds; false (and `record` unspecified) when
// the bytes are not a record.
[[nodiscard]] bool decodeFileRecordInto(std::string_view bytes, RecordFields keep, CachedFileResult& record);
std::string encodeMeta(const ProjectCacheMeta& meta);
[[nodiscard]] std::optional<ProjectCacheMeta> decodeMeta(std::string_view bytes);
std::string encodeCacheKey(const CacheKey& key);

[[nodiscard]] std::string keyHash(const CacheKey& key);

}  // namespace vantrel
