// impact, diff and export of the headless tool over the mixed fixture.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::runCommand;
using testing::TempDir;

constexpr const char* kComputeTotal = "py/pkg/totals.py:compute_total:function";

class CliGraph : public ::testing::Test {
protected:
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    std::string cache = dir / "cache";

    std::string scanTo(const std::string& name) {
        auto result =
            runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", cache, "--quiet", "--out", dir / name});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return dir / name;
    }
};

TEST_F(CliGraph, ImpactListsCallersLevelByLevel) {
    auto text = runCommand({VANTREL_CLI_PATH, "impact", root, kComputeTotal, "--cache-dir", cache, "--quiet"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_EQ(text.out,
              "level 1\n"
              "  py/pkg/report.py:report:function\n"
              "  src/app/View.tsx:summarize:function\n"
              "level 2\n"
              "  src/app/View.tsx:View:component\n"
              "  src/app/main.ts:format:function\n"
              "level 3\n"
              "  src/app/main.ts:start:function\n");

    std::string saved = scanTo("ir.json");
    auto json = runCommand({VANTREL_CLI_PATH, "impact", saved, kComputeTotal, "--json", "--depth", "1"});
    ASSERT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(nlohmann::json::parse(json.out), nlohmann::json::parse(R"({"1": ["py/pkg/report.py:report:function",
                                              "src/app/View.tsx:summarize:function"]})"));

    auto leaf = runCommand({VANTREL_CLI_PATH, "impact", saved, "src/app/main.ts:start:function"});
    EXPECT_EQ(leaf.out, "no callers within depth 3\n");
}

TEST_F(CliGraph, BadInputsAreOneLineErrors) {
    std::string saved = scanTo("ir.json");
    auto unknown = runCommand({VANTREL_CLI_PATH, "impact", saved, "compute_total"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.err.find("unknown symbol id 'compute_total' (did you mean '" + std::string(kComputeTotal)),
              std::string::npos)
        << unknown.err;

    dir.write("broken.json",
              R"({"projectId": "1", "lastScan": 0, "symbols": {"a": {"id": "a", "kind": "classType"}}})");
    auto broken = runCommand({VANTREL_CLI_PATH, "impact", dir / "broken.json", "a"});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_NE(broken.err.find("not a valid ProjectIR"), std::string::npos) << broken.err;
    EXPECT_NE(broken.err.find("classType"), std::string::npos) << broken.err;
    EXPECT_EQ(std::count(broken.err.begin(), broken.err.end(), '\n'), 1);

    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "impact", saved, kComputeTotal, "--depth", "13"}).exitCode, 2);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "export", saved, "--format", "gif", "--out", dir / "x"}).exitCode, 2);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "export", saved, "--format", "svg"}).exitCode, 2);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "diff", saved}).exitCode, 2);
}

TEST_F(CliGraph, DiffComparesTwoSavedGraphs) {
    std::string before = scanTo("before.json");
    dir.write("project/src/lib/strings.ts", "export function run() { return compute_total(); }\n");
    std::string after = scanTo("after.json");

    auto result = runCommand({VANTREL_CLI_PATH, "diff", before, after, "--symbol", kComputeTotal, "--depth", "2"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["removedSymbols"], nlohmann::json({"src/lib/strings.ts:pad:function"}));
    EXPECT_EQ(json["addedSymbols"], nlohmann::json::array());
    EXPECT_EQ(json["addedEdges"], nlohmann::json::parse(R"([{"fromId": "src/lib/strings.ts:run:function", "toId": ")" +
                                                        std::string(kComputeTotal) + R"("}])"));
    EXPECT_EQ(json["removedEdges"].size(), 1u);
    const auto& levels = json["blastRadiusDelta"]["levels"];
    ASSERT_EQ(levels.size(), 2u);
    EXPECT_EQ(levels[0]["added"], nlohmann::json({"src/lib/strings.ts:run:function"}));
    EXPECT_EQ(levels[1]["added"], nlohmann::json::array());
    EXPECT_EQ(levels[1]["removed"], nlohmann::json::array());
}

TEST_F(CliGraph, ExportWritesEachFormat) {
    std::string saved = scanTo("ir.json");
    for (std::string format : {"json", "dot", "svg", "png"}) {
        std::string out = dir / ("graph." + format);
        auto result = runCommand({VANTREL_CLI_PATH, "export", saved, "--format", format, "--out", out});
        ASSERT_EQ(result.exitCode, 0) << format << ": " << result.err;
        auto bytes = readWholeFile(out);
        ASSERT_TRUE(bytes && !bytes->empty()) << format;
        if (format == "json") {
            EXPECT_EQ(decodeProjectIR(*bytes).symbols.size(), 14u);
        } else if (format == "dot") {
            EXPECT_EQ(bytes->rfind("digraph Vantrel {\n", 0), 0u);
        } else if (format == "svg") {
            EXPECT_NE(bytes->find("<circle"), std::string::npos);
        } else {
            EXPECT_EQ(bytes->substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
        }
    }
    // The same graph gives the same bytes, also when scanned from the folder.
    auto again = runCommand({VANTREL_CLI_PATH, "export", root, "--format", "svg", "--out", dir / "again.svg",
                             "--cache-dir", cache, "--quiet"});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(*readWholeFile(dir / "again.svg"), *readWholeFile(dir / "graph.svg"));
}

}  // namespace
}  // namespace vantrel
