// One walk with the joined query must hand every pass exactly what its own query run
// gives: the same matches, in the same order, with the same pattern indices.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "languages/js/JSFamilyQueries.h"
#include "languages/js/JSFamilySyntax.h"
#include "languages/python/PythonQueries.h"
#include "languages/python/PythonSyntax.h"
#include "languages/syntax/Grammars.h"
#include "languages/syntax/QueryGroup.h"
#include "util/FileIO.h"
#include "util/Text.h"

namespace vantrel {
namespace {

namespace fs = std::filesystem;

// Each match as text: pattern, then every capture by name with its byte range.
template <typename ForEach, typename NameOf>
std::vector<std::string> describe(ForEach&& forEach, NameOf&& nameOf, const std::vector<std::string>& names) {
    std::vector<std::string> out;
    forEach([&](const QueryMatch& match) {
        std::string line = std::to_string(match.patternIndex());
        for (const auto& name : names)
            for (TSNode node : match.captures(nameOf(name)))
                line += " " + name + "@" + std::to_string(ts_node_start_byte(node)) + "-" +
                        std::to_string(ts_node_end_byte(node));
        out.push_back(line);
    });
    return out;
}

void expectSameAsAlone(const TSLanguage* language, const std::vector<std::string_view>& sources,
                       const std::u16string& text, const std::string& label) {
    auto tree = SyntaxTree::parse(language, text);
    ASSERT_TRUE(tree);
    ASSERT_NE(QueryGroup::get(language, sources), nullptr);
    PassMatches grouped(language, sources, tree->root());
    for (std::size_t pass = 0; pass < sources.size(); ++pass) {
        const SharedQuery* alone = SharedQuery::get(language, sources[pass]);
        ASSERT_TRUE(alone);
        std::vector<std::string> names;
        for (std::uint32_t i = 0; i < ts_query_capture_count(alone->query()); ++i) {
            std::uint32_t length = 0;
            names.emplace_back(ts_query_capture_name_for_id(alone->query(), i, &length), length);
        }
        auto feed = grouped.feed(pass);
        ASSERT_TRUE(feed);
        auto fromGroup = describe([&](auto&& v) { feed->forEach(v); },
                                  [&](const std::string& n) { return feed->captureIndex(n); }, names);
        auto fromAlone = describe([&](auto&& v) { forEachMatch(*alone, tree->root(), v); },
                                  [&](const std::string& n) { return alone->captureIndex(n); }, names);
        EXPECT_EQ(fromGroup, fromAlone) << label << ", pass " << pass;
    }
}

TEST(QueryGroup, EveryPassSeesWhatItsOwnQuerySees) {
    const std::vector<std::string_view> js{jsqueries::kDeclarations, jsqueries::kArrowFunctions, jsqueries::kImports,
                                           jsqueries::kCalls};
    const std::vector<std::string_view> python{pyqueries::kDeclarations, pyqueries::kCalls};
    int files = 0;
    for (const char* root : {VANTREL_FIXTURES_DIR, VANTREL_SAMPLE_PROJECT_DIR}) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            std::string ext = entry.path().extension().string();
            bool isJs = ext == ".ts" || ext == ".tsx" || ext == ".js" || ext == ".jsx";
            if (!entry.is_regular_file() || (!isJs && ext != ".py")) continue;
            auto text = utf8ToUtf16(readWholeFile(entry.path()).value_or(""));
            if (!text) continue;
            expectSameAsAlone(isJs ? tree_sitter_tsx() : tree_sitter_python(), isJs ? js : python, *text,
                              entry.path().string());
            ++files;
        }
    }
    EXPECT_GT(files, 30);

    // Broken code: error recovery shapes the tree differently, the passes must still agree.
    auto broken = utf8ToUtf16(
        "import { a, b as c } from './m'\nfunction f( { g(); const h = () => k(\nclass C { m() { n() } \n"
        "import d, { e } from \"x\"; const p = q.map(() => r()), s = () => t();\nexport default function () { u() }");
    expectSameAsAlone(tree_sitter_tsx(), js, *broken, "broken js");
}

std::vector<std::string> captureNames(const SharedQuery& query) {
    std::vector<std::string> names;
    for (std::uint32_t i = 0; i < ts_query_capture_count(query.query()); ++i) {
        std::uint32_t length = 0;
        names.emplace_back(ts_query_capture_name_for_id(query.query(), i, &length), length);
    }
    return names;
}

// Cut-down copies of `texts` (deterministic): error recovery builds trees no tidy file has.
void addCutDownCopies(std::vector<std::u16string>& texts, std::size_t count) {
    std::mt19937 random(20261123);
    const std::size_t intact = texts.size();
    for (std::size_t i = 0; i < count; ++i) {
        std::u16string text = texts[random() % intact];
        for (int cuts = 0; cuts < 3 && !text.empty(); ++cuts) {
            std::size_t at = random() % text.size();
            text.erase(at, std::min<std::size_t>(random() % 40, text.size() - at));
        }
        texts.push_back(std::move(text));
    }
}

// The one walk of JS family analysis against the four queries it stands in for.
void expectJSWalkAsQueries(const std::u16string& text, const std::string& label) {
    auto tree = SyntaxTree::parse(tree_sitter_tsx(), text);
    ASSERT_TRUE(tree);
    JSFamilySyntax syntax = walkJSFamilySyntax(tree->root());
    const std::pair<const RecordedMatches*, std::string_view> passes[] = {
        {&syntax.declarations, jsqueries::kDeclarations},
        {&syntax.arrowFunctions, jsqueries::kArrowFunctions},
        {&syntax.imports, jsqueries::kImports},
        {&syntax.calls, jsqueries::kCalls}};
    for (const auto& [walked, source] : passes) {
        const SharedQuery* query = SharedQuery::get(tree_sitter_tsx(), source);
        ASSERT_TRUE(query);
        auto names = captureNames(*query);
        auto fromWalk = describe([&](auto&& v) { walked->forEach(v); },
                                 [&](const std::string& n) { return walked->captureIndex(n); }, names);
        auto fromQuery = describe([&](auto&& v) { forEachMatch(*query, tree->root(), v); },
                                  [&](const std::string& n) { return query->captureIndex(n); }, names);
        ASSERT_EQ(fromWalk, fromQuery) << label << "\n" << source;
    }
}

// The one walk of Python analysis against the queries it stands in for, and its import
// statements and scopes against a plain walk of the tree.
void expectPythonWalkAsQueries(const std::u16string& text, const std::string& label) {
    auto tree = SyntaxTree::parse(tree_sitter_python(), text);
    ASSERT_TRUE(tree);
    PythonSyntax syntax = walkPythonSyntax(tree->root(), text, "pkg/m.py");
    const std::pair<const RecordedMatches*, std::string_view> passes[] = {{&syntax.declarations, pyqueries::kDeclarations},
                                                                          {&syntax.calls, pyqueries::kCalls}};
    for (const auto& [walked, source] : passes) {
        const SharedQuery* query = SharedQuery::get(tree_sitter_python(), source);
        ASSERT_TRUE(query);
        auto names = captureNames(*query);
        auto fromWalk = describe([&](auto&& v) { walked->forEach(v); },
                                 [&](const std::string& n) { return walked->captureIndex(n); }, names);
        auto fromQuery = describe([&](auto&& v) { forEachMatch(*query, tree->root(), v); },
                                  [&](const std::string& n) { return query->captureIndex(n); }, names);
        ASSERT_EQ(fromWalk, fromQuery) << label << "\n" << source;
    }
    std::vector<std::uint32_t> imports, walkedImports;
    for (TSNode node : syntax.importStatements) walkedImports.push_back(ts_node_start_byte(node));
    const SharedQuery* importQuery =
        SharedQuery::get(tree_sitter_python(), "[(import_statement) (import_from_statement)] @statement");
    ASSERT_TRUE(importQuery);
    forEachMatch(*importQuery, tree->root(),
                 [&](const QueryMatch& m) { imports.push_back(ts_node_start_byte(*m.first(0))); });
    EXPECT_EQ(walkedImports, imports) << label;
}

TEST(PythonSyntax, OneWalkFindsWhatTheQueriesFind) {
    std::vector<std::u16string> texts;
    for (const char* root : {VANTREL_FIXTURES_DIR, VANTREL_SAMPLE_PROJECT_DIR})
        for (const auto& entry : fs::recursive_directory_iterator(root))
            if (entry.is_regular_file() && entry.path().extension() == ".py")
                if (auto text = utf8ToUtf16(readWholeFile(entry.path()).value_or(""))) texts.push_back(*text);
    ASSERT_GT(texts.size(), 5u);
    // Shapes the fixtures may lack: calls on calls and subscripts, parenthesised callees,
    // keywords used as names, definitions without names, imports in odd places, and code
    // broken mid-way.
    texts.push_back(*utf8ToUtf16(
        "import os, sys as system\nfrom . import a\nfrom ..pkg.mod import (b, c as d)\n"
        "class Outer(Base):\n    @decorate(make())\n    def method(self):\n        g().f().h(x.y.z())\n"
        "        (paren)()\n        items[0]()\n        lambda: inner()\n        def local():\n"
        "            try:\n                import json\n            except ImportError:\n                pass\n"
        "def match(print):\n    print(match(exec()))\n    return a.b.c.d()\n"
        "def (broken:\n    call_in_error()\nclass :\n    x = y(\nimport z\nw.v(\n"));
    addCutDownCopies(texts, 300);
    for (std::size_t i = 0; i < texts.size(); ++i) expectPythonWalkAsQueries(texts[i], "text " + std::to_string(i));

    // Matches whose root lies deeper than the engine counts are not reported by either.
    std::u16string deep = u"def f():\n    x = " + std::u16string(66000, u'(') + u"g()" + std::u16string(66000, u')');
    expectPythonWalkAsQueries(deep, "deep");
}

TEST(JSFamilySyntax, OneWalkFindsWhatTheQueriesFind) {
    std::vector<std::u16string> texts;
    for (const char* root : {VANTREL_FIXTURES_DIR, VANTREL_SAMPLE_PROJECT_DIR})
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            std::string ext = entry.path().extension().string();
            if (entry.is_regular_file() && (ext == ".ts" || ext == ".tsx" || ext == ".js" || ext == ".jsx"))
                if (auto text = utf8ToUtf16(readWholeFile(entry.path()).value_or(""))) texts.push_back(*text);
        }
    ASSERT_GT(texts.size(), 20u);
    // Shapes the fixtures may lack: several declarators, destructuring, var and let,
    // nested arrows, calls of calls, imports of every form and inside broken code.
    texts.push_back(*utf8ToUtf16(
        "import def, * as ns from 'a'\nimport d2, { e, f as g, default as h } from \"./b\"\nimport './side'\n"
        "import type { T } from './types'\nexport { x } from './x'\n"
        "const a = () => 1, b = 2, c = () => d(), { e2 } = () => f2\nvar v = () => w(), u = async () => await z()\n"
        "let l = (() => () => m())()\nfunction outer() { function inner() { g()()(h()) } class K { #p() {} q() { r() } "
        "static s = () => t() } }\nexport default function () { u2() }\nconst o = { m() { n() }, k: () => j() }\n"
        "function (x { y(); const z = () => \nimport { broken from 'q'\nclass { m2( { n2() }"));
    addCutDownCopies(texts, 300);
    for (std::size_t i = 0; i < texts.size(); ++i) expectJSWalkAsQueries(texts[i], "text " + std::to_string(i));

    std::u16string deep = u"function f() { x = " + std::u16string(66000, u'(') + u"g()" +
                          std::u16string(66000, u')') + u" }";
    expectJSWalkAsQueries(deep, "deep");
}

}  // namespace
}  // namespace vantrel
