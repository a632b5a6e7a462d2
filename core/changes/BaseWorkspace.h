// Where `changes` keeps the scanned folder as it stood at a base revision:
// <support>/Vantrel/changes/<sha256 of the folder's path>, holding the checked-out tree,
// the private index that tracks it, and the graph last scanned from it. The tree stays at
// the same path from run to run, so the per-file cache records of its last scan still
// match and a new base re-parses only the files that differ. The graph is kept under a
// key of everything it was made from; a second run over the same base reads it back.
#pragma once

#include <optional>
#include <string>

#include "core/config/VantrelConfig.h"
#include "core/languages/PluginList.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

class BaseWorkspace {
public:
    BaseWorkspace(const std::string& applicationSupportDir, const std::string& folder);

    const std::string& dir() const { return dir_; }
    std::string treeDir() const;    // the checked-out files
    std::string indexFile() const;  // git's record of what treeDir holds

    // Removes the tree and its index, for a fresh checkout.
    void clearTree() const;

    // The stored graph when it was stored under `key`; nothing otherwise.
    std::optional<ProjectIR> loadGraph(const std::string& key) const;
    // Best effort: a graph that cannot be stored is scanned again next time.
    void storeGraph(const std::string& key, const ProjectIR& ir) const;

    // An exclusive lock on the workspace for as long as it lives, so that two runs over
    // the same folder do not check out into one tree at once. Waits for the other run.
    class Lock {
    public:
        explicit Lock(const BaseWorkspace& workspace);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        int fd_ = -1;
    };

private:
    std::string dir_;
};

// The key of a base graph: the tree it was scanned from, the settings that shape a scan,
// the plugins and this build's version.
std::string baseGraphKey(const std::string& treeId, const VantrelConfig& config, const PluginList& plugins);

}  // namespace vantrel
