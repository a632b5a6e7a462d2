#include "scan/FileAnalysis.h"

#include "cache/Hashing.h"
#include "languages/syntax/SyntaxTree.h"
#include "scan/ScanProgress.h"
#include "util/FileIO.h"
#include "util/Text.h"

namespace vantrel {

std::optional<CachedFileResult> parseAndCache(const EnumeratedFile& file, const FileAnalysisContext& context) {
    if (context.isCancelled && context.isCancelled()) throw ScanError(ScanError::Kind::cancelled);

    std::string readError;
    auto bytes = readWholeFile(file.path, &readError);
    if (!bytes) throw ScanError(ScanError::Kind::readFailed, file.path, readError);

    std::string fileHash = sha256Hex(*bytes);
    if (auto cached = context.cache.loadFile(context.root, file.relPath); cached && cached->fileHash == fileHash) {
        if (context.stats) ++context.stats->fromCache;
        return cached;
    }

    // Text that is not valid UTF-8 is analysed as an empty file.
    std::u16string text = utf8ToUtf16(*bytes).value_or(std::u16string());
    bytes.reset();

    auto plugin = context.pluginByExt.find(file.ext);
    if (plugin == context.pluginByExt.end()) return std::nullopt;

    std::optional<SyntaxTree> tree;
    try {
        tree = SyntaxTree::parse(plugin->second->language(file.ext), text);
    } catch (const LanguageSetupError& e) {
        throw ScanError(ScanError::Kind::languageFailed, file.path, e.what());
    }
    if (!tree) throw ScanError(ScanError::Kind::parseFailed, file.path);

    AnalysisInput input{file.path, file.relPath, context.root, text, tree->root(), context.tsconfig};
    if (context.stats) ++context.stats->parsed;
    FileAnalysisResult analysis = plugin->second->analyzeFile(input);

    CachedFileResult record{std::move(fileHash), std::move(analysis.symbols), std::move(analysis.imports),
                            std::move(analysis.calls), std::move(analysis.diagnostics)};
    context.cache.saveFile(record, context.root, file.relPath);
    return record;
}

}  // namespace vantrel
