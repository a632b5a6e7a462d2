// Path standardising, which names every file of a scan and every project's cache
// folder: already standard paths (the walks' own) come back unchanged, everything else
// loses empty, "." and ".." pieces and a trailing "/"; relative paths of badly encoded
// names are repaired the same way as before.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {
namespace {

TEST(Paths, StandardisingKeepsStandardPathsAndFixesTheRest) {
    for (const char* same : {"/", "/a", "/a/b.ts", "/a/.b", "/a/..b", "/a/b../c", "/a/.../c"})
        EXPECT_EQ(standardizePath(same), same);
    EXPECT_EQ(standardizePath("/a//b/"), "/a/b");
    EXPECT_EQ(standardizePath("/a/./b/../c"), "/a/c");
    EXPECT_EQ(standardizePath("/a/."), "/a");
    EXPECT_EQ(standardizePath("/a/b/.."), "/a");
    EXPECT_EQ(standardizePath("/.."), "/");
    EXPECT_EQ(standardizePath("//"), "/");
    EXPECT_EQ(standardizePath("x/y"), std::filesystem::current_path().string() + "/x/y");
}

TEST(Paths, RelativePathsOfWalkedFiles) {
    EXPECT_EQ(relativePath("/p/src/a.ts", "/p"), "src/a.ts");
    EXPECT_EQ(relativePath("/p/src/a.ts", "/p/"), "src/a.ts");
    EXPECT_EQ(relativePath("/p/src/a.ts", "/p/./"), "src/a.ts");
    EXPECT_EQ(relativePath("/q/a.ts", "/p"), "/q/a.ts");
    EXPECT_EQ(relativePath("/p/b\xff.ts", "/p"),
              "b\xEF\xBF\xBD"
              "FF.ts");
    EXPECT_EQ(escapeInvalidUtf8("caf\xC3\xA9/x.py"), "caf\xC3\xA9/x.py");
}

}  // namespace
}  // namespace vantrel
