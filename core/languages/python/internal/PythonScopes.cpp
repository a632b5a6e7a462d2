#include "core/languages/python/internal/PythonScopes.h"

#include "core/languages/syntax/SyntaxTree.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

PythonScopeIndex::Inherited PythonScopeIndex::enter(TSNode node, std::string_view type, const Inherited& parent) {
    bool isFunction = type == "function_definition";
    bool isClass = type == "class_definition";
    int enclosing = parent.enclosing;
    if (isFunction || isClass) {
        // A definition without a name ends the climb with nothing, also for its body.
        enclosing = -1;
        if (auto name = nameFieldText(node, source_)) {
            SymbolKind kind =
                isClass ? SymbolKind::classType : (parent.classAbove ? SymbolKind::method : SymbolKind::function);
            ids_.push_back(makeSymbolId(fileRelPath_, *name, kind));
            enclosing = static_cast<int>(ids_.size()) - 1;
        }
    }
    if (isFunction || isClass || type == "call") scopes_[node.id] = Scope{enclosing, parent.classAbove, isClass};
    return Inherited{enclosing, parent.classAbove || isClass};
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
