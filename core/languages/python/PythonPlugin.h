// The language plugin for Python (".py", tree-sitter-python). Classes, functions and
// methods are its symbols; imports are read from the text of each import statement and
// resolved by module search below the project root; calls are recorded by the bare
// called name or the last attribute of a dotted call. Names only: no scopes, no types.
#pragma once

#include "core/languages/LanguagePlugin.h"

namespace vantrel {

class PythonPlugin : public LanguagePlugin {
public:
    std::string id() const override { return "python"; }
    std::vector<std::string> fileExtensions() const override { return {"py"}; }
    // The Python grammar, whatever the extension.
    const TSLanguage* language(std::string_view fileExtension) const override;

    // Three passes over what one walk of the tree gathers: declarations, imports, calls.
    // The tsconfig is not used.
    FileAnalysisResult analyzeFile(const AnalysisInput& input) const override;
};

}  // namespace vantrel
