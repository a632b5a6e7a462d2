// A live project and its watcher, wired together on a thread of their own: each quiet
// burst of changes becomes one LiveProject::update, and its outcome goes to the handlers.
// The application, `vantrel-cli watch` and `vantrel-cli mcp` all run one.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/live/FileWatcher.h"
#include "core/live/LiveProject.h"

namespace vantrel {

enum class LiveState { updating, upToDate, failed };

struct LiveSessionHandlers {
    // After every update that changed something, with the new graph.
    std::function<void(const LiveUpdate&, std::shared_ptr<const ProjectIR>)> updated;
    // "updating" before an update starts, "upToDate" or "failed" (with the error's text) after.
    std::function<void(LiveState, const std::string& message)> state;
    // The watcher's one-time notices (the fallback to periodic checks).
    std::function<void(const std::string&)> notice;
};

struct LiveSessionOptions {
    std::chrono::milliseconds quiet{300};
    std::chrono::milliseconds pollInterval{3000};
    std::optional<std::size_t> maxWatches;  // tests of the fallback
};

class LiveSession {
public:
    // Takes a project that has been opened. Handlers run on the session's thread, one at a
    // time.
    LiveSession(std::unique_ptr<LiveProject> project, LiveSessionOptions options, LiveSessionHandlers handlers);
    // Stops watching and waits for an update in progress.
    ~LiveSession();
    LiveSession(const LiveSession&) = delete;
    LiveSession& operator=(const LiveSession&) = delete;

    // The latest graph; any thread.
    std::shared_ptr<const ProjectIR> graph() const;
    // Queues a full scan (settings changed from outside, or the user asked).
    void requestRescan();
    // Queues an update of these paths as if the watcher had named them.
    void requestUpdate(std::vector<std::string> paths);
    // Blocks until every burst seen so far has been applied (tests, MCP calls that want the
    // freshest answer). False on timeout.
    bool waitUntilIdle(std::chrono::milliseconds timeout) const;
    bool polling() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vantrel
