// What the system knows of a programming language sits behind this interface. The scan
// picks a plugin by file extension, parses the file with the plugin's grammar, and the
// plugin turns the parsed file into symbols, resolved imports, call sites and import
// diagnostics. Plugins are immutable and shared by all concurrent analyses.
#pragma once

#include <tree_sitter/api.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/config/VantrelConfig.h"
#include "core/languages/PluginList.h"
#include "core/model/FileAnalysisResult.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

class ProjectPackages;
class TSConfigResolver;

struct AnalysisInput {
    std::string filePath;     // absolute path of the file
    std::string fileRelPath;  // first piece of every id, importerPath of every diagnostic
    std::string rootPath;     // the project root
    std::u16string_view source;
    TSNode root;                                 // root node of the tree parsed from `source`
    const TSConfigResolver* tsconfig = nullptr;  // the project's path mapping, if any
    // Precise linking: the plugin also records call sites and type facts, and resolves
    // imports of the project's own packages (`packages`) and Python `src/` layouts.
    LinkingMode linking = LinkingMode::names;
    const ProjectPackages* packages = nullptr;
};

class LanguagePlugin {
public:
    virtual ~LanguagePlugin() = default;
    virtual std::string id() const = 0;
    // Lower case, without the dot.
    virtual std::vector<std::string> fileExtensions() const = 0;
    virtual const TSLanguage* language(std::string_view fileExtension) const = 0;
    // Cannot fail: what goes wrong becomes a diagnostic or silence.
    virtual FileAnalysisResult analyzeFile(const AnalysisInput& input) const = 0;
};

}  // namespace vantrel
