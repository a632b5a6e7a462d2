// What precise linking takes from a JS family tree (a tsx grammar tree), gathered node by
// node during the analysis's one walk: every call and `new` with its form, place and
// callee expression, classes with their bases, methods and fields, top-level functions
// with their results, top-level values, and the import, export and `require` statements
// whose sources the plugin resolves.
//
// Calls belong to the nearest enclosing symbol: a named function declaration, a method
// definition, or an arrow function bound by a variable declarator; other functions (an
// arrow callback, a function expression) are transparent, so `const xs = list.map(() =>
// g())` inside `outer` is a call of `outer`. Module-level code belongs to nothing.
#pragma once

#include <tree_sitter/api.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/languages/syntax/LinkFactsScopes.h"
#include "core/model/LinkFacts.h"

namespace vantrel {

class JSLinkFacts {
public:
    // `source` and `fileRelPath` must outlive the object.
    JSLinkFacts(std::u16string_view source, std::string_view fileRelPath);

    // The walk's pre-order visit of `node`, and the end of it.
    void enter(TSNode node, TSSymbol symbol);
    void leave() { scopes_.leaveNode(); }

    std::vector<CallSite> sites;
    FileFacts facts;
    // Statements whose module source the plugin resolves into facts.imports/exports, and
    // top-level `const x = require('m')` / `const { a, b: c } = require('m')`.
    std::vector<TSNode> importStatements;
    std::vector<TSNode> exportStatements;
    struct Require {
        std::string local;
        std::string name;  // "*" for the module itself
        TSNode source;     // the string node
    };
    std::vector<Require> requireCalls;

private:
    void enterFunction(TSNode node, TSSymbol symbol);
    void enterClass(TSNode node);
    void declareParameters(TSNode function, bool isConstructor);
    void enterCall(TSNode call);
    void enterNew(TSNode node);
    void enterDeclarator(TSNode declarator);
    void enterAssignment(TSNode assignment);
    void enterField(TSNode field);
    void enterExport(TSNode statement);

    // The value expression of an expression node; empty when unknown.
    std::string expression(TSNode node, int depth = 0) const;
    // "new(T)" for a type annotation or type node naming a class; empty otherwise.
    std::string typeExpression(TSNode node, int depth = 0) const;
    // "a.b.C" for an identifier or a member chain of identifiers; empty otherwise.
    std::string dotted(TSNode node, int depth = 0) const;
    std::string text(TSNode node) const;

    std::u16string_view source_;
    std::string fileRelPath_;
    LinkFactsScopes scopes_;
};

}  // namespace vantrel
