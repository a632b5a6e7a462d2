#include "cli/PollingSession.h"

#include <sys/stat.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "core/scan/Discovery.h"
#include "core/scan/ScanProgress.h"
#include "core/util/Paths.h"

namespace vantrel::cli {

namespace {

struct FileMark {
    std::int64_t size = 0;
    std::int64_t mtimeNs = 0;
    bool operator==(const FileMark&) const = default;
};

using FolderMarks = std::map<std::string, FileMark>;  // relative path → mark

// The marks of every file below the root the project cares about, passing over folders
// it would not watch.
FolderMarks lookAt(const LiveProject& project) {
    FolderMarks marks;
    auto walker = DirectoryWalker::open(project.root());
    if (!walker) return marks;
    while (auto path = walker->next()) {
        std::string rel = relativePath(*path, project.root());
        if (walker->lastEntryIsDirectory()) {
            if (!project.watchesFolder(rel)) walker->skipDescendants();
            continue;
        }
        if (!project.caresAbout(rel)) continue;
        struct stat st {};
        if (::lstat(path->c_str(), &st) != 0) continue;
        marks[rel] = {static_cast<std::int64_t>(st.st_size),
                      static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
    }
    return marks;
}

// Paths whose mark differs between the two looks, or that only one of them holds.
void addDifferences(const FolderMarks& before, const FolderMarks& after, std::set<std::string>& into) {
    for (const auto& [path, mark] : after) {
        auto it = before.find(path);
        if (it == before.end() || !(it->second == mark)) into.insert(path);
    }
    for (const auto& [path, mark] : before)
        if (!after.count(path)) into.insert(path);
}

}  // namespace

struct PollingSession::Impl {
    std::unique_ptr<LiveProject> project;
    LiveSessionOptions options;
    LiveSessionHandlers handlers;
    mutable std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::shared_ptr<const ProjectIR> latest;
    FolderMarks marks;  // the last look
    std::thread thread;

    void run() {
        std::set<std::string> pending;
        for (;;) {
            {
                std::unique_lock lock(mutex);
                if (wake.wait_for(lock, options.quiet, [&] { return stopping; })) return;
            }
            FolderMarks now = lookAt(*project);
            std::set<std::string> fresh;
            addDifferences(marks, now, fresh);
            marks = std::move(now);
            if (!fresh.empty()) {
                // Still being written: wait until a look finds nothing new.
                pending.insert(fresh.begin(), fresh.end());
                continue;
            }
            if (pending.empty()) continue;
            std::vector<std::string> paths(pending.begin(), pending.end());
            pending.clear();
            apply(paths);
        }
    }

    void apply(const std::vector<std::string>& paths) {
        if (handlers.state) handlers.state(LiveState::updating, {});
        LiveUpdate update;
        try {
            update = project->update(paths);
        } catch (const ScanError& e) {
            if (handlers.state) handlers.state(LiveState::failed, e.what());
            return;
        }
        if (!update.empty()) {
            auto graph = project->snapshot();
            {
                std::lock_guard lock(mutex);
                latest = graph;
            }
            if (handlers.updated) handlers.updated(update, graph);
        }
        if (handlers.state) handlers.state(LiveState::upToDate, {});
    }
};

PollingSession::PollingSession(std::unique_ptr<LiveProject> project, LiveSessionOptions options,
                               LiveSessionHandlers handlers)
    : impl_(std::make_unique<Impl>()) {
    impl_->project = std::move(project);
    impl_->options = options;
    impl_->handlers = std::move(handlers);
    impl_->latest = impl_->project->snapshot();
    // The first look before returning, so that a write after the constructor is seen.
    impl_->marks = lookAt(*impl_->project);
    impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

PollingSession::~PollingSession() {
    {
        std::lock_guard lock(impl_->mutex);
        impl_->stopping = true;
    }
    impl_->wake.notify_all();
    impl_->thread.join();
}

std::shared_ptr<const ProjectIR> PollingSession::graph() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->latest;
}

}  // namespace vantrel::cli
