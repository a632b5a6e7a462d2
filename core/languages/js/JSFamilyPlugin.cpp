#include "core/languages/js/JSFamilyPlugin.h"

#include <map>

#include "core/languages/js/internal/JSEnclosingScope.h"
#include "core/languages/js/internal/JSFamilySyntax.h"
#include "core/languages/js/internal/JSLinkFacts.h"
#include "core/languages/syntax/CommonPasses.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/resolution/JSImportResolution.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

JSImportResolution resolveSource(std::string_view rawText, const AnalysisInput& input) {
    return resolveJSImportSource(rawText, input.filePath, input.rootPath, input.tsconfig, input.fileRelPath,
                                 input.linking == LinkingMode::precise ? input.packages : nullptr);
}

// Precise linking resolves the same sources again for its bindings: what the import
// pass found is kept by source text, since each resolution tests the file system.
using ResolvedSources = std::map<std::string, std::string, std::less<>>;

void collectImports(const RecordedMatches& feed, const AnalysisInput& input, FileAnalysisResult& result,
                    ResolvedSources* resolved) {
    int sourceIndex = feed.captureIndex("import_source");
    int nameIndex = feed.captureIndex("import_name");
    int aliasIndex = feed.captureIndex("import_alias");
    int defaultIndex = feed.captureIndex("import_default");
    // Each match resolves its statement anew: `import { a, b } from 'm'` is three matches
    // and three lookups, and three diagnostics when 'm' does not resolve.
    feed.forEach([&](const QueryMatch& match) {
        auto source = match.first(sourceIndex);
        if (!source) return;
        std::string text = extractNodeText(*source, input.source);
        JSImportResolution resolution = resolveSource(text, input);
        if (resolved) resolved->try_emplace(std::move(text), resolution.resolved.value_or(std::string()));
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

TSNode childOfType(TSNode node, std::string_view type) {
    const std::uint32_t count = ts_node_named_child_count(node);
    for (std::uint32_t i = 0; i < count; ++i)
        if (TSNode child = ts_node_named_child(node, i); type == ts_node_type(child)) return child;
    return TSNode{};
}

// The module path a source string names for precise linking: the file, or "" outside
// the project.
std::string bindingPath(TSNode source, const AnalysisInput& input, ResolvedSources& resolved) {
    std::string text = extractNodeText(source, input.source);
    if (auto it = resolved.find(text); it != resolved.end()) return it->second;
    std::string path = resolveSource(text, input).resolved.value_or(std::string());
    resolved.emplace(std::move(text), path);
    return path;
}

// An import or export specifier's name and the name it binds (its alias, else the same).
std::optional<std::pair<std::string, std::string>> specifierNames(TSNode specifier, const AnalysisInput& input) {
    TSNode name = ts_node_child_by_field_name(specifier, "name", 4);
    if (ts_node_is_null(name)) return std::nullopt;
    TSNode alias = ts_node_child_by_field_name(specifier, "alias", 5);
    std::string original = extractNodeText(name, input.source);
    std::string bound = ts_node_is_null(alias) ? original : extractNodeText(alias, input.source);
    return std::pair{std::move(original), std::move(bound)};
}

// Import, export and `require` statements become the bindings of the file's facts.
void collectBindings(const JSLinkFacts& walk, const AnalysisInput& input, ResolvedSources& resolved, FileFacts& facts) {
    auto text = [&](TSNode node) { return extractNodeText(node, input.source); };
    for (TSNode statement : walk.importStatements) {
        TSNode source = ts_node_child_by_field_name(statement, "source", 6);
        TSNode clause = childOfType(statement, "import_clause");
        if (ts_node_is_null(source) || ts_node_is_null(clause)) continue;
        const std::string path = bindingPath(source, input, resolved);
        const std::uint32_t count = ts_node_named_child_count(clause);
        for (std::uint32_t i = 0; i < count; ++i) {
            TSNode part = ts_node_named_child(clause, i);
            std::string_view type = ts_node_type(part);
            if (type == "identifier") {
                facts.imports.push_back(ImportBinding{text(part), path, "default"});
            } else if (type == "namespace_import") {
                if (TSNode name = childOfType(part, "identifier"); !ts_node_is_null(name))
                    facts.imports.push_back(ImportBinding{text(name), path, "*"});
            } else if (type == "named_imports") {
                const std::uint32_t specifiers = ts_node_named_child_count(part);
                for (std::uint32_t s = 0; s < specifiers; ++s)
                    if (auto named = specifierNames(ts_node_named_child(part, s), input))
                        facts.imports.push_back(ImportBinding{named->second, path, named->first});
            }
        }
    }
    for (const auto& required : walk.requireCalls)
        facts.imports.push_back(
            ImportBinding{required.local, bindingPath(required.source, input, resolved), required.name});
    for (TSNode statement : walk.exportStatements) {
        TSNode source = ts_node_child_by_field_name(statement, "source", 6);
        const std::string path = ts_node_is_null(source) ? input.fileRelPath : bindingPath(source, input, resolved);
        if (TSNode clause = childOfType(statement, "export_clause"); !ts_node_is_null(clause)) {
            const std::uint32_t count = ts_node_named_child_count(clause);
            for (std::uint32_t i = 0; i < count; ++i) {
                auto named = specifierNames(ts_node_named_child(clause, i), input);
                if (!named) continue;
                auto& [original, exported] = *named;
                // A name exported as itself from this file needs no entry: it is found as defined.
                if (ts_node_is_null(source) && exported == original) continue;
                facts.exports.push_back(ImportBinding{std::move(exported), path, std::move(original)});
            }
        } else if (TSNode spaced = childOfType(statement, "namespace_export"); !ts_node_is_null(spaced)) {
            if (TSNode name = childOfType(spaced, "identifier"); !ts_node_is_null(name) && !ts_node_is_null(source))
                facts.exports.push_back(ImportBinding{text(name), path, "*"});
        } else if (!ts_node_is_null(source)) {
            facts.exports.push_back(ImportBinding{"*", path, "*"});  // export * from '...'
        } else if (TSNode value = ts_node_child_by_field_name(statement, "value", 5);
                   !ts_node_is_null(value) && std::string_view(ts_node_type(value)) == "identifier") {
            facts.exports.push_back(ImportBinding{"default", path, text(value)});
        } else if (TSNode declaration = ts_node_child_by_field_name(statement, "declaration", 11);
                   !ts_node_is_null(declaration)) {
            // `export default class Foo` / `export default function foo`.
            bool isDefault = false;
            for (std::uint32_t c = 0; c < ts_node_child_count(statement) && !isDefault; ++c)
                isDefault = std::string_view(ts_node_type(ts_node_child(statement, c))) == "default";
            TSNode name = ts_node_child_by_field_name(declaration, "name", 4);
            if (isDefault && !ts_node_is_null(name))
                facts.exports.push_back(ImportBinding{"default", path, text(name)});
        }
    }
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
    std::optional<JSLinkFacts> linkFacts;
    if (input.linking == LinkingMode::precise) linkFacts.emplace(input.source, input.fileRelPath);
    JSFamilySyntax syntax = walkJSFamilySyntax(input.root, linkFacts ? &*linkFacts : nullptr);
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
    ResolvedSources resolved;
    collectImports(syntax.imports, input, result, linkFacts ? &resolved : nullptr);
    if (linkFacts) {
        // Precise linking reads the sites, not the bare names.
        collectBindings(*linkFacts, input, resolved, linkFacts->facts);
        result.sites = std::move(linkFacts->sites);
        result.facts = std::move(linkFacts->facts);
        return result;
    }
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
