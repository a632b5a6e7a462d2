// vantrel-cli changes over real git repositories made from the mixed fixture in a
// temporary folder. git runs with a temporary HOME and no system configuration, so the
// user's settings are never read.
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/util/FileIO.h"
#include "core/util/Text.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::CommandResult;
using testing::runCommand;
using testing::TempDir;

// Sets an environment variable for one scope, then puts the old value back.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        ::setenv(name, value.c_str(), 1);
    }
    ~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> old_;
};

std::string findOnPath(const std::string& program) {
    for (auto dir : splitKeepingEmpty(std::getenv("PATH") ? std::getenv("PATH") : "", ":")) {
        std::string candidate = std::string(dir) + "/" + program;
        if (!dir.empty() && pathExists(candidate)) return candidate;
    }
    return program;
}

class CliChanges : public ::testing::Test {
protected:
    TempDir dir;
    ScopedEnv home{"HOME", dir / "home"};
    ScopedEnv xdgConfig{"XDG_CONFIG_HOME", dir / "home/.config"};
    ScopedEnv noSystemConfig{"GIT_CONFIG_NOSYSTEM", "1"};
    ScopedEnv ceiling{"GIT_CEILING_DIRECTORIES", dir.path()};  // no repository above the test folder
    std::string gitPath = findOnPath("git");
    std::string repo = dir.copyFixture("scan-project", "repo");

    void SetUp() override {
        // A comment between two functions, to be edited later.
        dir.write("repo/src/lib/strings.ts",
                  "export function run() {\n  return pad('x');\n}\n\n// Pads on the left.\n"
                  "export function pad(text: string) {\n  return text.padStart(4);\n}\n");
        git({"init", "-q"});
        git({"config", "user.name", "Test"});
        git({"config", "user.email", "test@example.invalid"});
        git({"config", "core.autocrlf", "false"});
        commitAll("initial");
    }

    std::string git(const std::vector<std::string>& args) {
        std::vector<std::string> argv{gitPath, "-C", repo};
        argv.insert(argv.end(), args.begin(), args.end());
        auto result = runCommand(argv);
        EXPECT_EQ(result.exitCode, 0) << "git " << args.at(0) << ": " << result.err;
        return result.out;
    }

    void commitAll(const std::string& message) {
        git({"add", "-A"});
        git({"commit", "-q", "-m", message});
    }

    CommandResult changes(const std::string& folder, std::vector<std::string> options = {}) {
        std::vector<std::string> argv{VANTREL_CLI_PATH, "changes", folder, "--cache-dir", dir / "cache"};
        argv.insert(argv.end(), options.begin(), options.end());
        return runCommand(argv);
    }

    void replaceIn(const std::string& relative, const std::string& from, const std::string& to) {
        std::string text = *readWholeFile(repo + "/" + relative);
        ASSERT_NE(text.find(from), std::string::npos) << relative << " lacks " << from;
        dir.write("repo/" + relative, replaceAll(text, from, to));
    }
};

TEST_F(CliChanges, WorkingTreeEditsInTypeScriptAndPython) {
    replaceIn("src/lib/math.ts", "Math.max(0, value)", "Math.max(1, value)");     // inside a body
    replaceIn("src/lib/strings.ts", "// Pads on the left.", "// Pads to four.");  // comment only
    replaceIn("py/pkg/totals.py", "def _values():",
              "def average():\n    return compute_total() / 3\n\n\n"
              "def _values():");  // a new function
    replaceIn("py/pkg/report.py", "\n\ndef fetch():\n    return requests.get(\"https://example.invalid\")", "");
    dir.write("repo/src/lib/extra.ts", "export function extra() {\n  return tidy(2);\n}\n");  // untracked

    auto text = changes(repo, {"--quiet"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_EQ(text.out.substr(text.out.find('\n') + 1),
              "4 changed symbols\n"
              "  added     py/pkg/totals.py:average:function\n"
              "  added     src/lib/extra.ts:extra:function\n"
              "  modified  src/lib/math.ts:clamp:function\n"
              // The removed function's callers come from the base graph.
              "  removed   py/pkg/report.py:fetch:function\n"
              "4 reached symbols within depth 3\n"
              "level 1\n"
              "  py/pkg/report.py:report:function\n"
              "  src/lib/math.ts:tidy:function\n"
              "level 2\n"
              "  src/app/main.ts:format:function\n"
              "  src/app/main.ts:start:function\n");
    EXPECT_TRUE(text.out.starts_with("base HEAD ")) << text.out;
}

TEST_F(CliChanges, RenamedFileAndCrlfFile) {
    dir.write("repo/src/lib/lines.ts",
              "export function first() {\r\n  return 1;\r\n}\r\n\r\nexport function second() {\r\n"
              "  return first() + 1;\r\n}\r\n\r\nexport function third() {\r\n  return second();\r\n}\r\n");
    dir.write("repo/src/app/label.ts",
              "import { pad } from '../lib/strings';\n\nexport function label() {\n  return pad('total');\n}\n");
    commitAll("CRLF lines and a label");
    replaceIn("src/lib/lines.ts", "first() + 1;\r\n", "first() + 2;\r\n");
    // Moved with a small edit: git pairs the two names, and the symbols keep their history.
    git({"mv", "src/lib/strings.ts", "src/lib/text.ts"});
    replaceIn("src/lib/text.ts", "padStart(4)", "padStart(6)");
    replaceIn("src/app/label.ts", "'../lib/strings'", "'../lib/text'");

    auto result = changes(repo, {"--format", "json", "--quiet"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["changed"], nlohmann::json::parse(R"([
        {"change": "modified", "file": "src/lib/lines.ts", "id": "src/lib/lines.ts:second:function", "line": 5},
        {"change": "modified", "file": "src/lib/text.ts", "id": "src/lib/text.ts:pad:function", "line": 6,
         "previousId": "src/lib/strings.ts:pad:function"},
        {"change": "modified", "file": "src/lib/text.ts", "id": "src/lib/text.ts:run:function", "line": 1,
         "previousId": "src/lib/strings.ts:run:function"}])"));
    EXPECT_EQ(json["reached"], nlohmann::json::parse(R"([{"level": 1, "symbols": [
        {"file": "src/app/label.ts", "id": "src/app/label.ts:label:function", "line": 3},
        {"file": "src/lib/lines.ts", "id": "src/lib/lines.ts:third:function", "line": 9}]}])"));
    EXPECT_EQ(json["reachedCount"], 2);
    EXPECT_EQ(json["base"]["revision"], "HEAD");
    EXPECT_EQ(json["base"]["commit"].get<std::string>().size(), 40u);
}

TEST_F(CliChanges, PreciseLinkingReachesMethodCallersThroughABaseGraphOfItsOwn) {
    dir.write("repo/src/lib/meter.ts",
              "export class Meter {\n  read() {\n    return this.scale(2);\n  }\n\n"
              "  scale(n: number) {\n    return n * 2;\n  }\n}\n");
    commitAll("a meter");
    replaceIn("src/lib/meter.ts", "\n  scale(n: number) {\n    return n * 2;\n  }\n", "");

    // By name `this.scale()` is no edge, so the removed method reaches nothing.
    auto names = changes(repo, {"--format", "json", "--quiet"});
    ASSERT_EQ(names.exitCode, 0) << names.err;
    EXPECT_EQ(nlohmann::json::parse(names.out)["reachedCount"], 0);
    // Precisely read() calls it, which only a base graph linked the same way knows: the
    // one stored by the run above must not be taken.
    auto precise = changes(repo, {"--format", "json", "--quiet", "--linking", "precise"});
    ASSERT_EQ(precise.exitCode, 0) << precise.err;
    auto json = nlohmann::json::parse(precise.out);
    EXPECT_EQ(json["changed"], nlohmann::json::parse(R"([
        {"change": "removed", "file": "src/lib/meter.ts", "id": "src/lib/meter.ts:scale:method", "line": 6}])"));
    EXPECT_EQ(json["reached"], nlohmann::json::parse(R"([{"level": 1, "symbols": [
        {"file": "src/lib/meter.ts", "id": "src/lib/meter.ts:read:method", "line": 2}]}])"));
}

TEST_F(CliChanges, SubfolderAgainstAnOlderCommitAsMarkdownWithAGate) {
    replaceIn("py/pkg/totals.py", "[1, 2, 3]", "[1, 2, 3, 4]");
    commitAll("more values");
    std::string base = git({"rev-parse", "--short=12", "HEAD~1"}).substr(0, 12);

    // Ids are relative to the scanned subfolder; nothing outside it takes part.
    auto gated = changes(repo + "/py", {"--base", "HEAD~1", "--format", "markdown", "--fail-over", "1"});
    EXPECT_EQ(gated.exitCode, 3) << gated.err;
    EXPECT_EQ(gated.out, "Changes against `HEAD~1` (`" + base +
                             "`): **1 changed symbol** (1 modified), "
                             "**2 reached symbols** within depth 3.\n"
                             "\n#### Level 1: 1 symbol\n\n"
                             "| Symbol | File | Line |\n|---|---|---|\n"
                             "| `compute_total` function | `pkg/totals.py` | 1 |\n"
                             "\n#### Level 2: 1 symbol\n\n"
                             "| Symbol | File | Line |\n|---|---|---|\n"
                             "| `report` function | `pkg/report.py` | 6 |\n");
    EXPECT_NE(gated.err.find("2 symbols reached, more than --fail-over 1"), std::string::npos) << gated.err;

    // The same base again: its graph is read back, not scanned; the gate is not crossed.
    auto again = changes(repo + "/py", {"--base", "HEAD~1", "--fail-over", "2"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_NE(again.err.find("base " + base + ": stored graph"), std::string::npos) << again.err;
    EXPECT_NE(again.out.find("  modified  pkg/totals.py:_values:function\n"), std::string::npos) << again.out;
}

TEST_F(CliChanges, ProblemsWithGitAreOneLineErrors) {
    dir.write("plain/app.ts", "export function f() {}\n");
    auto outside = changes(dir / "plain");
    EXPECT_EQ(outside.exitCode, 1);
    EXPECT_NE(outside.err.find("is not inside a git work tree"), std::string::npos) << outside.err;

    auto badRevision = changes(repo, {"--base", "no-such-branch"});
    EXPECT_EQ(badRevision.exitCode, 1);
    EXPECT_NE(badRevision.err.find("'no-such-branch' does not name a commit"), std::string::npos) << badRevision.err;

    CommandResult noGit;
    {
        ScopedEnv emptyPath("PATH", dir / "no-programs-here");
        noGit = changes(repo);
    }
    EXPECT_EQ(noGit.exitCode, 1);
    EXPECT_NE(noGit.err.find("git was not found"), std::string::npos) << noGit.err;

    for (const auto& result : {outside, badRevision, noGit}) {
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    EXPECT_EQ(changes(repo, {"--format", "html"}).exitCode, 2);
}

}  // namespace
}  // namespace vantrel
