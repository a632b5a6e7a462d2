// The caller rule of the JS family: which declaration a node (a call) belongs to.
//
// Climbing from the node, the nearest function declaration or method definition gives
// the answer by its name; a declaration without a name child gives nothing. An arrow
// function gives the name of the nearest variable declarator above it, which need not be
// its own (`const x = list.map(() => g())` belongs to x); without such a declarator the
// climb goes on past the arrow. Reaching the root gives nothing.
#pragma once

#include <tree_sitter/api.h>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

// Answers the caller rule for many nodes of one tree. Nodes climb an ancestor chain kept
// from one question to the next, where every level carries the answer of a climb starting
// there; nodes asked for in document order move it by a few levels, so each answer costs
// next to nothing even in files nested 100,000 levels deep. (A ts_node_parent loop would
// search down from the root at every step: quadratic in the depth, seconds for one call
// 10,000 brackets deep.) In a tree with syntax errors, calls are answered from an index
// that one pre-order walk builds on the first question instead: an error node may hold
// 100,000 children in a flat list, which each descent of the chain would search again.
// Nothing here recurses. The tree and the text must outlive the object.
class JSEnclosingScope {
public:
    JSEnclosingScope(TSNode root, std::u16string_view source, std::string_view fileRelPath);

    // "fileRelPath:name:kind" of the enclosing declaration of `node` (the node itself
    // counts), or nothing.
    std::optional<std::string> symbolIdFor(TSNode node);

    // The first variable_declarator met climbing from `node` (the node itself counts).
    std::optional<TSNode> variableDeclaratorAbove(TSNode node);

private:
    // What a climb starting at one level ends with.
    struct Owner {
        enum class Form { none, function, method } form = Form::none;
        TSNode name{};  // the name node of the declaration, unless `none`
    };
    struct Level {
        TSNode node;
        std::optional<TSNode> declarator;  // the nearest variable_declarator at or above
        Owner owner;
    };
    // The level of `node` below `parent` (none for the root).
    static Level levelOf(TSNode node, const Level* parent);

    std::optional<std::string> idOf(const Owner& owner) const;
    void indexCalls();
    void moveTo(TSNode node);
    bool descendTo(TSNode node);
    void push(TSNode node);

    TSNode root_;
    std::u16string_view source_;
    std::string fileRelPath_;
    std::vector<Level> chain_;  // root first
    // Owners of the non-empty call expressions, by node id; built on the first question.
    // Zero-width nodes are left to the chain, whose descent is the one ts_node_parent makes.
    std::optional<std::unordered_map<const void*, Owner>> callOwners_;
};

}  // namespace vantrel
