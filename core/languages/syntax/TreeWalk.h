// Whole-tree walks that do not recurse: source files can nest brackets or calls a
// hundred thousand deep, and that depth must cost heap, not call stack.
#pragma once

#include <tree_sitter/api.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace vantrel {

// Visits `root` and every visible node below it in pre-order, in document order:
// `enter(node, cursor)` on arriving at a node, with the cursor standing on it (for its
// field, say), and `leave()` once the node and all below it are done. One cursor moves
// down, across and up the tree, each step in constant time.
template <typename Enter, typename Leave>
void walkTree(TSNode root, Enter&& enter, Leave&& leave) {
    TSTreeCursor cursor = ts_tree_cursor_new(root);
    enter(root, static_cast<const TSTreeCursor&>(cursor));
    std::size_t below = 0;  // how far the cursor stands below the root
    while (true) {
        if (ts_tree_cursor_goto_first_child(&cursor)) {
            ++below;
            enter(ts_tree_cursor_current_node(&cursor), static_cast<const TSTreeCursor&>(cursor));
            continue;
        }
        // Leave the node for its next sibling, else climb until an ancestor has one.
        bool more = false;
        while (true) {
            leave();
            if (below == 0) break;
            if (ts_tree_cursor_goto_next_sibling(&cursor)) {
                enter(ts_tree_cursor_current_node(&cursor), static_cast<const TSTreeCursor&>(cursor));
                more = true;
                break;
            }
            ts_tree_cursor_goto_parent(&cursor);
            --below;
        }
        if (!more) break;
    }
    ts_tree_cursor_delete(&cursor);
}

// The same order, for walks that hand a value down: `visit(node, inherited)` gets what
// the visit of the node's parent returned (`rootValue` for the root) and returns what
// the node's own children inherit. Only the values on the path from the root are kept.
template <typename Value, typename Visit>
void walkPreOrder(TSNode root, Value rootValue, Visit&& visit) {
    std::vector<Value> handedDown;
    walkTree(
        root,
        [&](TSNode node, const TSTreeCursor&) {
            Value value = visit(node, handedDown.empty() ? rootValue : handedDown.back());
            handedDown.push_back(std::move(value));
        },
        [&] { handedDown.pop_back(); });
}

}  // namespace vantrel
