// From changed lines to changed symbols: which declarations of the working tree a change
// touches, and which declarations of the base are gone. Pure functions of their inputs.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/changes/UnifiedDiff.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// What changed in one file, with paths relative to the scanned folder (the first piece of
// the symbol ids of both graphs).
struct FileChange {
    std::string path;        // in the working tree; empty when the file is gone
    std::string basePath;    // at the base; empty when the file is new; differs from `path` after a rename
    bool wholeFile = false;  // every line counts as added: untracked, copied, or moved in from outside
    std::vector<DiffHunk> hunks;
    bool operator==(const FileChange&) const = default;
};

// Keeps what lies below `folderPrefix` (the scanned folder's path from the repository's
// top: empty, or ending in "/") and makes its paths relative to the folder. `untracked`
// are top-relative paths of files git does not track; each counts as wholly added.
std::vector<FileChange> changesBelowFolder(const std::vector<FileDiff>& diffs,
                                           const std::vector<std::string>& untracked, std::string_view folderPrefix);

enum class ChangeKind { added, modified, removed };

// "added", "modified", "removed".
std::string_view rawValue(ChangeKind change);

struct ChangedSymbol {
    std::string id;
    ChangeKind change = ChangeKind::modified;
    std::optional<std::string> previousId;  // its id at the base, when its file was renamed
    bool operator==(const ChangedSymbol&) const = default;
};

// A symbol of `current` is changed when its lines overlap an added or changed line, when
// a pure deletion lies strictly inside it, or when its counterpart at the base held a
// removed line. It is "added" when `base` lacks its id, else "modified". Every symbol of
// a renamed file whose counterpart exists at the base is "modified", with that id as
// `previousId`: its identity moved. A symbol of `base` whose id is gone and that no
// renamed symbol took over is "removed". Nested declarations each count on their own.
// Sorted by change (added, modified, removed), then by id.
[[nodiscard]] std::vector<ChangedSymbol> changedSymbols(const std::vector<FileChange>& changes,
                                                        const ProjectIR& current, const ProjectIR& base);

}  // namespace vantrel
