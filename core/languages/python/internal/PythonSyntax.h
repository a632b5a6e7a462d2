// Everything Python analysis takes from a tree, gathered in one walk over it. Each walk
// over every node costs about as much as a third of the parse, and the analysis needs
// four things from it: the matches of its two queries (PythonQueries.h), the import
// statements in document order, and the enclosing definition of each call.
#pragma once

#include <tree_sitter/api.h>

#include <string_view>
#include <vector>

#include "core/languages/python/internal/PythonScopes.h"
#include "core/languages/syntax/RecordedMatches.h"

namespace vantrel {

struct PythonSyntax {
    PythonSyntax(std::u16string_view source, std::string_view fileRelPath);

    // What the query pyqueries::kDeclarations matches, in its order and pattern numbers.
    RecordedMatches declarations;
    // What the query pyqueries::kCalls matches, in its order.
    RecordedMatches calls;
    // "import_statement" and "import_from_statement" nodes at any depth, in document order.
    std::vector<TSNode> importStatements;
    PythonScopeIndex scopes;
};

class PythonLinkFacts;

// Walks the tree under `root` once, without recursion. `source` and `fileRelPath` must
// outlive the result. With `linkFacts`, the same walk also hands it every node, for
// precise linking.
PythonSyntax walkPythonSyntax(TSNode root, std::u16string_view source, std::string_view fileRelPath,
                              PythonLinkFacts* linkFacts = nullptr);

}  // namespace vantrel
