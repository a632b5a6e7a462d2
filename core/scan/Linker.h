// Turns recorded call sites (caller id, bare callee name) into edges between symbols.
// Works on text alone and treats all languages alike. Ambiguity never picks a
// candidate: it gives no edge, so the result does not depend on candidate order.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/ProjectIR.h"

namespace vantrel {

// Every id of one name, across files and languages.
struct NameCandidates {
    std::vector<std::string> ids;
    // For a name of several ids: file part -> how many of `ids` lie in that file, and the
    // first of them. The two file tests of resolveCalleeId then cost one lookup rather than
    // a pass over all ids, which for a method name that every file of a large project
    // declares made linking quadratic.
    struct InFile {
        std::size_t count = 0;
        std::size_t first = 0;
    };
    std::unordered_map<std::string, InFile> byFile;
};

// Symbol name -> its candidates.
using SymbolNameIndex = std::unordered_map<std::string, NameCandidates>;

SymbolNameIndex symbolNameIndex(const ProjectIR& ir);

// File part of an id (all pieces but the last two, joined with ':'); nothing for an id
// of fewer than three pieces.
std::optional<std::string> symbolFilePath(std::string_view id);

// The call's target, tried in order: a unique name; the import's exact file; the
// import's suffix variants; the caller's own file. Nothing when no step finds one match.
std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                           const std::map<std::string, std::string>& imports,
                                           std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex);

// Adds the edge to both ends' sets; a self-edge is never added.
void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir);

}  // namespace vantrel
