#include "core/languages/python/PythonPlugin.h"

#include "core/languages/python/internal/PythonSyntax.h"
#include "core/languages/syntax/CommonPasses.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/resolution/PythonImports.h"

namespace vantrel {

namespace {

void handleImportStatement(TSNode statement, const AnalysisInput& input, FileAnalysisResult& result) {
    for (const ImportEntry& entry : parsePythonImportStatement(extractNodeText(statement, input.source))) {
        PythonResolution resolution = resolvePythonModule(entry.moduleSpec, input.filePath, input.rootPath,
                                                          entry.preferSubmodule, entry.submoduleName);
        if (resolution.outcome == PythonResolution::Outcome::resolved) {
            result.imports[entry.localName] = resolution.path;  // a later binding of the name wins
        } else if (auto diagnostic = pythonImportDiagnostic(resolution, input.fileRelPath, entry.displayImportPath)) {
            result.diagnostics.push_back(std::move(*diagnostic));
        }
    }
}

}  // namespace

const TSLanguage* PythonPlugin::language(std::string_view) const { return tree_sitter_python(); }

FileAnalysisResult PythonPlugin::analyzeFile(const AnalysisInput& input) const {
    FileAnalysisResult result;
    PythonSyntax syntax = walkPythonSyntax(input.root, input.source, input.fileRelPath);
    collectDeclarations(
        syntax.declarations, input,
        [&](std::uint16_t, TSNode decl, const std::string& name) -> std::optional<SymbolKind> {
            if (name.empty()) return std::nullopt;
            if (std::string_view(ts_node_type(decl)) == "class_definition") return SymbolKind::classType;
            return syntax.scopes.isInsideClass(decl) ? SymbolKind::method : SymbolKind::function;
        },
        result.symbols);
    // Document order, at any depth: imports inside functions, classes and try blocks count.
    // `from __future__ import ...` has a node type of its own and is passed over.
    for (TSNode statement : syntax.importStatements) handleImportStatement(statement, input, result);
    // Calls outside any definition (module level, top-level decorators) are dropped.
    collectCallSites(
        syntax.calls, input, [&](TSNode call) { return syntax.scopes.enclosingSymbolIdForPython(call); }, result.calls);
    return result;
}

}  // namespace vantrel
