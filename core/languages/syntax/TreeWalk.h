// Whole-tree walks that do not recurse: source files can nest brackets or calls a
// hundred thousand deep, and that depth must cost heap, not call stack.
#pragma once

#include <tree_sitter/api.h>

#include <utility>
#include <vector>

namespace vantrel {

// Visits `root` and every visible node below it in pre-order, in document order, with
// an explicit stack of pending nodes. `visit(node, inherited)` gets the value that the
// visit of the node's parent returned (`rootValue` for the root) and returns the value
// that the node's own children inherit.
template <typename Value, typename Visit>
void walkPreOrder(TSNode root, Value rootValue, Visit&& visit) {
    std::vector<std::pair<TSNode, Value>> stack;
    stack.emplace_back(root, std::move(rootValue));
    std::vector<TSNode> children;
    // One cursor lists the children of each node in time linear in their number;
    // ts_node_child would rescan the siblings for every index.
    TSTreeCursor cursor = ts_tree_cursor_new(root);
    while (!stack.empty()) {
        auto [node, inherited] = std::move(stack.back());
        stack.pop_back();
        Value value = visit(node, inherited);
        children.clear();
        ts_tree_cursor_reset(&cursor, node);
        if (ts_tree_cursor_goto_first_child(&cursor)) {
            do children.push_back(ts_tree_cursor_current_node(&cursor));
            while (ts_tree_cursor_goto_next_sibling(&cursor));
        }
        // Last child first, so that the first child is popped next.
        for (auto it = children.rbegin(); it != children.rend(); ++it) stack.emplace_back(*it, value);
    }
    ts_tree_cursor_delete(&cursor);
}

}  // namespace vantrel
