// Per-project records on disk below <application-support>/Vantrel/cache/v2: a meta
// record and one record per source file. They spare re-parsing unchanged files and
// carry each file's call sites from the parse phase to the link phase. No operation
// raises an error: a load gives nothing, a save or removal does nothing.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "languages/LanguagePlugin.h"
#include "model/ProjectIR.h"

namespace vantrel {

struct CachedFileResult {
    std::string fileHash;  // sha256Hex of the file's raw bytes
    std::vector<Symbol> symbols;
    std::map<std::string, std::string> imports;
    std::vector<CachedCallSite> calls;
    std::vector<ResolutionDiagnostic> diagnostics;
    bool operator==(const CachedFileResult&) const = default;
};

struct ProjectCacheMeta {
    std::int64_t schema = 3;
    std::string keyHash;
    double updatedAt = 0;  // seconds since 2001-01-01
    // schema 3, updatedAt now.
    static ProjectCacheMeta make(std::string keyHash);
    bool operator==(const ProjectCacheMeta&) const = default;
};

// The scan settings whose change voids all of a project's records.
struct CacheKey {
    std::vector<std::string> pluginIds;  // sorted
    std::vector<std::string> exclude;    // unchanged
    std::optional<std::vector<std::string>> enabledLanguages;
    std::optional<std::string> tsconfigHash;
};

// What a reader of a file record keeps: the scan's merge needs `fileHash`, `symbols` and
// `diagnostics`, its link phase `calls` and `imports`. The fields left out stay empty;
// they are still read and checked, so a record decodes or fails alike for every choice.
enum class RecordFields { all, symbols, links };

// Record encodings (compact, sorted keys, "/" written as "\/") and strict decoders.
std::string encodeFileRecord(const CachedFileResult& record);
std::optional<CachedFileResult> decodeFileRecord(std::string_view bytes, RecordFields keep = RecordFields::all);
// The same into `record`, reusing what it holds; false (and `record` unspecified) when
// the bytes are not a record.
bool decodeFileRecordInto(std::string_view bytes, RecordFields keep, CachedFileResult& record);
std::string encodeMeta(const ProjectCacheMeta& meta);
std::optional<ProjectCacheMeta> decodeMeta(std::string_view bytes);
std::string encodeCacheKey(const CacheKey& key);

// sha256Hex of the root "tsconfig.json", else "jsconfig.json"; nothing when neither reads.
std::optional<std::string> tsconfigHash(std::string_view projectRoot);
std::string keyHash(const CacheKey& key);

// The user's application-support folder: $XDG_DATA_HOME, else ~/.local/share.
std::optional<std::string> defaultApplicationSupportDirectory();

// The cache below one application-support folder; the folder is injectable so tests
// and the headless tool never touch the user's own cache. Stateless apart from that.
class ProjectCache {
public:
    // Below the user's application-support folder.
    ProjectCache();
    // Below `applicationSupportDir`; none makes every operation a no-op.
    explicit ProjectCache(std::optional<std::string> applicationSupportDir);

    // <support>/Vantrel/cache/v2, created if needed; nothing when that fails.
    std::optional<std::string> cacheRootURL() const;
    std::optional<ProjectCacheMeta> loadMeta(std::string_view projectRoot) const;
    void saveMeta(const ProjectCacheMeta& meta, std::string_view projectRoot) const;
    std::optional<CachedFileResult> loadFile(std::string_view projectRoot, std::string_view relPath,
                                             RecordFields keep = RecordFields::all) const;
    // The same into `record`, with `buffer` for the bytes: both keep their capacity from
    // one call to the next, so loading many records allocates little. False when there is
    // no readable record (then `record` is unspecified).
    bool loadFileInto(std::string_view projectRoot, std::string_view relPath, RecordFields keep,
                      CachedFileResult& record, std::string& buffer) const;
    void saveFile(const CachedFileResult& record, std::string_view projectRoot, std::string_view relPath) const;
    void invalidateProject(std::string_view projectRoot) const;
    void clearAll() const;

    // <root>/<sha256 of the standardised project path>, with its "files" folder made.
    std::optional<std::string> projectDirURL(std::string_view projectRoot) const;

private:
    std::optional<std::string> fileRecordURL(std::string_view projectRoot, std::string_view relPath) const;
    std::optional<std::string> supportDir_;
};

}  // namespace vantrel
