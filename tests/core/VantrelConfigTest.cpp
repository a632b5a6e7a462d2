#include <gtest/gtest.h>

#include <filesystem>

#include "core/config/VantrelConfig.h"
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
