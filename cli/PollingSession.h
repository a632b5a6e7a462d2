// A live session of LiveSession's shape that finds changes by looking at the folder at
// every `quiet` interval (sizes and modification times of the files the project cares
// about) instead of through a file watcher. `watch` runs on it until the watcher-backed
// session is available; both take the same options and handlers.
#pragma once

#include <memory>

#include "core/live/LiveProject.h"
#include "core/live/LiveSession.h"

namespace vantrel::cli {

class PollingSession {
public:
    // Takes a project that has been opened; the handlers run on the session's thread, one
    // at a time.
    PollingSession(std::unique_ptr<LiveProject> project, LiveSessionOptions options, LiveSessionHandlers handlers);
    // Stops looking and waits for an update in progress.
    ~PollingSession();
    PollingSession(const PollingSession&) = delete;
    PollingSession& operator=(const PollingSession&) = delete;

    // The latest graph; any thread.
    std::shared_ptr<const ProjectIR> graph() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vantrel::cli
