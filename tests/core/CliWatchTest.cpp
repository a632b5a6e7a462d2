// vantrel-cli watch as a user runs it: the real binary over a temporary git repository,
// its standard output read line by line while files are edited, then Ctrl-C. Every wait
// has a deadline, so a watch that hangs fails the test instead of blocking it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/util/FileIO.h"
#include "tests/support/GitSandbox.h"
#include "tests/support/TempDir.h"

extern char** environ;

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using testing::GitSandbox;
using testing::TempDir;

// A running program whose standard output is read here and whose standard error goes to
// a file. Killed when the test ends early.
class Child {
public:
    Child(const std::vector<std::string>& args, const std::string& errFile) : errFile_(errFile) {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        std::vector<char*> argv;
        for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(fds[1]);
        out_ = fds[0];
    }
    ~Child() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) ::close(out_);
    }

    bool started() const { return pid_ > 0; }

    // The next line of standard output without its newline; nothing at the deadline or
    // the end of the output.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout) {
        auto deadline = std::chrono::steady_clock::now() + timeout;
        for (;;) {
            if (auto end = buffer_.find('\n'); end != std::string::npos) {
                std::string line = buffer_.substr(0, end);
                buffer_.erase(0, end + 1);
                return line;
            }
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left <= 0ms) return std::nullopt;
            pollfd p{out_, POLLIN, 0};
            if (::poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
            char chunk[4096];
            ssize_t got = ::read(out_, chunk, sizeof chunk);
            if (got <= 0) return std::nullopt;
            buffer_.append(chunk, static_cast<std::size_t>(got));
        }
    }

    // Sends `signal` and waits for the exit; the exit code (128 + signal when killed by
    // one), or nothing at the deadline.
    std::optional<int> stop(int signal, std::chrono::milliseconds timeout) {
        ::kill(pid_, signal);
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(20ms);
        }
        return std::nullopt;
    }

    // What is left of standard output once the program has ended.
    std::string rest() {
        std::string all = std::exchange(buffer_, {});
        while (auto line = readLine(2s)) all += *line + "\n";
        return all + buffer_;
    }

    std::string err() const { return readWholeFile(errFile_).value_or(""); }

private:
    pid_t pid_ = -1;
    int out_ = -1;
    std::string errFile_;
    std::string buffer_;
};

TEST(CliWatch, PrintsAJsonLineAtStartAndAfterEachEditThenEndsOnCtrlC) {
    TempDir dir;
    GitSandbox sandbox(dir, "scan-project");
    // gauge calls a scale that does not exist yet: no edge until it does.
    dir.write("repo/src/app/gauge.ts",
              "import { scale } from '../lib/math';\n\nexport function gauge() {\n  return scale(5);\n}\n");
    sandbox.commitAll("a gauge");

    Child watch({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--format", "json", "--cache-dir", dir / "cache"},
                dir / "watch.err");
    ASSERT_TRUE(watch.started());
    auto first = watch.readLine(60s);
    ASSERT_TRUE(first) << watch.err();
    auto start = nlohmann::json::parse(*first);
    EXPECT_EQ(start["changed"], nlohmann::json::array());
    EXPECT_EQ(start["reachedCount"], 0);
    EXPECT_EQ(start["base"]["revision"], "HEAD");

    sandbox.replaceIn("src/lib/math.ts", "function clamp(",
                      "export function scale(v: number) {\n  return v * 2;\n}\n\nfunction clamp(");
    auto next = watch.readLine(60s);
    ASSERT_TRUE(next) << watch.err();
    auto edited = nlohmann::json::parse(*next);
    EXPECT_EQ(edited["changed"], nlohmann::json::parse(R"([
        {"change": "added", "file": "src/lib/math.ts", "id": "src/lib/math.ts:scale:function", "line": 11}])"));
    EXPECT_EQ(edited["reached"], nlohmann::json::parse(R"([{"level": 1, "symbols": [
        {"file": "src/app/gauge.ts", "id": "src/app/gauge.ts:gauge:function", "line": 3}]}])"));

    // Inside a body: the graph stays as it was, the report does not.
    sandbox.replaceIn("src/lib/math.ts", "return a + b;", "return a + b + 0;");
    auto third = watch.readLine(60s);
    ASSERT_TRUE(third) << watch.err();
    auto body = nlohmann::json::parse(*third);
    EXPECT_EQ(body["changed"], nlohmann::json::parse(R"([
        {"change": "added", "file": "src/lib/math.ts", "id": "src/lib/math.ts:scale:function", "line": 11},
        {"change": "modified", "file": "src/lib/math.ts", "id": "src/lib/math.ts:add:function", "line": 1}])"));
    EXPECT_EQ(body["reached"], nlohmann::json::parse(R"([
        {"level": 1, "symbols": [{"file": "src/app/gauge.ts", "id": "src/app/gauge.ts:gauge:function", "line": 3},
                                 {"file": "src/lib/math.ts", "id": "src/lib/math.ts:run:function", "line": 5}]},
        {"level": 2, "symbols": [{"file": "src/app/main.ts", "id": "src/app/main.ts:start:function", "line": 5}]}])"));

    EXPECT_EQ(watch.stop(SIGINT, 30s), 130) << watch.err();
    // Only reports on standard output, one compact object per line.
    EXPECT_EQ(watch.rest(), "");
    EXPECT_EQ(first->find('\n'), std::string::npos);
}

TEST(CliWatch, TextReportsUnderATimeLineAndRefusedArguments) {
    TempDir dir;
    GitSandbox sandbox(dir, "scan-project");
    sandbox.replaceIn("src/lib/math.ts", "Math.max(0, value)", "Math.max(1, value)");

    Child watch({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--cache-dir", dir / "cache", "--quiet"},
                dir / "watch.err");
    ASSERT_TRUE(watch.started());
    std::vector<std::string> lines;
    // The time line, the base line, then the report itself down to its last level.
    while (lines.size() < 8) {
        auto line = watch.readLine(60s);
        ASSERT_TRUE(line) << watch.err();
        lines.push_back(*line);
    }
    EXPECT_TRUE(lines[0].starts_with("--- ") && lines[0].ends_with(" ---")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("base HEAD ")) << lines[1];
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 2, lines.end()),
              (std::vector<std::string>{"1 changed symbol", "  modified  src/lib/math.ts:clamp:function",
                                        "2 reached symbols within depth 3", "level 1",
                                        "  src/lib/math.ts:tidy:function", "level 2"}));
    EXPECT_EQ(watch.stop(SIGINT, 30s), 130) << watch.err();
    EXPECT_EQ(watch.rest(), "  src/app/main.ts:start:function\n");
    EXPECT_EQ(watch.err(), "");

    Child html({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--format", "markdown"}, dir / "html.err");
    EXPECT_EQ(html.stop(0, 30s), 2);
}

}  // namespace
}  // namespace vantrel
