#include "core/changes/UnifiedDiff.h"

#include <charconv>

#include "core/util/Text.h"

namespace vantrel {

namespace {

// Reads digits at `pos`; nothing when there are none or they overflow.
std::optional<std::int64_t> readNumber(std::string_view text, std::size_t& pos) {
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data() + pos, text.data() + text.size(), value);
    if (error != std::errc() || end == text.data() + pos) return std::nullopt;
    pos = static_cast<std::size_t>(end - text.data());
    return value;
}

// "start[,count]" at `pos`.
bool readSide(std::string_view text, std::size_t& pos, std::int64_t& start, std::int64_t& count) {
    auto first = readNumber(text, pos);
    if (!first) return false;
    start = *first;
    count = 1;
    if (pos < text.size() && text[pos] == ',') {
        ++pos;
        auto second = readNumber(text, pos);
        if (!second) return false;
        count = *second;
    }
    return true;
}

bool consume(std::string_view text, std::size_t& pos, std::string_view expected) {
    if (text.substr(pos, expected.size()) != expected) return false;
    pos += expected.size();
    return true;
}

// A path of a "---"/"+++" line: "/dev/null" is none; git ends a name holding a space
// with a tab, which is no part of it.
std::optional<std::string> headerPath(std::string_view text, std::string_view prefix) {
    if (!text.empty() && text.back() == '\t') text.remove_suffix(1);
    if (text == "/dev/null") return std::nullopt;
    std::string path = unquoteGitPath(text);
    if (path.starts_with(prefix)) path.erase(0, prefix.size());
    return path;
}

}  // namespace

std::optional<DiffHunk> parseHunkHeader(std::string_view line) {
    DiffHunk hunk;
    std::size_t pos = 0;
    if (!consume(line, pos, "@@ -") || !readSide(line, pos, hunk.oldStart, hunk.oldCount) ||
        !consume(line, pos, " +") || !readSide(line, pos, hunk.newStart, hunk.newCount) || !consume(line, pos, " @@"))
        return std::nullopt;
    return hunk;
}

std::string unquoteGitPath(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::string(text);
    text = text.substr(1, text.size() - 2);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c != '\\' || i + 1 == text.size()) {
            out += c;
            continue;
        }
        char e = text[++i];
        if (e >= '0' && e <= '7') {
            int value = 0;
            for (int digits = 0; digits < 3 && i < text.size() && text[i] >= '0' && text[i] <= '7'; ++digits, ++i)
                value = value * 8 + (text[i] - '0');
            --i;
            out += static_cast<char>(value);
            continue;
        }
        switch (e) {
            case 'a': out += '\a'; break;
            case 'b': out += '\b'; break;
            case 'f': out += '\f'; break;
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'v': out += '\v'; break;
            default: out += e; break;  // \\ and \"
        }
    }
    return out;
}

std::vector<FileDiff> parseUnifiedDiff(std::string_view patch) {
    std::vector<FileDiff> files;
    FileDiff* file = nullptr;
    std::int64_t oldLeft = 0, newLeft = 0;  // body lines still due in the current hunk
    for (std::string_view line : splitKeepingEmpty(patch, "\n")) {
        if (oldLeft > 0 || newLeft > 0) {
            char marker = line.empty() ? '\0' : line[0];
            if (marker == '-' && oldLeft > 0) {
                --oldLeft;
                continue;
            }
            if (marker == '+' && newLeft > 0) {
                --newLeft;
                continue;
            }
            if (marker == '\\') continue;  // "\ No newline at end of file"
            if (marker == ' ' && oldLeft > 0 && newLeft > 0) {
                --oldLeft;
                --newLeft;
                continue;
            }
            oldLeft = newLeft = 0;  // a short body: read the line as a header
        }
        if (line.starts_with("diff --git ")) {
            files.emplace_back();
            file = &files.back();
            continue;
        }
        if (!file) continue;
        if (line.starts_with("--- ")) {
            file->oldPath = headerPath(line.substr(4), "a/");
        } else if (line.starts_with("+++ ")) {
            file->newPath = headerPath(line.substr(4), "b/");
        } else if (line.starts_with("rename from ")) {
            file->oldPath = unquoteGitPath(line.substr(12));
        } else if (line.starts_with("rename to ")) {
            file->newPath = unquoteGitPath(line.substr(10));
        } else if (line.starts_with("copy from ")) {
            file->oldPath = unquoteGitPath(line.substr(10));
            file->copied = true;
        } else if (line.starts_with("copy to ")) {
            file->newPath = unquoteGitPath(line.substr(8));
        } else if (auto hunk = parseHunkHeader(line)) {
            file->hunks.push_back(*hunk);
            oldLeft = hunk->oldCount;
            newLeft = hunk->newCount;
        }
    }
    return files;
}

}  // namespace vantrel
