// The bookkeeping that both languages' precise-linking walks share: a stack of scopes
// that follows the tree walk, each with its locals (name to value expression), the symbol
// that owns the calls inside it, the class `this`/`self` stands for, and where the
// result of its function goes (a top-level function's or a method's entry of the file's
// facts). The language walks decide what opens a scope and what a node's expression is;
// this keeps the stack, answers lookups and records call sites.
//
// Expressions are those of core/model/LinkFacts.h.
#pragma once

#include <tree_sitter/api.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/model/LinkFacts.h"

namespace vantrel {

// Small accessors both walks use on every node they look at.
inline TSNode fieldChild(TSNode node, TSFieldId field) { return ts_node_child_by_field_id(node, field); }
inline TSNode firstNamedChild(TSNode node) {
    return ts_node_named_child_count(node) ? ts_node_named_child(node, 0) : TSNode{};
}

class LinkFactsScopes {
public:
    // Where a function's result expression is written: nowhere, a top-level function of
    // the facts, or a method of one of the facts' classes.
    struct ResultSlot {
        enum class Kind { none, function, method } kind = Kind::none;
        std::size_t classIndex = 0;
        std::size_t index = 0;
    };

    // Expressions longer than this are dropped as unknown: chains that long are neither
    // types nor worth following, and a bound keeps hostile files cheap.
    static constexpr std::size_t kMaxExpression = 256;
    // Sub-expressions deeper than this are unknown.
    static constexpr int kMaxDepth = 12;
    // Functions nested deeper than this share the scope of the last one: a lookup walks the
    // scopes, and a file of 100,000 nested callbacks must not cost their square.
    static constexpr std::size_t kMaxScopes = 256;

    explicit LinkFactsScopes(FileFacts& facts) : facts_(facts) {
        scopes_.push_back(Scope{0, std::nullopt, {}, {}, ResultSlot{}, false, true, false});
    }

    // The walk's path: call on every node entered and left, before and after the node's
    // own work, so that scopes opened at a node close with it.
    void enterNode(TSNode node) {
        path_.push_back(node);
        ++depth_;
    }
    void leaveNode() {
        while (scopes_.size() > 1 && scopes_.back().depth == depth_) scopes_.pop_back();
        if (!classes_.empty() && classes_.back().depth == depth_) classes_.pop_back();
        --depth_;
        path_.pop_back();
    }
    // The node `up` levels above the current one (1: its parent), or a null node.
    TSNode above(std::size_t up) const { return path_.size() > up ? path_[path_.size() - 1 - up] : TSNode{}; }
    // How many nodes deep the walk stands (the root is 1).
    std::size_t depth() const { return path_.size(); }

    // A function-like scope at the current node. `owner`: the symbol that owns the calls
    // inside, or nothing to keep the enclosing one. `thisClass`: the class `this` stands
    // for inside, or nothing to keep the enclosing one's (arrows keep theirs).
    void openFunction(std::optional<std::string> owner, std::optional<std::string> thisClass, ResultSlot slot) {
        if (scopes_.size() >= kMaxScopes) return;
        const Scope& outer = scopes_.back();
        Scope scope{depth_,
                    owner ? std::move(owner) : outer.owner,
                    thisClass ? std::move(*thisClass) : outer.thisClass,
                    {},
                    slot,
                    false,
                    false,
                    true};
        scopes_.push_back(std::move(scope));
    }
    // A class at the current node: its facts are added, and `this` inside its body (field
    // initialisers) stands for it. `owner`: the symbol owning calls in its body, when the
    // class is one. Gives its index in the facts.
    std::size_t openClass(ClassFacts facts, std::optional<std::string> owner = std::nullopt) {
        facts_.classes.push_back(std::move(facts));
        if (scopes_.size() >= kMaxScopes) return facts_.classes.size() - 1;
        const std::size_t index = facts_.classes.size() - 1;
        classes_.push_back(ClassLevel{depth_, index});
        const Scope& outer = scopes_.back();
        scopes_.push_back(Scope{depth_,
                                owner ? std::move(owner) : outer.owner,
                                facts_.classes[index].name,
                                {},
                                ResultSlot{},
                                false,
                                false,
                                false});
        return index;
    }
    // The innermost scope owns nothing: a definition without a name.
    void clearOwner() { scopes_.back().owner.reset(); }

    // The innermost class being walked, directly (no function between it and the node).
    std::optional<std::size_t> classDirectlyAbove() const {
        if (classes_.empty() || scopes_.back().isFunction) return std::nullopt;
        return classes_.back().index;
    }
    // The class facts entry of the class `this` stands for now, when it is in this file
    // and still open.
    ClassFacts* thisClassFacts() {
        const std::string& name = scopes_.back().thisClass;
        if (name.empty()) return nullptr;
        for (auto it = classes_.rbegin(); it != classes_.rend(); ++it)
            if (facts_.classes[it->index].name == name) return &facts_.classes[it->index];
        return nullptr;
    }

    bool atModuleLevel() const { return !insideFunction(); }
    bool insideFunction() const {
        for (auto it = scopes_.rbegin(); it != scopes_.rend(); ++it)
            if (it->isFunction) return true;
        return false;
    }
    const std::optional<std::string>& owner() const { return scopes_.back().owner; }
    const std::string& thisClass() const { return scopes_.back().thisClass; }

    // A local of the innermost function: shadows names of the file for the rest of it.
    // An empty expression marks a value of unknown type.
    void declareLocal(std::string name, std::string expression) {
        for (auto it = scopes_.rbegin(); it != scopes_.rend(); ++it) {
            if (!it->isFunction) continue;
            it->locals.emplace_back(std::move(name), std::move(expression));
            return;
        }
    }
    // A later assignment gives a local of unknown type the type it lacked.
    void assignLocal(std::string_view name, std::string expression) {
        if (std::string* local = findLocal(name); local && local->empty()) *local = std::move(expression);
    }
    // What a local holds ("?name" when unknown); nothing when the name is no local of an
    // enclosing function, so that it is the file's to resolve.
    std::optional<std::string> local(std::string_view name) const {
        for (auto it = scopes_.rbegin(); it != scopes_.rend(); ++it)
            for (auto local = it->locals.rbegin(); local != it->locals.rend(); ++local)
                if (local->first == name) return local->second.empty() ? "?" + local->first : local->second;
        return std::nullopt;
    }

    // The first result the innermost function gives (a declared type counts first).
    void setResult(std::string expression) {
        for (auto it = scopes_.rbegin(); it != scopes_.rend(); ++it) {
            if (!it->isFunction) continue;
            if (it->resultSet || expression.empty()) return;
            it->resultSet = true;
            TypedName* target = slotTarget(it->slot);
            if (target && target->type.empty()) target->type = std::move(expression);
            return;
        }
    }

    // A call of the current owner; dropped outside every symbol.
    void addCall(std::vector<CallSite>& sites, std::string callee, CallForm form, TSNode call) {
        const Scope& scope = scopes_.back();
        if (!scope.owner || callee.empty() || callee.size() > kMaxExpression) return;
        TSPoint at = ts_node_start_point(call);
        sites.push_back(CallSite{*scope.owner, std::move(callee), scope.thisClass, static_cast<std::int32_t>(at.row),
                                 static_cast<std::int32_t>(at.column / 2), form});
    }

    FileFacts& facts() { return facts_; }

private:
    struct Scope {
        std::size_t depth;
        std::optional<std::string> owner;
        std::string thisClass;
        std::vector<std::pair<std::string, std::string>> locals;
        ResultSlot slot;
        bool resultSet;
        bool isModule;
        bool isFunction;
    };
    struct ClassLevel {
        std::size_t depth;
        std::size_t index;
    };

    std::string* findLocal(std::string_view name) {
        for (auto it = scopes_.rbegin(); it != scopes_.rend(); ++it)
            for (auto local = it->locals.rbegin(); local != it->locals.rend(); ++local)
                if (local->first == name) return &local->second;
        return nullptr;
    }
    TypedName* slotTarget(const ResultSlot& slot) {
        switch (slot.kind) {
            case ResultSlot::Kind::function: return &facts_.functions[slot.index];
            case ResultSlot::Kind::method: return &facts_.classes[slot.classIndex].methods[slot.index];
            case ResultSlot::Kind::none: return nullptr;
        }
        return nullptr;
    }

    FileFacts& facts_;
    std::vector<Scope> scopes_;  // the module's first
    std::vector<ClassLevel> classes_;
    std::vector<TSNode> path_;  // the root first, the current node last
    std::size_t depth_ = 0;
};

}  // namespace vantrel
