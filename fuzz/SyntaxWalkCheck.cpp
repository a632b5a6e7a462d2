#include "fuzz/SyntaxWalkCheck.h"

#include <utility>
#include <vector>

#include "core/languages/js/internal/JSFamilyQueries.h"
#include "core/languages/js/internal/JSFamilySyntax.h"
#include "core/languages/python/internal/PythonQueries.h"
#include "core/languages/python/internal/PythonSyntax.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/RecordedMatches.h"

namespace vantrel::fuzz {

namespace {

// Each match as a line: its pattern, then every capture by name with its byte range.
template <typename ForEach, typename IndexOf>
std::vector<std::string> describe(ForEach&& forEach, IndexOf&& indexOf, const std::vector<std::string>& names) {
    std::vector<std::string> lines;
    forEach([&](const QueryMatch& match) {
        std::string line = std::to_string(match.patternIndex());
        for (const auto& name : names)
            for (TSNode node : match.captures(indexOf(name)))
                line += " " + name + "@" + std::to_string(ts_node_start_byte(node)) + "-" +
                        std::to_string(ts_node_end_byte(node));
        lines.push_back(std::move(line));
    });
    return lines;
}

std::string compare(const TSLanguage* language, TSNode root, const RecordedMatches& walked, std::string_view source) {
    const SharedQuery* query = SharedQuery::get(language, source);
    if (!query) return "query does not compile: " + std::string(source);
    const auto& names = query->captureNames();
    auto fromWalk = describe([&](auto&& v) { walked.forEach(v); },
                             [&](const std::string& n) { return walked.captureIndex(n); }, names);
    auto fromQuery = describe([&](auto&& v) { forEachMatch(*query, root, v); },
                              [&](const std::string& n) { return query->captureIndex(n); }, names);
    if (fromWalk == fromQuery) return {};
    std::string message = "walk and query differ for\n" + std::string(source) + "\nwalk:";
    for (const auto& line : fromWalk) message += "\n  " + line;
    message += "\nquery:";
    for (const auto& line : fromQuery) message += "\n  " + line;
    return message;
}

}  // namespace

std::string syntaxWalkMismatch(WalkedLanguage language, std::u16string_view text) {
    if (language == WalkedLanguage::jsFamily) {
        auto tree = SyntaxTree::parse(tree_sitter_tsx(), text);
        if (!tree) return {};
        JSFamilySyntax syntax = walkJSFamilySyntax(tree->root());
        const std::pair<const RecordedMatches*, std::string_view> passes[] = {
            {&syntax.declarations, jsqueries::kDeclarations},
            {&syntax.arrowFunctions, jsqueries::kArrowFunctions},
            {&syntax.imports, jsqueries::kImports},
            {&syntax.calls, jsqueries::kCalls}};
        for (const auto& [walked, source] : passes)
            if (auto mismatch = compare(tree_sitter_tsx(), tree->root(), *walked, source); !mismatch.empty())
                return mismatch;
        return {};
    }
    auto tree = SyntaxTree::parse(tree_sitter_python(), text);
    if (!tree) return {};
    PythonSyntax syntax = walkPythonSyntax(tree->root(), text, "pkg/m.py");
    const std::pair<const RecordedMatches*, std::string_view> passes[] = {
        {&syntax.declarations, pyqueries::kDeclarations}, {&syntax.calls, pyqueries::kCalls}};
    for (const auto& [walked, source] : passes)
        if (auto mismatch = compare(tree_sitter_python(), tree->root(), *walked, source); !mismatch.empty())
            return mismatch;
    // The import statements, in document order, as a query for either kind finds them.
    static const char kImportStatements[] = "[(import_statement) (import_from_statement)] @statement";
    RecordedMatches imports({"statement"});
    for (TSNode statement : syntax.importStatements) imports.add(0, {{0, statement}});
    return compare(tree_sitter_python(), tree->root(), imports, kImportStatements);
}

}  // namespace vantrel::fuzz
