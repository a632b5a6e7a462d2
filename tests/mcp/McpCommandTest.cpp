// The real `vantrel-cli mcp` over pipes: a save in the project reaches its answers, and
// standard output carries nothing but protocol lines. The project, cache and home are in
// a temporary folder; no git repository lies above it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using nlohmann::json;
using testing::TempDir;

// The command as a child process with its standard input and output on pipes.
class McpProcess {
public:
    McpProcess(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
               const std::string& stderrFile) {
        int in[2], out[2];
        if (::pipe(in) != 0 || ::pipe(out) != 0) throw std::runtime_error("pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(in[0], 0);
            ::dup2(out[1], 1);
            int err = ::open(stderrFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            ::dup2(err, 2);
            for (int fd : {in[0], in[1], out[0], out[1], err}) ::close(fd);
            for (const auto& entry : environment) ::putenv(const_cast<char*>(entry.c_str()));
            std::vector<char*> args;
            for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        toChild_ = in[1];
        fromChild_ = out[0];
    }

    ~McpProcess() {
        closeInput();
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(fromChild_);
    }

    void send(const json& message) {
        std::string line = message.dump() + "\n";
        ASSERT_EQ(::write(toChild_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }

    // The next line the child writes, or nothing after `timeout`.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout) {
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (true) {
            if (auto end = buffer_.find('\n'); end != std::string::npos) {
                std::string line = buffer_.substr(0, end);
                buffer_.erase(0, end + 1);
                return line;
            }
            auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) return std::nullopt;
            pollfd fd{fromChild_, POLLIN, 0};
            if (::poll(&fd, 1, static_cast<int>(left.count())) <= 0) continue;
            char chunk[65536];
            ssize_t n = ::read(fromChild_, chunk, sizeof chunk);
            if (n <= 0) return std::nullopt;
            buffer_.append(chunk, static_cast<std::size_t>(n));
        }
    }

    json request(int id, const std::string& method, const json& params) {
        send({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}});
        auto line = readLine(std::chrono::seconds(60));
        if (!line) return nullptr;
        json reply = json::parse(*line, nullptr, false);  // a line that is not JSON fails below
        EXPECT_EQ(reply.value("id", json()), id) << *line;
        return reply;
    }

    void closeInput() {
        if (toChild_ >= 0) ::close(toChild_);
        toChild_ = -1;
    }

    // The exit code once the child ends by itself within `timeout`; -1 otherwise.
    int waitForExit(std::chrono::milliseconds timeout) {
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return -1;
    }

private:
    pid_t pid_ = -1;
    int toChild_ = -1;
    int fromChild_ = -1;
    std::string buffer_;
};

std::vector<std::string> callerIds(const json& reply) {
    std::vector<std::string> ids;
    for (const auto& level : reply["result"]["structuredContent"]["levels"])
        for (const auto& caller : level["callers"]) ids.push_back(caller["id"]);
    return ids;
}

TEST(McpCommand, ASaveReachesTheAnswers) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    McpProcess mcp(
        {VANTREL_CLI_PATH, "mcp", root, "--cache-dir", dir / "cache"},
        {"HOME=" + dir / "home", "XDG_DATA_HOME=" + dir / "home/data", "GIT_CEILING_DIRECTORIES=" + dir.path()},
        dir / "stderr.txt");
    json init = mcp.request(1, "initialize", {{"protocolVersion", "2025-06-18"}, {"capabilities", json::object()}});
    ASSERT_EQ(init["result"]["protocolVersion"], "2025-06-18") << init.dump();
    mcp.send({{"jsonrpc", "2.0"}, {"method", "notifications/initialized"}});

    const std::string pad = "src/lib/strings.ts:pad:function";
    json before = mcp.request(2, "tools/call", {{"name", "blast_radius"}, {"arguments", {{"id", pad}}}});
    // View calls pad through an alias that names no symbol; strings.ts's own run does.
    EXPECT_EQ(callerIds(before), (std::vector<std::string>{"src/lib/strings.ts:run:function"}));

    // A new file with a caller of pad, saved while the server runs.
    dir.write("project/src/app/banner.ts",
              "import { pad } from '../lib/strings';\n\nexport function banner() {\n  return pad('!');\n}\n");
    const std::string banner = "src/app/banner.ts:banner:function";
    bool seen = false;
    int id = 3;
    for (auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
         !seen && std::chrono::steady_clock::now() < deadline; ++id) {
        auto callers =
            callerIds(mcp.request(id, "tools/call", {{"name", "blast_radius"}, {"arguments", {{"id", pad}}}}));
        seen = std::find(callers.begin(), callers.end(), banner) != callers.end();
        if (!seen) std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    EXPECT_TRUE(seen) << "the new caller never appeared";

    // Outside a git work tree `changes` is an error result, not a failed exchange.
    json changes = mcp.request(id++, "tools/call", {{"name", "changes"}, {"arguments", json::object()}});
    EXPECT_EQ(changes["result"]["isError"], true) << changes.dump();
    EXPECT_NE(changes["result"]["content"][0]["text"].get<std::string>().find("git work tree"), std::string::npos);

    // End of input ends the server, with nothing further on standard output.
    mcp.closeInput();
    EXPECT_EQ(mcp.readLine(std::chrono::seconds(30)), std::nullopt);
    EXPECT_EQ(mcp.waitForExit(std::chrono::seconds(30)), 0);
}

}  // namespace
}  // namespace vantrel
