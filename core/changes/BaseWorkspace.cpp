#include "core/changes/BaseWorkspace.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/cache/Hashing.h"
#include "core/cache/ProjectCache.h"
#include "core/languages/LanguagePlugin.h"
#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {
std::string graphFile(const std::string& dir) { return appendPathComponent(dir, "graph.json"); }
}  // namespace

BaseWorkspace::BaseWorkspace(const std::string& applicationSupportDir, const std::string& folder)
    : dir_(appendPathComponent(standardizePath(applicationSupportDir),
                               "Vantrel/changes/" + sha256Hex(standardizePath(folder)))) {}

std::string BaseWorkspace::treeDir() const { return appendPathComponent(dir_, "tree"); }
std::string BaseWorkspace::indexFile() const { return appendPathComponent(dir_, "index"); }

void BaseWorkspace::clearTree() const {
    removeTree(treeDir());
    removeTree(indexFile());
    removeTree(indexFile() + ".lock");  // left behind by a checkout that was killed
}

std::optional<ProjectIR> BaseWorkspace::loadGraph(const std::string& key) const {
    auto bytes = readWholeFile(graphFile(dir_));
    if (!bytes) return std::nullopt;
    try {
        nlohmann::json stored = parseJsonOrThrow(*bytes);
        if (jsonfield::requireString(stored, "key", "stored base graph") != key) return std::nullopt;
        return projectIRFromJson(jsonfield::requireObject(stored, "graph", "stored base graph"));
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

void BaseWorkspace::storeGraph(const std::string& key, const ProjectIR& ir) const {
    if (!createDirectories(dir_)) return;
    writeFileAtomically(graphFile(dir_), dumpJson(nlohmann::json{{"key", key}, {"graph", projectIRToJson(ir)}}, false));
}

BaseWorkspace::Lock::Lock(const BaseWorkspace& workspace) {
    if (!createDirectories(workspace.dir())) return;  // no lock is better than no answer
    fd_ = ::open(appendPathComponent(workspace.dir(), "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) return;
    while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
}

BaseWorkspace::Lock::~Lock() {
    if (fd_ >= 0) ::close(fd_);  // closing releases the lock
}

std::string baseGraphKey(const std::string& treeId, const VantrelConfig& config, const PluginList& plugins) {
    CacheKey scanKey;
    for (const auto& plugin : plugins) scanKey.pluginIds.push_back(plugin->id());
    std::sort(scanKey.pluginIds.begin(), scanKey.pluginIds.end());
    scanKey.exclude = config.exclude;
    scanKey.enabledLanguages = config.enabledLanguages;
    // A base graph linked precisely is another graph; names mode keeps the keys it had.
    if (config.linking == LinkingMode::precise) scanKey.linking = std::string(rawValue(LinkingMode::precise));
    return sha256Hex("changes-base-graph 1\n" + std::string(VANTREL_VERSION) + "\n" + treeId + "\n" +
                     encodeCacheKey(scanKey));
}

}  // namespace vantrel
