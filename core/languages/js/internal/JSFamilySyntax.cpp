#include "core/languages/js/internal/JSFamilySyntax.h"

#include <string>
#include <vector>

#include "core/languages/js/internal/JSFamilyQueries.h"
#include "core/languages/js/internal/JSLinkFacts.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/languages/syntax/TreeWalk.h"

namespace vantrel {

namespace {

// The grammar's numbers for the names the queries use.
struct Names {
    TSSymbol functionDeclaration, methodDefinition, lexicalDeclaration, variableDeclaration, variableDeclarator,
        arrowFunction, importStatement, callExpression, identifier, propertyIdentifier;
    TSFieldId name, value, function;

    static const Names& get() {
        static const Names names = [] {
            const TSLanguage* tsx = tree_sitter_tsx();
            auto symbol = [&](std::string_view type) { return namedSymbol(tsx, type); };
            return Names{symbol("function_declaration"), symbol("method_definition"),   symbol("lexical_declaration"),
                         symbol("variable_declaration"), symbol("variable_declarator"), symbol("arrow_function"),
                         symbol("import_statement"),     symbol("call_expression"),     symbol("identifier"),
                         symbol("property_identifier"),  fieldId(tsx, "name"),          fieldId(tsx, "value"),
                         fieldId(tsx, "function")};
        }();
        return names;
    }

    // Parents whose children's fields decide a match.
    bool fieldsMatter(TSSymbol parent) const {
        return parent == functionDeclaration || parent == methodDefinition || parent == variableDeclarator ||
               parent == callExpression;
    }
};

// One node on the path from the root to the cursor.
struct Step {
    TSNode node;
    TSSymbol symbol;
    TSFieldId field;          // its field in its parent, where that parent's fields matter; else 0
    TSNode declaratorName{};  // a variable_declarator's identifier child in its "name" field, once seen
    bool insideImport;        // an import statement at or above it
};

std::vector<std::string_view> namesOf(const SharedQuery* query) {
    std::vector<std::string_view> names;
    if (query)
        for (const auto& name : query->captureNames()) names.push_back(name);
    return names;
}

const SharedQuery* importQuery() { return SharedQuery::get(tree_sitter_tsx(), jsqueries::kImports); }

}  // namespace

JSFamilySyntax::JSFamilySyntax()
    : declarations({"decl", "name"}),
      arrowFunctions({"decl", "name", "value"}),
      imports(namesOf(importQuery())),
      calls({"call", "callee"}) {}

JSFamilySyntax walkJSFamilySyntax(TSNode root, JSLinkFacts* linkFacts) {
    const Names& names = Names::get();
    JSFamilySyntax syntax;
    const int decl = syntax.declarations.captureIndex("decl");
    const int name = syntax.declarations.captureIndex("name");
    const int arrowDecl = syntax.arrowFunctions.captureIndex("decl");
    const int arrowName = syntax.arrowFunctions.captureIndex("name");
    const int arrowValue = syntax.arrowFunctions.captureIndex("value");
    const int call = syntax.calls.captureIndex("call");
    const int callee = syntax.calls.captureIndex("callee");
    const SharedQuery* imports = importQuery();

    std::vector<Step> path;  // the root first, the cursor's node last
    auto enter = [&](TSNode node, const TSTreeCursor& cursor) {
        Step* parent = path.empty() ? nullptr : &path.back();
        const TSSymbol symbol = ts_node_symbol(node);
        const TSFieldId field =
            parent && names.fieldsMatter(parent->symbol) ? ts_tree_cursor_current_field_id(&cursor) : 0;
        // A match is found at its last node, as the query cursor finishes it, and counts
        // only when its root starts shallow enough.
        const std::size_t depth = path.size();
        if (parent) {
            if (field == names.name && depth - 1 <= kMaxMatchStartDepth) {
                if (parent->symbol == names.functionDeclaration && symbol == names.identifier)
                    syntax.declarations.add(0, {{decl, parent->node}, {name, node}});
                if (parent->symbol == names.methodDefinition && symbol == names.propertyIdentifier)
                    syntax.declarations.add(1, {{decl, parent->node}, {name, node}});
            }
            if (parent->symbol == names.variableDeclarator) {
                // The name comes before the value among a declarator's children.
                if (field == names.name && symbol == names.identifier && ts_node_is_null(parent->declaratorName))
                    parent->declaratorName = node;
                if (field == names.value && symbol == names.arrowFunction && !ts_node_is_null(parent->declaratorName) &&
                    depth >= 2 && depth - 2 <= kMaxMatchStartDepth) {
                    TSSymbol statement = path[depth - 2].symbol;
                    if (statement == names.lexicalDeclaration || statement == names.variableDeclaration)
                        syntax.arrowFunctions.add(
                            statement == names.lexicalDeclaration ? 0 : 1,
                            {{arrowDecl, parent->node}, {arrowName, parent->declaratorName}, {arrowValue, node}});
                }
            }
            if (field == names.function && parent->symbol == names.callExpression && symbol == names.identifier &&
                depth - 1 <= kMaxMatchStartDepth)
                syntax.calls.add(0, {{call, parent->node}, {callee, node}});
        }
        const bool insideImport = (parent && parent->insideImport) || symbol == names.importStatement;
        // The import query's matches all start at an import statement: running it on
        // each outermost one, with the start depth left to it, finds the same matches in
        // the same order as one run over the whole tree.
        if (symbol == names.importStatement && !(parent && parent->insideImport) && imports &&
            depth <= kMaxMatchStartDepth) {
            TSQueryCursor* statementCursor = ts_query_cursor_new();
            ts_query_cursor_set_max_start_depth(statementCursor,
                                                kMaxMatchStartDepth - static_cast<std::uint32_t>(depth));
            ts_query_cursor_exec(statementCursor, imports->query(), node);
            TSQueryMatch match;
            while (ts_query_cursor_next_match(statementCursor, &match))
                syntax.imports.add(match.pattern_index, match.captures, match.capture_count);
            ts_query_cursor_delete(statementCursor);
        }
        path.push_back(Step{node, symbol, field, TSNode{}, insideImport});
        if (linkFacts) linkFacts->enter(node, symbol);
    };

    walkTree(root, enter, [&] {
        path.pop_back();
        if (linkFacts) linkFacts->leave();
    });
    return syntax;
}

}  // namespace vantrel
