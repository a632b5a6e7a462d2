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

// One symbol a name may stand for: its id, the length of the id's file part, and the
// symbol itself in the graph the index was made from.
struct NameCandidate {
    std::string_view id;
    std::size_t fileLength = 0;
    const Symbol* symbol = nullptr;
    std::string_view filePath() const { return id.substr(0, fileLength); }
};

// Symbol name -> every symbol with that name, across files and languages, ordered by
// file path so that a file's candidates are found by binary search: common names
// (`get`, `save`, `__init__`) have thousands of candidates in a large project.
// Names and ids are borrowed from the graph's keys, so building the index copies no
// text: it is valid while the graph keeps its set of symbols (edges may change).
using SymbolNameIndex = std::unordered_map<std::string_view, std::vector<NameCandidate>>;

SymbolNameIndex symbolNameIndex(const ProjectIR& ir);

// The same index built as the graph grows: each id added once, when its symbol enters
// the graph (ids of fewer than three pieces are left out), then sorted once after the
// last addition. Adding all of a graph's ids and sorting gives `symbolNameIndex`.
void addToNameIndex(SymbolNameIndex& index, const std::string& id, const Symbol& symbol);
void sortNameIndex(SymbolNameIndex& index);

// File part of an id (all pieces but the last two, joined with ':'), a view into `id`;
// nothing for an id of fewer than three pieces.
std::optional<std::string_view> symbolFilePath(std::string_view id);

// The call's target, tried in order: a unique name; the import's exact file; the
// import's suffix variants; the caller's own file. Nothing when no step finds one match.
std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                           const std::map<std::string, std::string>& imports,
                                           std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex);
// The same, giving the index's candidate (its id borrowed from the graph) or null.
const NameCandidate* resolveCallee(const std::string& calleeName, const std::map<std::string, std::string>& imports,
                                   std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex);

// Adds the edge to both ends' sets; a self-edge is never added.
void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir);

}  // namespace vantrel
