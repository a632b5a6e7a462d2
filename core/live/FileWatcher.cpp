#include "core/live/FileWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include "core/scan/Discovery.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

using Clock = std::chrono::steady_clock;

// IN_ACCESS, IN_OPEN and IN_CLOSE_NOWRITE are left out: reading changes nothing. IN_ATTRIB
// stays, since a chmod can make a file unreadable to the scan and `touch` only changes times.
constexpr std::uint32_t kWatchMask = IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_FROM |
                                     IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB | IN_ONLYDIR |
                                     IN_DONT_FOLLOW | IN_EXCL_UNLINK;

std::string joinRel(const std::string& dir, const std::string& name) {
    return dir.empty() ? name : dir + "/" + name;
}

bool isBelowOrAt(const std::string& path, const std::string& folder) {
    if (folder.empty()) return true;
    return path == folder || (path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
                              path[folder.size()] == '/');
}

std::string describeInterval(std::chrono::milliseconds interval) {
    auto ms = interval.count();
    if (ms >= 1000 && ms % 1000 == 0) return std::to_string(ms / 1000) + " s";
    return std::to_string(ms) + " ms";
}

// What the polling walk compares: a rewrite in place changes size or time, a rename over
// the file (how editors save) changes the inode.
struct FileStamp {
    std::int64_t size = 0;
    std::int64_t mtimeNs = 0;
    std::uint64_t inode = 0;
    bool operator==(const FileStamp&) const = default;
};

enum class AddResult { added, skipped, limitReached };

}  // namespace

struct FileWatcher::Impl {
    FileWatcherOptions options;
    std::string root;
    BatchHandler onBatch;
    NoticeHandler onNotice;

    int inotifyFd = -1;  // set before the thread starts, closed after it ends
    int stopFd = -1;

    // Owned by the thread (and by the constructor before the thread starts).
    std::unordered_map<int, std::string> dirByWd;
    std::map<std::string, int> wdByDir;
    bool limitReached = false;
    std::string pendingNotice;
    std::set<std::string> burst;
    Clock::time_point burstStart;
    Clock::time_point lastEvent;
    std::map<std::string, FileStamp> lastWalk;
    Clock::time_point nextPoll;

    std::atomic<bool> pollingMode{false};
    std::atomic<std::size_t> watched{0};
    // True from the moment events are read until their burst has been handed over (or
    // turned out empty), and during a polling walk; with the kernel queue's length this
    // is what idle() reads.
    std::atomic<bool> busy{false};

    std::thread thread;

    std::string absolute(const std::string& rel) const { return rel.empty() ? root : root + "/" + rel; }

    bool folderAllowed(const std::string& rel) const {
        if (!rel.empty()) {
            std::size_t start = 0;
            while (start <= rel.size()) {
                std::size_t end = rel.find('/', start);
                if (end == std::string::npos) end = rel.size();
                std::string_view part(rel.data() + start, end - start);
                if (part.empty() || part.front() == '.' || part == "node_modules") return false;
                start = end + 1;
            }
        }
        return !options.watchFolder || options.watchFolder(rel);
    }

    AddResult addWatch(const std::string& rel) {
        if (options.maxWatches && dirByWd.size() >= *options.maxWatches) {
            limitReached = true;
            return AddResult::limitReached;
        }
        // The root is followed when it is a link, as a scan opens it; links below it never are.
        const std::uint32_t mask = rel.empty() ? (kWatchMask & ~std::uint32_t{IN_DONT_FOLLOW}) : kWatchMask;
        int wd = ::inotify_add_watch(inotifyFd, absolute(rel).c_str(), mask);
        if (wd < 0) {
            if (errno == ENOSPC) {
                limitReached = true;
                return AddResult::limitReached;
            }
            // Gone already, unreadable or not a folder any more: nothing to watch there.
            return AddResult::skipped;
        }
        // The same folder reached under a new name gives its old watch back.
        auto known = dirByWd.find(wd);
        if (known != dirByWd.end()) wdByDir.erase(known->second);
        dirByWd[wd] = rel;
        wdByDir[rel] = wd;
        watched = dirByWd.size();
        return AddResult::added;
    }

    // Watches `rel` and every allowed folder below it; false when the limit stopped it.
    bool watchTree(const std::string& rel) {
        if (pollingMode || !folderAllowed(rel)) return true;
        AddResult first = addWatch(rel);
        if (first != AddResult::added) return first != AddResult::limitReached;
        auto walker = DirectoryWalker::open(absolute(rel));
        if (!walker) return true;
        std::string base = absolute("");
        while (auto path = walker->next()) {
            if (!walker->lastEntryIsDirectory()) continue;
            std::string childRel = path->substr(base.size() + 1);
            if (!folderAllowed(childRel)) {
                walker->skipDescendants();
                continue;
            }
            AddResult result = addWatch(childRel);
            if (result == AddResult::limitReached) return false;
            if (result == AddResult::skipped) walker->skipDescendants();
        }
        return true;
    }

    void unwatchTree(const std::string& rel) {
        for (auto it = wdByDir.lower_bound(rel); it != wdByDir.end() && isBelowOrAt(it->first, rel);) {
            ::inotify_rm_watch(inotifyFd, it->second);
            dirByWd.erase(it->second);
            it = wdByDir.erase(it);
        }
        watched = dirByWd.size();
    }

    void note(const std::string& rel, Clock::time_point now) {
        if (burst.empty()) burstStart = now;
        burst.insert(rel);
        lastEvent = now;
    }

    void handleEvent(const inotify_event& event, Clock::time_point now, bool& overflowed) {
        if (event.mask & IN_Q_OVERFLOW) {
            overflowed = true;
            note("", now);
            return;
        }
        auto it = dirByWd.find(event.wd);
        if (it == dirByWd.end()) return;  // a watch already dropped
        std::string dirRel = it->second;
        if (event.mask & IN_IGNORED) {
            auto mapped = wdByDir.find(dirRel);
            if (mapped != wdByDir.end() && mapped->second == event.wd) wdByDir.erase(mapped);
            dirByWd.erase(it);
            watched = dirByWd.size();
            return;
        }
        if (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) {
            // Other folders are reported by their parent's event; the root has none.
            if (dirRel.empty()) note("", now);
            return;
        }
        if (event.len == 0 || event.name[0] == '\0' || event.name[0] == '.') return;
        std::string rel = joinRel(dirRel, event.name);
        if (event.mask & IN_ISDIR) {
            if (event.mask & (IN_DELETE | IN_MOVED_FROM)) unwatchTree(rel);
            if (!folderAllowed(rel)) return;
            // Files may have been written into it before its watch existed: the consumer
            // is told the folder and looks below it.
            if ((event.mask & (IN_CREATE | IN_MOVED_TO)) && !watchTree(rel)) limitReached = true;
        }
        note(rel, now);
    }

    // Reads everything the kernel has queued. Returns after EAGAIN.
    void readEvents() {
        alignas(inotify_event) char buffer[16384];
        bool overflowed = false;
        while (true) {
            ssize_t n = ::read(inotifyFd, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) break;
            Clock::time_point now = Clock::now();
            for (ssize_t offset = 0; offset < n;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
                handleEvent(*event, now, overflowed);
                offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        // Folders made while events were lost have no watches yet.
        if (overflowed && !pollingMode && !watchTree("")) limitReached = true;
    }

    std::map<std::string, FileStamp> walkStamps() const {
        std::map<std::string, FileStamp> stamps;
        auto walker = DirectoryWalker::open(root);
        if (!walker) return stamps;
        while (auto path = walker->next()) {
            std::string rel = path->substr(root.size() + 1);
            if (walker->lastEntryIsDirectory()) {
                if (!folderAllowed(rel)) walker->skipDescendants();
                continue;
            }
            struct stat st {};
            if (::lstat(path->c_str(), &st) != 0) continue;
            stamps[rel] = FileStamp{static_cast<std::int64_t>(st.st_size),
                                    static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec,
                                    static_cast<std::uint64_t>(st.st_ino)};
        }
        return stamps;
    }

    // Drops every watch and compares walks from now on. Events still queued are read first,
    // so nothing that happened before the switch is lost.
    void switchToPolling(const std::string& notice) {
        pollingMode = true;
        if (inotifyFd >= 0) {
            readEvents();
            for (const auto& [wd, rel] : dirByWd) ::inotify_rm_watch(inotifyFd, wd);
            dirByWd.clear();
            wdByDir.clear();
            watched = 0;
        }
        lastWalk = walkStamps();
        nextPoll = Clock::now() + options.pollInterval;
        pendingNotice = notice;
    }

    std::string limitNotice() const {
        return "Too many folders to watch: checking for changes every " + describeInterval(options.pollInterval);
    }

    void pollOnce() {
        busy = true;
        auto stamps = walkStamps();
        std::vector<std::string> changed;
        auto a = lastWalk.begin();
        auto b = stamps.begin();
        while (a != lastWalk.end() || b != stamps.end()) {
            if (b == stamps.end() || (a != lastWalk.end() && a->first < b->first)) {
                changed.push_back((a++)->first);
            } else if (a == lastWalk.end() || b->first < a->first) {
                changed.push_back((b++)->first);
            } else {
                if (!(a->second == b->second)) changed.push_back(a->first);
                ++a;
                ++b;
            }
        }
        lastWalk = std::move(stamps);
        if (!changed.empty() && onBatch) onBatch(std::move(changed));
        if (burst.empty()) busy = false;
    }

    void deliver() {
        std::vector<std::string> paths(burst.begin(), burst.end());
        burst.clear();
        if (onBatch) onBatch(std::move(paths));
        busy = false;
    }

    void run() {
        if (!pendingNotice.empty()) {
            if (onNotice) onNotice(pendingNotice);
            pendingNotice.clear();
        }
        while (true) {
            Clock::time_point deadline = Clock::time_point::max();
            if (!burst.empty()) deadline = std::min(lastEvent + options.quiet, burstStart + options.maxBurst);
            if (pollingMode) deadline = std::min(deadline, nextPoll);
            int timeout = -1;
            if (deadline != Clock::time_point::max()) {
                auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
                timeout = static_cast<int>(std::max<std::int64_t>(0, std::min<std::int64_t>(left, 1 << 30)));
            }
            pollfd fds[2] = {{stopFd, POLLIN, 0}, {inotifyFd, POLLIN, 0}};
            int ready = ::poll(fds, inotifyFd >= 0 ? 2 : 1, timeout);
            if (ready < 0 && errno != EINTR) break;
            if (ready > 0 && (fds[0].revents & POLLIN)) break;
            if (ready > 0 && (fds[1].revents & POLLIN)) {
                busy = true;
                readEvents();
                if (limitReached && !pollingMode) switchToPolling(limitNotice());
                if (!pendingNotice.empty()) {
                    if (onNotice) onNotice(pendingNotice);
                    pendingNotice.clear();
                }
                if (burst.empty()) busy = false;
            }
            Clock::time_point now = Clock::now();
            if (!burst.empty() && (now >= lastEvent + options.quiet || now >= burstStart + options.maxBurst)) deliver();
            if (pollingMode && now >= nextPoll) {
                pollOnce();
                nextPoll = Clock::now() + options.pollInterval;
            }
        }
    }
};

FileWatcher::FileWatcher(FileWatcherOptions options, BatchHandler onBatch, NoticeHandler onNotice)
    : impl_(std::make_unique<Impl>()) {
    Impl& s = *impl_;
    s.root = options.root;
    while (s.root.size() > 1 && s.root.back() == '/') s.root.pop_back();
    s.options = std::move(options);
    s.onBatch = std::move(onBatch);
    s.onNotice = std::move(onNotice);

    struct stat st {};
    if (::stat(s.root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        throw std::runtime_error("Cannot watch " + s.root + ": not a readable folder");
    s.stopFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (s.stopFd < 0) throw std::runtime_error(std::string("Cannot watch: eventfd failed: ") + std::strerror(errno));
    s.inotifyFd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (s.inotifyFd < 0) {
        s.switchToPolling("Cannot watch the folder for changes: checking for changes every " +
                          describeInterval(s.options.pollInterval));
    } else if (!s.watchTree("") || s.limitReached) {
        s.switchToPolling(s.limitNotice());
    }
    s.thread = std::thread([this] { impl_->run(); });
}

FileWatcher::~FileWatcher() {
    std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(impl_->stopFd, &one, sizeof one);
    if (impl_->thread.joinable()) impl_->thread.join();
    if (impl_->inotifyFd >= 0) ::close(impl_->inotifyFd);
    ::close(impl_->stopFd);
}

bool FileWatcher::polling() const { return impl_->pollingMode; }

std::size_t FileWatcher::watchedFolders() const { return impl_->watched; }

bool FileWatcher::idle() const {
    // The queue first: an event read after this look has set `busy` before it was read.
    if (impl_->inotifyFd >= 0) {
        int queued = 0;
        if (::ioctl(impl_->inotifyFd, FIONREAD, &queued) == 0 && queued > 0) return false;
    }
    return !impl_->busy;
}

}  // namespace vantrel
