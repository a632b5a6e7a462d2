// The watcher over real folders: what a burst of edits, creations, deletions and renames
// reports, folders it must never watch, quiet-period coalescing, the kernel queue's
// overflow, the fallback to polling and a prompt stop. Waits are on conditions with
// generous bounds; nothing depends on how fast a loaded machine runs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "core/live/FileWatcher.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kGenerous = 30s;

// Collects what the watcher hands over, for the test thread to wait on.
class Recorder {
public:
    void batch(std::vector<std::string> paths) {
        std::lock_guard lock(mutex_);
        batches_.push_back(std::move(paths));
        changed_.notify_all();
    }
    void notice(const std::string& message) {
        std::lock_guard lock(mutex_);
        notices_.push_back(message);
        changed_.notify_all();
    }
    // Waits until the paths reported since the last `take` include all of `expected`.
    bool waitForPaths(const std::set<std::string>& expected) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kGenerous, [&] {
            auto seen = unionLocked();
            return std::includes(seen.begin(), seen.end(), expected.begin(), expected.end());
        });
    }
    bool waitForBatches(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kGenerous, [&] { return batches_.size() >= count; });
    }
    // Everything reported since the last call, and forgets it.
    std::set<std::string> take() {
        std::lock_guard lock(mutex_);
        auto seen = unionLocked();
        batches_.clear();
        return seen;
    }
    std::vector<std::vector<std::string>> batches() {
        std::lock_guard lock(mutex_);
        return batches_;
    }
    std::vector<std::string> notices() {
        std::lock_guard lock(mutex_);
        return notices_;
    }

private:
    std::set<std::string> unionLocked() const {
        std::set<std::string> seen;
        for (const auto& b : batches_) seen.insert(b.begin(), b.end());
        return seen;
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::vector<std::string>> batches_;
    std::vector<std::string> notices_;
};

bool waitIdle(const FileWatcher& watcher) {
    auto deadline = std::chrono::steady_clock::now() + kGenerous;
    while (!watcher.idle()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

class FileWatcherTest : public ::testing::Test {
protected:
    TempDir dir;
    std::string root = dir / "project";
    Recorder recorder;

    void SetUp() override {
        dir.write("project/src/app.js", "export function app() { return util(); }\n");
        dir.write("project/src/util.js", "export function util() { return 1; }\n");
        dir.write("project/lib/deep/helpers.js", "export function help() {}\n");
        dir.write("project/node_modules/left-pad/index.js", "module.exports = () => {};\n");
        dir.write("project/build/out.js", "// generated\n");
        dir.write("project/.git/HEAD", "ref: refs/heads/main\n");
    }

    FileWatcherOptions options(std::chrono::milliseconds quiet = 100ms) {
        FileWatcherOptions o;
        o.root = root;
        o.quiet = quiet;
        // The project's own exclusion, as the live project would answer.
        o.watchFolder = [](const std::string& rel) { return rel != "build" && rel.rfind("build/", 0) != 0; };
        return o;
    }

    std::unique_ptr<FileWatcher> start(FileWatcherOptions o) {
        return std::make_unique<FileWatcher>(
            std::move(o), [this](std::vector<std::string> paths) { recorder.batch(std::move(paths)); },
            [this](const std::string& message) { recorder.notice(message); });
    }

    void append(const std::string& rel, const std::string& text) {
        std::ofstream out(root + "/" + rel, std::ios::app);
        out << text;
    }
};

TEST_F(FileWatcherTest, ReportsEditsCreationsDeletionsAndRenamesOfFilesAndFolders) {
    auto watcher = start(options());
    // root, src, lib, lib/deep: not build, node_modules or .git.
    EXPECT_EQ(watcher->watchedFolders(), 4u);
    EXPECT_FALSE(watcher->polling());

    append("src/app.js", "app();\n");
    ASSERT_TRUE(recorder.waitForPaths({"src/app.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"src/app.js"}));

    dir.write("project/src/extra.js", "export function extra() {}\n");
    fs::remove(root + "/src/util.js");
    ASSERT_TRUE(recorder.waitForPaths({"src/extra.js", "src/util.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"src/extra.js", "src/util.js"}));

    // An editor's save: a hidden temporary file renamed over the real one.
    dir.write("project/src/.app.js.swp", "export function app() { return 2; }\n");
    fs::rename(root + "/src/.app.js.swp", root + "/src/app.js");
    fs::rename(root + "/src/extra.js", root + "/src/more.js");
    ASSERT_TRUE(recorder.waitForPaths({"src/app.js", "src/extra.js", "src/more.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"src/app.js", "src/extra.js", "src/more.js"}));

    // A folder renamed is named under both names, and is watched under the new one only.
    fs::rename(root + "/lib/deep", root + "/lib/shallow");
    ASSERT_TRUE(recorder.waitForPaths({"lib/deep", "lib/shallow"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"lib/deep", "lib/shallow"}));
    append("lib/shallow/helpers.js", "help();\n");
    ASSERT_TRUE(recorder.waitForPaths({"lib/shallow/helpers.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"lib/shallow/helpers.js"}));
    EXPECT_EQ(watcher->watchedFolders(), 4u);

    // A folder removed with its files: the folder is named, its watch goes.
    fs::remove_all(root + "/lib/shallow");
    ASSERT_TRUE(recorder.waitForPaths({"lib/shallow"}));
    ASSERT_TRUE(waitIdle(*watcher));
    for (const auto& path : recorder.take()) EXPECT_EQ(path.rfind("lib/shallow", 0), 0u) << path;
    EXPECT_EQ(watcher->watchedFolders(), 3u);
}

TEST_F(FileWatcherTest, NewFolderTreeWrittenRightAfterMkdirIsNamedAndThenWatched) {
    auto watcher = start(options());
    // Files land in the new folders before any watch on them can exist.
    fs::create_directories(root + "/feature/api/v2");
    dir.write("project/feature/api/v2/routes.js", "export function route() {}\n");
    dir.write("project/feature/index.js", "export * from './api/v2/routes.js';\n");
    ASSERT_TRUE(recorder.waitForPaths({"feature"}));
    ASSERT_TRUE(waitIdle(*watcher));
    for (const auto& path : recorder.take()) EXPECT_EQ(path.rfind("feature", 0), 0u) << path;
    EXPECT_EQ(watcher->watchedFolders(), 7u);

    append("feature/api/v2/routes.js", "route();\n");
    ASSERT_TRUE(recorder.waitForPaths({"feature/api/v2/routes.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"feature/api/v2/routes.js"}));
}

TEST_F(FileWatcherTest, RefusedHiddenAndDependencyFoldersAreNeverReported) {
    auto watcher = start(options());
    append("build/out.js", "more();\n");
    append("node_modules/left-pad/index.js", "more();\n");
    append(".git/HEAD", "\n");
    dir.write("project/node_modules/new-dep/index.js", "x();\n");
    dir.write("project/build/sub/more.js", "x();\n");
    dir.write("project/.cache/blob", "x");
    dir.write("project/src/.notes.swp", "x");
    // A marker after them: once it arrives, so would have anything before it.
    append("src/util.js", "util();\n");
    ASSERT_TRUE(recorder.waitForPaths({"src/util.js"}));
    ASSERT_TRUE(waitIdle(*watcher));
    EXPECT_EQ(recorder.take(), (std::set<std::string>{"src/util.js"}));
    EXPECT_EQ(watcher->watchedFolders(), 4u);
}

TEST_F(FileWatcherTest, BurstOfWritesBecomesOneBatchAfterTheQuietPeriod) {
    auto o = options(1500ms);
    o.maxBurst = 60s;
    auto watcher = start(std::move(o));
    std::set<std::string> written;
    for (int i = 0; i < 30; ++i) {
        std::string rel = "src/gen" + std::to_string(i) + ".js";
        dir.write("project/" + rel, "export function g" + std::to_string(i) + "() {}\n");
        append(rel, "g();\n");
        written.insert(rel);
    }
    append("src/app.js", "app();\n");
    written.insert("src/app.js");
    ASSERT_TRUE(recorder.waitForBatches(1));
    ASSERT_TRUE(waitIdle(*watcher));
    auto batches = recorder.batches();
    ASSERT_EQ(batches.size(), 1u);
    EXPECT_EQ(batches[0], std::vector<std::string>(written.begin(), written.end()));  // sorted, once each
}

TEST_F(FileWatcherTest, BurstThatNeverGoesQuietIsHandedOverAnyway) {
    auto o = options(2000ms);
    o.maxBurst = 300ms;
    auto watcher = start(std::move(o));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            append("src/app.js", "x\n");
            std::this_thread::sleep_for(20ms);
        }
    });
    // While the writes go on, batches come.
    bool arrived = recorder.waitForBatches(2);
    stop = true;
    writer.join();
    ASSERT_TRUE(arrived);
    for (const auto& batch : recorder.batches()) EXPECT_EQ(batch, std::vector<std::string>{"src/app.js"});
}

TEST_F(FileWatcherTest, QueueOverflowReportsTheRoot) {
    int limit = 16384;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
    if (limit > 200000) GTEST_SKIP() << "inotify queue too long to fill in a test: " << limit;
    std::mutex gate;
    std::unique_lock held(gate);
    std::atomic<int> batches{0};
    FileWatcherOptions o = options(50ms);
    FileWatcher watcher(
        std::move(o),
        [&](std::vector<std::string> paths) {
            // The first batch holds the watcher's thread while the queue fills up.
            if (batches++ == 0) std::lock_guard wait(gate);
            recorder.batch(std::move(paths));
        },
        {});
    append("src/app.js", "x\n");
    while (batches == 0) std::this_thread::sleep_for(5ms);
    // Alternating files, so the kernel cannot merge them into one event.
    std::string a = root + "/src/app.js", b = root + "/src/util.js";
    for (int i = 0; i < limit + 100; ++i) ::utimensat(AT_FDCWD, (i % 2 ? a : b).c_str(), nullptr, 0);
    held.unlock();
    ASSERT_TRUE(recorder.waitForPaths({""}));
}

TEST_F(FileWatcherTest, FallsBackToPollingAtTheWatchLimitAndSaysSoOnce) {
    auto o = options();
    o.maxWatches = 1;  // the root only; src cannot be watched
    o.pollInterval = 200ms;
    auto watcher = start(std::move(o));
    EXPECT_TRUE(watcher->polling());
    EXPECT_EQ(watcher->watchedFolders(), 0u);

    append("src/app.js", "app();\n");
    dir.write("project/lib/fresh.js", "export function fresh() {}\n");
    fs::remove(root + "/src/util.js");
    dir.write("project/build/ignored.js", "x();\n");
    ASSERT_TRUE(recorder.waitForPaths({"src/app.js", "lib/fresh.js", "src/util.js"}));
    // A few more rounds with nothing new: no more batches and no second notice.
    recorder.take();
    std::this_thread::sleep_for(1s);
    EXPECT_TRUE(recorder.take().empty());
    ASSERT_EQ(recorder.notices().size(), 1u);
    EXPECT_EQ(recorder.notices()[0], "Too many folders to watch: checking for changes every 200 ms");
}

TEST_F(FileWatcherTest, FallsBackWhenANewFolderCrossesTheLimit) {
    auto o = options();
    o.maxWatches = 4;  // exactly what the project has
    o.pollInterval = 1000ms;
    auto watcher = start(std::move(o));
    EXPECT_FALSE(watcher->polling());
    dir.write("project/extra/first.js", "export function first() {}\n");
    ASSERT_TRUE(recorder.waitForPaths({"extra"}));
    EXPECT_TRUE(watcher->polling());
    recorder.take();
    append("src/app.js", "app();\n");
    append("extra/first.js", "first();\n");
    ASSERT_TRUE(recorder.waitForPaths({"src/app.js", "extra/first.js"}));
    ASSERT_EQ(recorder.notices(), std::vector<std::string>{"Too many folders to watch: checking for changes every 1 s"});
}

TEST_F(FileWatcherTest, DestructorStopsPromptlyAndDropsAnUnfinishedBurst) {
    auto o = options(10min);
    o.maxBurst = 10min;
    o.pollInterval = 10min;
    auto watcher = start(std::move(o));
    append("src/app.js", "app();\n");
    while (watcher->idle()) std::this_thread::sleep_for(1ms);  // the burst is on its way
    auto before = std::chrono::steady_clock::now();
    watcher.reset();
    // Against timers of ten minutes: a stop that waited for any of them could not pass.
    EXPECT_LT(std::chrono::steady_clock::now() - before, 60s);
    EXPECT_TRUE(recorder.batches().empty());
}

// A project opened through a link to its folder (a home folder's shortcut to a disk):
// the root is followed, as the scan follows it, and the paths stay relative to it.
TEST_F(FileWatcherTest, ARootGivenThroughALinkIsWatched) {
    dir.symlink(root, "shortcut");
    auto o = options();
    o.root = dir / "shortcut";
    auto watcher = start(std::move(o));
    append("src/util.js", "// saved\n");
    append("lib/deep/helpers.js", "// saved\n");
    EXPECT_TRUE(recorder.waitForPaths({"src/util.js", "lib/deep/helpers.js"}));
}

TEST(FileWatcherRoot, ThrowsWhenTheRootIsNotAFolder) {
    TempDir dir;
    std::string file = dir.write("plain.txt", "x");
    for (const std::string& root : {file, dir / "missing"}) {
        FileWatcherOptions options;
        options.root = root;
        EXPECT_THROW(FileWatcher(options, {}), std::runtime_error) << root;
    }
}

}  // namespace
}  // namespace vantrel
