// Whole-tree walks that do not recurse: source files can nest brackets or calls a
// hundred thousand deep, and that depth must cost heap, not call stack.
#pragma once

#include <tree_sitter/api.h>

#include <utility>
#include <vector>

namespace vantrel {

// Visits `root` and every visible node below it in pre-order, in document order.
// `visit(node, inherited)` gets the value that the visit of the node's parent returned
// (`rootValue` for the root) and returns the value that the node's own children inherit.
// One cursor moves down, across and up the tree: each step is constant time, and the
// values of the nodes on the way down from the root are all that is kept.
template <typename Value, typename Visit>
void walkPreOrder(TSNode root, Value rootValue, Visit&& visit) {
    TSTreeCursor cursor = ts_tree_cursor_new(root);
    std::vector<Value> handedDown;  // what each node on the cursor's path hands down
    handedDown.push_back(visit(root, rootValue));
    while (!handedDown.empty()) {
        if (ts_tree_cursor_goto_first_child(&cursor)) {
            Value value = visit(ts_tree_cursor_current_node(&cursor), handedDown.back());
            handedDown.push_back(std::move(value));
            continue;
        }
        // Leave the node for its next sibling, else climb until an ancestor has one.
        while (true) {
            handedDown.pop_back();
            if (handedDown.empty()) break;  // left the root
            if (ts_tree_cursor_goto_next_sibling(&cursor)) {
                Value value = visit(ts_tree_cursor_current_node(&cursor), handedDown.back());
                handedDown.push_back(std::move(value));
                break;
            }
            ts_tree_cursor_goto_parent(&cursor);
        }
    }
    ts_tree_cursor_delete(&cursor);
}

}  // namespace vantrel
