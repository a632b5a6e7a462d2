#include <gtest/gtest.h>

#include "core/languages/python/PythonPlugin.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/util/FileIO.h"
#include "core/util/Text.h"

using namespace vantrel;

namespace {

const std::string kRoot = std::string(VANTREL_FIXTURES_DIR) + "/python-project";

FileAnalysisResult analyzeSource(const std::u16string& source, const std::string& relPath) {
    auto tree = SyntaxTree::parse(tree_sitter_python(), source);
    if (!tree) throw std::runtime_error("no tree");
    return PythonPlugin().analyzeFile(AnalysisInput{kRoot + "/" + relPath, relPath, kRoot, source, tree->root()});
}

FileAnalysisResult analyzeFixture(const std::string& relPath) {
    auto text = readWholeFile(kRoot + "/" + relPath);
    if (!text) throw std::runtime_error("missing fixture " + relPath);
    return analyzeSource(*utf8ToUtf16(*text), relPath);
}

Symbol sym(const std::string& name, SymbolKind kind, TextRange range) {
    return Symbol{makeSymbolId("shop/models.py", name, kind), kind, range, {}, {}};
}

CachedCallSite call(const std::string& callerName, const char* kind, const std::string& callee) {
    return CachedCallSite{"shop/models.py:" + callerName + ":" + kind, callee};
}

ResolutionDiagnostic external(const std::string& shown) {
    return {"shop/orders.py", shown, ResolutionDiagnostic::Reason::externalModule,
            "Module '" + shown + "' is external (not scanned)"};
}

ResolutionDiagnostic notFound(const std::string& shown) {
    return {"shop/orders.py", shown, ResolutionDiagnostic::Reason::fileNotFound,
            "Could not resolve '" + shown + "' \u2192 file not found"};
}

}  // namespace

TEST(PythonPlugin, DeclaresClassesFunctionsAndMethodsWithUtf16Ranges) {
    using K = SymbolKind;
    const std::vector<Symbol> expected = {
        sym("register", K::function, {6, 1, 7, 29}),
        // Decorators stand outside the range: it starts at "class".
        sym("Order", K::classType, {12, 1, 38, 67}), sym("Line", K::classType, {17, 9, 23, 97}),
        sym("__init__", K::method, {18, 17, 20, 53}), sym("total", K::method, {22, 17, 23, 97}),
        sym("__init__", K::method, {25, 9, 26, 117}), sym("total", K::method, {29, 9, 33, 95}),
        sym("line_total", K::method, {30, 17, 31, 63}),  // nested in a method: still a method
        sym("load", K::method, {36, 9, 38, 67}), sym("price_of", K::function, {42, 1, 43, 45}),
        sym("default_qty", K::function, {46, 1, 47, 25}), sym("build_report", K::function, {50, 1, 58, 45}),
        sym("Row", K::classType, {51, 9, 53, 71}), sym("render", K::method, {52, 17, 53, 71}),
        sym("summarise", K::function, {55, 9, 56, 95}),
        sym("price_of", K::function, {61, 1, 62, 25}),  // redefinition: same id, both kept
        sym("label", K::function, {65, 1, 65, 61}),     // "ö", "ß" count 2 bytes, the emoji 4
    };
    EXPECT_EQ(analyzeFixture("shop/models.py").symbols, expected);
}

TEST(PythonPlugin, CallsBelongToTheNearestEnclosingDefinition) {
    const std::vector<CachedCallSite> expected = {
        call("Order", "class", "rate"),             // class body
        call("__init__", "method", "default_qty"),  // default argument
        call("total", "method", "price_of"),
        call("__init__", "method", "Line"),  // Order.Line(...): the last attribute
        call("line_total", "method", "total"),
        call("total", "method", "sum"),
        call("total", "method", "map"),
        call("Order", "class", "retry"),     // a method's decorator stands in the class body
        call("load", "method", "make_key"),  // a lambda stops nothing
        call("load", "method", "fetch"),
        call("load", "method", "key"),
        call("price_of", "function", "lookup"),
        call("render", "method", "format_row"),
        call("summarise", "function", "Row"),
        call("summarise", "function", "render"),
        call("build_report", "function", "summarise"),
    };  // the top-level decorator call and the module-level calls are dropped
    EXPECT_EQ(analyzeFixture("shop/models.py").calls, expected);
}

TEST(PythonPlugin, ResolvesImportsAndReportsTheRestInDocumentOrder) {
    auto result = analyzeFixture("shop/orders.py");
    const std::map<std::string, std::string> imports = {
        {"(     Rule", "shop/pricing/__init__.py"},
        {")", "shop/pricing/__init__.py"},
        {"*", "shop/models.py"},
        {"\\     validate", "shop/checkout/steps/__init__.py"},
        {"cart", "shop/checkout/cart.py"},  // inside a function
        {"confirm", "shop/checkout/steps/confirm.py"},
        {"desk_cart", "shop/checkout/cart.py"},  // inside a class body
        {"discount", "shop/pricing/__init__.py"},
        {"engine", "shop/pricing/__init__.py"},  // the later import in the try wins
        {"m", "shop/models.py"},
        {"models", "shop/models.py"},
        {"pricing", "shop/pricing/__init__.py"},  // the package beats shop/pricing.py
        {"report", "tools/report.py"},
        {"rules", "shop/pricing/rules.py"},
        {"settings", "settings.py"},
        {"shop", "shop/models.py"},  // `import shop.models` binds shop to the submodule's file
    };
    EXPECT_EQ(result.imports, imports);
    const std::vector<ResolutionDiagnostic> diagnostics = {
        external("os"),
        notFound("tools"),
        external("legacy.ledger"),
        notFound(".missing import thing"),
        external("os import path"),
        external("ujson"),
        external("json"),
    };  // `from __future__ import` is no import statement
    EXPECT_EQ(result.diagnostics, diagnostics);
    const std::vector<CachedCallSite> calls = {{"shop/orders.py:place:function", "compute"},
                                               {"shop/orders.py:place:function", "add"}};
    EXPECT_EQ(result.calls, calls);
}

TEST(PythonPlugin, RelativeImportsClimbPackageFolders) {
    auto result = analyzeFixture("shop/checkout/steps/confirm.py");
    const std::map<std::string, std::string> imports = {
        {"DEBUG", "settings.py"},
        {"add_item", "shop/checkout/cart.py"},
        {"cart", "shop/checkout/cart.py"},
        {"helpers", "shop/checkout/steps/__init__.py"},
        {"models", "shop/models.py"},
        {"pricing_rules", "shop/pricing/rules.py"},
        {"validate", "shop/checkout/steps/validate.py"},
    };
    EXPECT_EQ(result.imports, imports);
    EXPECT_TRUE(result.diagnostics.empty());  // `from .import` and `import(` are no known form
}

TEST(PythonPlugin, SurvivesPathologicalInput) {
    auto empty = analyzeSource(u"", "empty.py");
    EXPECT_TRUE(empty.symbols.empty() && empty.imports.empty() && empty.calls.empty() && empty.diagnostics.empty());

    constexpr int depth = 100000;
    std::string calls = "def f():\n    return ";
    for (int i = 0; i < depth; ++i) calls += "g(";
    calls += std::string(depth, ')') + "\n";
    auto deepCalls = analyzeSource(*utf8ToUtf16(calls), "calls.py");
    ASSERT_EQ(deepCalls.symbols.size(), 1u);
    // The query engine gives up on matches that start very deep, but what it finds is right.
    EXPECT_FALSE(deepCalls.calls.empty());
    for (const auto& site : deepCalls.calls) EXPECT_EQ(site, (CachedCallSite{"calls.py:f:function", "g"}));

    std::string brackets = "x = " + std::string(depth, '[') + std::string(depth, ']') + "\nimport os\n";
    auto deepBrackets = analyzeSource(*utf8ToUtf16(brackets), "brackets.py");
    ASSERT_EQ(deepBrackets.diagnostics.size(), 1u);  // the walk came through and found the import
    EXPECT_EQ(deepBrackets.diagnostics[0].importPath, "os");

    std::u16string junk;
    for (int i = 0; i < 20000; ++i) junk.push_back(static_cast<char16_t>((i * 7919 + i / 13) % 0xFFFF));
    junk += std::u16string(300, u'\0') + u"def f(): g()\n" + std::u16string(1, u'\xD800') + u"import a\n";
    EXPECT_NO_THROW(analyzeSource(junk, "junk.py"));
}
