#include "core/languages/python/internal/PythonSyntax.h"

#include "core/languages/python/internal/PythonLinkFacts.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/languages/syntax/TreeWalk.h"

namespace vantrel {

namespace {

// The grammar's numbers for the names the queries use.
struct Names {
    TSSymbol classDefinition, functionDefinition, call, attribute, identifier, importStatement, importFrom;
    TSFieldId name, function, attributeField;

    static const Names& get() {
        static const Names names = [] {
            const TSLanguage* python = tree_sitter_python();
            auto symbol = [&](std::string_view type) { return namedSymbol(python, type); };
            return Names{symbol("class_definition"),
                         symbol("function_definition"),
                         symbol("call"),
                         symbol("attribute"),
                         symbol("identifier"),
                         symbol("import_statement"),
                         symbol("import_from_statement"),
                         fieldId(python, "name"),
                         fieldId(python, "function"),
                         fieldId(python, "attribute")};
        }();
        return names;
    }

    // Parents whose children's fields decide a match.
    bool fieldsMatter(TSSymbol parent) const {
        return parent == classDefinition || parent == functionDefinition || parent == call || parent == attribute;
    }
};

// One node on the path from the root to the cursor.
struct Step {
    TSNode node;
    TSSymbol symbol;
    TSFieldId field;  // its field in its parent, where that parent's fields matter; else 0
    PythonScopeIndex::Inherited scope;
};

}  // namespace

PythonSyntax::PythonSyntax(std::u16string_view source, std::string_view fileRelPath)
    : declarations({"name", "decl"}), calls({"callee", "call"}), scopes(source, fileRelPath) {}

PythonSyntax walkPythonSyntax(TSNode root, std::u16string_view source, std::string_view fileRelPath,
                              PythonLinkFacts* linkFacts) {
    const Names& names = Names::get();
    PythonSyntax syntax(source, fileRelPath);
    const int name = syntax.declarations.captureIndex("name");
    const int decl = syntax.declarations.captureIndex("decl");
    const int callee = syntax.calls.captureIndex("callee");
    const int call = syntax.calls.captureIndex("call");

    std::vector<Step> path;  // the root first, the cursor's node last
    auto enter = [&](TSNode node, const TSTreeCursor& cursor) {
        const Step* parent = path.empty() ? nullptr : &path.back();
        TSSymbol symbol = ts_node_symbol(node);
        TSFieldId field = parent && names.fieldsMatter(parent->symbol) ? ts_tree_cursor_current_field_id(&cursor) : 0;
        // A match is found at its last node, as the query cursor finishes it, and counts
        // only when its root (the parent here, or the grandparent) starts shallow enough.
        const std::size_t depth = path.size();
        if (parent && symbol == names.identifier) {
            if (field == names.name && depth - 1 <= kMaxMatchStartDepth) {
                if (parent->symbol == names.classDefinition)
                    syntax.declarations.add(0, {{decl, parent->node}, {name, node}});
                if (parent->symbol == names.functionDefinition)
                    syntax.declarations.add(1, {{decl, parent->node}, {name, node}});
            }
            if (field == names.function && parent->symbol == names.call && depth - 1 <= kMaxMatchStartDepth)
                syntax.calls.add(0, {{call, parent->node}, {callee, node}});
            if (field == names.attributeField && parent->symbol == names.attribute && parent->field == names.function &&
                depth >= 2 && path[depth - 2].symbol == names.call && depth - 2 <= kMaxMatchStartDepth)
                syntax.calls.add(0, {{call, path[depth - 2].node}, {callee, node}});
        }
        if (symbol == names.importStatement || symbol == names.importFrom) syntax.importStatements.push_back(node);
        PythonScopeIndex::Inherited scope =
            syntax.scopes.enter(node, ts_node_type(node), parent ? parent->scope : PythonScopeIndex::Inherited{});
        path.push_back(Step{node, symbol, field, scope});
        if (linkFacts) linkFacts->enter(node, symbol);
    };

    walkTree(root, enter, [&] {
        path.pop_back();
        if (linkFacts) linkFacts->leave();
    });
    return syntax;
}

}  // namespace vantrel
