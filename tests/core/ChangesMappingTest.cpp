// The pure half of `changes`: reading git's patch, mapping changed lines to symbols, the
// union of blast radii, and the Markdown comment. No git runs here.
#include <gtest/gtest.h>

#include "core/changes/ChangeReach.h"
#include "core/changes/ChangedSymbols.h"
#include "core/changes/ChangesReport.h"
#include "core/changes/UnifiedDiff.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

using testing::GraphBuilder;

TEST(UnifiedDiff, ReadsFilesAndHunksOfAZeroContextPatch) {
    const std::string patch =
        "diff --git a/web/cart.ts b/web/cart.ts\n"
        "index 1111111..2222222 100644\n"
        "--- a/web/cart.ts\n"
        "+++ b/web/cart.ts\n"
        "@@ -3 +3 @@ export function total() {\n"
        "-  return 1;\r\n"
        "+  return 2;\r\n"
        // Removed and added lines that look like file headers stay body lines.
        "@@ -10,2 +9,0 @@ function tax() {\n"
        "--- a/not/a/header\n"
        "-++count;\n"
        "@@ -20,0 +19,2 @@\n"
        "+++ b/not/a/header\n"
        "+diff --git a/x b/x\n"
        "\\ No newline at end of file\n"
        "diff --git a/py/old.py b/py/old.py\n"
        "deleted file mode 100644\n"
        "--- a/py/old.py\n"
        "+++ /dev/null\n"
        "@@ -1,2 +0,0 @@\n"
        "-def gone():\n"
        "-    pass\n"
        "diff --git a/web/a b.ts \"b/web/n\\303\\251w b.ts\"\n"
        "similarity index 90%\n"
        "rename from web/a b.ts\n"
        "rename to \"web/n\\303\\251w b.ts\"\n"
        "--- a/web/a b.ts\t\n"
        "+++ \"b/web/n\\303\\251w b.ts\"\t\n"
        "@@ -4 +4 @@\n"
        "-a\n"
        "+b\n"
        "diff --git a/web/new.ts b/web/new.ts\n"
        "new file mode 100644\n"
        "--- /dev/null\n"
        "+++ b/web/new.ts\n"
        "@@ -0,0 +1,3 @@\n"
        "+one\n+two\n+three\n"
        "diff --git a/logo.png b/logo.png\n"
        "Binary files a/logo.png and b/logo.png differ\n"
        "diff --git a/lib/a.py b/lib/b.py\n"
        "similarity index 100%\n"
        "rename from lib/a.py\n"
        "rename to lib/b.py\n";

    std::vector<FileDiff> expected{
        {"web/cart.ts", "web/cart.ts", false, {{3, 1, 3, 1}, {10, 2, 9, 0}, {20, 0, 19, 2}}},
        {"py/old.py", std::nullopt, false, {{1, 2, 0, 0}}},
        {"web/a b.ts", "web/n\xc3\xa9w b.ts", false, {{4, 1, 4, 1}}},
        {std::nullopt, "web/new.ts", false, {{0, 0, 1, 3}}},
        {std::nullopt, std::nullopt, false, {}},
        {"lib/a.py", "lib/b.py", false, {}},
    };
    EXPECT_EQ(parseUnifiedDiff(patch), expected);

    for (const char* malformed : {"@@ -1 @@", "@@ -x,1 +1 @@", "@@ -1, +1 @@", "@@ -1 +1", "@@@ -1 -1 +1 @@@"})
        EXPECT_FALSE(parseHunkHeader(malformed)) << malformed;
}

Symbol at(const std::string& id, std::int64_t startLine, std::int64_t endLine, std::int64_t endCol = 2) {
    auto kind = symbolKindFromRaw(splitId(id).back()).value_or(SymbolKind::function);
    return Symbol{id, kind, TextRange{startLine, 1, endLine, endCol}, {}, {}};
}

ProjectIR graphOf(const std::vector<Symbol>& symbols) {
    ProjectIR ir{"1", 0, {}, {}};
    for (const auto& symbol : symbols) ir.symbols[symbol.id] = symbol;
    return ir;
}

// One TypeScript and one Python file, before and after an edit session.
const std::string kTotal = "web/cart.ts:total:function";
const std::string kTax = "web/cart.ts:tax:function";
const std::string kFormat = "web/cart.ts:format:function";
const std::string kDiscount = "web/cart.ts:discount:function";
const std::string kLedger = "py/ledger.py:Ledger:class";
const std::string kPost = "py/ledger.py:post:method";
const std::string kFlush = "py/ledger.py:flush:method";

TEST(ChangedSymbols, LinesMapToTheDeclarationsThatHoldThem) {
    ProjectIR base = graphOf({at(kTotal, 1, 5), at(kTax, 7, 9), at(kFormat, 12, 16), at(kLedger, 1, 10),
                              at(kPost, 2, 5), at(kFlush, 7, 10)});
    // format ends at the start of line 17: that line is not its own.
    ProjectIR current = graphOf({at(kTotal, 1, 5), at(kTax, 7, 9), at(kFormat, 12, 17, 1), at(kLedger, 1, 9),
                                 at(kPost, 2, 5), at(kFlush, 7, 9)});
    std::vector<FileChange> changes{
        {"web/cart.ts",
         "web/cart.ts",
         false,
         {{10, 1, 10, 1},    // the comment between tax and format
          {14, 1, 14, 0},    // a line removed inside format, after its line 14
          {17, 1, 17, 1}}},  // the line after format
        // The last line of flush removed: nothing of its new range shows it, its old one does.
        {"py/ledger.py", "py/ledger.py", false, {{10, 1, 9, 0}}},
    };
    EXPECT_EQ(changedSymbols(changes, current, base),
              // The class holds the method: both changed.
              (std::vector<ChangedSymbol>{{kLedger, ChangeKind::modified, std::nullopt},
                                          {kFlush, ChangeKind::modified, std::nullopt},
                                          {kFormat, ChangeKind::modified, std::nullopt}}));

    // An edit on the first line of total, and a pure deletion right after tax's last line.
    changes = {{"web/cart.ts", "web/cart.ts", false, {{1, 1, 1, 1}, {10, 2, 9, 0}}}};
    EXPECT_EQ(changedSymbols(changes, current, base),
              (std::vector<ChangedSymbol>{{kTotal, ChangeKind::modified, std::nullopt}}));
}

TEST(ChangedSymbols, NewGoneAndMovedIdentities) {
    const std::string kOldHelper = "lib/util.ts:helper:function";
    const std::string kNewHelper = "lib/tools.ts:helper:function";
    const std::string kNewSlug = "lib/tools.ts:slug:function";
    ProjectIR base = graphOf({at(kTotal, 1, 5), at(kDiscount, 7, 9), at(kOldHelper, 1, 3)});
    ProjectIR current = graphOf({at(kTotal, 1, 5), at(kNewHelper, 1, 3), at(kNewSlug, 5, 7),
                                 at("scratch/try.py:main:function", 1, 2), at("vendor/x.js:skip:function", 1, 1)});
    // Git paths from the repository's top; the scanned folder is "app/".
    std::vector<FileDiff> diffs{
        {"app/web/cart.ts", "app/web/cart.ts", false, {{6, 4, 5, 0}}},   // discount removed
        {"app/lib/util.ts", "app/lib/tools.ts", false, {{4, 0, 5, 3}}},  // moved, slug added
        {"other/x.ts", "other/y.ts", false, {{1, 1, 1, 1}}},             // outside the folder
    };
    auto changes = changesBelowFolder(diffs, {"app/scratch/try.py", "README.md"}, "app/");
    EXPECT_EQ(changes, (std::vector<FileChange>{{"web/cart.ts", "web/cart.ts", false, {{6, 4, 5, 0}}},
                                                {"lib/tools.ts", "lib/util.ts", false, {{4, 0, 5, 3}}},
                                                {"scratch/try.py", "", true, {}}}));
    EXPECT_EQ(changedSymbols(changes, current, base),
              (std::vector<ChangedSymbol>{{kNewSlug, ChangeKind::added, std::nullopt},
                                          {"scratch/try.py:main:function", ChangeKind::added, std::nullopt},
                                          // Untouched lines, but its id moved with the file.
                                          {kNewHelper, ChangeKind::modified, kOldHelper},
                                          {kDiscount, ChangeKind::removed, std::nullopt}}));

    // A copy, or a move in from outside the folder, is new in every line.
    auto copied = changesBelowFolder(
        {{"app/lib/tools.ts", "app/lib/copy.ts", true, {{2, 1, 2, 1}}}, {"elsewhere/a.ts", "app/lib/a.ts", false, {}}},
        {}, "app/");
    EXPECT_EQ(copied, (std::vector<FileChange>{{"lib/copy.ts", "", true, {{2, 1, 2, 1}}}, {"lib/a.ts", "", true, {}}}));
}

TEST(ChangeReach, UnionKeepsTheLowestLevelAndLeavesChangedSymbolsOut) {
    // Base: api -> repo -> db.query, and cron -> db.vacuum (vacuum is deleted later).
    // Current: vacuum is gone, util.log is called by repo, and api also calls log directly.
    const std::string kQuery = "db.ts:query:function", kVacuum = "db.ts:vacuum:function";
    const std::string kRepo = "repo.ts:find:function", kApi = "api.ts:get:function", kCron = "cron.ts:tick:function";
    const std::string kLog = "util.ts:log:function", kOldLog = "log.ts:log:function", kMain = "main.ts:main:function";
    ProjectIR base = GraphBuilder()
                         .symbol(kQuery)
                         .symbol(kVacuum)
                         .symbol(kRepo)
                         .symbol(kApi)
                         .symbol(kCron)
                         .symbol(kOldLog)
                         .symbol(kMain)
                         .call(kRepo, kQuery)
                         .call(kApi, kRepo)
                         .call(kCron, kVacuum)
                         .call(kMain, kCron)
                         .call(kRepo, kOldLog)
                         .build();
    ProjectIR current = GraphBuilder()
                            .symbol(kQuery)
                            .symbol(kRepo)
                            .symbol(kApi)
                            .symbol(kCron)
                            .symbol(kLog)
                            .symbol(kMain)
                            .call(kRepo, kQuery)
                            .call(kApi, kRepo)
                            .call(kMain, kCron)
                            .call(kRepo, kLog)
                            .call(kApi, kLog)
                            .call(kQuery, kRepo)
                            .build();
    std::vector<ChangedSymbol> changed{{kQuery, ChangeKind::modified, std::nullopt},
                                       {kLog, ChangeKind::modified, kOldLog},
                                       {kVacuum, ChangeKind::removed, std::nullopt}};
    // api is two steps from query but one from log; repo calls query and is called by it.
    EXPECT_EQ(reachOfChanges(changed, current, base, 3), (ImpactLevels{{1, {kApi, kCron, kRepo}}, {2, {kMain}}}));
    EXPECT_EQ(reachOfChanges(changed, current, base, 1), (ImpactLevels{{1, {kApi, kCron, kRepo}}}));
    EXPECT_TRUE(reachOfChanges({}, current, base, 3).empty());
}

TEST(ChangesReport, MarkdownTablesStopAtFiftyRowsPerLevel) {
    ImpactLevels reached;
    GraphBuilder graph;
    graph.symbol("core/x.ts:changed:function");
    for (int i = 0; i < 53; ++i) {
        std::string id = "web/a|b.ts:caller" + std::to_string(100 + i) + ":function";
        graph.symbol(id);
        reached[1].insert(id);
    }
    reached[2].insert("gone.py:old:function");  // in neither graph: no line
    ProjectIR current = graph.build();
    current.symbols["web/a|b.ts:caller100:function"].range.startLine = 7;
    ChangesReport report = makeChangesReport("main", std::string(40, 'c'), 2,
                                             {{"core/x.ts:changed:function", ChangeKind::added, std::nullopt}}, reached,
                                             current, ProjectIR{});
    std::string markdown = renderChangesMarkdown(report);
    EXPECT_TRUE(
        markdown.starts_with("Changes against `main` (`cccccccccccc`): **1 changed symbol** (1 added), "
                             "**54 reached symbols** within depth 2.\n\n#### Level 1: 53 symbols\n\n"
                             "| Symbol | File | Line |\n|---|---|---|\n"
                             "| `caller100` function | `web/a\\|b.ts` | 7 |\n"
                             "| `caller101` function | `web/a\\|b.ts` | 0 |\n"))
        << markdown;
    EXPECT_NE(markdown.find("| `caller149` function |"), std::string::npos);
    EXPECT_EQ(markdown.find("caller150"), std::string::npos);
    EXPECT_TRUE(
        markdown.ends_with("\n… and 3 more\n\n#### Level 2: 1 symbol\n\n"
                           "| Symbol | File | Line |\n|---|---|---|\n"
                           "| `old` function | `gone.py` |  |\n"))
        << markdown;
}

}  // namespace
}  // namespace vantrel
