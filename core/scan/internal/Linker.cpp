#include "core/scan/internal/Linker.h"

#include <algorithm>

#include "core/util/Text.h"

namespace vantrel {

std::optional<std::string_view> symbolFilePath(std::string_view id) {
    // The file part runs up to the second-to-last ':', so a path holding ':' survives.
    auto parts = idNameAndFileLength(id);
    if (!parts) return std::nullopt;
    return id.substr(0, parts->second);
}

namespace {
// The one candidate whose file is exactly `file`, if there is exactly one.
const NameCandidate* singleInFile(std::span<const NameCandidate> candidates, std::string_view file) {
    auto first = std::partition_point(candidates.begin(), candidates.end(),
                                      [&](const NameCandidate& c) { return c.filePath() < file; });
    if (first == candidates.end() || first->filePath() != file) return nullptr;
    auto next = first + 1;
    if (next != candidates.end() && next->filePath() == file) return nullptr;
    return &*first;
}
}  // namespace

std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                           const std::map<std::string, std::string>& imports,
                                           std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex) {
    if (const NameCandidate* found = resolveCallee(calleeName, imports, currentFileRelPath, nameIndex))
        return std::string(found->id);
    return std::nullopt;
}

const NameCandidate* resolveCallee(const std::string& calleeName, const std::map<std::string, std::string>& imports,
                                   std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex) {
    std::span<const NameCandidate> candidates = nameIndex.candidates(calleeName);
    if (candidates.empty()) return nullptr;
    if (candidates.size() == 1) return &candidates.front();

    auto imported = imports.find(calleeName);
    if (imported != imports.end()) {
        const std::string& importPath = imported->second;
        if (const NameCandidate* exact = singleInFile(candidates, importPath)) return exact;
        const std::string variants[] = {importPath, importPath + ".ts", importPath + ".tsx", importPath + "/index.ts",
                                        importPath + "/index.tsx"};
        const NameCandidate* found = nullptr;
        bool ambiguous = false;
        for (const auto& candidate : candidates) {
            bool matches = std::any_of(std::begin(variants), std::end(variants),
                                       [&](const std::string& v) { return candidate.filePath().ends_with(v); });
            if (!matches) continue;
            if (found) {
                ambiguous = true;
                break;
            }
            found = &candidate;
        }
        if (found && !ambiguous) return found;
    }
    return singleInFile(candidates, currentFileRelPath);
}

void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir) {
    if (callerId == calleeId) return;
    if (auto caller = ir.symbols.find(callerId); caller != ir.symbols.end()) caller->second.refsOut.insert(calleeId);
    if (auto callee = ir.symbols.find(calleeId); callee != ir.symbols.end()) callee->second.refsIn.insert(callerId);
}

}  // namespace vantrel
