// The count shown while an exclude pattern is typed must agree with what a scan then
// leaves out: the listed files of a real folder, the pattern's count, and a scan's list
// with the pattern added.
#include <gtest/gtest.h>

#include "core/config/ExclusionPreview.h"
#include "core/scan/Discovery.h"
#include "core/scan/SymbolScanner.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;

TEST(ExclusionPreview, CountsWhatTheScanThenLeavesOut) {
    TempDir dir;
    for (const char* file : {"dist/bundle.js", "dist/chunks/a.js", "web/dist/page.ts", "web/app.ts", "src/dist.ts",
                             "src/main.py", "node_modules/x/index.js", "README.md"})
        dir.write(file, "\n");
    VantrelConfig config = VantrelConfig::defaultConfig();
    config.exclude.clear();
    const PluginList plugins = SymbolScanner::defaultPlugins();
    const auto files = listSourceFiles(dir.path(), config, plugins);
    EXPECT_EQ(files, (std::vector<std::string>{"dist/bundle.js", "dist/chunks/a.js", "src/dist.ts", "src/main.py",
                                               "web/app.ts", "web/dist/page.ts"}));

    // As the help text says: "dist/**" is the top-level folder, "**/dist/**" needs one in front.
    const std::vector<std::pair<std::string, std::size_t>> cases{
        {"dist/**", 2}, {"**/dist/**", 1}, {"dist", 2}, {"*.py", 1}, {"src/dist.ts", 1}, {"nothing/**", 0}, {"", 0}};
    for (const auto& [pattern, expected] : cases) {
        EXPECT_EQ(countExcludedBy(files, pattern), expected) << pattern;
        if (pattern.empty()) continue;
        VantrelConfig with = config;
        with.exclude = {pattern};
        EXPECT_EQ(files.size() - listSourceFiles(dir.path(), with, plugins).size(), expected) << pattern;
    }
}

}  // namespace
}  // namespace vantrel
