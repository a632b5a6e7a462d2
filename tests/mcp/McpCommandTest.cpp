// The real `vantrel-cli mcp` over pipes: a save in the project reaches its answers, and
// standard output carries nothing but protocol lines. The project, cache and home are in
// a temporary folder; no git repository lies above it.

#include <gtest/gtest.h>
#include <chrono>
#include <nlohmann/json.hpp>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using nlohmann::json;
using testing::TempDir;

// The command as a child process, spoken to in protocol lines.
class McpProcess {
public:
    McpProcess(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
               const std::string& stderrFile)
        : child_(argv, stderrFile, environment) {}

    void send(const json& message) { ASSERT_TRUE(child_.write(message.dump() + "\n")); }

    // The next line the child writes, or nothing after `timeout`.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout) { return child_.readLine(timeout); }

    json request(int id, const std::string& method, const json& params) {
        send({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}});
        auto line = readLine(std::chrono::seconds(60));
        if (!line) return nullptr;
        json reply = json::parse(*line, nullptr, false);  // a line that is not JSON fails below
        EXPECT_EQ(reply.value("id", json()), id) << *line;
        return reply;
    }

    void closeInput() { child_.closeInput(); }

    // The exit code once the child ends by itself within `timeout`; -1 otherwise.
    int waitForExit(std::chrono::milliseconds timeout) { return child_.stop(0, timeout).value_or(-1); }

private:
    testing::ChildProcess child_;
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
