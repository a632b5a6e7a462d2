// A stand-in until the real session and its watcher land: a thread that looks at the
// project's files (sizes and modification times) every `quiet` and hands what differs to
// LiveProject::update, with the same handlers and the same guarantees of order.
#include "core/live/LiveSession.h"

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "core/scan/ScanProgress.h"

namespace vantrel {

namespace {

using Stamps = std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>>;

Stamps stampFiles(const LiveProject& project) {
    namespace fs = std::filesystem;
    Stamps stamps;
    const fs::path root(project.root());
    std::error_code error;
    fs::recursive_directory_iterator it(root, fs::directory_options::skip_permission_denied, error), end;
    for (; !error && it != end; it.increment(error)) {
        std::error_code entryError;
        const std::string relative = it->path().lexically_relative(root).generic_string();
        if (it->is_directory(entryError)) {
            if (!project.watchesFolder(relative)) it.disable_recursion_pending();
            continue;
        }
        if (!project.caresAbout(relative)) continue;
        std::error_code statError;
        auto size = it->file_size(statError);
        auto time = it->last_write_time(statError);
        if (!statError) stamps[relative] = {size, time};
    }
    return stamps;
}

std::vector<std::string> differences(const Stamps& before, const Stamps& after) {
    std::vector<std::string> paths;
    for (const auto& [path, stamp] : after) {
        auto old = before.find(path);
        if (old == before.end() || old->second != stamp) paths.push_back(path);
    }
    for (const auto& entry : before)
        if (!after.count(entry.first)) paths.push_back(entry.first);
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

struct LiveSession::Impl {
    std::unique_ptr<LiveProject> project;
    LiveSessionOptions options;
    LiveSessionHandlers handlers;
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::shared_ptr<const ProjectIR> graph;
    std::vector<std::string> requested;
    bool rescan = false;
    bool stopping = false;
    std::uint64_t passes = 0;
    bool busy = false;
    Stamps stamps;
    std::thread thread;

    void run() {
        std::unique_lock lock(mutex);
        while (!stopping) {
            changed.wait_for(lock, options.quiet, [&] { return stopping || rescan || !requested.empty(); });
            if (stopping) break;
            busy = true;
            bool full = std::exchange(rescan, false);
            std::vector<std::string> paths = std::exchange(requested, {});
            lock.unlock();
            Stamps now = stampFiles(*project);
            for (auto& path : differences(stamps, now)) paths.push_back(std::move(path));
            stamps = std::move(now);
            if (full || !paths.empty()) apply(full, paths);
            lock.lock();
            busy = false;
            ++passes;
            changed.notify_all();
        }
    }

    void apply(bool full, const std::vector<std::string>& paths) {
        if (handlers.state) handlers.state(LiveState::updating, {});
        try {
            LiveUpdate update = full ? project->rescan() : project->update(paths);
            if (update.graphChanged || update.fullScan) {
                auto next = project->snapshot();
                {
                    std::lock_guard guard(mutex);
                    graph = next;
                }
                if (handlers.updated) handlers.updated(update, next);
            }
            if (handlers.state) handlers.state(LiveState::upToDate, {});
        } catch (const std::exception& error) {
            if (handlers.state) handlers.state(LiveState::failed, error.what());
        }
    }
};

LiveSession::LiveSession(std::unique_ptr<LiveProject> project, LiveSessionOptions options,
                         LiveSessionHandlers handlers)
    : impl_(std::make_unique<Impl>()) {
    impl_->project = std::move(project);
    impl_->options = options;
    impl_->handlers = std::move(handlers);
    impl_->graph = impl_->project->snapshot();
    impl_->stamps = stampFiles(*impl_->project);
    impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

LiveSession::~LiveSession() {
    {
        std::lock_guard lock(impl_->mutex);
        impl_->stopping = true;
    }
    impl_->changed.notify_all();
    impl_->thread.join();
}

std::shared_ptr<const ProjectIR> LiveSession::graph() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->graph;
}

void LiveSession::requestRescan() {
    std::lock_guard lock(impl_->mutex);
    impl_->rescan = true;
    impl_->changed.notify_all();
}

void LiveSession::requestUpdate(std::vector<std::string> paths) {
    std::lock_guard lock(impl_->mutex);
    for (auto& path : paths) impl_->requested.push_back(std::move(path));
    impl_->changed.notify_all();
}

bool LiveSession::waitUntilIdle(std::chrono::milliseconds timeout) const {
    std::unique_lock lock(impl_->mutex);
    // Two whole passes after the call: the first may have begun before it.
    const std::uint64_t target = impl_->passes + 2;
    return impl_->changed.wait_for(lock, timeout, [&] {
        return impl_->passes >= target && !impl_->busy && !impl_->rescan && impl_->requested.empty();
    });
}

bool LiveSession::polling() const { return true; }

}  // namespace vantrel
