#include "core/cache/ProjectCache.h"

#include <cstdlib>

#include "core/cache/Hashing.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

std::optional<std::string> defaultApplicationSupportDirectory() {
    // A relative XDG_DATA_HOME is invalid and to be ignored.
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome && dataHome[0] == '/') return standardizePath(dataHome);
    const char* home = std::getenv("HOME");
    if (home && home[0] == '/') return standardizePath(std::string(home) + "/.local/share");
    return std::nullopt;
}

std::optional<std::string> tsconfigHash(std::string_view projectRoot) {
    // Only the root files count, hashed raw: white space changes the key too.
    for (const char* name : {"tsconfig.json", "jsconfig.json"}) {
        if (auto bytes = readWholeFile(appendPathComponent(projectRoot, name))) return sha256Hex(*bytes);
    }
    return std::nullopt;
}

ProjectCache::ProjectCache() : supportDir_(defaultApplicationSupportDirectory()) {}

ProjectCache::ProjectCache(std::optional<std::string> applicationSupportDir)
    : supportDir_(std::move(applicationSupportDir)) {}

ProjectCache ProjectCache::forLinking(LinkingMode mode) const {
    ProjectCache cache = *this;
    cache.folderSuffix_ = mode == LinkingMode::precise ? "-precise" : "";
    return cache;
}

// Every path function creates its folders on each call and remembers nothing, so a
// folder removed behind the cache's back is simply made again.
std::optional<std::string> ProjectCache::cacheRootURL() const {
    try {
        if (!supportDir_) return std::nullopt;
        std::string root = appendPathComponent(*supportDir_, kCacheFolder);
        if (!createDirectories(root)) return std::nullopt;
        return root;
    } catch (...) {
        return std::nullopt;
    }
}

namespace {

// <support>/Vantrel/cache/v2/<project hash>: the path alone, nothing made.
std::string projectDirPath(const std::string& supportDir, std::string_view projectRoot, std::string_view suffix) {
    // Standardised first, so "/p/", "/p/." and "/p" are one project.
    return appendPathComponent(appendPathComponent(supportDir, kCacheFolder),
                               sha256Hex(standardizePath(projectRoot)) + std::string(suffix));
}

std::string recordPathIn(const std::string& projectDir, std::string_view relPath) {
    // The whole relPath is hashed, so equal names in different folders stay apart.
    return appendPathComponent(appendPathComponent(projectDir, "files"), sha256Hex(relPath) + ".json");
}

}  // namespace

std::optional<std::string> ProjectCache::projectDirURL(std::string_view projectRoot) const {
    try {
        if (!supportDir_) return std::nullopt;
        std::string dir = projectDirPath(*supportDir_, projectRoot, folderSuffix_);
        // Every record access comes through here: when "files" exists, so does the rest,
        // and one stat is all it costs.
        if (isDirectory(appendPathComponent(dir, "files"))) return dir;
        if (!cacheRootURL()) return std::nullopt;
        if (!createDirectories(dir) || !createDirectories(appendPathComponent(dir, "files"))) return std::nullopt;
        return dir;
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<std::string> ProjectCache::fileRecordURL(std::string_view projectRoot, std::string_view relPath) const {
    try {
        auto dir = projectDirURL(projectRoot);
        if (!dir) return std::nullopt;
        return recordPathIn(*dir, relPath);
    } catch (...) {
        return std::nullopt;
    }
}

namespace {

std::optional<std::string> metaPath(const std::optional<std::string>& projectDir) {
    if (!projectDir) return std::nullopt;
    return appendPathComponent(*projectDir, "meta.json");
}

// Absent, unreadable or undecodable all read as none; a bad file stays until the next
// write replaces it.
template <typename Record, typename Decoder>
std::optional<Record> loadRecord(const std::optional<std::string>& path, Decoder decode) {
    if (!path) return std::nullopt;
    auto bytes = readWholeFile(*path);  // a missing file fails the open: no separate test
    if (!bytes) return std::nullopt;
    return decode(*bytes);
}

void saveRecord(const std::optional<std::string>& path, const std::string& bytes) {
    if (!path) return;
    writeFileAtomically(*path, bytes);
}

}  // namespace

std::optional<ProjectCacheMeta> ProjectCache::loadMeta(std::string_view projectRoot) const {
    try {
        return loadRecord<ProjectCacheMeta>(metaPath(projectDirURL(projectRoot)), decodeMeta);
    } catch (...) {
        return std::nullopt;
    }
}

void ProjectCache::saveMeta(const ProjectCacheMeta& meta, std::string_view projectRoot) const {
    try {
        saveRecord(metaPath(projectDirURL(projectRoot)), encodeMeta(meta));
    } catch (...) {
    }
}

std::optional<CachedFileResult> ProjectCache::loadFile(std::string_view projectRoot, std::string_view relPath,
                                                       RecordFields keep) const {
    CachedFileResult record;
    std::string buffer;
    if (!loadFileInto(projectRoot, relPath, keep, record, buffer)) return std::nullopt;
    return record;
}

bool ProjectCache::loadFileInto(std::string_view projectRoot, std::string_view relPath, RecordFields keep,
                                CachedFileResult& record, std::string& buffer) const {
    try {
        if (!supportDir_) return false;
        // The record is opened first: once it opens, every folder on its path exists, so
        // making them would have changed nothing. Only when it does not are they made, as
        // every access makes them, and then there is no record to read. A scan loads each
        // record twice, so this spares it two path lookups per file.
        if (!readWholeFileInto(recordPathIn(projectDirPath(*supportDir_, projectRoot, folderSuffix_), relPath),
                               buffer)) {
            fileRecordURL(projectRoot, relPath);
            return false;
        }
        return decodeFileRecordInto(buffer, keep, record);
    } catch (...) {
        return false;
    }
}

void ProjectCache::saveFile(const CachedFileResult& record, std::string_view projectRoot,
                            std::string_view relPath) const {
    try {
        saveRecord(fileRecordURL(projectRoot, relPath), encodeFileRecord(record));
    } catch (...) {
    }
}

void ProjectCache::invalidateProject(std::string_view projectRoot) const {
    try {
        auto dir = projectDirURL(projectRoot);
        if (!dir) return;
        // All or nothing: a removal cut short must not leave records without the meta
        // record that voids them, since no meta record means trusting every record.
        removeTreeAtomically(*dir);
        projectDirURL(projectRoot);  // makes the empty folder and its "files" again
    } catch (...) {
    }
}

void ProjectCache::clearAll() const {
    try {
        auto root = cacheRootURL();
        if (!root) return;
        removeTreeAtomically(*root);
        cacheRootURL();  // the empty "v2" again; the rest of "cache" stays
    } catch (...) {
    }
}

}  // namespace vantrel
