// The two query passes that every language plugin runs the same way, over a feed of
// matches (RecordedMatches.h): declarations (a `decl` node named by a `name` node) and
// calls (a `call` node naming a `callee`).
// What differs per language (the kind of a declaration, the enclosing caller of a call,
// whether an empty name counts) is handed in.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/languages/LanguagePlugin.h"
#include "core/languages/syntax/RecordedMatches.h"
#include "core/languages/syntax/SyntaxTree.h"

namespace vantrel {

// One symbol per match with both captures, ranged over the `decl` node.
// `kindOf(patternIndex, declNode, name)` gives the kind, or nothing to skip the match.
template <typename Feed, typename KindOf>
void collectDeclarations(const Feed& feed, const AnalysisInput& input, KindOf&& kindOf, std::vector<Symbol>& symbols) {
    int nameIndex = feed.captureIndex("name");
    int declIndex = feed.captureIndex("decl");
    feed.forEach([&](const QueryMatch& match) {
        auto name = match.first(nameIndex);
        auto decl = match.first(declIndex);
        if (!name || !decl) return;
        std::string text = extractNodeText(*name, input.source);
        std::optional<SymbolKind> kind = kindOf(match.patternIndex(), *decl, text);
        if (!kind) return;
        symbols.push_back(Symbol{makeSymbolId(input.fileRelPath, text, *kind), *kind, textRangeOf(*decl), {}, {}});
    });
}

// One call site per match whose callee text is not empty and whose `call` node has an
// enclosing declaration (`callerOf(callNode)`); other calls are dropped.
template <typename Feed, typename CallerOf>
void collectCallSites(const Feed& feed, const AnalysisInput& input, CallerOf&& callerOf,
                      std::vector<CachedCallSite>& calls) {
    int callIndex = feed.captureIndex("call");
    int calleeIndex = feed.captureIndex("callee");
    feed.forEach([&](const QueryMatch& match) {
        auto call = match.first(callIndex);
        auto callee = match.first(calleeIndex);
        if (!call || !callee) return;
        std::string calleeName = extractNodeText(*callee, input.source);
        if (calleeName.empty()) return;
        std::optional<std::string> caller = callerOf(*call);
        if (!caller) return;
        calls.push_back(CachedCallSite{std::move(*caller), std::move(calleeName)});
    });
}

}  // namespace vantrel
