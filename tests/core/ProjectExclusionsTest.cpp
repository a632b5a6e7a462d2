// Excluding one file from a project: the project file gains the pattern and keeps every
// other key; without a project file one is made that keeps the global patterns in force;
// a project file the scan would refuse is never overwritten.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/config/ProjectExclusions.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;

VantrelConfig inEffect() {
    VantrelConfig config;
    config.exclude = {"**/node_modules/**", "dist/**"};
    config.maxDepth = 4;
    return config;
}

TEST(ProjectExclusions, ANewProjectFileKeepsTheGlobalPatterns) {
    TempDir dir;
    ASSERT_TRUE(addProjectExclusion(dir.path(), exclusionPatternForFile("./src\\gen/big.ts"), inEffect()).ok);
    auto written = VantrelConfig::loadIfPresent(dir.path());
    ASSERT_TRUE(written);
    EXPECT_EQ(written->exclude, (std::vector<std::string>{"**/node_modules/**", "dist/**", "src/gen/big.ts"}));
    EXPECT_EQ(written->maxDepth, 4);
    // Twice is once.
    ASSERT_TRUE(addProjectExclusion(dir.path(), "src/gen/big.ts", inEffect()).ok);
    EXPECT_EQ(VantrelConfig::loadIfPresent(dir.path())->exclude.size(), 3u);
}

TEST(ProjectExclusions, AnExistingFileGainsThePatternAndKeepsItsKeys) {
    TempDir dir;
    dir.write(".vantrel/config.json",
              R"({"linking": "precise", "exclude": ["vendor/**"], "maxDepth": 7, "enabledLanguages": ["python"]})");
    ASSERT_TRUE(addProjectExclusion(dir.path(), "a.py", inEffect()).ok);
    auto root = nlohmann::json::parse(*readWholeFile(dir.path() + "/.vantrel/config.json"));
    EXPECT_EQ(root["exclude"], (nlohmann::json{"vendor/**", "a.py"}));
    EXPECT_EQ(root["maxDepth"], 7);
    EXPECT_EQ(root["linking"], "precise");
    EXPECT_EQ(root["enabledLanguages"], (nlohmann::json{"python"}));
    EXPECT_FALSE(pathExists(dir.path() + "/vantrel.json"));

    // An empty list meant "the global patterns": they are written out with the new one.
    dir.write(".vantrel/config.json", R"({"exclude": [], "maxDepth": 3})");
    ASSERT_TRUE(addProjectExclusion(dir.path(), "a.py", inEffect()).ok);
    EXPECT_EQ(VantrelConfig::loadIfPresent(dir.path())->exclude,
              (std::vector<std::string>{"**/node_modules/**", "dist/**", "a.py"}));
}

TEST(ProjectExclusions, AnUnusableProjectFileIsLeftAsItIs) {
    TempDir dir;
    const std::string broken = R"({"exclude": ["x"], "maxDepth": "deep"})";
    dir.write("vantrel.json", broken);
    const ExclusionResult result = addProjectExclusion(dir.path(), "a.py", inEffect());
    EXPECT_FALSE(result.ok);
    EXPECT_NE(result.error.find("vantrel.json"), std::string::npos) << result.error;
    EXPECT_EQ(*readWholeFile(dir.path() + "/vantrel.json"), broken);
}

}  // namespace
}  // namespace vantrel
