#include "core/scan/FileAnalysis.h"

#include "core/cache/Hashing.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/scan/ScanProgress.h"
#include "core/util/FileIO.h"
#include "core/util/Text.h"

namespace vantrel {

FileAnalysisResult analyzeSource(const LanguagePlugin& plugin, const EnumeratedFile& file, std::u16string_view text,
                                 const std::string& root, const TSConfigResolver* tsconfig, LinkingMode linking,
                                 const ProjectPackages* packages) {
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
    return plugin.analyzeFile(AnalysisInput{file.path, file.relPath, root, text, top, tsconfig, linking, packages});
}

std::u16string analysableText(std::string_view bytes) {
    // Text that is not valid UTF-8, and a file too large to analyse, count as an empty file.
    if (bytes.size() > AnalysisLimits::maxFileBytes) return {};
    return utf8ToUtf16(bytes).value_or(std::u16string());
}

void FileScratch::releaseLarge() {
    constexpr std::size_t kLargeBuffer = std::size_t{1} << 20;
    if (source.capacity() > kLargeBuffer) std::string().swap(source);
    if (recordBytes.capacity() > kLargeBuffer) std::string().swap(recordBytes);
    if (record.symbols.capacity() > 1024 || record.diagnostics.capacity() > 1024 || record.calls.capacity() > 4096 ||
        record.sites.capacity() > 4096)
        record = CachedFileResult{};
}

namespace {

// analyseAndStore from the text analysableText gave; the plugin of the file's extension
// must exist.
void analyseTextAndStore(const EnumeratedFile& file, std::u16string_view text, std::string fileHash,
                         const FileAnalysisContext& context, CachedFileResult& record) {
    auto plugin = context.pluginByExt.find(file.ext);
    if (context.stats) ++context.stats->parsed;
    FileAnalysisResult analysis =
        analyzeSource(*plugin->second, file, text, context.root, context.tsconfig, context.linking, context.packages);

    // Precise linking finds imported names through the facts' bindings; the bare-name map
    // would only be read back and thrown away.
    if (context.linking == LinkingMode::precise) analysis.imports.clear();
    record = CachedFileResult{std::move(fileHash),       std::move(analysis.symbols),     std::move(analysis.imports),
                              std::move(analysis.calls), std::move(analysis.diagnostics), std::move(analysis.sites),
                              std::move(analysis.facts)};
    context.cache.saveFile(record, context.root, file.relPath);
}

}  // namespace

bool parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context, FileScratch& scratch) {
    if (context.isCancelled && context.isCancelled()) throw ScanError(ScanError::Kind::cancelled);

    CachedFileResult& record = scratch.record;
    std::string readError;
    std::string& bytes = scratch.source;
    if (!readWholeFileInto(file.path, bytes, &readError)) {
        scratch.releaseLarge();
        throw ScanError(ScanError::Kind::readFailed, file.path, readError);
    }

    std::string fileHash = sha256Hex(bytes);
    // The names mode's link phase reads the record again for its calls and imports: here only
    // what the merge takes is kept. Precise linking carries its sites to the link phase in
    // memory, compactly, instead.
    const RecordFields fields = context.linking == LinkingMode::precise ? RecordFields::all : RecordFields::symbols;
    bool hit = context.cache.loadFileInto(context.root, file.relPath, fields, record, scratch.recordBytes) &&
               record.fileHash == fileHash;
    if (hit) {
        if (context.stats) ++context.stats->fromCache;
        return true;
    }

    std::u16string text = analysableText(bytes);
    scratch.releaseLarge();  // the bytes are not needed from here on
    if (context.pluginByExt.find(file.ext) == context.pluginByExt.end()) return false;
    analyseTextAndStore(file, text, std::move(fileHash), context, record);
    return true;
}

void analyseAndStore(const EnumeratedFile& file, std::string_view bytes, std::string fileHash,
                     const FileAnalysisContext& context, CachedFileResult& record) {
    if (context.pluginByExt.find(file.ext) == context.pluginByExt.end()) return;
    analyseTextAndStore(file, analysableText(bytes), std::move(fileHash), context, record);
}


}  // namespace vantrel
