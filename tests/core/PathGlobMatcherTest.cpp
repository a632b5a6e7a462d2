#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "config/PathGlobMatcher.h"

using vantrel::PathGlobMatcher;

namespace {

struct GlobCase {
    const char* pattern;
    std::string path;
    bool expected;
};

}  // namespace

TEST(PathGlobMatcher, SemanticsTable) {
    const std::vector<GlobCase> cases = {
        // "**" is just "*": the slashes around it must still be there.
        {"**/dist/**", "packages/app/dist/main.js", true},
        {"**/dist/**", "a/dist/b", true},
        {"**/dist/**", "dist/main.js", false},
        {"**/dist/**", "packages/app/dist", false},
        {"**/dist/**", "packages/app/mydist/x", false},
        // "*" crosses "/" and the match is over the whole path.
        {"*.js", "c.js", true},
        {"*.js", "a/b/c.js", true},
        {"*.js", "a/b/c.jsx", false},
        {"*.js", "c.js.map", false},
        {"src/*", "src/a.ts", true},
        {"src/*", "src/a/b/c.ts", true},
        {"src/*", "src", false},
        {"src/*", "src/", false},  // trimmed to "src"
        // Tested paths never carry a leading or trailing "/".
        {"/dist/*", "dist/a.js", false},
        {"/dist/*", "/dist/a.js", false},
        {"dist/", "dist", false},
        {"dist/", "dist/", false},
        {"dist", "//dist//", true},
        {"**/dist/**", "/packages/app/dist/main.js/", true},
        // Case- and accent-sensitive.
        {"**/Build/**", "x/build/y", false},
        {"**/Build/**", "x/Build/y", true},
        {"caf\xC3\xA9.py", "cafe.py", false},
        // Three stars compile to two, which behave like one.
        {"***.js", "a/b.js", true},
        {"a***b", "a/x/y/b", true},
        {"a***b", "ab", true},
        // "?" is exactly one character, "/" and multi-byte scalars included.
        {"a?c", "a/c", true},
        {"a?c", "abc", true},
        {"a?c", "ac", false},
        {"a?c", "abbc", false},
        {"a?c", "a\xE2\x82\xAC" "c", true},         // U+20AC, three bytes
        {"a?c", "a\xF0\x9F\x98\x80" "c", true},     // U+1F600, four bytes
        {"a??c", "a\xE2\x82\xAC" "c", false},
        {"?", "\xC3\xA9", true},
        {"a?c", "a\xFF" "c", true},  // a malformed byte still counts as one character
        // No classes, braces or negation: all literal.
        {"[ab].js", "[ab].js", true},
        {"[ab].js", "a.js", false},
        {"{a,b}.js", "a.js", false},
        {"{a,b}.js", "{a,b}.js", true},
        {"!x", "!x", true},
        {"100% \"done\" 'x'.js", "100% \"done\" 'x'.js", true},
        {"my file.ts", "my  file.ts", false},
        // Backtracking past a partial match.
        {"*/dist/*", "a/distx/dist/y", true},
        {"*ab*ab", "xabyab", true},
        {"*ab*ab", "xabyabz", false},
    };
    for (const auto& c : cases) {
        PathGlobMatcher matcher({c.pattern});
        EXPECT_EQ(matcher.matches(c.path), c.expected) << "pattern '" << c.pattern << "' path '" << c.path << "'";
    }
}

TEST(PathGlobMatcher, ListsAndEmptyCases) {
    PathGlobMatcher none({});
    EXPECT_FALSE(none.matches(""));
    EXPECT_FALSE(none.matches("a.js"));

    PathGlobMatcher several({"**/node_modules/**", "*.py", "docs"});
    EXPECT_TRUE(several.matches("docs"));
    EXPECT_TRUE(several.matches("tools/x.py"));
    EXPECT_TRUE(several.matches("a/node_modules/b"));
    EXPECT_FALSE(several.matches("docs/readme.md"));
    EXPECT_FALSE(several.matches("node_modules/b"));

    // An empty pattern matches only the empty path, which "/" trims to.
    PathGlobMatcher empty({""});
    EXPECT_TRUE(empty.matches("/"));
    EXPECT_FALSE(empty.matches("a"));
}

TEST(PathGlobMatcher, StarHeavyPatternsStayFast) {
    // A naive recursive matcher needs exponential time here; the patterns come from
    // user files, so this must stay cheap.
    std::string path(20000, 'a');
    PathGlobMatcher matcher({"*a*a*a*a*a*a*a*a*a*a*a*a*b", "?*?*?*?*?*?*?*?*?*?*c"});
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matcher.matches(path));
    EXPECT_TRUE(matcher.matches(path + "b"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
