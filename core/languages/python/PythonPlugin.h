// The language plugin for Python (".py", tree-sitter-python). Classes, functions and
// methods are its symbols; imports are read from the text of each import statement and
// resolved by module search below the project root; calls are recorded by the bare
// called name or the last attribute of a dotted call. Names only: no scopes, no types.
#pragma once

#include "languages/LanguagePlugin.h"

namespace vantrel {

class PythonPlugin : public LanguagePlugin {
public:
    std::string id() const override { return "python"; }
    std::vector<std::string> fileExtensions() const override { return {"py"}; }
    // The Python grammar, whatever the extension.
    const TSLanguage* language(std::string_view fileExtension) const override;

    // Three passes: declarations, imports, calls. The tsconfig is not used. A query that
    // does not compile leaves its pass out; the import pass needs no query and always runs.
    FileAnalysisResult analyzeFile(const AnalysisInput& input) const override;
};

}  // namespace vantrel
