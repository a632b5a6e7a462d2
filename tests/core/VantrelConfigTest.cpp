#include <gtest/gtest.h>

#include "ScratchDir.h"
#include "config/VantrelConfig.h"

using vantrel::mergeConfig;
using vantrel::VantrelConfig;
using vantrel::testing::ScratchDir;

using Strings = std::vector<std::string>;

TEST(VantrelConfig, DefaultHasTheSixPatterns) {
    const auto& config = VantrelConfig::defaultConfig();
    EXPECT_EQ(config.exclude, (Strings{"**/node_modules/**", "**/.git/**", "**/.build/**", "**/DerivedData/**",
                                       "**/dist/**", "**/build/**"}));
    EXPECT_EQ(config.maxDepth, 3);
    EXPECT_FALSE(config.enabledLanguages.has_value());
}

TEST(VantrelConfig, DecodesStrictly) {
    auto full = VantrelConfig::decode(
        R"({"exclude":["a/**","b"],"maxDepth":5,"enabledLanguages":["python"],"theme":"dark"})");
    ASSERT_TRUE(full);
    EXPECT_EQ(*full, (VantrelConfig{{"a/**", "b"}, 5, Strings{"python"}}));

    // null and absent mean the same; range is not this layer's business; 2.0 is an integer.
    auto nullLanguages = VantrelConfig::decode(R"({"exclude":[],"maxDepth":-4,"enabledLanguages":null})");
    ASSERT_TRUE(nullLanguages);
    EXPECT_EQ(*nullLanguages, (VantrelConfig{{}, -4, std::nullopt}));
    auto zero = VantrelConfig::decode(R"({"exclude":[],"maxDepth":0})");
    ASSERT_TRUE(zero);
    EXPECT_EQ(zero->maxDepth, 0);
    auto emptyLanguages = VantrelConfig::decode(R"({"exclude":["x"],"maxDepth":2.0,"enabledLanguages":[]})");
    ASSERT_TRUE(emptyLanguages);
    EXPECT_EQ(emptyLanguages->maxDepth, 2);
    EXPECT_EQ(emptyLanguages->enabledLanguages, Strings{});

    const char* unusable[] = {
        R"({"exclude":["a"]})",                                     // no per-field defaults
        R"({"maxDepth":3})",
        R"({"exclude":["a"],"maxDepth":2.5})",
        R"({"exclude":["a"],"maxDepth":"3"})",
        R"({"exclude":"dist","maxDepth":3})",
        R"({"exclude":["a",1],"maxDepth":3})",
        R"({"exclude":["a"],"maxDepth":3,"enabledLanguages":"python"})",
        R"({"exclude":["a"],"maxDepth":3,"enabledLanguages":["python",null]})",
        R"({"exclude":["a"],"maxDepth":18446744073709551615})",
        "// project settings\n{\"exclude\":[\"a\"],\"maxDepth\":3}",
        R"({"exclude":["a"],"maxDepth":3,})",
        R"([{"exclude":["a"],"maxDepth":3}])",
        "",
    };
    for (const char* text : unusable) EXPECT_FALSE(VantrelConfig::decode(text)) << text;
}

TEST(VantrelConfig, LoadsOnlyTheFirstFileThatExists) {
    ScratchDir root;
    EXPECT_FALSE(VantrelConfig::loadIfPresent(root.path()));

    root.write(".vantrel/config.json", R"({"exclude":["gen/**"],"maxDepth":7})");
    auto second = VantrelConfig::loadIfPresent(root.path());
    ASSERT_TRUE(second);
    EXPECT_EQ(second->exclude, Strings{"gen/**"});

    // An invalid "vantrel.json" hides the valid second file.
    root.write("vantrel.json", R"({"exclude":["x"],"maxDepth":2.5})");
    EXPECT_FALSE(VantrelConfig::loadIfPresent(root.path()));
    root.write("vantrel.json", R"({"exclude":["x"],"maxDepth":1})");
    auto first = VantrelConfig::loadIfPresent(root.path() + "/");
    ASSERT_TRUE(first);
    EXPECT_EQ(first->exclude, Strings{"x"});

    // A folder of that name exists but cannot be read as a file: still no fallback.
    ScratchDir other;
    other.mkdir("vantrel.json");
    other.write(".vantrel/config.json", R"({"exclude":[],"maxDepth":3})");
    EXPECT_FALSE(VantrelConfig::loadIfPresent(other.path()));
}

TEST(VantrelConfig, MergeLaysTheProjectOverGlobalSettings) {
    VantrelConfig global{{"**/node_modules/**", "**/.git/**", "**/__pycache__/**"}, 3, Strings{"js-family"}};

    EXPECT_EQ(mergeConfig(global, std::nullopt), global);

    // Empty project excludes inherit; depth is the project's without any limit.
    auto inherited = mergeConfig(global, VantrelConfig{{}, 40, std::nullopt});
    EXPECT_EQ(inherited.exclude, global.exclude);
    EXPECT_EQ(inherited.maxDepth, 40);
    EXPECT_EQ(inherited.enabledLanguages, Strings{"js-family"});

    // A non-empty list replaces rather than joins; a present language list wins, even empty.
    auto replaced = mergeConfig(global, VantrelConfig{{"a", "b", "c"}, -1, Strings{}});
    EXPECT_EQ(replaced.exclude, (Strings{"a", "b", "c"}));
    EXPECT_EQ(replaced.maxDepth, -1);
    EXPECT_EQ(replaced.enabledLanguages, Strings{});

    VantrelConfig noGlobalLanguages{{"g"}, 3, std::nullopt};
    EXPECT_EQ(mergeConfig(noGlobalLanguages, VantrelConfig{{}, 2, Strings{"python"}}).enabledLanguages,
              Strings{"python"});
}
