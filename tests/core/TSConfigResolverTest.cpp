#include <gtest/gtest.h>

#include "core/resolution/JSImportResolution.h"
#include "core/resolution/TSConfigResolver.h"
#include "tests/core/JSTestSupport.h"

namespace vantrel {
namespace {

using jstest::TempProject;
using Reason = ResolutionDiagnostic::Reason;

TEST(TSConfigSanitize, StripsCommentsAndTrailingCommasLikeTheThreeReplacements) {
    auto sanitize = TSConfigResolver::sanitizeJSON5ish;
    // Block comments: shortest match, across lines; "/*/" does not close; an unclosed one stays.
    EXPECT_EQ(sanitize("a/* x */b/* y\n */c"), "abc");
    EXPECT_EQ(sanitize("a/*/b*/c"), "ac");
    EXPECT_EQ(sanitize("a/**/b"), "ab");
    EXPECT_EQ(sanitize("a/* open"), "a/* open");
    EXPECT_EQ(sanitize("a/* open */ b /* again"), "a b /* again");
    // Line comments end before CR or LF; they act inside strings too.
    EXPECT_EQ(sanitize("a // x\r\nb // y\nc//"), "a \r\nb \nc");
    EXPECT_EQ(sanitize("{\"u\": \"https://x.org\"}"), "{\"u\": \"https:");
    // The block pass runs first, so "//" inside a block comment goes with it, and a "/*"
    // in a line comment still pairs with a later "*/", taking the line end along.
    EXPECT_EQ(sanitize("a /* // */ b"), "a  b");
    EXPECT_EQ(sanitize("// /* x\ny */z\nw"), "\nw");
    // Trailing commas, over any white space incl. line ends and Unicode separators.
    EXPECT_EQ(sanitize("[1, 2, ]"), "[1, 2]");
    EXPECT_EQ(sanitize("{\"a\": [1,\n\t\r\n  ],\n}"), "{\"a\": [1]}");
    EXPECT_EQ(sanitize("[1,\u00a0\u2028]"), "[1]");
    EXPECT_EQ(sanitize("[1,\v]"), "[1,\v]");  // vertical tab is no \s here
    EXPECT_EQ(sanitize("[1,,]"), "[1,]");
    EXPECT_EQ(sanitize("{,}"), "{}");
    EXPECT_EQ(sanitize("\"a, }\""), "\"a}\"");
    EXPECT_EQ(sanitize("[1, // last\n]"), "[1]");

    // Ten megabytes inside one comment and a run of commas: linear, no deep recursion.
    std::string huge = "{/*" + std::string(10'000'000, 'x') + "*/}";
    EXPECT_EQ(sanitize(huge), "{}");
    std::string commas(5'000'000, ',');
    EXPECT_EQ(sanitize(commas + "]"), std::string(4'999'999, ',') + "]");
}

TEST(TSConfigLoad, ReadsBaseUrlAndStringArrayPathsOfTheFixture) {
    std::string root = standardizePath(jstest::fixturePath("js-project"));
    auto resolver = TSConfigResolver::loadIfPresent(root);
    ASSERT_TRUE(resolver);
    EXPECT_EQ(resolver->config().configDir, root);
    EXPECT_EQ(resolver->config().baseUrl, ".");
    // "broken" (a plain string) and "mixed" (a number among strings) are dropped.
    EXPECT_EQ(resolver->config().paths,
              (std::map<std::string, std::vector<std::string>>{{"@/*", {"src/*", "lib/*"}},
                                                               {"config", {"src/config/index.ts", "lib/config.ts"}}}));
}

TEST(TSConfigLoad, UnusableConfigurationsCountAsAbsent) {
    TempProject none;
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(none.root()));

    // A URL's "//" cuts its line and breaks the JSON.
    TempProject url;
    url.write("tsconfig.json", R"({"compilerOptions": {"baseUrl": "https://cdn.example/", "paths": {}}})");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(url.root()));

    // "/*" in a key pairs with the "*/" of a later target and swallows the text between.
    TempProject swallowed;
    swallowed.write("tsconfig.json",
                    "{\"compilerOptions\": {\"paths\": {\n  \"@/*\": [\"src/*\"],\n  \"x\": [\"src/*/index\"]\n}}}");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(swallowed.root()));

    // A broken tsconfig.json does not fall back to a good jsconfig.json.
    TempProject both;
    both.write("tsconfig.json", "{ compilerOptions: {} }");
    both.write("jsconfig.json", R"({"compilerOptions": {"baseUrl": "src"}})");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(both.root()));

    TempProject notObject;
    notObject.write("tsconfig.json", "[]");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(notObject.root()));

    TempProject notUtf8;
    notUtf8.write("tsconfig.json", "{\"compilerOptions\": {\"baseUrl\": \"\xff\"}}");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(notUtf8.root()));

    TempProject folder;
    folder.mkdir("tsconfig.json");
    folder.write("jsconfig.json", "{}");
    EXPECT_FALSE(TSConfigResolver::loadIfPresent(folder.root()));
}

TEST(TSConfigLoad, LenientAboutMissingOrMistypedOptions) {
    TempProject js;
    js.write("jsconfig.json", R"({"compilerOptions": {"baseUrl": "src", "paths": {"#/*": ["lib/*"]}}})");
    auto fromJs = TSConfigResolver::loadIfPresent(js.root());
    ASSERT_TRUE(fromJs);
    EXPECT_EQ(fromJs->config().baseUrl, "src");
    EXPECT_EQ(fromJs->config().paths.size(), 1u);

    TempProject bare;
    bare.write("tsconfig.json", R"({"compilerOptions": "none", "extends": "./base.json"})");
    bare.write("base.json", R"({"compilerOptions": {"baseUrl": ".", "paths": {"@/*": ["src/*"]}}})");
    auto resolver = TSConfigResolver::loadIfPresent(bare.root());
    ASSERT_TRUE(resolver);
    EXPECT_FALSE(resolver->config().baseUrl);
    EXPECT_TRUE(resolver->config().paths.empty());

    TempProject typed;
    typed.write("tsconfig.json", R"({"compilerOptions": {"baseUrl": 1, "paths": ["src/*"]}})");
    resolver = TSConfigResolver::loadIfPresent(typed.root());
    ASSERT_TRUE(resolver);
    EXPECT_FALSE(resolver->config().baseUrl);
    EXPECT_TRUE(resolver->config().paths.empty());
}

class NonRelativeResolution : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* file : {"src/index.ts", "src/app/main.tsx", "lib/util.js", "lib/shared/log.ts",
                                 "pkgs/core/b.ts", "pkgs/ui/x/x.ts", "utils/math.ts", "exact/target.ts",
                                 "wild/target.ts", "lodash.debounce/index.js", "base/deep/mod.ts"})
            project.write(file, "export {};\n");
    }

    std::optional<std::string> resolve(std::map<std::string, std::vector<std::string>> paths,
                                       std::string_view specifier,
                                       std::optional<std::string> baseUrl = std::nullopt) const {
        TSConfigResolver resolver({project.root(), std::move(baseUrl), std::move(paths)});
        auto hit = resolver.resolveNonRelative(specifier);
        if (!hit) return std::nullopt;
        return relativePath(*hit, project.root());
    }

    TempProject project;
};

TEST_F(NonRelativeResolution, WildcardKeysCaptureBetweenPrefixAndSuffix) {
    // Targets in order: the second wins when only it exists.
    EXPECT_EQ(resolve({{"@/*", {"src/*", "lib/*"}}}, "@/shared/log"), "lib/shared/log.ts");
    EXPECT_EQ(resolve({{"@/*", {"src/*", "lib/*"}}}, "@/app/main"), "src/app/main.tsx");
    // An empty capture: src/ is the folder, found through its index file.
    EXPECT_EQ(resolve({{"@/*", {"src/*"}}}, "@/"), "src/index.ts");
    // Only the first "*" of a key splits it; every "*" of a target is replaced.
    EXPECT_EQ(resolve({{"p/*/b", {"pkgs/*/b"}}}, "p/core/b"), "pkgs/core/b.ts");
    EXPECT_EQ(resolve({{"ui:*", {"pkgs/ui/*/*"}}}, "ui:x"), "pkgs/ui/x/x.ts");
    // Prefix and suffix may not overlap: "ab*ba" does not apply to "aba".
    EXPECT_EQ(resolve({{"ab*ba", {"exact/target"}}}, "aba"), std::nullopt);
    EXPECT_EQ(resolve({{"ab*ba", {"exact/target"}}}, "abba"), "exact/target.ts");
    // "*" applies to everything, with the whole specifier captured.
    EXPECT_EQ(resolve({{"*", {"lib/*"}}}, "util"), "lib/util.js");
}

TEST_F(NonRelativeResolution, ExactKeysWinAndFailedKeysLeaveTheSearchOpen) {
    EXPECT_EQ(resolve({{"@/x", {"exact/target"}}, {"@/*", {"wild/target"}}}, "@/x"), "exact/target.ts");
    // The exact key finds nothing: the wildcard still may.
    EXPECT_EQ(resolve({{"@/x", {"missing/x"}}, {"@/*", {"wild/target"}}}, "@/x"), "wild/target.ts");
    // A wildcard key that applies without a hit does not end the search.
    EXPECT_EQ(resolve({{"@/*", {"missing/*"}}, {"@/x*", {"wild/target"}}}, "@/xy"), "wild/target.ts");
    // Without `paths` and without baseUrl the specifier is looked up below the config folder.
    EXPECT_EQ(resolve({}, "utils/math"), "utils/math.ts");
    EXPECT_EQ(resolve({{"@/*", {"src/*"}}}, "utils/math"), "utils/math.ts");
    EXPECT_EQ(resolve({}, "deep/mod", "base"), "base/deep/mod.ts");
    EXPECT_EQ(resolve({}, "deep/mod", project.path("base")), "base/deep/mod.ts");  // absolute baseUrl
    EXPECT_EQ(resolve({{"@/*", {"../src/*"}}}, "@/index", "base"), "src/index.ts");
    // A dot in the last component is an extension: only that exact path counts.
    EXPECT_EQ(resolve({}, "lodash.debounce"), "lodash.debounce");
    EXPECT_EQ(resolve({}, "react"), std::nullopt);
}

TEST(JSImportSource, RelativeImportsUseTheCandidateList) {
    TempProject project;
    for (const char* file : {"src/a.ts", "src/dir.ts", "src/dir/index.ts", "src/only/index.tsx", "src/a.service.ts",
                             "src.ts", "src/.hidden.js", "src/x.ts/keep", "outside.ts"})
        project.write(file, "export {};\n");
    std::string root = project.path("src");  // the project root is src/; outside.ts lies above it
    std::string importer = project.path("src/main.ts");
    auto resolve = [&](std::string_view raw) { return resolveJSImportSource(raw, importer, root, nullptr, "main.ts"); };

    EXPECT_EQ(resolve("'./a'").resolved, "a.ts");
    EXPECT_EQ(resolve("\"./dir\"").resolved, "dir.ts");
    EXPECT_EQ(resolve("`./only`").resolved, "only/index.tsx");
    EXPECT_EQ(resolve("'./x.ts'").resolved, "x.ts");  // a folder counts as existing
    EXPECT_EQ(resolve("'.hidden'").resolved, ".hidden.js");
    EXPECT_EQ(resolve("'.'").resolved, project.path("src.ts"));  // the folder's own name first
    EXPECT_EQ(resolve("'../outside'").resolved, project.path("outside.ts"));

    auto notFound = resolve("'./a.js'");
    EXPECT_FALSE(notFound.resolved);
    EXPECT_EQ(notFound.diagnostic,
              (ResolutionDiagnostic{"main.ts", "./a.js", Reason::fileNotFound, "File './a.js' does not exist"}));
    EXPECT_EQ(resolve("'./a.service'").diagnostic->reason, Reason::fileNotFound);
}

TEST(JSImportSource, NonRelativeImportsWithAndWithoutConfiguration) {
    TempProject project;
    project.write("src/x.ts", "export {};\n");
    std::string importer = project.path("src/main.ts");
    auto resolve = [&](std::string_view raw, const TSConfigResolver* tsconfig) {
        return resolveJSImportSource(raw, importer, project.root(), tsconfig, "src/main.ts");
    };

    auto alias = resolve("'@/x'", nullptr);
    EXPECT_FALSE(alias.resolved);
    EXPECT_EQ(alias.diagnostic, (ResolutionDiagnostic{"src/main.ts", "@/x", Reason::noTsConfig,
                                                      "Could not resolve '@/x' \u2192 No paths mapping found in "
                                                      "tsconfig.json"}));
    EXPECT_EQ(resolve("'react'", nullptr).diagnostic,
              (ResolutionDiagnostic{"src/main.ts", "react", Reason::externalModule,
                                    "Module 'react' is external (not scanned)"}));
    for (const char* external : {"'@scope/pkg'", "'~/x'", "'@app/x'", "'src/x'"})
        EXPECT_EQ(resolve(external, nullptr).diagnostic->reason, Reason::externalModule) << external;

    TSConfigResolver mapped({project.root(), ".", {{"@/*", {"src/*"}}, {"~/*", {"src/*"}}}});
    EXPECT_EQ(resolve("'@/x'", &mapped).resolved, "src/x.ts");
    EXPECT_EQ(resolve("'~/x'", &mapped).resolved, "src/x.ts");
    EXPECT_EQ(resolve("'src/x'", &mapped).resolved, "src/x.ts");
    EXPECT_EQ(resolve("'@/y'", &mapped).diagnostic->reason, Reason::noTsConfig);
    EXPECT_EQ(resolve("'~/y'", &mapped).diagnostic->reason, Reason::externalModule);
}

TEST(JSImportPass, EachMatchResolvesAndKeysOnlyBoundNames) {
    TempProject project;
    project.write("src/m.ts", "export const a = 1;\n");
    project.write("src/side.css", "");
    project.write("src/main.ts",
                  "import d from './m';\n"
                  "import { a, b as c } from './m';\n"
                  "import e, { f } from './m';\n"
                  "import * as ns from './m';\n"
                  "import type { T } from './m';\n"
                  "import './side.css';\n"
                  "import { x, y as z } from './gone';\n"
                  "import w = require('./gone');\n"
                  "export { q } from './gone';\n"
                  "const r = require('./gone');\n"
                  "import d from './side.css';\n");
    auto source = readWholeFile(project.path("src/main.ts"));
    ASSERT_TRUE(source);
    auto analysis = jstest::analyze(*source, "src/main.ts", project.root());
    const auto& result = analysis.result;

    // The later binding of d wins; b, ns and the side-effect import set no key.
    EXPECT_EQ(result.imports, (std::map<std::string, std::string>{{"d", "src/side.css"},
                                                                  {"a", "src/m.ts"},
                                                                  {"c", "src/m.ts"},
                                                                  {"e", "src/m.ts"},
                                                                  {"f", "src/m.ts"},
                                                                  {"T", "src/m.ts"}}));
    // './gone' in `import { x, y as z }`: one match for the statement and one per
    // specifier, three equal diagnostics. The require forms and the re-export are no imports.
    ResolutionDiagnostic gone{"src/main.ts", "./gone", Reason::fileNotFound, "File './gone' does not exist"};
    EXPECT_EQ(result.diagnostics, (std::vector<ResolutionDiagnostic>{gone, gone, gone}));
}

}  // namespace
}  // namespace vantrel
