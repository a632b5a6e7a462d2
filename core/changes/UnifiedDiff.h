// The changed lines of a git patch made with zero context lines: per file, its path on
// each side and its hunk headers. Nothing here runs git; the text is parsed as given.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// "@@ -oldStart,oldCount +newStart,newCount @@". A count left out is 1. A count of 0
// marks a pure addition (old side) or a pure deletion (new side); its start is then the
// line after which the lines were added or removed (0: at the top of the file).
struct DiffHunk {
    std::int64_t oldStart = 0;
    std::int64_t oldCount = 0;
    std::int64_t newStart = 0;
    std::int64_t newCount = 0;
    bool operator==(const DiffHunk&) const = default;
};

struct FileDiff {
    std::optional<std::string> oldPath;  // from the repository's top; none for a new file
    std::optional<std::string> newPath;  // none for a deleted file
    bool copied = false;                 // newPath was made as a copy of oldPath, which stays
    std::vector<DiffHunk> hunks;         // in patch order
    bool operator==(const FileDiff&) const = default;
};

// Nothing for a line that is not a well-formed two-sided hunk header.
std::optional<DiffHunk> parseHunkHeader(std::string_view line);

// Files of a `git diff` patch (the "a/" and "b/" prefixes, C-quoted names, renames and
// copies understood). Hunk bodies are skipped by their counted lines, so a removed line
// that reads "--- x" is never taken for a file header. Files without hunks (pure
// renames, mode changes, binary files) are kept; their paths still tell what moved.
[[nodiscard]] std::vector<FileDiff> parseUnifiedDiff(std::string_view patch);

// A path as git prints it: C-quoted when it holds special bytes ("\"a\\tb\"", octal
// escapes for bytes beyond ASCII), else as it stands.
std::string unquoteGitPath(std::string_view text);

}  // namespace vantrel
