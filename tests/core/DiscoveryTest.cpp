#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>

#include "core/languages/LanguagePlugin.h"
#include "core/scan/Discovery.h"
#include "core/util/Paths.h"
#include "tests/support/TempDir.h"

using namespace vantrel;
using Strings = std::vector<std::string>;

namespace {

class FakePlugin : public LanguagePlugin {
public:
    FakePlugin(std::string id, Strings extensions) : id_(std::move(id)), extensions_(std::move(extensions)) {}
    std::string id() const override { return id_; }
    Strings fileExtensions() const override { return extensions_; }
    const TSLanguage* language(std::string_view) const override { return nullptr; }
    FileAnalysisResult analyzeFile(const AnalysisInput&) const override { return {}; }

private:
    std::string id_;
    Strings extensions_;
};

const PluginList kPlugins{std::make_shared<FakePlugin>("js-family", Strings{"ts", "tsx", "js", "jsx"}),
                          std::make_shared<FakePlugin>("python", Strings{"py"})};

struct Walk {
    std::set<std::string> yielded;                // every entry the walker gave, relative
    std::map<std::string, std::string> included;  // relPath -> ext
};

Walk walk(const std::string& root, const Strings& exclude) {
    Walk result;
    PathGlobMatcher matcher(exclude);
    Enumerator enumerator = makeEnumerator(root, kPlugins);
    while (auto path = enumerator.walker->next()) {
        result.yielded.insert(relativePath(*path, root));
        if (auto file = shouldInclude(*path, root, matcher, enumerator.pluginByExt, *enumerator.walker))
            result.included.emplace(file->relPath, file->ext);
    }
    return result;
}

// A project as found in the wild: dependencies, hidden tooling, generated output, odd
// names and symbolic links, one of them a loop inside a folder that must stay unread.
struct FixtureProject : vantrel::testing::TempDir {
    const Strings exclude{"**/generated", "src/skip.ts"};
    FixtureProject() {
        for (const char* file :
             {"src/App.TSX", "src/keep.ts", "src/skip.ts", "src/ts", "src/.eslintrc.js", "src/util/types.d.ts",
              "src/util/helpers.js", ".hidden/secret.ts", ".git/hooks/pre.py", "chart.js/index.js",
              "node_modules/top.js", "lib/node_modules/pkg/index.js", "lib/Node_Modules/pkg/index.js",
              "scripts/tool.py", "scripts/README.md", "pkg/main.py", "pkg/generated/deep.ts"})
            write(file);
        symlink("..", "pkg/generated/loop");
        symlink("../src", "links/src.js");
        symlink("../src/keep.ts", "links/alias.ts");
        symlink("..", "links/self");
    }
};

const std::map<std::string, std::string> kExpectedFiles = {
    {"chart.js", "js"},  // a folder, yet it counts: there is no regular-file test
    {"chart.js/index.js", "js"},
    {"lib/Node_Modules/pkg/index.js", "js"},
    {"links/alias.ts", "ts"},
    {"links/src.js", "js"},  // a link to a folder: yielded, never entered
    {"pkg/main.py", "py"},
    {"scripts/tool.py", "py"},
    {"src/App.TSX", "tsx"},
    {"src/keep.ts", "ts"},
    {"src/util/helpers.js", "js"},
    {"src/util/types.d.ts", "ts"},
};

}  // namespace

TEST(Discovery, WalksARealisticProject) {
    FixtureProject project;
    Walk result = walk(project.path(), project.exclude);
    EXPECT_EQ(result.included, kExpectedFiles);
    EXPECT_EQ(walk(project.path() + "/", project.exclude).included, kExpectedFiles);

    // Folders skipped by name or pattern are yielded themselves, but nothing below them.
    for (const char* seen : {"node_modules", "lib/node_modules", "pkg/generated", "links/self"})
        EXPECT_TRUE(result.yielded.count(seen)) << seen;
    for (const auto& rel : result.yielded) {
        EXPECT_EQ(rel.find("node_modules/"), std::string::npos) << rel;
        EXPECT_FALSE(rel.starts_with("pkg/generated/") || rel.starts_with("links/src.js/")) << rel;
        EXPECT_TRUE(rel.front() != '.' && rel.find("/.") == std::string::npos) << rel;
    }
}

TEST(Discovery, CountFollowsLanguagesAndCancellation) {
    FixtureProject project;
    auto count = [&](std::optional<Strings> languages, const CancelCheck& cancel = {}) {
        return countSourceFiles(project.path(), VantrelConfig{project.exclude, 3, languages}, kPlugins, cancel);
    };
    EXPECT_EQ(count(std::nullopt), 11);
    EXPECT_EQ(count(Strings{}), 11);
    EXPECT_EQ(count(Strings{"python"}), 2);
    EXPECT_EQ(count(Strings{"cobol", "Python"}), 0);
    EXPECT_EQ(countSourceFiles(project.at("missing"), VantrelConfig{}, kPlugins), 0);

    // Polled once per yielded entry, before the entry is looked at.
    std::size_t polls = 0;
    EXPECT_EQ(count(std::nullopt, [&] { return ++polls, false; }), 11);
    EXPECT_EQ(polls, walk(project.path(), project.exclude).yielded.size());
    polls = 0;
    EXPECT_EQ(count(std::nullopt, [&] { return ++polls, true; }), 0);
    EXPECT_EQ(polls, 1u);

    auto active = activePlugins(kPlugins, Strings{"python", "js-family", "python"});
    ASSERT_EQ(active.size(), 2u);
    EXPECT_EQ(active[0]->id(), "js-family");  // plugin order, not list order
    PluginList overlapping{kPlugins[0], std::make_shared<FakePlugin>("later", Strings{"js"})};
    EXPECT_EQ(makeEnumerator(project.path(), overlapping).pluginByExt.at("js")->id(), "later");
}

TEST(Discovery, DeepTreesAndUnreadableFolders) {
    vantrel::testing::TempDir dir;
    std::string deep;
    for (int level = 0; level < 300; ++level) deep += "d/";
    dir.write(deep + "leaf.py");
    dir.write("open/visible.py");
    dir.write("locked/inner.py");
    ::chmod(dir.at("locked").c_str(), 0);
    // The superuser reads any folder, so the lock only shows for others.
    std::int64_t lockedFiles = ::geteuid() == 0 ? 1 : 0;
    EXPECT_EQ(countSourceFiles(dir.path(), VantrelConfig{}, kPlugins), 2 + lockedFiles);
    ::chmod(dir.at("locked").c_str(), 0755);
}
