#include "core/changes/ChangedSymbols.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "core/util/Text.h"

namespace vantrel {

namespace {

// The part of `path` below the folder, or empty when it lies outside.
std::string belowFolder(const std::optional<std::string>& path, std::string_view prefix) {
    if (!path || !path->starts_with(prefix) || path->size() == prefix.size()) return "";
    return path->substr(prefix.size());
}

// A declaration that ends at the very start of a line does not occupy that line.
std::int64_t lastLineOf(const TextRange& range) {
    return range.endCol <= 1 && range.endLine > range.startLine ? range.endLine - 1 : range.endLine;
}

bool overlaps(const TextRange& range, std::int64_t first, std::int64_t last) {
    return range.startLine <= last && first <= lastLineOf(range);
}

// Added or changed lines inside the symbol, or a deletion with symbol lines on both sides.
bool touchedInWorkingTree(const TextRange& range, const FileChange& change) {
    if (change.wholeFile) return true;
    return std::any_of(change.hunks.begin(), change.hunks.end(), [&](const DiffHunk& hunk) {
        if (hunk.newCount > 0) return overlaps(range, hunk.newStart, hunk.newStart + hunk.newCount - 1);
        return range.startLine <= hunk.newStart && hunk.newStart + 1 <= lastLineOf(range);
    });
}

// Removed or replaced lines inside the symbol as it stood at the base. This also catches
// deletions at a declaration's very end, which leave no trace inside its new range.
bool touchedAtBase(const TextRange& range, const FileChange& change) {
    return std::any_of(change.hunks.begin(), change.hunks.end(), [&](const DiffHunk& hunk) {
        return hunk.oldCount > 0 && overlaps(range, hunk.oldStart, hunk.oldStart + hunk.oldCount - 1);
    });
}

// Calls `visit` for each symbol of one file: ids "path:name:kind", found by their prefix.
template <typename Visit>
void forEachSymbolOf(const ProjectIR& ir, const std::string& path, Visit visit) {
    std::string prefix = path + ":";
    for (auto it = ir.symbols.lower_bound(prefix); it != ir.symbols.end() && it->first.starts_with(prefix); ++it) {
        // One more ":" separates name and kind; more would mean a longer path that starts alike.
        if (std::count(it->first.begin() + static_cast<std::ptrdiff_t>(prefix.size()), it->first.end(), ':') == 1)
            visit(it->second);
    }
}

}  // namespace

std::string_view rawValue(ChangeKind change) {
    switch (change) {
        case ChangeKind::added: return "added";
        case ChangeKind::modified: return "modified";
        case ChangeKind::removed: return "removed";
    }
    return "modified";
}

std::vector<FileChange> changesBelowFolder(const std::vector<FileDiff>& diffs,
                                           const std::vector<std::string>& untracked, std::string_view folderPrefix) {
    std::vector<FileChange> changes;
    for (const auto& diff : diffs) {
        FileChange change{belowFolder(diff.newPath, folderPrefix),
                          diff.copied ? "" : belowFolder(diff.oldPath, folderPrefix), false, diff.hunks};
        if (change.path.empty() && change.basePath.empty()) continue;
        // A copy, or a rename from outside the folder: git shows only how the file differs
        // from its source, but to this folder every line of it is new.
        change.wholeFile = !change.path.empty() && change.basePath.empty() && diff.oldPath.has_value();
        changes.push_back(std::move(change));
    }
    for (const auto& path : untracked) {
        std::string inside = belowFolder(path, folderPrefix);
        if (!inside.empty()) changes.push_back(FileChange{inside, "", true, {}});
    }
    return changes;
}

std::vector<ChangedSymbol> changedSymbols(const std::vector<FileChange>& changes, const ProjectIR& current,
                                          const ProjectIR& base) {
    std::map<std::string, ChangedSymbol> found;  // one entry per id, also when two changes name a file
    IdSet takenOver;                             // base ids that live on under a renamed file
    for (const auto& change : changes) {
        if (change.path.empty()) continue;
        bool renamed = !change.basePath.empty() && change.basePath != change.path;
        forEachSymbolOf(current, change.path, [&](const Symbol& symbol) {
            const Symbol* counterpart = nullptr;
            if (!change.basePath.empty()) {
                auto it = base.symbols.find(change.basePath + symbol.id.substr(change.path.size()));
                if (it != base.symbols.end()) counterpart = &it->second;
            }
            if (renamed && counterpart) {
                takenOver.insert(counterpart->id);
                found[symbol.id] = ChangedSymbol{symbol.id, ChangeKind::modified, counterpart->id};
            } else if (touchedInWorkingTree(symbol.range, change) ||
                       (counterpart && touchedAtBase(counterpart->range, change))) {
                ChangeKind kind = base.symbols.count(symbol.id) ? ChangeKind::modified : ChangeKind::added;
                found.try_emplace(symbol.id, ChangedSymbol{symbol.id, kind, std::nullopt});
            }
        });
    }
    for (const auto& [id, symbol] : base.symbols) {
        if (!current.symbols.count(id) && !takenOver.count(id))
            found.try_emplace(id, ChangedSymbol{id, ChangeKind::removed, std::nullopt});
    }
    std::vector<ChangedSymbol> result;
    result.reserve(found.size());
    for (auto& [id, symbol] : found) result.push_back(std::move(symbol));
    std::stable_sort(result.begin(), result.end(), [](const ChangedSymbol& a, const ChangedSymbol& b) {
        return std::tie(a.change, a.id) < std::tie(b.change, b.id);
    });
    return result;
}

}  // namespace vantrel
