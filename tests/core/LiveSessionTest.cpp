// A live session over a small JavaScript project on disk: a file written beside it
// reaches the graph, an unreadable file becomes the failed state and the session goes on,
// a rescan reads the settings again, batches that arrive during an update are merged into
// the next one, and the polling fallback still delivers.
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "core/config/GlobalDefaults.h"
#include "core/live/LiveSession.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kGenerous = 60s;
const std::string kA = "src/a.js:a:function";
const std::string kB = "src/b.js:b:function";
const std::string kC = "src/c.js:c:function";
const std::string kHelper = "lib/helper.js:helper:function";

// What the handlers saw, in order.
struct Seen {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::pair<LiveState, std::string>> states;
    std::vector<LiveUpdate> updates;
    std::vector<std::string> notices;
    std::thread::id handlerThread;
    bool handlersOnOneThread = true;

    void onThread() {
        if (handlerThread == std::thread::id()) handlerThread = std::this_thread::get_id();
        handlersOnOneThread = handlersOnOneThread && handlerThread == std::this_thread::get_id();
    }
    template <class Pred>
    bool waitFor(Pred pred) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, kGenerous, pred);
    }
};

class LiveSessionTest : public ::testing::Test {
protected:
    TempDir dir;
    std::string root = dir / "project";
    Seen seen;
    std::mutex configMutex;
    std::vector<std::string> extraExclusions;

    void SetUp() override {
        dir.write("project/src/a.js", "import { b } from './b.js';\nexport function a() {\n  return b();\n}\n");
        dir.write("project/src/b.js", "export function b() {\n  return 1;\n}\n");
        dir.write("project/lib/helper.js", "import { b } from '../src/b.js';\nexport function helper() {\n  b();\n}\n");
    }

    std::unique_ptr<LiveProject> openProject() {
        LiveProjectOptions options;
        options.root = root;
        options.loadConfig = [this] {
            VantrelConfig config = defaultGlobalConfig();
            std::lock_guard lock(configMutex);
            config.exclude.insert(config.exclude.end(), extraExclusions.begin(), extraExclusions.end());
            return config;
        };
        auto project = std::make_unique<LiveProject>(
            SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "support")), std::move(options));
        project->open();
        return project;
    }

    LiveSessionHandlers handlers() {
        LiveSessionHandlers h;
        h.updated = [this](const LiveUpdate& update, std::shared_ptr<const ProjectIR> graph) {
            std::lock_guard lock(seen.mutex);
            seen.onThread();
            EXPECT_TRUE(graph);
            seen.updates.push_back(update);
            seen.changed.notify_all();
        };
        h.state = [this](LiveState state, const std::string& message) {
            std::lock_guard lock(seen.mutex);
            seen.onThread();
            seen.states.emplace_back(state, message);
            seen.changed.notify_all();
        };
        h.notice = [this](const std::string& message) {
            std::lock_guard lock(seen.mutex);
            seen.onThread();
            seen.notices.push_back(message);
            seen.changed.notify_all();
        };
        return h;
    }

    // A session past its start, whose catch-up with saves made during the scan (the
    // fixture's files are all that recent) has run: what a test writes next is its own.
    std::unique_ptr<LiveSession> start(LiveSessionOptions options = {}) {
        if (options.quiet == LiveSessionOptions{}.quiet) options.quiet = 100ms;
        auto session = std::make_unique<LiveSession>(openProject(), options, handlers());
        EXPECT_TRUE(session->waitUntilIdle(kGenerous));
        return session;
    }

    std::pair<LiveState, std::string> lastState() {
        std::lock_guard lock(seen.mutex);
        return seen.states.empty() ? std::pair{LiveState::upToDate, std::string("none")} : seen.states.back();
    }
};

IdSet callersOf(const LiveSession& session, const std::string& id) {
    auto graph = session.graph();
    auto it = graph->symbols.find(id);
    return it == graph->symbols.end() ? IdSet{} : it->second.refsIn;
}

TEST_F(LiveSessionTest, FilesWrittenBesideTheProjectReachTheGraph) {
    auto session = start();
    EXPECT_FALSE(session->polling());
    EXPECT_EQ(callersOf(*session, kB), (IdSet{kA, kHelper}));

    dir.write("project/src/c.js", "import { b } from './b.js';\nexport function c() {\n  return b() + 1;\n}\n");
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_EQ(callersOf(*session, kB), (IdSet{kA, kC, kHelper}));
    EXPECT_EQ(session->graph()->symbols.at(kC).refsOut, IdSet{kB});

    // a stops calling b; c goes.
    dir.write("project/src/a.js", "export function a() {\n  return 0;\n}\n");
    fs::remove(root + "/src/c.js");
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_EQ(callersOf(*session, kB), IdSet{kHelper});
    EXPECT_FALSE(session->graph()->symbols.contains(kC));

    // A whole folder renamed away and back under another name.
    fs::rename(root + "/lib", root + "/tools");
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_EQ(callersOf(*session, kB), IdSet{"tools/helper.js:helper:function"});

    std::lock_guard lock(seen.mutex);
    EXPECT_TRUE(seen.handlersOnOneThread);
    EXPECT_GE(seen.updates.size(), 3u);
    ASSERT_FALSE(seen.states.empty());
    EXPECT_EQ(seen.states.front().first, LiveState::updating);
    EXPECT_EQ(seen.states.back().first, LiveState::upToDate);
}

TEST_F(LiveSessionTest, AFileThatCannotBeReadFailsTheUpdateAndTheSessionGoesOn) {
    auto session = start();
    auto before = session->graph();
    // A dangling link where b.js was: the scan cannot read it, whoever runs the tests.
    fs::remove(root + "/src/b.js");
    fs::create_symlink("gone.js", root + "/src/b.js");
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    auto [state, message] = lastState();
    EXPECT_EQ(state, LiveState::failed);
    EXPECT_NE(message.find("b.js"), std::string::npos) << message;
    EXPECT_EQ(session->graph(), before);  // the last good graph stays

    fs::remove(root + "/src/b.js");
    dir.write("project/src/b.js", "export function b() {\n  return 2;\n}\nexport function b2() {\n  return b();\n}\n");
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_EQ(lastState().first, LiveState::upToDate);
    EXPECT_EQ(callersOf(*session, kB), (IdSet{kA, "src/b.js:b2:function", kHelper}));
}

TEST_F(LiveSessionTest, RescanReadsTheSettingsAgain) {
    auto session = start();
    ASSERT_TRUE(session->graph()->symbols.contains(kHelper));
    {
        std::lock_guard lock(configMutex);
        extraExclusions.push_back("lib/**");
    }
    session->requestRescan();
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_FALSE(session->graph()->symbols.contains(kHelper));
    EXPECT_EQ(callersOf(*session, kB), IdSet{kA});
    std::lock_guard lock(seen.mutex);
    ASSERT_EQ(seen.updates.size(), 1u);
    EXPECT_TRUE(seen.updates[0].fullScan);
}

TEST_F(LiveSessionTest, RequestsDuringAnUpdateAreMergedIntoTheNextOne) {
    std::mutex gate;
    std::unique_lock held(gate);
    auto h = handlers();
    auto record = h.state;
    h.state = [&, record](LiveState state, const std::string& message) {
        record(state, message);
        // The first update waits here until the test has queued more.
        if (state == LiveState::updating && seen.states.size() == 1) std::lock_guard wait(gate);
    };
    LiveSessionOptions options;
    options.quiet = 100ms;
    LiveSession session(openProject(), options, h);
    // Opens the gate however the test ends, before the session waits for its thread.
    struct Release {
        std::unique_lock<std::mutex>& lock;
        ~Release() {
            if (lock.owns_lock()) lock.unlock();
        }
    } release{held};
    session.requestUpdate({"src/a.js"});
    ASSERT_TRUE(seen.waitFor([&] { return seen.states.size() == 1; }));
    session.requestUpdate({"src/b.js"});
    dir.write("project/src/c.js", "import { b } from './b.js';\nexport function c() {\n  return b();\n}\n");
    session.requestUpdate({"src/c.js"});
    held.unlock();
    ASSERT_TRUE(session.waitUntilIdle(kGenerous));
    std::lock_guard lock(seen.mutex);
    // One update for the first request, one for everything that came meanwhile (the
    // watcher's own batch for c.js may come after it and make a third).
    std::size_t updating = 0;
    for (const auto& [state, message] : seen.states) updating += state == LiveState::updating;
    EXPECT_GE(updating, 2u);
    EXPECT_LE(updating, 3u);
    EXPECT_EQ(callersOf(session, kB), (IdSet{kA, kC, kHelper}));
}

TEST_F(LiveSessionTest, PollingFallbackStillDeliversAndNoticesOnTheSessionThread) {
    LiveSessionOptions options;
    options.pollInterval = 200ms;
    options.maxWatches = 1;  // the root only
    auto session = start(options);
    EXPECT_TRUE(session->polling());
    dir.write("project/src/c.js", "import { b } from './b.js';\nexport function c() {\n  return b();\n}\n");
    ASSERT_TRUE(seen.waitFor([&] { return !seen.updates.empty(); }));
    ASSERT_TRUE(session->waitUntilIdle(kGenerous));
    EXPECT_EQ(callersOf(*session, kB), (IdSet{kA, kC, kHelper}));
    std::lock_guard lock(seen.mutex);
    EXPECT_EQ(seen.notices, std::vector<std::string>{"Too many folders to watch: checking for changes every 200 ms"});
    EXPECT_TRUE(seen.handlersOnOneThread);
}

}  // namespace
}  // namespace vantrel

namespace vantrel {
namespace {

// Saves made after the project's scan and before the session watched it: a new caller, and
// a file gone. The session finds them by their times without another save; a file whose
// bytes are as scanned is read again but reports nothing.
TEST_F(LiveSessionTest, SavesMadeBeforeTheWatcherStartedAreCaughtUp) {
    auto project = openProject();
    dir.write("project/src/c.js", "import { b } from './b.js';\nexport function c() {\n  b();\n}\n");
    fs::remove(root + "/lib/helper.js");
    LiveSessionOptions options;
    options.quiet = 100ms;
    LiveSession session(std::move(project), options, handlers());
    ASSERT_TRUE(session.waitUntilIdle(kGenerous));
    EXPECT_EQ(callersOf(session, kB), (IdSet{kA, kC}));

    // Opened again with nothing saved since the scan: no update is reported.
    LiveSession quiet(openProject(), options, handlers());
    ASSERT_TRUE(quiet.waitUntilIdle(kGenerous));
    std::lock_guard lock(seen.mutex);
    EXPECT_EQ(seen.updates.size(), 1u);
}

}  // namespace
}  // namespace vantrel
