#include "core/languages/js/internal/JSEnclosingScope.h"

#include "core/languages/js/JSFamilyPlugin.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/languages/syntax/TreeWalk.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

namespace {
bool sameNode(TSNode a, TSNode b) { return a.id == b.id && ts_node_start_byte(a) == ts_node_start_byte(b); }

bool spans(TSNode outer, TSNode inner) {
    return ts_node_start_byte(outer) <= ts_node_start_byte(inner) && ts_node_end_byte(inner) <= ts_node_end_byte(outer);
}

bool sameRange(TSNode a, TSNode b) {
    return ts_node_start_byte(a) == ts_node_start_byte(b) && ts_node_end_byte(a) == ts_node_end_byte(b);
}

std::optional<TSNode> nameChild(TSNode node) {
    TSNode name = ts_node_child_by_field_name(node, "name", 4);
    if (ts_node_is_null(name)) return std::nullopt;
    return name;
}
}  // namespace

JSEnclosingScope::JSEnclosingScope(TSNode root, std::u16string_view source, std::string_view fileRelPath)
    : root_(root), source_(source), fileRelPath_(fileRelPath) {}

std::optional<std::string> JSEnclosingScope::symbolIdFor(TSNode node) {
    // Only error nodes hold long flat lists of children; in an intact tree the chain is cheaper.
    if (ts_node_has_error(root_) && ts_node_start_byte(node) < ts_node_end_byte(node)) {
        if (!callOwners_) indexCalls();
        if (auto it = callOwners_->find(node.id); it != callOwners_->end()) return idOf(it->second);
    }
    moveTo(node);
    return idOf(chain_.back().owner);
}

std::optional<std::string> JSEnclosingScope::idOf(const Owner& owner) const {
    if (owner.form == Owner::Form::none) return std::nullopt;
    std::string name = extractNodeText(owner.name, source_);
    SymbolKind kind = owner.form == Owner::Form::method ? SymbolKind::method : classifyFunction(name);
    return makeSymbolId(fileRelPath_, name, kind);
}

void JSEnclosingScope::indexCalls() {
    callOwners_.emplace();
    // The walk's parent of a non-empty node is the one ts_node_parent finds.
    walkPreOrder(root_, std::optional<Level>{}, [&](TSNode node, const std::optional<Level>& parent) {
        Level level = levelOf(node, parent ? &*parent : nullptr);
        if (std::string_view(ts_node_type(node)) == "call_expression" &&
            ts_node_start_byte(node) < ts_node_end_byte(node))
            callOwners_->emplace(node.id, level.owner);
        return std::optional<Level>(level);
    });
}

std::optional<TSNode> JSEnclosingScope::variableDeclaratorAbove(TSNode node) {
    moveTo(node);
    return chain_.back().declarator;
}

void JSEnclosingScope::moveTo(TSNode node) {
    if (chain_.empty()) push(root_);
    // Drop the levels that do not span the node; a level of the same range may be the
    // node itself or lie below it, so look through those before descending.
    while (chain_.size() > 1 && !spans(chain_.back().node, node)) chain_.pop_back();
    for (std::size_t i = chain_.size(); i-- > 0 && sameRange(chain_[i].node, node);) {
        if (sameNode(chain_[i].node, node)) {
            chain_.resize(i + 1);
            return;
        }
    }
    if (descendTo(node)) return;
    // The kept levels led elsewhere (possible with zero-width nodes): start over from the
    // root, where the descent is the one ts_node_parent makes.
    chain_.resize(1);
    if (descendTo(node)) return;
    push(node);
}

bool JSEnclosingScope::descendTo(TSNode node) {
    while (!sameNode(chain_.back().node, node)) {
        TSNode next = ts_node_child_with_descendant(chain_.back().node, node);
        if (ts_node_is_null(next)) return false;
        push(next);
    }
    return true;
}

void JSEnclosingScope::push(TSNode node) { chain_.push_back(levelOf(node, chain_.empty() ? nullptr : &chain_.back())); }

JSEnclosingScope::Level JSEnclosingScope::levelOf(TSNode node, const Level* parent) {
    std::string_view type = ts_node_type(node);
    std::optional<TSNode> declarator = type == "variable_declarator" ? std::optional<TSNode>(node)
                                       : parent                      ? parent->declarator
                                                                     : std::nullopt;
    Owner owner = parent ? parent->owner : Owner{};
    if (type == "function_declaration" || type == "method_definition") {
        // The nearest declaration decides, also when it has no name: then nothing.
        owner = Owner{};
        if (auto name = nameChild(node)) {
            owner.form = type == "method_definition" ? Owner::Form::method : Owner::Form::function;
            owner.name = *name;
        }
    } else if (type == "arrow_function") {
        // The arrow itself is no declarator, so the nearest one is its parent level's.
        if (parent && parent->declarator) {
            if (auto name = nameChild(*parent->declarator)) {
                owner.form = Owner::Form::function;
                owner.name = *name;
            }
        }
    }
    return Level{node, declarator, owner};
}

}  // namespace vantrel
