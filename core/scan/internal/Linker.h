// Turns recorded call sites (caller id, bare callee name) into edges between symbols.
// Works on text alone and treats all languages alike. Ambiguity never picks a
// candidate: it gives no edge, so the result does not depend on candidate order.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"
#include "core/scan/internal/SymbolNameIndex.h"

namespace vantrel {

// File part of an id (all pieces but the last two, joined with ':'), a view into `id`;
// nothing for an id of fewer than three pieces.
std::optional<std::string_view> symbolFilePath(std::string_view id);

// The call's target, tried in order: a unique name; the import's exact file; the
// import's suffix variants; the caller's own file. Nothing when no step finds one match.
[[nodiscard]] std::optional<std::string> resolveCalleeId(const std::string& calleeName,
                                                         const std::map<std::string, std::string>& imports,
                                                         std::string_view currentFileRelPath,
                                                         const SymbolNameIndex& nameIndex);
// The same, giving the index's candidate (its id borrowed from the graph) or null.
[[nodiscard]] const NameCandidate* resolveCallee(const std::string& calleeName,
                                                 const std::map<std::string, std::string>& imports,
                                                 std::string_view currentFileRelPath, const SymbolNameIndex& nameIndex);

// Adds the edge to both ends' sets; a self-edge is never added.
void link(const std::string& callerId, const std::string& calleeId, ProjectIR& ir);

}  // namespace vantrel
