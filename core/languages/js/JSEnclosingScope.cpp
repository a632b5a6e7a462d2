#include "languages/js/JSEnclosingScope.h"

#include "languages/js/JSFamilyPlugin.h"
#include "languages/syntax/SyntaxTree.h"
#include "model/ProjectIR.h"

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
    moveTo(node);
    const Owner& owner = chain_.back().owner;
    if (owner.form == Owner::Form::none) return std::nullopt;
    std::string name = extractNodeText(owner.name, source_);
    SymbolKind kind = owner.form == Owner::Form::method ? SymbolKind::method : classifyFunction(name);
    return makeSymbolId(fileRelPath_, name, kind);
}

std::optional<TSNode> JSEnclosingScope::variableDeclaratorAbove(TSNode node) {
    moveTo(node);
    long index = chain_.back().declarator;
    if (index < 0) return std::nullopt;
    return chain_[static_cast<std::size_t>(index)].node;
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

void JSEnclosingScope::push(TSNode node) {
    const Level* parent = chain_.empty() ? nullptr : &chain_.back();
    long index = static_cast<long>(chain_.size());
    std::string_view type = ts_node_type(node);

    long declarator = type == "variable_declarator" ? index : (parent ? parent->declarator : -1);
    Owner inherited = parent ? parent->owner : Owner{};
    Owner owner = inherited;
    if (type == "function_declaration" || type == "method_definition") {
        // The nearest declaration decides, also when it has no name: then nothing.
        owner = Owner{};
        if (auto name = nameChild(node)) {
            owner.form = type == "method_definition" ? Owner::Form::method : Owner::Form::function;
            owner.name = *name;
        }
    } else if (type == "arrow_function") {
        // The arrow itself is no declarator, so the nearest one is its parent level's.
        long above = parent ? parent->declarator : -1;
        if (above >= 0) {
            if (auto name = nameChild(chain_[static_cast<std::size_t>(above)].node)) {
                owner.form = Owner::Form::function;
                owner.name = *name;
            }
        }
    }
    chain_.push_back(Level{node, declarator, owner});
}

}  // namespace vantrel
