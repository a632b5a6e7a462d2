#include "languages/python/PythonPlugin.h"

#include "languages/python/PythonScopes.h"
#include "languages/syntax/CommonPasses.h"
#include "languages/syntax/Grammars.h"
#include "languages/syntax/SyntaxTree.h"
#include "languages/syntax/TreeWalk.h"
#include "resolution/PythonImports.h"

namespace vantrel {

namespace {

constexpr std::string_view kDeclarationQuery =
    "(class_definition name: (identifier) @name) @decl\n(function_definition name: (identifier) @name) @decl";

// A bare name, or the last attribute of a dotted call: `a.b.f()` calls `f`.
constexpr std::string_view kCallQuery =
    "(call\n  function: [\n\t(identifier) @callee\n\t(attribute attribute: (identifier) @callee)\n  ]) @call";

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

// Document order, at any depth: imports inside functions, classes and try blocks count.
// `from __future__ import ...` has a node type of its own and is passed over.
void collectImports(const AnalysisInput& input, FileAnalysisResult& result) {
    walkPreOrder(input.root, 0, [&](TSNode node, int) {
        std::string_view type = ts_node_type(node);
        if (type == "import_statement" || type == "import_from_statement") handleImportStatement(node, input, result);
        return 0;
    });
}

}  // namespace

const TSLanguage* PythonPlugin::language(std::string_view) const { return tree_sitter_python(); }

FileAnalysisResult PythonPlugin::analyzeFile(const AnalysisInput& input) const {
    FileAnalysisResult result;
    PassMatches matches(tree_sitter_python(), {kDeclarationQuery, kCallQuery}, input.root);
    auto declarations = matches.feed(0);
    auto calls = matches.feed(1);
    std::optional<PythonScopeIndex> scopes;
    if (declarations || calls) scopes.emplace(input.root, input.source, input.fileRelPath);

    if (declarations) {
        collectDeclarations(
            *declarations, input,
            [&](std::uint16_t, TSNode decl, const std::string& name) -> std::optional<SymbolKind> {
                if (name.empty()) return std::nullopt;
                if (std::string_view(ts_node_type(decl)) == "class_definition") return SymbolKind::classType;
                return scopes->isInsideClass(decl) ? SymbolKind::method : SymbolKind::function;
            },
            result.symbols);
    }
    collectImports(input, result);
    // Calls outside any definition (module level, top-level decorators) are dropped.
    if (calls) {
        collectCallSites(*calls, input, [&](TSNode call) { return scopes->enclosingSymbolIdForPython(call); },
                         result.calls);
    }
    return result;
}

}  // namespace vantrel
