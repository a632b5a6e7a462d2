// The analysis walks stand in for the query cursor: each pass must get exactly what its
// own query gives, the same matches in the same order with the same pattern indices.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "core/util/FileIO.h"
#include "core/util/Text.h"
#include "fuzz/SyntaxWalkCheck.h"

namespace vantrel {
namespace {

using fuzz::syntaxWalkMismatch;
using fuzz::WalkedLanguage;

namespace fs = std::filesystem;

// The test fixtures' and the sample project's sources with these extensions.
std::vector<std::u16string> checkedInSources(const std::vector<std::string>& extensions) {
    std::vector<std::u16string> texts;
    for (const char* root : {VANTREL_FIXTURES_DIR, VANTREL_SAMPLE_PROJECT_DIR})
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            std::string ext = entry.path().extension().string();
            if (!entry.is_regular_file() || std::find(extensions.begin(), extensions.end(), ext) == extensions.end())
                continue;
            if (auto text = utf8ToUtf16(readWholeFile(entry.path()).value_or(""))) texts.push_back(*text);
        }
    return texts;
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

TEST(PythonSyntax, OneWalkFindsWhatTheQueriesFind) {
    std::vector<std::u16string> texts = checkedInSources({".py"});
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
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(syntaxWalkMismatch(WalkedLanguage::python, texts[i]), "") << "text " << i;

    // Matches whose root lies deeper than the engine counts are not reported by either.
    std::u16string deep = u"def f():\n    x = " + std::u16string(66000, u'(') + u"g()" + std::u16string(66000, u')');
    EXPECT_EQ(syntaxWalkMismatch(WalkedLanguage::python, deep), "");
}

TEST(JSFamilySyntax, OneWalkFindsWhatTheQueriesFind) {
    std::vector<std::u16string> texts = checkedInSources({".ts", ".tsx", ".js", ".jsx"});
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
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(syntaxWalkMismatch(WalkedLanguage::jsFamily, texts[i]), "") << "text " << i;

    std::u16string deep =
        u"function f() { x = " + std::u16string(66000, u'(') + u"g()" + std::u16string(66000, u')') + u" }";
    EXPECT_EQ(syntaxWalkMismatch(WalkedLanguage::jsFamily, deep), "");
}

}  // namespace
}  // namespace vantrel
