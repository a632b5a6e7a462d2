// Per-project records on disk below <application-support>/Vantrel/cache/v2 (kCacheFolder): a meta
// record and one record per source file. They spare re-parsing unchanged files and
// carry each file's call sites from the parse phase to the link phase. No operation
// raises an error: a load gives nothing, a save or removal does nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/cache/CacheRecords.h"
#include "core/config/VantrelConfig.h"

namespace vantrel {

// sha256Hex of the root "tsconfig.json", else "jsconfig.json"; nothing when neither reads.
[[nodiscard]] std::optional<std::string> tsconfigHash(std::string_view projectRoot);

// Where the cache lives below the application-support folder. Its last piece changes
// when the layout of the folder does; the records' own format has kCacheSchema.
inline constexpr std::string_view kCacheFolder = "Vantrel/cache/v2";

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

    // The same cache for the records of one linking mode. Precise records sit in a project
    // folder of their own beside the names mode's, so switching modes never mixes records
    // and each mode's stay warm; the names mode's folder is the one it always was.
    [[nodiscard]] ProjectCache forLinking(LinkingMode mode) const;
    // The folder the cache lives below; other stores of the application keep theirs there too.
    const std::optional<std::string>& applicationSupportDir() const { return supportDir_; }

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

    // <root>/<sha256 of the standardised project path>[-precise], with its "files" folder made.
    std::optional<std::string> projectDirURL(std::string_view projectRoot) const;

private:
    std::optional<std::string> fileRecordURL(std::string_view projectRoot, std::string_view relPath) const;
    std::optional<std::string> supportDir_;
    std::string folderSuffix_;  // after the project folder's hash: "" or "-precise"
};

}  // namespace vantrel
