// The two climbs of Python analysis, answered for a whole tree at once. Climbing from
// each call with ts_node_parent costs time in the square of the depth per call (the
// runtime finds a parent by descending from the root), which a file of deeply nested
// calls turns into hours; the analysis's one pre-order walk records every answer the
// passes ask for.
#pragma once

#include <tree_sitter/api.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

class PythonScopeIndex {
public:
    // What a node hands down to its children.
    struct Inherited {
        int enclosing = -1;       // index of the enclosing definition's id, -1 for none
        bool classAbove = false;  // a class at or above the node that hands this down
    };

    // Empty; filled by `enter`, node by node in pre-order, during a walk of the tree.
    // `source` and `fileRelPath` build the ids and must outlive the index.
    PythonScopeIndex(std::u16string_view source, std::string_view fileRelPath)
        : source_(source), fileRelPath_(fileRelPath) {}

    // Records `node`, of grammar type `type`, below a parent that handed down `parent`
    // (a default Inherited for the root); gives what the node hands down.
    Inherited enter(TSNode node, std::string_view type, const Inherited& parent);

    // True when a "class_definition" stands somewhere above the node (the node itself
    // not counted). Functions in between do not stop the climb, so a function nested
    // in a method is inside the class.
    bool isInsideClass(TSNode node) const;

    // The id of the nearest "function_definition" or "class_definition" at or above the
    // node: path:name:class for a class, path:name:method for a function inside a class,
    // else path:name:function. Nothing when that definition has no name, or when there
    // is none up to the root. A lambda stops nothing.
    std::optional<std::string> enclosingSymbolIdForPython(TSNode node) const;

private:
    struct Scope {
        int enclosing = -1;        // index into ids_, -1 for none
        bool insideClass = false;  // a class stands strictly above
        bool isClass = false;
    };
    // The recorded scope of the node, else that of its nearest recorded ancestor.
    const Scope* lookUp(TSNode node, bool& fromAncestor) const;

    // Only calls and definitions are recorded: they are what the passes ask about, and
    // any other node is answered from the nearest of them above it.
    std::unordered_map<const void*, Scope> scopes_;
    std::vector<std::string> ids_;
    std::u16string_view source_;
    std::string_view fileRelPath_;
};

}  // namespace vantrel
