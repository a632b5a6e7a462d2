// vantrel-cli watch as a user runs it: the real binary over a temporary git repository,
// its standard output read line by line while files are edited, then Ctrl-C. Every wait
// has a deadline, so a watch that hangs fails the test instead of blocking it.
#include <signal.h>

#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

#include "core/util/FileIO.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/GitSandbox.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using testing::ChildProcess;
using testing::GitSandbox;
using testing::TempDir;

TEST(CliWatch, PrintsAJsonLineAtStartAndAfterEachEditThenEndsOnCtrlC) {
    TempDir dir;
    GitSandbox sandbox(dir, "scan-project");
    // gauge calls a scale that does not exist yet: no edge until it does.
    dir.write("repo/src/app/gauge.ts",
              "import { scale } from '../lib/math';\n\nexport function gauge() {\n  return scale(5);\n}\n");
    sandbox.commitAll("a gauge");

    ChildProcess watch({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--format", "json", "--cache-dir", dir / "cache"},
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

    ChildProcess watch({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--cache-dir", dir / "cache", "--quiet"},
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

    ChildProcess html({VANTREL_CLI_PATH, "watch", sandbox.repo(), "--format", "markdown"}, dir / "html.err");
    EXPECT_EQ(html.stop(0, 30s), 2);
}

}  // namespace
}  // namespace vantrel
