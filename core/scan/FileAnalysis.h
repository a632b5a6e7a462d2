// The work on one file of a scan: read, hash, take the cache record if its hash
// matches, else parse, analyse and store a new record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

// Bounds on the work that one file may cost, whatever its bytes. A file beyond any of
// them is analysed as an empty file: it adds no symbols, imports or calls, the scan goes
// on, and its record is stored like any other. All three are measured, never timed, so a
// file is over or within them on every run and machine alike.
struct AnalysisLimits {
    // Larger files are neither decoded nor parsed.
    static constexpr std::size_t maxFileBytes = std::size_t{64} << 20;
    // Memory the parser may ask for in all (SyntaxTree::parse): some 5 MB of dense minified
    // code, 10 MB and more of ordinary code, but only 200 KB of text that is a syntax error
    // at every token, whose recovery costs ten times more memory and time per byte.
    static constexpr std::uint64_t maxParseAllocation = std::uint64_t{512} << 20;
    // Query-engine steps in error nodes (errorSiblingScanSteps): about a quarter of a second
    // per file. Intact code stays far below; a run of some 6,000 unclosed brackets does not.
    static constexpr std::uint64_t maxErrorSiblingSteps = std::uint64_t{1} << 24;
};

// Parses `text` with the plugin's grammar and analyses it, within AnalysisLimits. Throws
// ScanError when the grammar cannot be set or the parser gives no tree.
FileAnalysisResult analyzeSource(const LanguagePlugin& plugin, const EnumeratedFile& file, std::u16string_view text,
                                 const std::string& root, const TSConfigResolver* tsconfig);

// The file's record into `record`, from the cache when its hash matches (then with only
// the fields of RecordFields::symbols), else freshly analysed and saved; `record` keeps
// the memory of what it held before where it can. False (and `record` unspecified) when
// no plugin takes the file's extension. Throws ScanError when cancelled, when the file
// cannot be read, or when the parser gives no tree.
bool parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context, CachedFileResult& record);

}  // namespace vantrel
