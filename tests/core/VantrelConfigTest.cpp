#include <gtest/gtest.h>

#include <filesystem>

#include "core/config/VantrelConfig.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

using vantrel::mergeConfig;
using vantrel::VantrelConfig;
using Strings = std::vector<std::string>;

TEST(VantrelConfig, DecodesStrictly) {
    EXPECT_EQ(VantrelConfig::defaultConfig(), (VantrelConfig{{"**/node_modules/**", "**/.git/**", "**/.build/**",
                                                              "**/DerivedData/**", "**/dist/**", "**/build/**"},
                                                             3,
                                                             std::nullopt}));
    EXPECT_EQ(VantrelConfig::decode(R"({"exclude":["a/**"],"maxDepth":5,"enabledLanguages":["python"],"x":1})"),
              (VantrelConfig{{"a/**"}, 5, Strings{"python"}}));
    // Empty lists, null languages and any depth are fine here.
    EXPECT_EQ(VantrelConfig::decode(R"({"exclude":[],"maxDepth":-4,"enabledLanguages":null})"),
              (VantrelConfig{{}, -4, std::nullopt}));
    EXPECT_EQ(VantrelConfig::decode(R"({"exclude":[],"maxDepth":0,"enabledLanguages":[]})"),
              (VantrelConfig{{}, 0, Strings{}}));

    const char* unusable[] = {
        R"({"exclude":["a"]})",  // no per-field defaults
        R"({"maxDepth":3})",
        R"({"exclude":["a"],"maxDepth":2.5})",
        R"({"exclude":["a"],"maxDepth":"3"})",
        R"({"exclude":["a"],"maxDepth":18446744073709551615})",
        R"({"exclude":"dist","maxDepth":3})",
        R"({"exclude":["a",1],"maxDepth":3})",
        R"({"exclude":["a"],"maxDepth":3,"enabledLanguages":"python"})",
        "// settings\n{\"exclude\":[\"a\"],\"maxDepth\":3}",
        R"({"exclude":["a"],"maxDepth":3,})",
        R"([{"exclude":["a"],"maxDepth":3}])",
    };
    for (const char* text : unusable) EXPECT_FALSE(VantrelConfig::decode(text)) << text;
}

TEST(VantrelConfig, LoadsOnlyTheFirstFileThatExists) {
    vantrel::testing::TempDir root;
    EXPECT_FALSE(VantrelConfig::loadIfPresent(root.path()));
    root.write(".vantrel/config.json", R"({"exclude":["gen/**"],"maxDepth":7})");
    EXPECT_EQ(VantrelConfig::loadIfPresent(root.path())->exclude, Strings{"gen/**"});

    // An unusable "vantrel.json", even a folder of that name, hides the valid second file.
    root.write("vantrel.json", R"({"exclude":["x"],"maxDepth":2.5})");
    EXPECT_FALSE(VantrelConfig::loadIfPresent(root.path()));
    std::filesystem::remove(root.at("vantrel.json"));
    std::filesystem::create_directory(root.at("vantrel.json"));
    EXPECT_FALSE(VantrelConfig::loadIfPresent(root.path()));
}

TEST(VantrelConfig, MergeLaysTheProjectOverGlobalSettings) {
    VantrelConfig global{{"**/node_modules/**", "**/.git/**"}, 3, Strings{"js-family"}};
    EXPECT_EQ(mergeConfig(global, std::nullopt), global);
    // Empty excludes inherit, depth is the project's unlimited, absent languages inherit.
    EXPECT_EQ(mergeConfig(global, VantrelConfig{{}, 40, std::nullopt}),
              (VantrelConfig{global.exclude, 40, Strings{"js-family"}}));
    // A list replaces rather than joins; present languages win even when empty.
    EXPECT_EQ(mergeConfig(global, VantrelConfig{{"a", "b", "c"}, -1, Strings{}}),
              (VantrelConfig{{"a", "b", "c"}, -1, Strings{}}));
}

// "Exclude This File…": the pattern joins the project's own list without dropping what
// the merged settings excluded, and every other field of the file stays.
TEST(VantrelConfig, AddsAFileToTheProjectExclusions) {
    vantrel::testing::TempDir dir;
    const VantrelConfig effective{{"**/node_modules/**", "**/dist/**"}, 4, std::nullopt};

    // No file yet: one with the merged exclusions and depth, then the file.
    const auto created = vantrel::addProjectExclusion(dir.path(), "src/old b.ts", effective);
    EXPECT_EQ(created.error, "");
    EXPECT_EQ(created.path, dir / "vantrel.json");
    EXPECT_EQ(VantrelConfig::loadIfPresent(dir.path()),
              (VantrelConfig{{"**/node_modules/**", "**/dist/**", "src/old b.ts"}, 4, std::nullopt}));
    // Once only.
    EXPECT_EQ(vantrel::addProjectExclusion(dir.path(), "src/old b.ts", effective).error, "");
    EXPECT_EQ(VantrelConfig::loadIfPresent(dir.path())->exclude.size(), 3u);

    // A file with no exclusions of its own keeps its other fields.
    vantrel::testing::TempDir second;
    second.write(".vantrel/config.json", R"({"exclude":[],"maxDepth":7,"linking":"precise","note":"kept"})");
    const auto edited = vantrel::addProjectExclusion(second.path(), "lib/x.py", effective);
    EXPECT_EQ(edited.path, second / ".vantrel/config.json");
    EXPECT_EQ(VantrelConfig::loadIfPresent(second.path()),
              (VantrelConfig{
                  {"**/node_modules/**", "**/dist/**", "lib/x.py"}, 7, std::nullopt, vantrel::LinkingMode::precise}));
    EXPECT_NE(vantrel::readWholeFile(second / ".vantrel/config.json")->find("\"note\": \"kept\""), std::string::npos);

    // Its own list is extended as it is.
    vantrel::testing::TempDir third;
    third.write("vantrel.json", R"({"exclude":["gen/**"],"maxDepth":2})");
    EXPECT_EQ(vantrel::addProjectExclusion(third.path(), "a.js", effective).error, "");
    EXPECT_EQ(VantrelConfig::loadIfPresent(third.path())->exclude, (Strings{"gen/**", "a.js"}));

    // An unusable file is not overwritten.
    vantrel::testing::TempDir broken;
    broken.write("vantrel.json", R"({"exclude":["a"],)");
    EXPECT_NE(vantrel::addProjectExclusion(broken.path(), "a.js", effective).error, "");
    EXPECT_EQ(*vantrel::readWholeFile(broken / "vantrel.json"), R"({"exclude":["a"],)");
}
