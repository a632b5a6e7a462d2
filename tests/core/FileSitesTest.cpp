// The call sites that precise linking carries from the parse walk to the link walk: what
// goes in comes out in order, run by run, whatever the lengths, and files fill the
// writer's blocks without one file's bytes being split.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/scan/internal/ProjectFacts.h"

namespace vantrel::detail {
namespace {

using Seen = std::vector<std::tuple<std::string, std::string, CallForm, std::string>>;

Seen replay(const FileSites& sites, std::string_view path) {
    Seen seen;
    std::string caller, klass;
    sites.forEach(
        path,
        [&](std::string_view c, std::string_view k) {
            caller = c;
            klass = k;
        },
        [&](CallForm form, std::string_view callee) { seen.emplace_back(caller, klass, form, callee); });
    return seen;
}

TEST(FileSites, RunsComeBackInOrderWithTheirCallersWhole) {
    const std::string longCallee = "this." + std::string(300, 'x');  // a length of two bytes
    const std::vector<CallSite> sites{
        {"src/a.ts:Runner.run:method", "this.step", "Runner", 3, 4, CallForm::selfMember},
        {"src/a.ts:Runner.run:method", longCallee, "Runner", 5, 2, CallForm::chainMember},
        // The same caller in another class starts a run of its own.
        {"src/a.ts:Runner.run:method", "super.run", "Base", 6, 2, CallForm::superMember},
        // An id of another file (and one that only starts like this file's path) stays whole.
        {"src/ab.ts:helper:function", "g", "", 9, 0, CallForm::plain},
        {"src/a.ts.bak:helper:function", "new(Task)", "", 10, 0, CallForm::constructor},
        {"src/a.ts:main:function", "f", "", 12, 0, CallForm::plain},
    };
    SiteWriter writer;
    std::string scratch;
    const FileSites kept(sites, "src/a.ts", scratch, writer);
    const Seen expected{
        {"src/a.ts:Runner.run:method", "Runner", CallForm::selfMember, "this.step"},
        {"src/a.ts:Runner.run:method", "Runner", CallForm::chainMember, longCallee},
        {"src/a.ts:Runner.run:method", "Base", CallForm::superMember, "super.run"},
        {"src/ab.ts:helper:function", "", CallForm::plain, "g"},
        {"src/a.ts.bak:helper:function", "", CallForm::constructor, "new(Task)"},
        {"src/a.ts:main:function", "", CallForm::plain, "f"},
    };
    EXPECT_EQ(replay(kept, "src/a.ts"), expected);
    EXPECT_TRUE(replay(FileSites(), "src/a.ts").empty());
    EXPECT_TRUE(FileSites({}, "src/a.ts", scratch, writer).empty());
}

TEST(FileSites, ManyFilesShareBlocksAndOutliveTheirWriter) {
    std::vector<FileSites> files;
    std::vector<std::string> callees;
    {
        SiteWriter writer;
        std::string scratch;
        // 400 files of about 2 KB: more than one block's worth, and one file larger than a block.
        for (int i = 0; i < 400; ++i) {
            callees.push_back("f" + std::to_string(i) + std::string(2000, 'y'));
            files.emplace_back(std::vector<CallSite>{{"m.py:f:function", callees.back(), "", 1, 0, CallForm::plain}},
                               "m.py", scratch, writer);
        }
        callees.push_back(std::string(300 << 10, 'z'));
        files.emplace_back(std::vector<CallSite>{{"m.py:f:function", callees.back(), "", 1, 0, CallForm::plain}},
                           "m.py", scratch, writer);
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const Seen seen = replay(files[i], "m.py");
        ASSERT_EQ(seen.size(), 1u) << i;
        EXPECT_EQ(std::get<0>(seen[0]), "m.py:f:function");
        EXPECT_EQ(std::get<3>(seen[0]), callees[i]) << i;
    }
    // Dropping some files early leaves the others readable.
    files.erase(files.begin(), files.begin() + 200);
    EXPECT_EQ(std::get<3>(replay(files[0], "m.py")[0]), callees[200]);
}

}  // namespace
}  // namespace vantrel::detail
