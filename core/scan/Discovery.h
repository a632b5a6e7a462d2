// Which files of a folder belong to a scan. One filter, `shouldInclude`, serves the
// count, the parse walk and the link walk, so all three agree on the set of files.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/config/PathGlobMatcher.h"
#include "core/config/VantrelConfig.h"
#include "core/languages/PluginList.h"

namespace vantrel {

using CancelCheck = std::function<bool()>;

struct EnumeratedFile {
    std::string path;     // absolute path as the walker gave it
    std::string relPath;  // path relative to the project root
    std::string ext;      // lower-case extension without the dot
};

// A deep walk below a folder (the folder itself excluded). Hidden entries (a leading
// dot) are left out with all below them; symbolic links are yielded but never followed;
// unreadable entries are passed over; the order is the file system's.
class DirectoryWalker {
public:
    // Nothing when the folder cannot be opened.
    static std::unique_ptr<DirectoryWalker> open(const std::string& root);
    ~DirectoryWalker();

    // The next entry's absolute path, or nothing at the end.
    std::optional<std::string> next();
    // Do not descend into the entry that `next` gave last.
    void skipDescendants();
    // Whether the entry that `next` gave last is a folder (links not followed); false
    // when that cannot be told.
    bool lastEntryIsDirectory() const;

private:
    struct State;
    explicit DirectoryWalker(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

using PluginByExt = std::map<std::string, PluginPtr>;

// Plugins active under `enabledLanguages`: all when absent or empty, else those named.
PluginList activePlugins(const PluginList& plugins, const std::optional<std::vector<std::string>>& enabledLanguages);

struct Enumerator {
    std::unique_ptr<DirectoryWalker> walker;  // null when the folder cannot be walked
    PluginByExt pluginByExt;                  // a later plugin wins an extension
};

Enumerator makeEnumerator(const std::string& root, const PluginList& active);

// Decides for the entry the walker has just yielded; may tell it to skip descendants.
std::optional<EnumeratedFile> shouldInclude(const std::string& path, const std::string& root,
                                            const PathGlobMatcher& exclude, const PluginByExt& pluginByExt,
                                            DirectoryWalker& walker);

// Files a scan with this configuration would process; returns early (with the count so
// far) once `isCancelled` answers true. Never fails.
// The project-relative paths of the files a scan with `config` would process, sorted;
// those found before a cancellation when `isCancelled` answers true.
std::vector<std::string> listSourceFiles(const std::string& root, const VantrelConfig& config,
                                         const PluginList& plugins, const CancelCheck& isCancelled = {});

std::int64_t countSourceFiles(const std::string& root, const VantrelConfig& config, const PluginList& plugins,
                              const CancelCheck& isCancelled = {});

}  // namespace vantrel
