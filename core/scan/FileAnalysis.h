// The work on one file of a scan: read, hash, take the cache record if its hash
// matches, else parse, analyse and store a new record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/cache/ProjectCache.h"
#include "core/languages/LanguagePlugin.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/scan/Discovery.h"
#include "core/scan/SymbolScanner.h"

namespace vantrel {

struct FileAnalysisContext {
    const std::string& root;
    const PluginByExt& pluginByExt;
    const TSConfigResolver* tsconfig;
    const ProjectCache& cache;
    const CancelCheck& isCancelled;
    ScanStats* stats = nullptr;
    LinkingMode linking = LinkingMode::names;
    const ProjectPackages* packages = nullptr;
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
                                 const std::string& root, const TSConfigResolver* tsconfig,
                                 LinkingMode linking = LinkingMode::names, const ProjectPackages* packages = nullptr);

// The memory that one worker reuses from file to file: the file's bytes, its record's
// bytes and the record read or made. A fresh buffer of a few kilobytes per file made the
// allocator tidy up all its small free blocks first, every time. Owned by the caller, one
// per worker, so that it ends with the scan.
struct FileScratch {
    std::string source;
    std::string recordBytes;
    CachedFileResult record;
    // Lets go of what an uncommon file grew, so that a huge file does not keep its memory
    // for the rest of the scan.
    void releaseLarge();
};

// The file's record into `scratch.record`, from the cache when its hash matches (then
// with only the fields of RecordFields::symbols), else freshly analysed and saved; the
// record keeps the memory of what it held before where it can. False (and the record
// unspecified) when no plugin takes the file's extension. Throws ScanError when
// cancelled, when the file cannot be read, or when the parser gives no tree.
[[nodiscard]] bool parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context, FileScratch& scratch);

// Analyses the file's `bytes` (whose SHA-256 is `fileHash`) afresh into `record` and saves
// it, whatever the cache holds: for a file whose bytes are unchanged but whose imports may
// now resolve otherwise, since another file appeared or went. Leaves `record` untouched
// when no plugin takes the file's extension. Throws as analyzeSource does.
void analyseAndStore(const EnumeratedFile& file, std::string_view bytes, std::string fileHash,
                     const FileAnalysisContext& context, CachedFileResult& record);
// The text a file's bytes are analysed as: empty when they are not UTF-8 or too large.
std::u16string analysableText(std::string_view bytes);

}  // namespace vantrel
