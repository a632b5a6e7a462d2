#include "core/languages/python/PythonPlugin.h"

#include "core/languages/python/internal/PythonLinkFacts.h"
#include "core/languages/python/internal/PythonSyntax.h"
#include "core/languages/syntax/CommonPasses.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/resolution/PythonImports.h"

namespace vantrel {

namespace {

// True when `path` is the module file or package of `name` itself.
bool isModuleNamed(std::string_view path, std::string_view name) {
    std::string file = "/" + std::string(name) + ".py", package = "/" + std::string(name) + "/__init__.py";
    std::string_view slashed = path;
    std::string rooted;
    if (!path.starts_with("/")) rooted = "/" + std::string(path), slashed = rooted;
    return slashed.ends_with(file) || slashed.ends_with(package);
}

// The precise mode's bindings of one import entry: a module bound whole, or a name of one.
void addBindings(const ImportEntry& entry, const PythonResolution& resolution, const AnalysisInput& input,
                 bool isFromImport, FileFacts& facts) {
    const std::string path =
        resolution.outcome == PythonResolution::Outcome::resolved ? resolution.path : std::string();
    if (!isFromImport) {
        // `import a.b.c` binds the dotted name (and `a`); `import a.b as x` binds x.
        const bool aliased = entry.localName != entry.moduleSpec.substr(0, entry.moduleSpec.find('.'));
        facts.imports.push_back(ImportBinding{aliased ? entry.localName : entry.moduleSpec, path, "*"});
        if (!aliased && entry.moduleSpec.find('.') != std::string::npos) {
            PythonResolution top =
                resolvePythonModuleForLinking(entry.localName, input.filePath, input.rootPath, false, std::nullopt);
            facts.imports.push_back(ImportBinding{
                entry.localName, top.outcome == PythonResolution::Outcome::resolved ? top.path : std::string(), "*"});
        }
        return;
    }
    const std::string name = entry.submoduleName.value_or(entry.localName);
    if (name == "*") {
        facts.imports.push_back(ImportBinding{"*", path, "*"});
        return;
    }
    const bool wholeModule = !path.empty() && isModuleNamed(path, name);
    facts.imports.push_back(ImportBinding{entry.localName, path, wholeModule ? "*" : name});
}

void handleImportStatement(TSNode statement, const AnalysisInput& input, FileAnalysisResult& result) {
    const bool precise = input.linking == LinkingMode::precise;
    const std::string text = extractNodeText(statement, input.source);
    const bool isFromImport = std::string_view(ts_node_type(statement)) == "import_from_statement";
    for (const ImportEntry& entry : parsePythonImportStatement(text)) {
        PythonResolution resolution =
            precise ? resolvePythonModuleForLinking(entry.moduleSpec, input.filePath, input.rootPath,
                                                    entry.preferSubmodule, entry.submoduleName)
                    : resolvePythonModule(entry.moduleSpec, input.filePath, input.rootPath, entry.preferSubmodule,
                                          entry.submoduleName);
        if (resolution.outcome == PythonResolution::Outcome::resolved) {
            result.imports[entry.localName] = resolution.path;  // a later binding of the name wins
        } else if (auto diagnostic = pythonImportDiagnostic(resolution, input.fileRelPath, entry.displayImportPath)) {
            result.diagnostics.push_back(std::move(*diagnostic));
        }
        if (precise) addBindings(entry, resolution, input, isFromImport, result.facts);
    }
}

}  // namespace

const TSLanguage* PythonPlugin::language(std::string_view) const { return tree_sitter_python(); }

FileAnalysisResult PythonPlugin::analyzeFile(const AnalysisInput& input) const {
    FileAnalysisResult result;
    std::optional<PythonLinkFacts> linkFacts;
    if (input.linking == LinkingMode::precise) linkFacts.emplace(input.source, input.fileRelPath);
    PythonSyntax syntax =
        walkPythonSyntax(input.root, input.source, input.fileRelPath, linkFacts ? &*linkFacts : nullptr);
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
    if (linkFacts) result.facts = std::move(linkFacts->facts);
    for (TSNode statement : syntax.importStatements) handleImportStatement(statement, input, result);
    if (linkFacts) {
        result.sites = std::move(linkFacts->sites);
        return result;  // precise linking reads the sites, not the bare names
    }
    // Calls outside any definition (module level, top-level decorators) are dropped.
    collectCallSites(
        syntax.calls, input, [&](TSNode call) { return syntax.scopes.enclosingSymbolIdForPython(call); }, result.calls);
    return result;
}

}  // namespace vantrel
