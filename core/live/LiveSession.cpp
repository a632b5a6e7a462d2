#include "core/live/LiveSession.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include "core/scan/ScanProgress.h"

namespace vantrel {

struct LiveSession::Impl {
    std::unique_ptr<LiveProject> project;
    LiveSessionHandlers handlers;

    // The project is not thread-safe, and the watcher's folder filter asks it from the
    // watcher's thread, so the filter and every update take this lock. The watcher may
    // then wait out an update; its events wait in the kernel's queue meanwhile (an overflow
    // there reports the root, so nothing is lost).
    mutable std::mutex projectMutex;

    mutable std::mutex graphMutex;
    std::shared_ptr<const ProjectIR> published;

    // The work queue: what the next update takes.
    mutable std::mutex queueMutex;
    std::condition_variable wake;
    mutable std::condition_variable settled;
    std::set<std::string> pendingPaths;
    bool rescanPending = false;
    std::vector<std::string> pendingNotices;
    // What a failed update was asked for: retried with the next one, never on its own, so
    // a file that stays unreadable does not make the session spin.
    std::set<std::string> carriedPaths;
    bool carriedRescan = false;
    bool running = false;
    bool stopping = false;

    std::unique_ptr<FileWatcher> watcher;
    std::thread worker;

    void enqueue(std::vector<std::string> paths, bool rescan) {
        {
            std::lock_guard lock(queueMutex);
            pendingPaths.insert(std::make_move_iterator(paths.begin()), std::make_move_iterator(paths.end()));
            rescanPending = rescanPending || rescan;
        }
        wake.notify_one();
    }

    bool queueIdle() const { return pendingPaths.empty() && !rescanPending && pendingNotices.empty() && !running; }

    void report(LiveState state, const std::string& message) {
        if (handlers.state) handlers.state(state, message);
    }

    // A save made while the project was scanned, before the watcher was in place, would
    // otherwise wait for the file's next save. The watcher sees every write from here on,
    // so the files the modification times name now are all that can have been missed. Those
    // whose bytes are as scanned change nothing, and then nothing is reported.
    void catchUp() {
        try {
            std::vector<std::string> missed;
            LiveUpdate update;
            std::shared_ptr<const ProjectIR> graph;
            {
                std::lock_guard projectLock(projectMutex);
                missed = project->touchedSinceScan();
                if (missed.empty()) return;
                update = project->update(missed);
                if (update.graphChanged) graph = project->snapshot();
            }
            if (!graph) return;
            report(LiveState::updating, {});
            {
                std::lock_guard graphLock(graphMutex);
                published = graph;
            }
            if (handlers.updated) handlers.updated(update, graph);
            report(LiveState::upToDate, {});
        } catch (const std::exception&) {
            // The files are tried again as an update of their own, which reports the failure.
            enqueue({""}, false);
        }
    }

    void run() {
        catchUp();
        std::unique_lock lock(queueMutex);
        running = false;
        settled.notify_all();
        while (true) {
            wake.wait(lock,
                      [&] { return stopping || !pendingPaths.empty() || rescanPending || !pendingNotices.empty(); });
            if (stopping) break;
            std::vector<std::string> notices = std::move(pendingNotices);
            pendingNotices.clear();
            bool rescan = rescanPending;
            std::set<std::string> paths = std::move(pendingPaths);
            pendingPaths.clear();
            rescanPending = false;
            if (!rescan && paths.empty()) {
                running = true;
                lock.unlock();
                for (const auto& notice : notices)
                    if (handlers.notice) handlers.notice(notice);
                lock.lock();
                running = false;
                settled.notify_all();
                continue;
            }
            rescan = rescan || carriedRescan;
            paths.merge(carriedPaths);
            carriedPaths.clear();
            carriedRescan = false;
            running = true;
            lock.unlock();

            for (const auto& notice : notices)
                if (handlers.notice) handlers.notice(notice);
            bool failed = applyUpdate(rescan, paths);

            lock.lock();
            if (failed) {
                carriedPaths.merge(paths);
                carriedRescan = carriedRescan || rescan;
            }
            running = false;
            settled.notify_all();
        }
    }

    // One update and its reports; true when it failed.
    bool applyUpdate(bool rescan, const std::set<std::string>& paths) {
        report(LiveState::updating, {});
        try {
            LiveUpdate update;
            std::shared_ptr<const ProjectIR> graph;
            {
                std::lock_guard projectLock(projectMutex);
                update = rescan ? project->rescan() : project->update(std::vector<std::string>(paths.begin(), paths.end()));
                if (update.graphChanged) graph = project->snapshot();
            }
            if (graph) {
                {
                    std::lock_guard graphLock(graphMutex);
                    published = graph;
                }
                if (handlers.updated) handlers.updated(update, graph);
            }
            report(LiveState::upToDate, {});
            return false;
        } catch (const ScanError& error) {
            report(LiveState::failed, error.what());
        } catch (const std::exception& error) {
            report(LiveState::failed, error.what());
        }
        return true;
    }
};

LiveSession::LiveSession(std::unique_ptr<LiveProject> project, LiveSessionOptions options,
                         LiveSessionHandlers handlers)
    : impl_(std::make_unique<Impl>()) {
    Impl& s = *impl_;
    s.project = std::move(project);
    s.handlers = std::move(handlers);
    s.published = s.project->snapshot();

    FileWatcherOptions watch;
    watch.root = s.project->root();
    watch.quiet = options.quiet;
    watch.pollInterval = options.pollInterval;
    watch.maxWatches = options.maxWatches;
    watch.watchFolder = [impl = impl_.get()](const std::string& relDir) {
        std::lock_guard lock(impl->projectMutex);
        return impl->project->watchesFolder(relDir);
    };
    s.watcher = std::make_unique<FileWatcher>(
        std::move(watch), [impl = impl_.get()](std::vector<std::string> paths) { impl->enqueue(std::move(paths), false); },
        [impl = impl_.get()](const std::string& message) {
            // Handlers run on the session's thread: the notice goes through the queue.
            {
                std::lock_guard lock(impl->queueMutex);
                impl->pendingNotices.push_back(message);
            }
            impl->wake.notify_one();
        });
    s.running = true;  // the catch-up below; the thread's start orders this before it
    s.worker = std::thread([impl = impl_.get()] { impl->run(); });
}

LiveSession::~LiveSession() {
    // The watcher first, so no batch arrives for a worker that has gone.
    impl_->watcher.reset();
    {
        std::lock_guard lock(impl_->queueMutex);
        impl_->stopping = true;
    }
    impl_->wake.notify_one();
    if (impl_->worker.joinable()) impl_->worker.join();
}

std::shared_ptr<const ProjectIR> LiveSession::graph() const {
    std::lock_guard lock(impl_->graphMutex);
    return impl_->published;
}

void LiveSession::requestRescan() { impl_->enqueue({}, true); }

void LiveSession::requestUpdate(std::vector<std::string> paths) { impl_->enqueue(std::move(paths), false); }

bool LiveSession::waitUntilIdle(std::chrono::milliseconds timeout) const {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    std::unique_lock lock(impl_->queueMutex);
    while (true) {
        // The watcher before the queue: a burst it handed over before answering idle is
        // already in the queue when the queue is looked at.
        lock.unlock();
        bool watcherIdle = impl_->watcher->idle();
        lock.lock();
        if (watcherIdle && impl_->queueIdle()) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        // The watcher has no way to wake this wait, so it looks again now and then.
        impl_->settled.wait_for(lock, std::chrono::milliseconds(10));
    }
}

bool LiveSession::polling() const { return impl_->watcher->polling(); }

}  // namespace vantrel
