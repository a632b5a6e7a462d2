#include "languages/python/PythonScopes.h"

#include "languages/syntax/SyntaxTree.h"
#include "languages/syntax/TreeWalk.h"
#include "model/ProjectIR.h"

namespace vantrel {

namespace {
// What a node hands down to its children.
struct Inherited {
    int enclosing = -1;
    bool classAbove = false;  // a class at or above the node that hands this down
};
}  // namespace

PythonScopeIndex::PythonScopeIndex(TSNode root, std::u16string_view source, std::string_view fileRelPath) {
    walkPreOrder(root, Inherited{}, [&](TSNode node, const Inherited& parent) {
        std::string_view type = ts_node_type(node);
        bool isFunction = type == "function_definition";
        bool isClass = type == "class_definition";
        int enclosing = parent.enclosing;
        if (isFunction || isClass) {
            // A definition without a name ends the climb with nothing, also for its body.
            enclosing = -1;
            if (auto name = nameFieldText(node, source)) {
                SymbolKind kind = isClass ? SymbolKind::classType
                                          : (parent.classAbove ? SymbolKind::method : SymbolKind::function);
                ids_.push_back(makeSymbolId(fileRelPath, *name, kind));
                enclosing = static_cast<int>(ids_.size()) - 1;
            }
        }
        if (isFunction || isClass || type == "call") scopes_[node.id] = Scope{enclosing, parent.classAbove, isClass};
        return Inherited{enclosing, parent.classAbove || isClass};
    });
}

const PythonScopeIndex::Scope* PythonScopeIndex::lookUp(TSNode node, bool& fromAncestor) const {
    fromAncestor = false;
    for (TSNode current = node; !ts_node_is_null(current); current = ts_node_parent(current)) {
        auto it = scopes_.find(current.id);
        if (it != scopes_.end()) return &it->second;
        fromAncestor = true;
    }
    return nullptr;
}

bool PythonScopeIndex::isInsideClass(TSNode node) const {
    bool fromAncestor = false;
    const Scope* scope = lookUp(node, fromAncestor);
    if (!scope) return false;
    return scope->insideClass || (fromAncestor && scope->isClass);
}

std::optional<std::string> PythonScopeIndex::enclosingSymbolIdForPython(TSNode node) const {
    bool fromAncestor = false;
    const Scope* scope = lookUp(node, fromAncestor);
    if (!scope || scope->enclosing < 0) return std::nullopt;
    return ids_[static_cast<std::size_t>(scope->enclosing)];
}

}  // namespace vantrel
