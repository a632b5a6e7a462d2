#include "core/scan/Discovery.h"

#include <algorithm>

#include "core/languages/LanguagePlugin.h"
#include "core/util/Paths.h"

namespace vantrel {

PluginList activePlugins(const PluginList& plugins, const std::optional<std::vector<std::string>>& enabledLanguages) {
    if (!enabledLanguages || enabledLanguages->empty()) return plugins;
    PluginList active;
    for (const auto& plugin : plugins) {
        if (std::find(enabledLanguages->begin(), enabledLanguages->end(), plugin->id()) != enabledLanguages->end())
            active.push_back(plugin);
    }
    return active;
}

Enumerator makeEnumerator(const std::string& root, const PluginList& active) {
    Enumerator enumerator;
    for (const auto& plugin : active)
        for (const auto& ext : plugin->fileExtensions()) enumerator.pluginByExt[ext] = plugin;
    enumerator.walker = DirectoryWalker::open(root);
    return enumerator;
}

std::optional<EnumeratedFile> shouldInclude(const std::string& path, const std::string& root,
                                            const PathGlobMatcher& exclude, const PluginByExt& pluginByExt,
                                            DirectoryWalker& walker) {
    std::string name = lastPathComponent(path);
    // Skipped by name at any depth, whatever the patterns say, files of that name too.
    if (name == "node_modules" || name == ".git") {
        walker.skipDescendants();
        return std::nullopt;
    }
    std::string rel = relativePath(path, root);
    if (exclude.matches(rel)) {
        // Skipping here means an excluded folder is never read at all.
        if (walker.lastEntryIsDirectory()) walker.skipDescendants();
        return std::nullopt;
    }
    // No regular-file test: a folder named like a source file counts, and is entered.
    std::string ext = lowercased(pathExtension(path));
    if (pluginByExt.find(ext) == pluginByExt.end()) return std::nullopt;
    return EnumeratedFile{path, std::move(rel), std::move(ext)};
}

namespace {

// Calls `visit(file)` for each file a scan with `config` would process, in walk order,
// until the walk ends or `isCancelled` answers true.
template <typename Visit>
void forEachSourceFile(const std::string& root, const VantrelConfig& config, const PluginList& plugins,
                       const CancelCheck& isCancelled, Visit&& visit) {
    PluginList active = activePlugins(plugins, config.enabledLanguages);
    PathGlobMatcher exclude(config.exclude);
    Enumerator enumerator = makeEnumerator(root, active);
    if (!enumerator.walker) return;
    while (auto path = enumerator.walker->next()) {
        if (isCancelled && isCancelled()) return;
        if (auto file = shouldInclude(*path, root, exclude, enumerator.pluginByExt, *enumerator.walker))
            visit(std::move(*file));
    }
}

}  // namespace

std::vector<std::string> listSourceFiles(const std::string& root, const VantrelConfig& config,
                                         const PluginList& plugins, const CancelCheck& isCancelled) {
    std::vector<std::string> files;
    forEachSourceFile(root, config, plugins, isCancelled,
                      [&](EnumeratedFile file) { files.push_back(std::move(file.relPath)); });
    std::sort(files.begin(), files.end());
    return files;
}

std::int64_t countSourceFiles(const std::string& root, const VantrelConfig& config, const PluginList& plugins,
                              const CancelCheck& isCancelled) {
    std::int64_t count = 0;
    forEachSourceFile(root, config, plugins, isCancelled, [&](const EnumeratedFile&) { ++count; });
    return count;
}

}  // namespace vantrel
