// What precise linking takes from a Python tree, gathered node by node during the
// analysis's one walk: every call with its form, place and callee expression, classes
// with their bases, methods (with their result: a `->` annotation, else the first
// `return`) and fields (class-level annotations and assignments, `self.x = ...` in any
// method), top-level functions and values. A method's first parameter is written as
// "this" (or "cls" in a classmethod), so `self.m()` reads "this.m"; `super()` reads
// "super". Calls belong to the nearest enclosing definition, as in the names mode.
#pragma once

#include <tree_sitter/api.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/languages/syntax/LinkFactsScopes.h"
#include "core/model/LinkFacts.h"

namespace vantrel {

class PythonLinkFacts {
public:
    // `source` and `fileRelPath` must outlive the object.
    PythonLinkFacts(std::u16string_view source, std::string_view fileRelPath);

    // The walk's pre-order visit of `node`, and the end of it.
    void enter(TSNode node, TSSymbol symbol);
    void leave();

    std::vector<CallSite> sites;
    FileFacts facts;

private:
    void enterFunction(TSNode node);
    void enterClass(TSNode node);
    void enterCall(TSNode call);
    void enterAssignment(TSNode assignment);

    std::string expression(TSNode node, int depth = 0) const;
    std::string typeExpression(TSNode node, int depth = 0) const;
    std::string dotted(TSNode node, int depth = 0) const;
    std::string text(TSNode node) const;

    std::u16string_view source_;
    std::string fileRelPath_;
    LinkFactsScopes scopes_;
    std::vector<std::size_t> classDepths_;  // walk depths of the open classes
};

}  // namespace vantrel
