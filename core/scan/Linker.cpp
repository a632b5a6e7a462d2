#include "scan/Linker.h"

#include "util/Text.h"

namespace vantrel {

SymbolNameIndex symbolNameIndex(const ProjectIR& ir) {
    SymbolNameIndex index;
    for (const auto& [id, symbol] : ir.symbols) {
        auto pieces = splitId(id);
        if (pieces.size() < 3) continue;
        index[std::string(pieces[pieces.size() - 2])].ids.push_back(id);
    }
    for (auto& [name, candidates] : index) {
        if (candidates.ids.size() < 2) continue;
        for (std::size_t i = 0; i < candidates.ids.size(); ++i) {
            auto& inFile = candidates.byFile[*symbolFilePath(candidates.ids[i])];
            if (inFile.count++ == 0) inFile.first = i;
        }
    }
    return index;
}

std::optional<std::string> symbolFilePath(std::string_view id) {
    auto pieces = splitId(id);
    if (pieces.size() < 3) return std::nullopt;
    // The file part runs up to the second-to-last ':', so a path holding ':' survives.
    std::size_t end = pieces[pieces.size() - 2].data() - id.data() - 1;
    return std::string(id.substr(0, end));
}

namespace {
template <typename Keep>
std::optional<std::string> singleMatch(const std::vector<std::string>& candidates, Keep keep) {
    const std::string* found = nullptr;
    for (const auto& candidate : candidates) {
        if (!keep(candidate)) continue;
        if (found) return std::nullopt;
        found = &candidate;
    }
    return found ? std::optional<std::string>(*found) : std::nullopt;
}
}  // namespace

std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                           const std::map<std::string, std::string>& imports,
                                           std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex) {
    auto entry = nameIndex.find(calleeName);
    if (entry == nameIndex.end() || entry->second.ids.empty()) return std::nullopt;
    const auto& candidates = entry->second.ids;
    if (candidates.size() == 1) return candidates.front();
    // The single candidate whose file part is `file`, if there is exactly one.
    auto singleInFile = [&](const std::string& file) -> std::optional<std::string> {
        auto found = entry->second.byFile.find(file);
        if (found == entry->second.byFile.end() || found->second.count != 1) return std::nullopt;
        return candidates[found->second.first];
    };

    auto imported = imports.find(calleeName);
    if (imported != imports.end()) {
        const std::string& importPath = imported->second;
        if (auto exact = singleInFile(importPath)) return exact;
        const std::string variants[] = {importPath, importPath + ".ts", importPath + ".tsx", importPath + "/index.ts",
                                        importPath + "/index.tsx"};
        auto bySuffix = singleMatch(candidates, [&](const std::string& id) {
            auto file = symbolFilePath(id);
            if (!file) return false;
            for (const auto& variant : variants)
                if (endsWith(*file, variant)) return true;
            return false;
        });
        if (bySuffix) return bySuffix;
    }
    return singleInFile(std::string(currentFileRelPath));
}

void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir) {
    if (callerId == calleeId) return;
    if (auto caller = ir.symbols.find(callerId); caller != ir.symbols.end()) caller->second.refsOut.insert(calleeId);
    if (auto callee = ir.symbols.find(calleeId); callee != ir.symbols.end()) callee->second.refsIn.insert(callerId);
}

}  // namespace vantrel
