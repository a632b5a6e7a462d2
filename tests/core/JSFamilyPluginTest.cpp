#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "core/languages/js/internal/JSEnclosingScope.h"
#include "core/languages/js/internal/JSFamilyQueries.h"
#include "core/resolution/TSConfigResolver.h"
#include "tests/core/JSTestSupport.h"

namespace vantrel {
namespace {

using jstest::analyze;
using jstest::analyzeUtf16;
using jstest::fixturePath;

std::vector<std::string> symbolIds(const FileAnalysisResult& result) {
    std::vector<std::string> ids;
    for (const auto& symbol : result.symbols) ids.push_back(symbol.id);
    return ids;
}

std::vector<std::pair<std::string, std::string>> callPairs(const FileAnalysisResult& result) {
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const auto& call : result.calls) pairs.emplace_back(call.callerId, call.calleeName);
    return pairs;
}

const Symbol* findSymbol(const FileAnalysisResult& result, std::string_view id) {
    for (const auto& symbol : result.symbols)
        if (symbol.id == id) return &symbol;
    return nullptr;
}

// Analyses one file of the checked-in fixture project with the project's own tsconfig.
struct FixtureFile {
    explicit FixtureFile(std::string_view relative)
        : root(standardizePath(fixturePath("js-project"))), resolver(TSConfigResolver::loadIfPresent(root)) {
        auto bytes = readWholeFile(appendPathComponent(root, relative));
        EXPECT_TRUE(bytes.has_value()) << relative;
        EXPECT_TRUE(resolver.has_value());
        analysis = analyze(bytes.value_or(""), relative, root, resolver ? &*resolver : nullptr);
    }
    std::string root;
    std::optional<TSConfigResolver> resolver;
    jstest::Analysis analysis;
};

TEST(JSFamilyPlugin, DescribesItselfAndCompilesAllFourQueries) {
    JSFamilyPlugin plugin;
    EXPECT_EQ(plugin.id(), "js-family");
    EXPECT_EQ(plugin.fileExtensions(), (std::vector<std::string>{"js", "jsx", "ts", "tsx"}));
    for (const char* extension : {"ts", "tsx", "js", "jsx"}) EXPECT_EQ(plugin.language(extension), tree_sitter_tsx());
    // A query that fails to compile would silently drop its whole pass.
    for (auto source : {jsqueries::kDeclarations, jsqueries::kArrowFunctions, jsqueries::kImports, jsqueries::kCalls})
        EXPECT_NE(SharedQuery::get(tree_sitter_tsx(), source), nullptr) << source;

    auto empty = analyze("");
    EXPECT_TRUE(empty.result.symbols.empty());
    EXPECT_TRUE(empty.result.imports.empty());
    EXPECT_TRUE(empty.result.calls.empty());
    EXPECT_TRUE(empty.result.diagnostics.empty());
}

TEST(JSFamilyPlugin, FixtureAppCollectsSymbolsImportsCallsAndDiagnostics) {
    FixtureFile app("src/app.tsx");
    const auto& result = app.analysis.result;

    // Declarations first (functions and methods in match order), then arrow variables. Not
    // symbols: the class, `#secret`, the computed method, the class field arrow.
    EXPECT_EQ(symbolIds(result), (std::vector<std::string>{
                                     "src/app.tsx:App:component",
                                     "src/app.tsx:mount:function",
                                     "src/app.tsx:save:method",
                                     "src/app.tsx:_private:function",
                                     "src/app.tsx:$jquery:function",
                                     "src/app.tsx:useTotal:function",
                                     "src/app.tsx:renderApp:function",
                                     "src/app.tsx:Émile:component",
                                 }));
    // The whole declaration, `export` left out; columns count UTF-16 bytes.
    EXPECT_EQ(findSymbol(result, "src/app.tsx:App:component")->range, (TextRange{12, 15, 17, 3}));
    // An arrow symbol spans its declarator, from the name on; "É" counts 2.
    EXPECT_EQ(findSymbol(result, "src/app.tsx:Émile:component")->range, (TextRange{42, 9, 42, 51}));

    EXPECT_EQ(result.imports, (std::map<std::string, std::string>{
                                  {"Button", "src/components/Button.tsx"},  // default beside named
                                  {"Props", "src/components/Button.tsx"},   // the alias, not ButtonProps
                                  {"log", "lib/shared/log.ts"},             // second target of @/*
                                  {"add", "src/util/math.ts"},
                                  {"times", "src/util/math.ts"},
                                  {"Config", "lib/config.ts"},  // exact key, second target
                                  {"Dir", "src/dir.ts"},        // dir.ts before dir/index.ts
                              }));

    using Reason = ResolutionDiagnostic::Reason;
    auto expectDiagnostic = [](const ResolutionDiagnostic& d, std::string_view specifier, Reason reason,
                               std::string_view suggestion) {
        EXPECT_EQ(d.importerPath, "src/app.tsx");
        EXPECT_EQ(d.importPath, specifier);
        EXPECT_EQ(d.reason, reason);
        EXPECT_EQ(d.suggestion, std::optional<std::string>(suggestion));
    };
    ASSERT_EQ(result.diagnostics.size(), 6u);
    // One statement with a default and a named binding is two matches, so two lookups.
    expectDiagnostic(result.diagnostics[0], "react", Reason::externalModule,
                     "Module 'react' is external (not scanned)");
    EXPECT_EQ(result.diagnostics[1], result.diagnostics[0]);
    // The extension is not swapped: ./legacy.js does not find legacy.ts.
    expectDiagnostic(result.diagnostics[2], "./legacy.js", Reason::fileNotFound, "File './legacy.js' does not exist");
    expectDiagnostic(result.diagnostics[3], "./styles.css", Reason::fileNotFound, "File './styles.css' does not exist");
    // With a resolver too, an unmapped "@/" import is reported as a missing mapping.
    expectDiagnostic(result.diagnostics[4], "@/ghost", Reason::noTsConfig,
                     "Could not resolve '@/ghost' \u2192 No paths mapping found in tsconfig.json");
    EXPECT_EQ(result.diagnostics[5], result.diagnostics[4]);

    EXPECT_EQ(callPairs(result), (std::vector<std::pair<std::string, std::string>>{
                                     {"src/app.tsx:App:component", "useState"},
                                     // inside `const total = items.reduce(...)`: the arrow names total
                                     {"src/app.tsx:total:function", "add"},
                                     {"src/app.tsx:App:component", "log"},
                                     // a JSX attribute arrow has no declarator: the climb reaches App
                                     {"src/app.tsx:App:component", "setCount"},
                                     {"src/app.tsx:App:component", "times"},
                                     {"src/app.tsx:useTotal:function", "add"},
                                     {"src/app.tsx:mount:function", "createRoot"},
                                     {"src/app.tsx:#secret:method", "hidden"},
                                     {"src/app.tsx:save:method", "persist"},
                                     // `handler = () => notify()` and the top-level log(...) are dropped
                                     {"src/app.tsx:['computed']:method", "compute"},
                                     {"src/app.tsx:Émile:component", "greet"},
                                     {"src/app.tsx:_private:function", "helper"},
                                 }));
}

TEST(JSFamilyPlugin, FixtureMathKeepsOnlyNamedFunctionFormsAndClimbsThroughObjects) {
    FixtureFile math("src/util/math.ts");
    const auto& result = math.analysis.result;
    // No symbol for the overload signature, the generator, the function expression or the
    // arrow wrapped in a call; the object literal method counts.
    EXPECT_EQ(symbolIds(result),
              (std::vector<std::string>{"src/util/math.ts:add:function", "src/util/math.ts:mul:function",
                                        "src/util/math.ts:sum:method"}));
    EXPECT_EQ(callPairs(result), (std::vector<std::pair<std::string, std::string>>{
                                     // a default parameter value belongs to its function
                                     {"src/util/math.ts:mul:function", "add"},
                                     // the arrow in sum() finds the declarator of `api` above the method
                                     {"src/util/math.ts:api:function", "add"},
                                     // mul(x, x) in a function expression and memo(...) reach no declaration
                                 }));
    EXPECT_TRUE(result.imports.empty());
    EXPECT_TRUE(result.diagnostics.empty());
}

TEST(JSFamilyPlugin, PositionsCountUtf16BytesAndLineFeedsOnly) {
    // Four spaces of indentation are 8 bytes.
    auto indented = analyze("class C {\n    run() {}\n}\n");
    ASSERT_EQ(indented.result.symbols.size(), 1u);
    EXPECT_EQ(indented.result.symbols[0].range, (TextRange{2, 9, 2, 25}));

    // 2 bytes per character of the Basic Multilingual Plane, 4 for one outside it.
    auto bmp = analyze("const s = 'ü€'; function f() {}");
    ASSERT_EQ(bmp.result.symbols.size(), 1u);
    EXPECT_EQ(bmp.result.symbols[0].range, (TextRange{1, 33, 1, 63}));
    auto astral = analyze("const s = '😀'; function f() {}");
    ASSERT_EQ(astral.result.symbols.size(), 1u);
    EXPECT_EQ(astral.result.symbols[0].range, (TextRange{1, 33, 1, 63}));
    auto both = analyze("/* 😀é */ const g = () => 1");
    ASSERT_EQ(both.result.symbols.size(), 1u);
    EXPECT_EQ(both.result.symbols[0].range.startCol, 1 + 2 * (3 + 2 + 1 + 4 + 6));

    // CR LF gives the rows of LF, the CR standing at the end of its line.
    auto lf = analyze("function a() {\n}\n\nfunction b() {}\n");
    auto crlf = analyze("function a() {\r\n}\r\n\r\nfunction b() {}\r\n");
    ASSERT_EQ(lf.result.symbols.size(), 2u);
    ASSERT_EQ(crlf.result.symbols.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(crlf.result.symbols[i].range.startLine, lf.result.symbols[i].range.startLine);
        EXPECT_EQ(crlf.result.symbols[i].range.endLine, lf.result.symbols[i].range.endLine);
    }
    EXPECT_EQ(crlf.result.symbols[1].range, (TextRange{4, 1, 4, 31}));

    // Two declarators in one statement: each its own range.
    auto pair = analyze("const a = () => 1, bb = () => 2;");
    EXPECT_EQ(symbolIds(pair.result), (std::vector<std::string>{"src/a.ts:a:function", "src/a.ts:bb:function"}));
    EXPECT_EQ(pair.result.symbols[0].range, (TextRange{1, 13, 1, 35}));
    EXPECT_EQ(pair.result.symbols[1].range, (TextRange{1, 39, 1, 63}));
}

TEST(JSFamilyPlugin, ComponentsGoByTheFirstScalarsLetterClass) {
    EXPECT_EQ(classifyFunction("App"), SymbolKind::component);
    EXPECT_EQ(classifyFunction("URL"), SymbolKind::component);
    EXPECT_EQ(classifyFunction("Émile"), SymbolKind::component);
    EXPECT_EQ(classifyFunction("Ωmega"), SymbolKind::component);
    EXPECT_EQ(classifyFunction("ǅemal"), SymbolKind::component);  // titlecase letter, Lt
    EXPECT_EQ(classifyFunction("𝐀lpha"), SymbolKind::component);  // astral Lu
    EXPECT_EQ(classifyFunction("renderApp"), SymbolKind::function);
    EXPECT_EQ(classifyFunction("émile"), SymbolKind::function);
    EXPECT_EQ(classifyFunction("_App"), SymbolKind::function);
    EXPECT_EQ(classifyFunction("$App"), SymbolKind::function);
    EXPECT_EQ(classifyFunction("ßig"), SymbolKind::function);
    EXPECT_EQ(classifyFunction("ⅰv"), SymbolKind::function);  // a letter number, not a letter
    EXPECT_EQ(classifyFunction(""), SymbolKind::function);

    // JSX in the body, the extension and methods play no part.
    auto file = analyze("function URL() {}\nfunction renderApp() { return <App />; }\nclass C { Render() {} }\n",
                        "lib/plain.js");
    EXPECT_EQ(symbolIds(file.result),
              (std::vector<std::string>{"lib/plain.js:URL:component", "lib/plain.js:renderApp:function",
                                        "lib/plain.js:Render:method"}));
}

TEST(JSFamilyPlugin, CallerRuleFollowsTheNearestDeclarationAndAnyDeclaratorAboveAnArrow) {
    auto file = analyze(
        "const x = list.map(() => g1());\n"
        "function outer() { arr.forEach(() => g2()); }\n"
        "const a = () => { function b() { g3(); } };\n"
        "function c() { const d = () => g4(); }\n"
        "const { e } = wrap(() => g5());\n"
        "class K { f = () => g6(); }\n"
        "function h(p = g7()) { return q?.(); }\n"
        "function i() { obj.m(); new N(); n<T>(); }\n"
        "class S1 { save() { g8(); } }\n"
        "class S2 { save() { g9(); } }\n"
        "top();\n");
    EXPECT_EQ(callPairs(file.result), (std::vector<std::pair<std::string, std::string>>{
                                          {"src/a.ts:x:function", "g1"},  // x is no symbol, still the caller
                                          {"src/a.ts:outer:function", "g2"},
                                          {"src/a.ts:b:function", "g3"},
                                          {"src/a.ts:d:function", "g4"},
                                          {"src/a.ts:{ e }:function", "g5"},
                                          {"src/a.ts:h:function", "g7"},
                                          {"src/a.ts:h:function", "q"},
                                          {"src/a.ts:i:function", "n"},
                                          {"src/a.ts:save:method", "g8"},
                                          {"src/a.ts:save:method", "g9"},
                                      }));
    // Both classes' `save` give one id, twice.
    auto ids = symbolIds(file.result);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "src/a.ts:save:method"), 2);
}

TEST(JSFamilyPlugin, SingleNodeClimbAgreesWithTheCallPass) {
    std::string source =
        "export const make = (n) => [n].map((v) => {\n"
        "  function inner() { return v.map(() => leaf()); }\n"
        "  return inner();\n"
        "});\n"
        "class Q { #p() { go(); } static { boot(); } }\n";
    auto file = analyze(source, "m.ts");
    ASSERT_TRUE(file.tree);
    // leaf(): the arrow's nearest declarator is `make`, above the function declaration.
    EXPECT_EQ(callPairs(file.result), (std::vector<std::pair<std::string, std::string>>{
                                          {"m.ts:make:function", "leaf"},
                                          {"m.ts:make:function", "inner"},
                                          {"m.ts:#p:method", "go"},
                                      }));

    auto nodeAt = [&](std::string_view text) {
        auto offset = static_cast<std::uint32_t>(source.find(text));
        return ts_node_descendant_for_byte_range(file.tree->root(), offset * 2,
                                                 static_cast<std::uint32_t>(offset + text.size()) * 2);
    };
    TSNode leaf = nodeAt("leaf()");
    ASSERT_STREQ(ts_node_type(leaf), "call_expression");
    EXPECT_EQ(enclosingSymbolIdForJSFamily(leaf, file.text, "m.ts"), "m.ts:make:function");
    auto declarator = enclosingArrowVarDeclarator(leaf);
    ASSERT_TRUE(declarator);
    EXPECT_STREQ(ts_node_type(*declarator), "variable_declarator");
    EXPECT_EQ(ts_node_start_byte(*declarator), source.find("make") * 2);
    EXPECT_EQ(enclosingSymbolIdForJSFamily(nodeAt("boot()"), file.text, "m.ts"), std::nullopt);
    EXPECT_FALSE(enclosingArrowVarDeclarator(nodeAt("go()")));
    EXPECT_EQ(enclosingSymbolIdForJSFamily(file.tree->root(), file.text, "m.ts"), std::nullopt);
}

// The caller rule the way it reads: one ts_node_parent step at a time. Slow, and only
// here to check the chain kept by JSEnclosingScope against it.
std::optional<std::string> climbByParents(TSNode node, std::u16string_view source, std::string_view fileRelPath) {
    auto named = [&](TSNode declaration, bool method) -> std::optional<std::string> {
        TSNode name = ts_node_child_by_field_name(declaration, "name", 4);
        if (ts_node_is_null(name)) return std::nullopt;
        std::string text = extractNodeText(name, source);
        return makeSymbolId(fileRelPath, text, method ? SymbolKind::method : classifyFunction(text));
    };
    for (TSNode at = node; !ts_node_is_null(at); at = ts_node_parent(at)) {
        std::string_view type = ts_node_type(at);
        if (type == "function_declaration" || type == "method_definition")
            return named(at, type == "method_definition");
        if (type != "arrow_function") continue;
        for (TSNode up = at; !ts_node_is_null(up); up = ts_node_parent(up)) {
            if (std::string_view(ts_node_type(up)) != "variable_declarator") continue;
            if (!ts_node_is_null(ts_node_child_by_field_name(up, "name", 4))) return named(up, false);
            break;
        }
    }
    return std::nullopt;
}

// Random nested code: declarations of every form inside each other, now and then broken.
class CodeGenerator {
public:
    explicit CodeGenerator(unsigned seed) : random_(seed) {}

    std::string statements(int depth) {
        std::string text;
        for (int i = 0, n = 1 + pick(3); i < n; ++i) text += statement(depth) + "\n";
        return text;
    }

private:
    int pick(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    std::string name(const char* stem) { return (pick(4) == 0 ? "Big" : stem) + std::to_string(counter_++); }

    std::string statement(int depth) {
        if (pick(12) == 0) return std::vector<std::string>{"<A>", ")", "{", "=>", "function ("}[pick(5)];
        if (depth <= 0) return expression(0) + ";";
        switch (pick(7)) {
            case 0:
                return "function " + name("f") + "(p = " + expression(depth - 1) + ") {" + statements(depth - 1) + "}";
            case 1: return "const " + name("v") + " = (x) => " + expression(depth - 1) + ";";
            case 2: return "let " + name("w") + " = () => {" + statements(depth - 1) + "};";
            case 3:
                return "class " + name("C") + " { " + name("m") + "() {" + statements(depth - 1) + "} #" + name("q") +
                       "() {" + statements(depth - 1) + "} fld = () => " + expression(depth - 1) + "; }";
            case 4:
                return "var " + name("o") + " = { " + name("m") + "() {" + statements(depth - 1) + "}, k: () => " +
                       expression(depth - 1) + " };";
            case 5: return "const { " + name("d") + " } = wrap(() => {" + statements(depth - 1) + "});";
            default: return expression(depth) + ";";
        }
    }

    std::string expression(int depth) {
        if (depth <= 0) return name("c") + "()";
        switch (pick(6)) {
            case 0: return "h(" + expression(depth - 1) + ")";
            case 1: return "list.map(() => " + expression(depth - 1) + ")";
            case 2: return "function () {" + statements(depth - 1) + "}";
            case 3: return "[" + expression(depth - 1) + ", " + expression(depth - 1) + "]";
            case 4: return "(() => { " + statements(depth - 1) + " })()";
            default: return name("c") + "()";
        }
    }

    std::mt19937 random_;
    int counter_ = 0;
};

TEST(JSFamilyPlugin, CallerChainMatchesAPlainParentClimbInAnyOrder) {
    std::mt19937 random(7);
    std::set<std::string> callers;
    for (unsigned round = 0; round < 30; ++round) {
        std::string source = CodeGenerator(round).statements(5);
        auto file = analyze(source, "gen.ts");
        ASSERT_TRUE(file.tree);

        std::vector<TSNode> calls;
        const SharedQuery* query = SharedQuery::get(tree_sitter_tsx(), jsqueries::kCalls);
        forEachMatch(*query, file.tree->root(), [&](const QueryMatch& match) {
            if (auto call = match.first(query->captureIndex("call"))) calls.push_back(*call);
        });
        std::vector<TSNode> shuffled = calls;
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        for (const auto* order : {&calls, &shuffled}) {
            JSEnclosingScope scope(file.tree->root(), file.text, "gen.ts");
            for (TSNode call : *order) {
                auto caller = scope.symbolIdFor(call);
                ASSERT_EQ(caller, climbByParents(call, file.text, "gen.ts")) << source;
                callers.insert(caller.value_or(""));
            }
        }
    }
    EXPECT_GT(callers.size(), 100u);  // the generator reaches many different declarations
}

TEST(JSFamilyPlugin, SyntaxErrorsKeepTheIntactDeclarations) {
    auto broken = analyze(
        "function before() { a(); }\n"
        "function broken() { let = ; }\n"
        "function after() { b(); }\n");
    EXPECT_EQ(
        symbolIds(broken.result),
        (std::vector<std::string>{"src/a.ts:before:function", "src/a.ts:broken:function", "src/a.ts:after:function"}));
    EXPECT_EQ(callPairs(broken.result), (std::vector<std::pair<std::string, std::string>>{
                                            {"src/a.ts:before:function", "a"}, {"src/a.ts:after:function", "b"}}));

    // A .ts angle-bracket cast reads as JSX in the tsx grammar and swallows what follows;
    // what stands before it survives.
    auto cast = analyze(
        "export function first() { return 1; }\n"
        "const n = <number>first();\n"
        "export const second = () => first();\n",
        "src/cast.ts");
    ASSERT_FALSE(cast.result.symbols.empty());
    EXPECT_EQ(cast.result.symbols[0].id, "src/cast.ts:first:function");

    // The parser inserts a zero-width name: the id keeps an empty name piece.
    auto missing = analyze("class A { () { g(); } }\n");
    ASSERT_EQ(missing.result.symbols.size(), 1u);
    EXPECT_EQ(missing.result.symbols[0].id, "src/a.ts::method");
    EXPECT_EQ(callPairs(missing.result), (std::vector<std::pair<std::string, std::string>>{{"src/a.ts::method", "g"}}));
}

TEST(JSFamilyPlugin, SurvivesBinaryJunk) {
    // Random UTF-16 code units, lone surrogates and NULs included.
    std::mt19937 random(20240229);
    std::u16string junk(200000, u'\0');
    for (auto& unit : junk) unit = static_cast<char16_t>(random());
    analyzeUtf16(junk);

    // Random tokens, to keep error recovery busy rather than skipping unknown characters.
    const char* tokens[] = {"function", "f",      "(",     ")",  "{",  "}",  "=>", "=",  "const",
                            "<",        ">",      "/",     "`",  "'",  "\"", "[",  "]",  ",",
                            ";",        "import", "class", "#x", "\n", "/*", "*/", "${", "g()"};
    std::string soup;
    while (soup.size() < 100000) soup += std::string(tokens[random() % std::size(tokens)]) + " ";
    analyze(soup);
}

TEST(JSFamilyPlugin, KeepsEverythingOfAFiveMegabyteBundle) {
    // A 5 MB minified bundle on one line: nothing may be lost on the way. Long strings, as
    // bundles have them, keep the node count and so the run time down.
    const std::string text(200, 'x');
    std::string bundle;
    std::size_t units = 0;
    while (bundle.size() < 5'000'000) {
        auto n = std::to_string(units++);
        bundle += "function f" + n + "(a){return g" + n + "(a.map(x=>h(x)),\"" + text + "\")}var v" + n + "=()=>f" + n +
                  "(1);";
    }
    auto big = analyze(bundle, "dist/bundle.js");
    EXPECT_EQ(big.result.symbols.size(), 2 * units);
    ASSERT_EQ(big.result.calls.size(), 3 * units);
    auto last = std::to_string(units - 1);
    EXPECT_EQ(big.result.calls.back(), (CachedCallSite{"dist/bundle.js:v" + last + ":function", "f" + last}));
    EXPECT_EQ(big.result.symbols.back().range.startLine, 1);
}

TEST(JSFamilyPlugin, DeepNestingNeitherRecursesNorGoesQuadratic) {
    // 100,000 nested brackets around a call, and an arrow nested 50,000 deep below its
    // declarator: the climb must neither recurse nor go quadratic.
    const std::string deep = "function deep() { return " + std::string(100000, '[') + "inner()" +
                             std::string(100000, ']') + "; }\nconst far = " + std::string(50000, '(') + "() => leaf()" +
                             std::string(50000, ')') + ";\n";
    auto nested = analyze(deep);
    auto ids = symbolIds(nested.result);
    EXPECT_NE(std::find(ids.begin(), ids.end(), "src/a.ts:deep:function"), ids.end());
    auto calls = callPairs(nested.result);
    EXPECT_NE(std::find(calls.begin(), calls.end(),
                        std::make_pair(std::string("src/a.ts:far:function"), std::string("leaf"))),
              calls.end());
    // Deeper than the query engine reaches: ask for the innermost call directly.
    auto offset = static_cast<std::uint32_t>(deep.find("inner()"));
    TSNode inner = ts_node_descendant_for_byte_range(nested.tree->root(), offset * 2, (offset + 7) * 2);
    ASSERT_STREQ(ts_node_type(inner), "call_expression");
    EXPECT_EQ(enclosingSymbolIdForJSFamily(inner, nested.text, "src/a.ts"), "src/a.ts:deep:function");

    // 30,000 calls nested in one another, all made by the one function.
    auto chain = analyze("function outer() { " + [] {
        std::string text;
        for (int i = 0; i < 30000; ++i) text += "f(";
        return text + std::string(30000, ')');
    }() + "; }");
    ASSERT_EQ(chain.result.calls.size(), 30000u);
    EXPECT_EQ(chain.result.calls.back(), (CachedCallSite{"src/a.ts:outer:function", "f"}));
}

}  // namespace
}  // namespace vantrel
