// Watches a project folder for changes and reports them in bursts. On Linux it uses
// inotify, one watch per folder, added as folders appear and dropped as they go; folders
// the filter refuses (excluded, node_modules, .git, hidden) are never watched. Once the
// kernel's limit of watches is reached, it falls back to looking at the whole folder every
// `pollInterval` (sizes and modification times), and says so once through `onNotice`.
//
// Events are gathered until none has come for `quiet`; then `onBatch` gets the paths
// touched in that burst (relative to the root, sorted, without duplicates; a folder that
// appeared, vanished or moved is named as a folder). A queue overflow reports the root
// itself (""), meaning "look at everything". Both callbacks run on the watcher's own
// thread, one at a time; a slow `onBatch` delays the next burst but loses nothing.
// A burst that never goes quiet (a file rewritten many times a second) is handed over
// anyway once it is `maxBurst` old, so steady writes cannot hold every change back.
//
// Files and folders with hidden names (a leading dot: editors' swap files, .git) are not
// reported, as no scan reads them. Written over the system calls rather than taken from a
// watch library: it has to refuse folders before watching them, report a queue overflow as
// such, and walk with the scan's own DirectoryWalker when it polls, so both agree on what
// belongs to the project.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

struct FileWatcherOptions {
    std::string root;
    // Whether a folder (relative, "" the root) should be watched.
    std::function<bool(const std::string& relDir)> watchFolder;
    std::chrono::milliseconds quiet{300};
    std::chrono::milliseconds pollInterval{3000};
    std::chrono::milliseconds maxBurst{2000};
    // Watches to use at most: for tests of the fallback; unset means the kernel's limit.
    std::optional<std::size_t> maxWatches;
};

class FileWatcher {
public:
    using BatchHandler = std::function<void(std::vector<std::string> paths)>;
    using NoticeHandler = std::function<void(const std::string& message)>;

    // Starts watching at once; the folders are registered before the constructor returns,
    // so a write after it is seen. Throws std::runtime_error when the root cannot be watched
    // at all (no inotify and no readable folder).
    FileWatcher(FileWatcherOptions options, BatchHandler onBatch, NoticeHandler onNotice = {});
    // Stops the thread; a burst not yet quiet is dropped.
    ~FileWatcher();
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

    // Whether it has fallen back to periodic checks.
    bool polling() const;
    // Folders watched by inotify right now.
    std::size_t watchedFolders() const;
    // Whether nothing is on its way: no event waits unread in the kernel's queue, no burst
    // is being gathered or handed over. Any thread. Once this answers true, every change
    // made before the call has reached `onBatch` (when inotify watches it), which is how a
    // consumer waits for the changes it made itself to arrive.
    bool idle() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vantrel
