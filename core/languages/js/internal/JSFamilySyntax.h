// The matches of the JS family's four queries (JSFamilyQueries.h), gathered in one walk
// over the tree: a walk over every node costs about as much as a third of the parse, and
// the query cursor's own walk about twice that. Declarations, arrow functions and calls
// are found at the node where the query cursor would finish them; import statements are
// few, so the import query runs on each of them alone.
#pragma once

#include <tree_sitter/api.h>

#include "core/languages/syntax/RecordedMatches.h"

namespace vantrel {

struct JSFamilySyntax {
    JSFamilySyntax();

    RecordedMatches declarations;    // as jsqueries::kDeclarations: name, decl
    RecordedMatches arrowFunctions;  // as jsqueries::kArrowFunctions: name, decl, value
    RecordedMatches imports;         // as jsqueries::kImports, with that query's capture numbers
    RecordedMatches calls;           // as jsqueries::kCalls: callee, call
};

class JSLinkFacts;

// Walks the tree under `root` once, without recursion (a tsx grammar tree). With
// `linkFacts`, the same walk also hands it every node, for precise linking.
JSFamilySyntax walkJSFamilySyntax(TSNode root, JSLinkFacts* linkFacts = nullptr);

}  // namespace vantrel
