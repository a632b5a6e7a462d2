#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

#include "core/resolution/PythonImports.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

using namespace vantrel;

namespace {

ImportEntry plain(std::string local, std::string module) { return {std::move(local), module, module, false, {}}; }

ImportEntry from(std::string local, std::string module, std::string name) {
    return {std::move(local), module, module + " import " + name, true, name};
}

}  // namespace

TEST(PythonImportStatement, ReadsStatementTextWithItsQuirks) {
    struct Case {
        std::string text;
        std::vector<ImportEntry> expected;
    };
    const std::vector<Case> cases = {
        {"import a.b as c", {plain("c", "a.b")}},
        {"import a.b", {plain("a", "a.b")}},
        {"  import a,, b as c  \n", {plain("a", "a"), plain("c", "b")}},
        {"from a import b as c", {from("c", "a", "b")}},
        {"from a.b import c.d", {from("d", "a.b", "c.d")}},
        {"from . import x", {from("x", ".", "x")}},
        {"from ..a import b as c", {from("c", "..a", "b")}},
        {"from a import *", {from("*", "a", "*")}},
        // Parentheses stay in the names, and a lone closing one after a trailing comma is a name too.
        {"from a import (b, c)", {from("(b", "a", "(b"), from("c)", "a", "c)")}},
        {"from a import (\n    b,\n    c,\n)",
         {from("(     b", "a", "(     b"), from("c", "a", "c"), from(")", "a", ")")}},
        {"from a import b, \\\n    c", {from("b", "a", "b"), from("\\     c", "a", "\\     c")}},
        // Three pieces around " as ": no alias, the whole piece is the module.
        {"import a as b as c", {plain("a as b as c", "a as b as c")}},
        // No " import " with blanks on both sides, or no known form at all.
        {"from .import x", {}},
        {"from a import(b)", {}},
        {"from a import", {}},
        {"from import x", {}},
        {"import\ta", {}},
        {"print(x)", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(parsePythonImportStatement(c.text), c.expected) << c.text;
}

TEST(PythonModuleResolution, SearchesOnlyBelowTheRootUnlessDotsClimbOut) {
    auto tmp = std::filesystem::temp_directory_path() / ("vantrel-pyresolve-" + std::to_string(::getpid()));
    std::string base = standardizePath(tmp.string());
    std::string root = base + "/proj";
    ASSERT_TRUE(createDirectories(root + "/pkg"));
    ASSERT_TRUE(createDirectories(root + "/os"));
    ASSERT_TRUE(writeFileAtomically(base + "/outside.py", ""));
    ASSERT_TRUE(writeFileAtomically(root + "/m.py", ""));
    const std::string importer = root + "/pkg/mod.py";
    auto resolve = [&](std::string_view specifier, std::optional<std::string> sub = std::nullopt) {
        return resolvePythonModule(specifier, importer, root, sub.has_value(), sub);
    };

    // Climbing above the root still works by paths and keeps the absolute path.
    EXPECT_EQ(resolve("...", "outside"), PythonResolution::resolved(base + "/outside.py"));
    EXPECT_EQ(resolve("..", "outside"), PythonResolution::notFound());
    // pkg has no __init__.py: `from . import x` finds nothing.
    EXPECT_EQ(resolve(".", "x"), PythonResolution::notFound());
    // The top-level name exists, the deeper part does not.
    EXPECT_EQ(resolve("os.path"), PythonResolution::notFound());
    EXPECT_EQ(resolve("m.x"), PythonResolution::notFound());
    EXPECT_EQ(resolve("m"), PythonResolution::resolved("m.py"));
    EXPECT_EQ(resolve("nope"), PythonResolution::external());
    EXPECT_EQ(resolve(" \n"), PythonResolution::notFound());

    removeTree(base);
}
