// The reach of one symbol as rows: levels from the blast radius walk, rows in file and
// line order, the summary counts, and the Markdown and text to copy. The expected values
// below are worked out by hand from the graph's drawing.
#include <gtest/gtest.h>

#include "core/changes/ChangesReport.h"
#include "core/changes/ReachReport.h"
#include "core/impact/ImpactReach.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

const std::string kQuery = "lib/db.ts:query:function";             // the selection, line 10
const std::string kWarm = "lib/db.ts:warm:function";               // 30; calls query, which calls it back
const std::string kPool = "lib/db.ts:pool:class";                  // 2; called by query
const std::string kConnect = "ext/pg.js:connect:function";         // called by query, outside the project
const std::string kFind = "lib/repo.ts:find:function";             // 20
const std::string kSave = "lib/repo.ts:save:function";             // 5
const std::string kGetUser = "api/users.ts:getUser:function";      // 3; calls query and find
const std::string kListUsers = "api/users.ts:listUsers:function";  // 3, same line as adminList
const std::string kAdminList = "api/users.ts:adminList:function";  // 3
const std::string kAudit = "api/admin.ts:audit:method";            // 3
const std::string kHook = "vendor/hook.js:onLoad:function";        // calls find; no symbol
const std::string kMain = "app/main.ts:main:function";             // 1; calls listUsers
const std::string kRun = "bin/cli.ts:run:function";                // 1; calls main: level 4

//   level 1: getUser, warm, save, find       (getUser also reaches query through find)
//   level 2: audit, adminList, listUsers, onLoad
//   level 3: main
//   level 4: run
ProjectIR dataLayer() {
    testing::GraphBuilder b;
    for (const auto& id : {kQuery, kWarm, kPool, kFind, kSave, kGetUser, kListUsers, kAdminList, kMain, kRun})
        b.symbol(id);
    b.symbol(kAudit, SymbolKind::method);
    b.symbol(kPool, SymbolKind::classType);
    b.call(kQuery, kWarm)
        .call(kWarm, kQuery)
        .call(kQuery, kPool)
        .call(kQuery, kConnect)
        .call(kFind, kQuery)
        .call(kSave, kQuery)
        .call(kGetUser, kQuery)
        .call(kGetUser, kFind)
        .call(kListUsers, kSave)
        .call(kAdminList, kSave)
        .call(kAudit, kSave)
        .call(kMain, kListUsers)
        .call(kRun, kMain);
    ProjectIR ir = b.build();
    ir.symbols[kFind].refsIn.insert(kHook);
    const std::pair<const std::string&, int> lines[] = {{kQuery, 10}, {kWarm, 30},   {kPool, 2},      {kFind, 20},
                                                        {kSave, 5},   {kGetUser, 3}, {kListUsers, 3}, {kAdminList, 3},
                                                        {kAudit, 3},  {kMain, 1},    {kRun, 1}};
    for (const auto& [id, line] : lines) ir.symbols[id].range.startLine = line;
    return ir;
}

ReachRow row(const std::string& id, const std::string& name, std::optional<SymbolKind> kind, const std::string& file,
             std::optional<std::int64_t> line) {
    return {id, name, kind, file, line};
}

constexpr auto kFunction = SymbolKind::function;

TEST(ImpactReach, LevelsRowsAndCountsOfADataLayer) {
    const ProjectIR ir = dataLayer();
    const ImpactReach reach = impactReach(kQuery, ir, 3);

    // Line order inside a file (save before find), the id where file and line tie
    // (adminList before listUsers), rows without a line after the others of their file.
    const std::map<int, std::vector<ReachRow>> callers{
        {1,
         {row(kGetUser, "getUser", kFunction, "api/users.ts", 3), row(kWarm, "warm", kFunction, "lib/db.ts", 30),
          row(kSave, "save", kFunction, "lib/repo.ts", 5), row(kFind, "find", kFunction, "lib/repo.ts", 20)}},
        {2,
         {row(kAudit, "audit", SymbolKind::method, "api/admin.ts", 3),
          row(kAdminList, "adminList", kFunction, "api/users.ts", 3),
          row(kListUsers, "listUsers", kFunction, "api/users.ts", 3),
          row(kHook, "onLoad", kFunction, "vendor/hook.js", std::nullopt)}},
        {3, {row(kMain, "main", kFunction, "app/main.ts", 1)}}};
    EXPECT_EQ(reach.callers, callers);
    // Warm is a callee too, the cycle notwithstanding; the outside id keeps its pieces.
    EXPECT_EQ(reach.callees, (std::vector<ReachRow>{row(kConnect, "connect", kFunction, "ext/pg.js", std::nullopt),
                                                    row(kPool, "pool", SymbolKind::classType, "lib/db.ts", 2),
                                                    row(kWarm, "warm", kFunction, "lib/db.ts", 30)}));
    EXPECT_EQ(reach.callerCount, 9u);
    EXPECT_EQ(reach.levelCount(), 3u);
    EXPECT_EQ(reach.callerFileCount, 6u);
    EXPECT_EQ(reachSummary(reach), "9 callers on 3 levels in 6 files");

    // Describing a walk already made gives the same answer.
    EXPECT_EQ(describeReach(kQuery, ir, calculateBlastRadius(kQuery, ir, 3), 3), reach);

    // Deeper, run joins at level 4; shallower, the later levels go.
    EXPECT_EQ(impactReach(kQuery, ir, 4).callers.at(4),
              (std::vector<ReachRow>{row(kRun, "run", kFunction, "bin/cli.ts", 1)}));
    const ImpactReach direct = impactReach(kQuery, ir, 1);
    EXPECT_EQ(direct.callers.size(), 1u);
    EXPECT_EQ(reachSummary(direct), "4 callers on 1 level in 3 files");
}

TEST(ImpactReach, SummaryInTheSingularAndWithoutCallers) {
    const ProjectIR ir = dataLayer();
    EXPECT_EQ(reachSummary(impactReach(kListUsers, ir, 1)), "1 caller on 1 level in 1 file");
    EXPECT_EQ(reachSummary(impactReach(kListUsers, ir, 3)), "2 callers on 2 levels in 2 files");
    const ImpactReach top = impactReach(kRun, ir, 3);
    EXPECT_EQ(reachSummary(top), "No callers");
    EXPECT_TRUE(top.callers.empty());
    EXPECT_EQ(top.callees, (std::vector<ReachRow>{row(kMain, "main", kFunction, "app/main.ts", 1)}));
    // An id the graph lacks has neither callers nor callees.
    const ImpactReach gone = impactReach("lib/gone.ts:old:function", ir, 3);
    EXPECT_EQ(reachSummary(gone), "No callers");
    EXPECT_TRUE(gone.callees.empty());
}

TEST(ReachReport, MarkdownSharesTheTablesOfChangesAndTextListsEveryRow) {
    const ProjectIR ir = dataLayer();
    const ImpactReach reach = impactReach(kListUsers, ir, 3);
    const std::string markdown = renderReachMarkdown(reach);
    EXPECT_EQ(markdown,
              "`api/users.ts:listUsers:function`: 2 callers on 2 levels in 2 files within depth 3.\n"
              "\n#### Level 1: 1 symbol\n\n| Symbol | File | Line |\n|---|---|---|\n"
              "| `main` function | `app/main.ts` | 1 |\n"
              "\n#### Level 2: 1 symbol\n\n| Symbol | File | Line |\n|---|---|---|\n"
              "| `run` function | `bin/cli.ts` | 1 |\n"
              "\n#### Callees: 1 symbol\n\n| Symbol | File | Line |\n|---|---|---|\n"
              "| `save` function | `lib/repo.ts` | 5 |\n");

    // `changes` reporting listUsers as modified shows the same level tables.
    const ChangesReport report =
        makeChangesReport("main", std::string(40, 'a'), 3, {{kListUsers, ChangeKind::modified, std::nullopt}},
                          calculateBlastRadius(kListUsers, ir, 3), ir, ProjectIR{});
    const std::string changes = renderChangesMarkdown(report);
    const std::string levels = changes.substr(changes.find("\n#### Level 1"));
    EXPECT_EQ(markdown.substr(markdown.find("\n#### Level 1"), levels.size()), levels);
    // Also where a level holds several files and lines: the rows in the command's order.
    for (const std::string& target : {std::string(kQuery), std::string(kSave)}) {
        const std::string wide = renderReachMarkdown(impactReach(target, ir, 4));
        const std::string cli = renderChangesMarkdown(
            makeChangesReport("main", std::string(40, 'a'), 4, {{target, ChangeKind::modified, std::nullopt}},
                              calculateBlastRadius(target, ir, 4), ir, ProjectIR{}));
        const std::string tables = cli.substr(cli.find("\n#### Level 1"));
        EXPECT_EQ(wide.substr(wide.find("\n#### Level 1"), tables.size()), tables) << target;
    }

    EXPECT_EQ(renderReachText(impactReach(kSave, ir, 2)),
              "lib/repo.ts:save:function: 4 callers on 2 levels in 3 files within depth 2\n"
              "L1\taudit\tmethod\tapi/admin.ts:3\n"
              "L1\tadminList\tfunction\tapi/users.ts:3\n"
              "L1\tlistUsers\tfunction\tapi/users.ts:3\n"
              "L2\tmain\tfunction\tapp/main.ts:1\n"
              "callee\tquery\tfunction\tlib/db.ts:10\n");
}

// The calls a chosen caller makes one level closer to the selection, which the source
// panel highlights: getUser calls query directly (and find, also on level 1, which does
// not count: it is no closer); main reaches query through listUsers alone.
TEST(ImpactReach, NextTowardTheTargetIsOneLevelCloser) {
    const ProjectIR ir = dataLayer();
    const ImpactReach reach = impactReach(kQuery, ir, 4);
    EXPECT_EQ(nextTowardTarget(reach, ir, kGetUser), IdSet{kQuery});
    EXPECT_EQ(nextTowardTarget(reach, ir, kAudit), IdSet{kSave});
    EXPECT_EQ(nextTowardTarget(reach, ir, kMain), IdSet{kListUsers});
    EXPECT_EQ(nextTowardTarget(reach, ir, kRun), IdSet{kMain});
    EXPECT_EQ(nextTowardTarget(reach, ir, kPool), IdSet{});                       // a callee, not a caller
    EXPECT_EQ(nextTowardTarget(reach, ir, kHook), IdSet{});                       // no symbol of its own
    EXPECT_EQ(nextTowardTarget(impactReach(kQuery, ir, 1), ir, kMain), IdSet{});  // beyond the depth
}
}  // namespace
}  // namespace vantrel
