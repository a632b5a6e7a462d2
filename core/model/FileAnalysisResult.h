// What the analysis of one source file finds, in plain values: the language layer makes
// it, the cache stores it, the scan merges and links it. Knows nothing of parsing.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/model/LinkFacts.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

// One call found in a file: the enclosing declaration's id and the bare called name.
struct CachedCallSite {
    std::string callerId;
    std::string calleeName;
    bool operator==(const CachedCallSite&) const = default;
};

struct FileAnalysisResult {
    std::vector<Symbol> symbols;                 // pass order, match order within a pass
    std::map<std::string, std::string> imports;  // local name -> imported file's relative path
    std::vector<CachedCallSite> calls;           // match order, repeats included
    std::vector<ResolutionDiagnostic> diagnostics;
    // Precise linking only (empty otherwise): every call with its form and place, in
    // document order, and the file's type facts.
    std::vector<CallSite> sites{};
    FileFacts facts{};
};

}  // namespace vantrel
