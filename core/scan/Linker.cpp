#include "scan/Linker.h"

#include <algorithm>

#include "util/Text.h"

namespace vantrel {

namespace {
// The name and the file part of an id, read from its end; nothing below three pieces.
std::optional<std::pair<std::string_view, std::size_t>> nameAndFileLength(std::string_view id) {
    auto kindColon = id.rfind(':');
    if (kindColon == std::string_view::npos || kindColon == 0) return std::nullopt;
    auto nameColon = id.rfind(':', kindColon - 1);
    if (nameColon == std::string_view::npos) return std::nullopt;
    return std::make_pair(id.substr(nameColon + 1, kindColon - nameColon - 1), nameColon);
}

bool byFile(const NameCandidate& a, const NameCandidate& b) {
    return a.filePath() != b.filePath() ? a.filePath() < b.filePath() : a.id < b.id;
}
}  // namespace

SymbolNameIndex symbolNameIndex(const ProjectIR& ir) {
    SymbolNameIndex index;
    for (const auto& [id, symbol] : ir.symbols) {
        auto parts = nameAndFileLength(id);
        if (!parts) continue;
        index[std::string(parts->first)].push_back(NameCandidate{id, parts->second});
    }
    for (auto& [name, candidates] : index) std::sort(candidates.begin(), candidates.end(), byFile);
    return index;
}

std::optional<std::string> symbolFilePath(std::string_view id) {
    // The file part runs up to the second-to-last ':', so a path holding ':' survives.
    auto parts = nameAndFileLength(id);
    if (!parts) return std::nullopt;
    return std::string(id.substr(0, parts->second));
}

namespace {
// The one candidate whose file is exactly `file`, if there is exactly one.
std::optional<std::string> singleInFile(const std::vector<NameCandidate>& candidates, std::string_view file) {
    auto first = std::partition_point(candidates.begin(), candidates.end(),
                                      [&](const NameCandidate& c) { return c.filePath() < file; });
    if (first == candidates.end() || first->filePath() != file) return std::nullopt;
    auto next = first + 1;
    if (next != candidates.end() && next->filePath() == file) return std::nullopt;
    return first->id;
}
}  // namespace

std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                           const std::map<std::string, std::string>& imports,
                                           std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex) {
    auto entry = nameIndex.find(calleeName);
    if (entry == nameIndex.end() || entry->second.empty()) return std::nullopt;
    const auto& candidates = entry->second;
    if (candidates.size() == 1) return candidates.front().id;

    auto imported = imports.find(calleeName);
    if (imported != imports.end()) {
        const std::string& importPath = imported->second;
        if (auto exact = singleInFile(candidates, importPath)) return exact;
        const std::string variants[] = {importPath, importPath + ".ts", importPath + ".tsx", importPath + "/index.ts",
                                        importPath + "/index.tsx"};
        const NameCandidate* found = nullptr;
        bool ambiguous = false;
        for (const auto& candidate : candidates) {
            bool matches = std::any_of(std::begin(variants), std::end(variants),
                                       [&](const std::string& v) { return endsWith(candidate.filePath(), v); });
            if (!matches) continue;
            if (found) {
                ambiguous = true;
                break;
            }
            found = &candidate;
        }
        if (found && !ambiguous) return found->id;
    }
    return singleInFile(candidates, currentFileRelPath);
}

void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir) {
    if (callerId == calleeId) return;
    if (auto caller = ir.symbols.find(callerId); caller != ir.symbols.end()) caller->second.refsOut.insert(calleeId);
    if (auto callee = ir.symbols.find(calleeId); callee != ir.symbols.end()) callee->second.refsIn.insert(callerId);
}

}  // namespace vantrel
