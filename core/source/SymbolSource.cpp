#include "core/source/SymbolSource.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

// A token of the text with the line it is on.
struct Placed {
    std::int64_t line;
    std::string_view text;
    TokenKind kind;
};

// The tokens of the whole text in order, comments left out: they never separate a
// name from its "(" or "new".
std::vector<Placed> codeTokens(const SourceText& text) {
    std::vector<Placed> placed;
    for (std::size_t i = 0; i < text.tokens.size() && i < text.lines.size(); ++i) {
        const std::string_view line = text.lines[i];
        for (const SourceToken& token : text.tokens[i])
            if (token.kind != TokenKind::comment)
                placed.push_back({text.firstLine + static_cast<std::int64_t>(i), line.substr(token.start, token.length),
                                  token.kind});
    }
    return placed;
}

bool isWord(const Placed& token) { return token.kind == TokenKind::identifier || token.kind == TokenKind::keyword; }
bool isPunct(const std::vector<Placed>& tokens, std::size_t at, std::string_view text) {
    return at < tokens.size() && tokens[at].kind == TokenKind::punctuation && tokens[at].text == text;
}

bool callsAt(const std::vector<Placed>& tokens, std::size_t at) {
    if (at > 0 && tokens[at - 1].kind == TokenKind::keyword) {
        const std::string_view before = tokens[at - 1].text;
        if (before == "new") return true;
        if (before == "function" || before == "def" || before == "class") return false;
    }
    if (isPunct(tokens, at + 1, "(")) return true;
    return isPunct(tokens, at + 1, "?") && isPunct(tokens, at + 2, ".") && isPunct(tokens, at + 3, "(");
}

// Lines split at "\n", a "\r" before it dropped.
std::vector<std::string> splitLines(std::string_view bytes) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= bytes.size()) {
        std::size_t end = bytes.find('\n', start);
        if (end == std::string_view::npos) end = bytes.size();
        std::string_view line = bytes.substr(start, end - start);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line);
        start = end + 1;
    }
    return lines;
}

}  // namespace

std::vector<std::int64_t> findCallLines(const SourceText& text, std::string_view calleeName) {
    std::vector<std::int64_t> lines;
    const std::vector<Placed> tokens = codeTokens(text);
    for (std::size_t i = 0; i < tokens.size(); ++i)
        if (isWord(tokens[i]) && tokens[i].text == calleeName && callsAt(tokens, i) &&
            (lines.empty() || lines.back() != tokens[i].line))
            lines.push_back(tokens[i].line);
    return lines;
}

SymbolSource loadSymbolSource(std::string_view projectRoot, std::string_view fileRelPath, const TextRange& range,
                              const std::vector<std::string>& calleeNames, const SourceLimits& limits) {
    SymbolSource source;
    source.fileRelPath = std::string(fileRelPath);
    const std::filesystem::path relative(std::string{fileRelPath});
    const std::filesystem::path normal = relative.lexically_normal();
    if (fileRelPath.empty() || relative.is_absolute() || (!normal.empty() && *normal.begin() == "..")) {
        source.error = "The path leads out of the project: " + source.fileRelPath;
        return source;
    }
    const std::string path = appendPathComponent(projectRoot, fileRelPath);
    std::error_code sizeError;
    const std::uintmax_t size = std::filesystem::file_size(path, sizeError);
    if (sizeError) {
        source.error = "Cannot read " + source.fileRelPath + ": " + sizeError.message();
        return source;
    }
    if (size > limits.maxFileBytes) {
        source.error = source.fileRelPath + " is too large to show (" + std::to_string(size / (1024 * 1024)) + " MB)";
        return source;
    }
    std::string readError;
    const std::optional<std::string> bytes = readWholeFile(path, &readError);
    if (!bytes) {
        source.error = "Cannot read " + source.fileRelPath + ": " + readError;
        return source;
    }
    std::vector<std::string> all = splitLines(*bytes);
    const std::int64_t first = std::max<std::int64_t>(range.startLine, 1);
    const std::int64_t last = std::min<std::int64_t>(std::max(range.endLine, first), std::ssize(all));
    if (first > last) {
        source.error =
            source.fileRelPath + " has changed since the scan: line " + std::to_string(first) + " is past its end";
        return source;
    }
    const std::int64_t shownLast = std::min(last, first + limits.maxLines - 1);
    source.truncated = shownLast < last;
    source.text.firstLine = first;
    source.text.lines.assign(std::make_move_iterator(all.begin() + (first - 1)),
                             std::make_move_iterator(all.begin() + shownLast));
    if (const auto language = sourceLanguageForPath(fileRelPath)) {
        source.text.tokens = tokenizeLines(*language, source.text.lines);
        const std::set<std::string> names(calleeNames.begin(), calleeNames.end());
        for (const std::string& name : names)
            for (std::int64_t line : findCallLines(source.text, name)) source.callsByLine[line].push_back(name);
    }
    return source;
}

}  // namespace vantrel
