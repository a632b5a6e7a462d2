#include "core/languages/js/JSFamilyPlugin.h"

#include "core/languages/js/internal/JSEnclosingScope.h"
#include "core/languages/js/internal/JSFamilySyntax.h"
#include "core/languages/syntax/CommonPasses.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/resolution/JSImportResolution.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

void collectImports(const RecordedMatches& feed, const AnalysisInput& input, FileAnalysisResult& result) {
    int sourceIndex = feed.captureIndex("import_source");
    int nameIndex = feed.captureIndex("import_name");
    int aliasIndex = feed.captureIndex("import_alias");
    int defaultIndex = feed.captureIndex("import_default");
    // Each match resolves its statement anew: `import { a, b } from 'm'` is three matches
    // and three lookups, and three diagnostics when 'm' does not resolve.
    feed.forEach([&](const QueryMatch& match) {
        auto source = match.first(sourceIndex);
        if (!source) return;
        JSImportResolution resolution = resolveJSImportSource(extractNodeText(*source, input.source), input.filePath,
                                                              input.rootPath, input.tsconfig, input.fileRelPath);
        if (resolution.diagnostic) result.diagnostics.push_back(*resolution.diagnostic);
        if (!resolution.resolved) return;
        const std::string& path = *resolution.resolved;

        std::vector<TSNode> names = match.captures(nameIndex);
        std::vector<TSNode> aliases = match.captures(aliasIndex);
        for (std::size_t i = 0; i < names.size(); ++i) {
            std::string alias = i < aliases.size() ? extractNodeText(aliases[i], input.source) : std::string();
            std::string key = alias.empty() ? extractNodeText(names[i], input.source) : alias;
            if (!key.empty()) result.imports[key] = path;
        }
        if (auto defaultName = match.first(defaultIndex)) {
            std::string key = extractNodeText(*defaultName, input.source);
            if (!key.empty()) result.imports[key] = path;
        }
    });
}

}  // namespace

std::string JSFamilyPlugin::id() const { return "js-family"; }

std::vector<std::string> JSFamilyPlugin::fileExtensions() const { return {"js", "jsx", "ts", "tsx"}; }

const TSLanguage* JSFamilyPlugin::language(std::string_view) const {
    // Plain .ts goes through the tsx grammar too, so `<T>value` casts parse as JSX with
    // errors; the analysis keeps what error recovery leaves intact.
    return tree_sitter_tsx();
}

FileAnalysisResult JSFamilyPlugin::analyzeFile(const AnalysisInput& input) const {
    FileAnalysisResult result;
    JSFamilySyntax syntax = walkJSFamilySyntax(input.root);
    collectDeclarations(
        syntax.declarations, input,
        [](std::uint16_t pattern, TSNode, const std::string& name) -> std::optional<SymbolKind> {
            return pattern != 0 ? SymbolKind::method : classifyFunction(name);
        },
        result.symbols);
    collectDeclarations(
        syntax.arrowFunctions, input,
        [](std::uint16_t, TSNode, const std::string& name) -> std::optional<SymbolKind> {
            return classifyFunction(name);
        },
        result.symbols);
    collectImports(syntax.imports, input, result);
    // A call outside every declaration (module top level, class field arrows) is dropped.
    JSEnclosingScope scope(input.root, input.source, input.fileRelPath);
    collectCallSites(
        syntax.calls, input, [&](TSNode call) { return scope.symbolIdFor(call); }, result.calls);
    return result;
}

SymbolKind classifyFunction(std::string_view name) {
    auto first = firstScalar(name);
    return first && isUppercaseOrTitlecaseLetter(*first) ? SymbolKind::component : SymbolKind::function;
}

std::optional<std::string> enclosingSymbolIdForJSFamily(TSNode node, std::u16string_view source,
                                                        std::string_view fileRelPath) {
    if (ts_node_is_null(node)) return std::nullopt;
    return JSEnclosingScope(ts_tree_root_node(node.tree), source, fileRelPath).symbolIdFor(node);
}

std::optional<TSNode> enclosingArrowVarDeclarator(TSNode node) {
    if (ts_node_is_null(node)) return std::nullopt;
    return JSEnclosingScope(ts_tree_root_node(node.tree), {}, {}).variableDeclaratorAbove(node);
}

}  // namespace vantrel
