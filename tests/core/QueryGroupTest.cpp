// One walk with the joined query must hand every pass exactly what its own query run
// gives: the same matches, in the same order, with the same pattern indices.
#include <gtest/gtest.h>

#include <filesystem>

#include "languages/js/JSFamilyQueries.h"
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
    const std::vector<std::string_view> python{
        "(class_definition name: (identifier) @name) @decl\n(function_definition name: (identifier) @name) @decl",
        "(call\n  function: [\n\t(identifier) @callee\n\t(attribute attribute: (identifier) @callee)\n  ]) @call"};
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

}  // namespace
}  // namespace vantrel
