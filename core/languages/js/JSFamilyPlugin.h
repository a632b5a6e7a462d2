// The language plugin for JavaScript, TypeScript, JSX and TSX. From one parsed file it
// collects named functions, methods and arrow functions bound to a variable, the files
// its imports name, and the calls of plain identifiers with their enclosing declaration.
// It works on names alone: no scope analysis, no types. All four extensions go through
// the tsx grammar.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/languages/LanguagePlugin.h"

namespace vantrel {

class JSFamilyPlugin : public LanguagePlugin {
public:
    std::string id() const override;                                            // "js-family"
    std::vector<std::string> fileExtensions() const override;                   // js, jsx, ts, tsx
    const TSLanguage* language(std::string_view fileExtension) const override;  // tsx, always

    // Four passes in this order: declarations, arrow functions, imports, calls, over the
    // matches of the four queries (JSFamilyQueries.h) as one walk of the tree finds them.
    FileAnalysisResult analyzeFile(const AnalysisInput& input) const override;
};

// `component` when the name's first Unicode scalar is an uppercase or titlecase letter
// (general categories Lu, Lt), else `function`. Only the name counts: not the body, not
// the file's extension. An empty name is a `function`.
SymbolKind classifyFunction(std::string_view name);

// Id of the declaration that encloses `node` by the caller rule (see JSEnclosingScope.h),
// or nothing. For a single node; the call pass asks one JSEnclosingScope for all of its calls.
std::optional<std::string> enclosingSymbolIdForJSFamily(TSNode node, std::u16string_view source,
                                                        std::string_view fileRelPath);

// The first variable_declarator met climbing from `node` (itself included), or nothing.
std::optional<TSNode> enclosingArrowVarDeclarator(TSNode node);

}  // namespace vantrel
