#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "ScratchDir.h"
#include "scan/Discovery.h"
#include "util/Paths.h"

using namespace vantrel;
using vantrel::testing::ScratchDir;
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

PluginList fakePlugins() {
    return {std::make_shared<FakePlugin>("js-family", Strings{"ts", "tsx", "js", "jsx"}),
            std::make_shared<FakePlugin>("python", Strings{"py"})};
}

struct Walk {
    std::set<std::string> yielded;          // every entry the walker gave, relative
    std::map<std::string, std::string> included;  // relPath -> ext
};

Walk walk(const std::string& root, const Strings& exclude, const PluginList& plugins = fakePlugins()) {
    Walk result;
    PathGlobMatcher matcher(exclude);
    Enumerator enumerator = makeEnumerator(root, plugins);
    if (!enumerator.walker) return result;
    while (auto path = enumerator.walker->next()) {
        result.yielded.insert(relativePath(*path, root));
        if (auto file = shouldInclude(*path, root, matcher, enumerator.pluginByExt, *enumerator.walker)) {
            EXPECT_EQ(file->path, *path);
            result.included.emplace(file->relPath, file->ext);
        }
    }
    return result;
}

// A project as found in the wild: mixed languages, dependencies, hidden tooling
// folders, generated output, odd names and symbolic links.
struct FixtureProject {
    ScratchDir dir;
    Strings exclude{"**/generated", "src/skip.ts"};

    FixtureProject() {
        dir.write("src/App.TSX", "export const App = () => null;");
        dir.write("src/keep.ts");
        dir.write("src/skip.ts");
        dir.write("src/ts");
        dir.write("src/.eslintrc.js");
        dir.write("src/util/types.d.ts");
        dir.write("src/util/helpers.js");
        dir.write(".hidden/secret.ts");
        dir.write(".git/hooks/pre-commit.py");
        dir.write("chart.js/index.js");
        dir.write("node_modules/top.js");
        dir.write("lib/node_modules/pkg/index.js");
        dir.write("lib/Node_Modules/pkg/index.js");
        dir.write("scripts/tool.py");
        dir.write("scripts/README.md");
        dir.write("pkg/main.py");
        dir.write("pkg/generated/deep.ts");
        dir.write("pkg/generated/more/deeper.py");
        // Were the excluded folder entered, this loop link would be walked too.
        dir.symlink("..", "pkg/generated/loop");
        dir.symlink("../src", "links/src.js");
        dir.symlink("../src/keep.ts", "links/alias.ts");
        dir.symlink("..", "links/self");
    }
};

const std::map<std::string, std::string> kExpectedFiles = {
    {"chart.js", "js"},  // a folder, yet it counts: there is no regular-file test
    {"chart.js/index.js", "js"},
    {"lib/Node_Modules/pkg/index.js", "js"},
    {"links/alias.ts", "ts"},
    {"links/src.js", "js"},
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
    Walk result = walk(project.dir.path(), project.exclude);

    EXPECT_EQ(result.included, kExpectedFiles);

    // Folders skipped by name or pattern are yielded themselves but never entered.
    for (const char* seen : {"node_modules", "lib/node_modules", "pkg/generated", "links/self", "src/skip.ts"})
        EXPECT_TRUE(result.yielded.count(seen)) << seen;
    for (const auto& rel : result.yielded) {
        EXPECT_FALSE(rel.starts_with("node_modules/") || rel.find("/node_modules/") != std::string::npos) << rel;
        EXPECT_FALSE(rel.starts_with("pkg/generated/")) << rel;
        EXPECT_FALSE(rel.starts_with("links/src.js/") || rel.starts_with("links/self/")) << rel;
        EXPECT_EQ(rel.find("/."), std::string::npos) << rel;
        EXPECT_NE(rel.front(), '.') << rel;
    }

    EXPECT_EQ(countSourceFiles(project.dir.path(), VantrelConfig{project.exclude, 3, std::nullopt}, fakePlugins()),
              static_cast<std::int64_t>(kExpectedFiles.size()));
}

TEST(Discovery, RootWithTrailingSlashGivesTheSameFiles) {
    FixtureProject project;
    EXPECT_EQ(walk(project.dir.path() + "/", project.exclude).included, kExpectedFiles);
    EXPECT_EQ(walk(project.dir.path() + "/.", project.exclude).included, kExpectedFiles);
}

TEST(Discovery, EnabledLanguagesChooseThePlugins) {
    FixtureProject project;
    auto count = [&](std::optional<Strings> languages) {
        return countSourceFiles(project.dir.path(), VantrelConfig{project.exclude, 3, languages}, fakePlugins());
    };
    EXPECT_EQ(count(std::nullopt), 11);
    EXPECT_EQ(count(Strings{}), 11);
    EXPECT_EQ(count(Strings{"python"}), 2);
    EXPECT_EQ(count(Strings{"cobol", "Python"}), 0);

    auto active = activePlugins(fakePlugins(), Strings{"python", "js-family", "python"});
    ASSERT_EQ(active.size(), 2u);
    EXPECT_EQ(active[0]->id(), "js-family");  // plugin order, not list order
    EXPECT_EQ(active[1]->id(), "python");
    EXPECT_TRUE(makeEnumerator(project.dir.path(), activePlugins(fakePlugins(), Strings{"cobol"})).pluginByExt.empty());
}

TEST(Discovery, LaterPluginWinsAnExtension) {
    ScratchDir dir;
    PluginList plugins{std::make_shared<FakePlugin>("first", Strings{"js", "mjs"}),
                       std::make_shared<FakePlugin>("second", Strings{"js"})};
    auto enumerator = makeEnumerator(dir.path(), plugins);
    EXPECT_EQ(enumerator.pluginByExt.at("js")->id(), "second");
    EXPECT_EQ(enumerator.pluginByExt.at("mjs")->id(), "first");
}

TEST(Discovery, CancellationIsPolledOncePerEntry) {
    FixtureProject project;
    VantrelConfig config{project.exclude, 3, std::nullopt};
    std::size_t entries = walk(project.dir.path(), project.exclude).yielded.size();

    std::size_t polls = 0;
    EXPECT_EQ(countSourceFiles(project.dir.path(), config, fakePlugins(), [&] { return ++polls, false; }), 11);
    EXPECT_EQ(polls, entries);

    polls = 0;
    EXPECT_EQ(countSourceFiles(project.dir.path(), config, fakePlugins(), [&] { return ++polls, true; }), 0);
    EXPECT_EQ(polls, 1u);

    polls = 0;
    auto partial = countSourceFiles(project.dir.path(), config, fakePlugins(), [&] { return ++polls > 4; });
    EXPECT_EQ(polls, 5u);
    EXPECT_LE(partial, 4);
}

TEST(Discovery, UnwalkableRootsCountAsEmpty) {
    ScratchDir dir;
    std::string file = dir.write("file.ts");
    EXPECT_EQ(countSourceFiles(dir.at("missing"), VantrelConfig{}, fakePlugins()), 0);
    EXPECT_EQ(countSourceFiles(file, VantrelConfig{}, fakePlugins()), 0);
    EXPECT_EQ(makeEnumerator(file, fakePlugins()).walker, nullptr);
}

TEST(Discovery, DeepTreesAndUnreadableFolders) {
    ScratchDir dir;
    std::string deep;
    for (int level = 0; level < 300; ++level) deep += "d/";
    dir.write(deep + "leaf.py");
    dir.write("open/visible.py");
    std::string locked = dir.write("locked/inner.py");
    ::chmod(dir.at("locked").c_str(), 0);
    // The superuser reads any folder, so the lock only shows for others.
    std::int64_t lockedFiles = ::geteuid() == 0 ? 1 : 0;

    EXPECT_EQ(countSourceFiles(dir.path(), VantrelConfig{}, fakePlugins()), 2 + lockedFiles);
    Walk result = walk(dir.path(), {});
    EXPECT_TRUE(result.yielded.count("locked"));
    EXPECT_TRUE(result.included.count(deep + "leaf.py"));
}

TEST(Discovery, WalkerReportsFoldersWithoutFollowingLinks) {
    ScratchDir dir;
    dir.write("folder/a.ts");
    dir.write("file.ts");
    dir.symlink("folder", "link");
    auto walker = DirectoryWalker::open(dir.path());
    ASSERT_TRUE(walker);
    std::map<std::string, bool> isFolder;
    while (auto path = walker->next()) isFolder[relativePath(*path, dir.path())] = walker->lastEntryIsDirectory();
    EXPECT_EQ(isFolder, (std::map<std::string, bool>{
                            {"file.ts", false}, {"folder", true}, {"folder/a.ts", false}, {"link", false}}));
}
