#include "scan/FileAnalysis.h"

#include "cache/Hashing.h"
#include "languages/syntax/SyntaxTree.h"
#include "scan/ScanProgress.h"
#include "util/FileIO.h"
#include "util/Text.h"

namespace vantrel {

FileAnalysisResult analyzeSource(const LanguagePlugin& plugin, const EnumeratedFile& file, std::u16string_view text,
                                 const std::string& root, const TSConfigResolver* tsconfig) {
    SyntaxTree::Attempt parsed;
    try {
        parsed = SyntaxTree::parse(plugin.language(file.ext), text, AnalysisLimits::maxParseAllocation);
    } catch (const LanguageSetupError& e) {
        throw ScanError(ScanError::Kind::languageFailed, file.path, e.what());
    }
    if (parsed.overBudget) return {};
    if (!parsed.tree) throw ScanError(ScanError::Kind::parseFailed, file.path);
    // Measured before any query runs: the passes would pay these steps several times over.
    TSNode top = parsed.tree->root();
    // A tree without error nodes has no such steps: most files skip the walk.
    if (ts_node_has_error(top) &&
        errorSiblingScanSteps(top, AnalysisLimits::maxErrorSiblingSteps) > AnalysisLimits::maxErrorSiblingSteps)
        return {};
    return plugin.analyzeFile(AnalysisInput{file.path, file.relPath, root, text, top, tsconfig});
}

namespace {

// Read buffers that stay with their thread from one file to the next. A fresh buffer
// of a few kilobytes per file made the allocator tidy up all its small free blocks
// first, every time. One that grew past a megabyte is let go after its file, so a huge
// file does not keep its memory for the rest of the thread's life.
class ReusedBuffer {
public:
    std::string& get() { return bytes_; }
    void release() {
        if (bytes_.capacity() > (std::size_t{1} << 20)) std::string().swap(bytes_);
    }

private:
    std::string bytes_;
};

}  // namespace

bool parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context, CachedFileResult& record) {
    if (context.isCancelled && context.isCancelled()) throw ScanError(ScanError::Kind::cancelled);

    thread_local ReusedBuffer source;
    thread_local ReusedBuffer recordBytes;
    std::string readError;
    std::string& bytes = source.get();
    if (!readWholeFileInto(file.path, bytes, &readError)) {
        source.release();
        throw ScanError(ScanError::Kind::readFailed, file.path, readError);
    }

    std::string fileHash = sha256Hex(bytes);
    // The link phase reads the record again for its calls and imports: here only what the
    // merge takes is kept.
    bool hit = context.cache.loadFileInto(context.root, file.relPath, RecordFields::symbols, record,
                                          recordBytes.get()) &&
               record.fileHash == fileHash;
    recordBytes.release();
    if (hit) {
        source.release();
        if (context.stats) ++context.stats->fromCache;
        return true;
    }

    // Text that is not valid UTF-8, and a file too large to analyse, count as an empty file.
    std::u16string text;
    if (bytes.size() <= AnalysisLimits::maxFileBytes) text = utf8ToUtf16(bytes).value_or(std::u16string());
    source.release();

    auto plugin = context.pluginByExt.find(file.ext);
    if (plugin == context.pluginByExt.end()) return false;

    if (context.stats) ++context.stats->parsed;
    FileAnalysisResult analysis = analyzeSource(*plugin->second, file, text, context.root, context.tsconfig);

    record = CachedFileResult{std::move(fileHash), std::move(analysis.symbols), std::move(analysis.imports),
                              std::move(analysis.calls), std::move(analysis.diagnostics)};
    context.cache.saveFile(record, context.root, file.relPath);
    return true;
}

}  // namespace vantrel
