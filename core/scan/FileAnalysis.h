// The work on one file of a scan: read, hash, take the cache record if its hash
// matches, else parse, analyse and store a new record.
#pragma once

#include <optional>
#include <string>

#include "cache/ProjectCache.h"
#include "resolution/TSConfigResolver.h"
#include "scan/Discovery.h"
#include "scan/SymbolScanner.h"

namespace vantrel {

struct FileAnalysisContext {
    const std::string& root;
    const PluginByExt& pluginByExt;
    const TSConfigResolver* tsconfig;
    const ProjectCache& cache;
    const CancelCheck& isCancelled;
    ScanStats* stats = nullptr;
};

// Nothing when no plugin takes the file's extension. Throws ScanError when cancelled,
// when the file cannot be read, or when the parser gives no tree.
std::optional<CachedFileResult> parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context);

}  // namespace vantrel
