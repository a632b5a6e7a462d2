// WorkingChanges over a real git repository made from the mixed fixture. In it (names
// linking) tidy calls clamp, start calls tidy, format calls report, report and the
// component's summarize call compute_total, which calls _values, and View calls summarize.
#include "core/changes/WorkingChanges.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/cache/ProjectCache.h"
#include "core/changes/GitRepository.h"
#include "core/scan/SymbolScanner.h"
#include "tests/support/GitSandbox.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::GitSandbox;
using testing::TempDir;

// "modified src/lib/math.ts:clamp:function", one per changed symbol, in the report's order.
std::vector<std::string> changedRows(const ChangesReport& report) {
    std::vector<std::string> rows;
    for (const auto& symbol : report.changed)
        rows.push_back(std::string(symbol.change ? rawValue(*symbol.change) : "?") + " " + symbol.id);
    return rows;
}

std::map<int, std::vector<std::string>> reachedIds(const ChangesReport& report) {
    std::map<int, std::vector<std::string>> levels;
    for (const auto& [level, symbols] : report.reached)
        for (const auto& symbol : symbols) levels[level].push_back(symbol.id);
    return levels;
}

class WorkingChangesTest : public ::testing::Test {
protected:
    TempDir dir;
    GitSandbox sandbox{dir, "scan-project"};
    const std::string& repo = sandbox.repo();

    // The working tree's graph, as the caller of compute would have it.
    ProjectIR scanWorkingTree() const {
        SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "support"));
        ScanOptions options;
        options.root = repo;
        return scanner.scanProject(options);
    }

    WorkingChangesOptions options(const std::string& revision = "HEAD") const {
        WorkingChangesOptions o;
        o.root = repo;
        o.revision = revision;
        o.supportDir = dir / "support";
        return o;
    }
};

TEST_F(WorkingChangesTest, CallersOfAnEditAndALaterEditWithTheSameBase) {
    sandbox.replaceIn("src/lib/math.ts", "Math.max(0, value)", "Math.max(1, value)");
    WorkingChanges changes(options());
    EXPECT_EQ(changes.baseInfo().origin, BaseGraphInfo::Origin::none);
    EXPECT_TRUE(changes.baseGraph().symbols.empty());

    ChangesReport first = changes.compute(scanWorkingTree(), 3);
    EXPECT_EQ(changedRows(first), std::vector<std::string>{"modified src/lib/math.ts:clamp:function"});
    EXPECT_EQ(reachedIds(first), (std::map<int, std::vector<std::string>>{
                                     {1, {"src/lib/math.ts:tidy:function"}},
                                     {2, {"src/app/main.ts:start:function"}}}));
    EXPECT_EQ(first.baseRevision, "HEAD");
    EXPECT_EQ(first.baseCommit, sandbox.git({"rev-parse", "HEAD"}).substr(0, 40));
    EXPECT_EQ(changes.baseInfo().origin, BaseGraphInfo::Origin::scanned);
    EXPECT_EQ(changes.baseInfo().loads, 1);
    // The base knows clamp at the committed line count, the untouched caller too.
    EXPECT_TRUE(changes.baseGraph().symbols.count("src/lib/math.ts:clamp:function"));
    const ProjectIR* base = &changes.baseGraph();

    // Another file, and a new one git does not track yet.
    sandbox.replaceIn("py/pkg/totals.py", "[1, 2, 3]", "[1, 2, 3, 4]");
    dir.write("repo/src/lib/extra.ts", "export function extra() {\n  return tidy(2);\n}\n");
    ChangesReport second = changes.compute(scanWorkingTree(), 3);
    // By kind, then by id.
    EXPECT_EQ(changedRows(second), (std::vector<std::string>{"added src/lib/extra.ts:extra:function",
                                                             "modified py/pkg/totals.py:_values:function",
                                                             "modified src/lib/math.ts:clamp:function"}));
    EXPECT_EQ(reachedIds(second),
              (std::map<int, std::vector<std::string>>{
                  {1, {"py/pkg/totals.py:compute_total:function", "src/lib/math.ts:tidy:function"}},
                  // extra calls tidy, but a changed symbol is never among the reached ones.
                  {2, {"py/pkg/report.py:report:function", "src/app/View.tsx:summarize:function",
                       "src/app/main.ts:start:function"}},
                  {3, {"src/app/View.tsx:View:component", "src/app/main.ts:format:function"}}}));
    // The same base graph, not read again.
    EXPECT_EQ(changes.baseInfo().loads, 1);
    EXPECT_EQ(&changes.baseGraph(), base);

    // Depth bounds the levels.
    EXPECT_EQ(reachedIds(changes.compute(scanWorkingTree(), 1)).size(), 1u);
}

TEST_F(WorkingChangesTest, AnOlderRevisionFollowsTheCommitItNames) {
    sandbox.replaceIn("src/lib/math.ts", "Math.max(0, value)", "Math.max(1, value)");
    sandbox.commitAll("clamp from one");
    std::string initial = sandbox.git({"rev-parse", "HEAD~1"}).substr(0, 40);

    WorkingChanges changes(options("HEAD~1"));
    ChangesReport report = changes.compute(scanWorkingTree(), 3);
    EXPECT_EQ(report.baseRevision, "HEAD~1");
    EXPECT_EQ(report.baseCommit, initial);
    EXPECT_EQ(changedRows(report), std::vector<std::string>{"modified src/lib/math.ts:clamp:function"});
    EXPECT_EQ(reachedIds(report), (std::map<int, std::vector<std::string>>{
                                      {1, {"src/lib/math.ts:tidy:function"}},
                                      {2, {"src/app/main.ts:start:function"}}}));
    EXPECT_EQ(changes.baseInfo().loads, 1);

    // HEAD~1 now names the commit that holds the edit: another tree, another base graph.
    sandbox.git({"commit", "-q", "--allow-empty", "-m", "nothing"});
    report = changes.compute(scanWorkingTree(), 3);
    EXPECT_TRUE(report.changed.empty());
    EXPECT_TRUE(report.reached.empty());
    EXPECT_EQ(changes.baseInfo().loads, 2);
    EXPECT_TRUE(changes.baseGraph().symbols.count("src/lib/math.ts:clamp:function"));

    // A third commit moves HEAD~1 to the empty commit: another commit, the same tree.
    sandbox.git({"commit", "-q", "--allow-empty", "-m", "nothing again"});
    report = changes.compute(scanWorkingTree(), 3);
    EXPECT_EQ(report.baseCommit, sandbox.git({"rev-parse", "HEAD~1"}).substr(0, 40));
    EXPECT_EQ(changes.baseInfo().loads, 2);

    // A second object over the same base reads the stored graph back.
    WorkingChanges again(options("HEAD~1"));
    again.compute(scanWorkingTree(), 3);
    EXPECT_EQ(again.baseInfo().origin, BaseGraphInfo::Origin::stored);
}

TEST_F(WorkingChangesTest, AFolderNewSinceTheBaseAndTheRefusedSetups) {
    dir.write("repo/tools/cli.ts", "export function main() {\n  return helper();\n}\n\n"
                                   "function helper() {\n  return 1;\n}\n");
    sandbox.commitAll("tools");
    WorkingChangesOptions tools = options("HEAD~1");
    tools.root = repo + "/tools";
    WorkingChanges changes(tools);
    ChangesReport report = changes.compute([&] {
        SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "support"));
        ScanOptions scan;
        scan.root = repo + "/tools";
        return scanner.scanProject(scan);
    }(), 3);
    EXPECT_EQ(changes.baseInfo().origin, BaseGraphInfo::Origin::absent);
    EXPECT_EQ(changedRows(report),
              (std::vector<std::string>{"added cli.ts:helper:function", "added cli.ts:main:function"}));
    // main calls helper, but both are changed.
    EXPECT_TRUE(report.reached.empty());

    dir.write("plain/app.ts", "export function f() {}\n");
    WorkingChangesOptions plain = options();
    plain.root = dir / "plain";
    EXPECT_THROW(WorkingChanges{plain}, git::GitError);
    EXPECT_THROW(WorkingChanges{options("no-such-branch")}, git::GitError);

    WorkingChangesOptions inside = options();
    inside.supportDir = repo + "/support";
    EXPECT_THROW(WorkingChanges{inside}, WorkingChangesError);
    // A hidden folder is passed over by scans, so the base tree may sit below one.
    inside.supportDir = repo + "/.cache";
    EXPECT_NO_THROW(WorkingChanges{inside});
}

}  // namespace
}  // namespace vantrel
