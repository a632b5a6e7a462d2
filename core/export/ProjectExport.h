// The two text formats of a graph: its own JSON form (readable back as a baseline) and
// Graphviz DOT for outside tools.
#pragma once

#include <stdexcept>
#include <string>

#include "core/model/ProjectIR.h"

namespace vantrel {

// A graph that the JSON form cannot represent.
class EncodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ProjectExport {
    ProjectExport() = delete;

    // The JSON form of the model with keys sorted at every level; `pretty` only changes
    // white space. Throws EncodeError when `lastScan` is not a finite number, since the
    // file could not be read back as a baseline.
    static std::string projectIRJSON(const ProjectIR& ir, bool pretty);

    // "digraph Vantrel {", the rank and node attribute lines, one node line per symbol
    // id ascending, then one edge line per symbol and callee, both ascending (callees
    // without a symbol included), and "}". Lines are joined by "\n" with none after the
    // last. Cannot fail.
    static std::string graphvizDOT(const ProjectIR& ir);

private:
    // Backslashes doubled first, then every double quote preceded by a backslash.
    static std::string escapeDOT(const std::string& text);
};

}  // namespace vantrel
