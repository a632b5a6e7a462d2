// The headless tool's scan command end to end: output, summary, exit codes and messages.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::runCommand;
using testing::TempDir;

std::string withoutLastScan(const std::string& json) {
    ProjectIR ir = decodeProjectIR(json);
    ir.lastScan = 0;
    return dumpJson(projectIRToJson(ir), true);
}

TEST(CliScan, WritesTheGraphAndASummary) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    auto first = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--jobs", "1"});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    ProjectIR ir = decodeProjectIR(first.out);
    EXPECT_EQ(ir.symbols.size(), 14u);
    EXPECT_NE(first.err.find("7 files (7 parsed, 0 from cache), 14 symbols, 12 edges, 4 diagnostics"),
              std::string::npos)
        << first.err;

    // Warm, with another job count and to a file: the same graph, nothing parsed.
    auto second = runCommand(
        {VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--jobs", "8", "--out", dir / "ir.json"});
    ASSERT_EQ(second.exitCode, 0) << second.err;
    EXPECT_TRUE(second.out.empty());
    EXPECT_NE(second.err.find("(0 parsed, 7 from cache)"), std::string::npos) << second.err;
    EXPECT_EQ(withoutLastScan(*readWholeFile(dir / "ir.json")), withoutLastScan(first.out));

    auto quiet = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet"});
    EXPECT_EQ(quiet.exitCode, 0);
    EXPECT_TRUE(quiet.err.empty()) << quiet.err;
}

TEST(CliScan, OutputToAPipeLeavesThePipeInPlace) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    std::string fifo = dir / "out.fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] {
        std::ifstream in(fifo, std::ios::binary);
        received.assign(std::istreambuf_iterator<char>(in), {});
    });
    auto result = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet", "--out", fifo});
    reader.join();
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(decodeProjectIR(received).symbols.size(), 14u);
    struct stat st {};
    ASSERT_EQ(::stat(fifo.c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST(CliScan, ProjectFileAndExplicitConfig) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    dir.write("project/vantrel.json", R"({"exclude": ["py/*"], "maxDepth": 5})");
    auto merged = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet"});
    ASSERT_EQ(merged.exitCode, 0) << merged.err;
    EXPECT_EQ(decodeProjectIR(merged.out).symbols.size(), 10u);

    dir.write("only-python.json", R"({"exclude": [], "maxDepth": 3, "enabledLanguages": ["python"]})");
    auto explicitConfig = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet",
                                      "--config", dir / "only-python.json"});
    ASSERT_EQ(explicitConfig.exitCode, 0) << explicitConfig.err;
    EXPECT_EQ(decodeProjectIR(explicitConfig.out).symbols.size(), 4u);
}

TEST(CliScan, FailuresAreOneClearLine) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");

    auto usage = runCommand({VANTREL_CLI_PATH, "scan"});
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_NE(usage.err.find("usage: vantrel-cli scan DIR"), std::string::npos);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "scan", root, "--jobs", "zero"}).exitCode, 2);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "scan", root, "--frobnicate"}).exitCode, 2);
    EXPECT_EQ(runCommand({VANTREL_CLI_PATH, "frobnicate"}).exitCode, 2);

    dir.write("bad.json", "{\"exclude\": \"py\"}");
    auto badConfig = runCommand({VANTREL_CLI_PATH, "scan", root, "--config", dir / "bad.json"});
    EXPECT_EQ(badConfig.exitCode, 2);

    auto missing = runCommand({VANTREL_CLI_PATH, "scan", dir / "nowhere", "--cache-dir", dir / "cache"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("is not a folder"), std::string::npos);

    std::filesystem::create_directories(root + "/src/unreadable.ts");
    auto failed = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_NE(failed.err.find("src/unreadable.ts"), std::string::npos) << failed.err;
    // Progress lines may come first; the failure itself is the last line.
    std::string lastLine = failed.err.substr(failed.err.rfind('\n', failed.err.size() - 2) + 1);
    EXPECT_EQ(lastLine.rfind("vantrel-cli scan: scan failed: Could not read ", 0), 0u) << failed.err;
}

}  // namespace
}  // namespace vantrel
