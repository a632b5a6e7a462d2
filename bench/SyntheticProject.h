// A deterministic synthetic project: TypeScript, TSX and Python modules with imports,
// classes, arrow functions and calls across files, spread over nested folders. The
// same arguments always give the same bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel::bench {

enum class Mix { typescript, python, mixed };

struct GeneratedProject {
    std::vector<std::string> relPaths;  // in generation order
    std::uint64_t bytes = 0;
};

// Writes `fileCount` modules below `root` (created if needed).
GeneratedProject generateSyntheticProject(const std::string& root, std::int64_t fileCount, Mix mix);

// The relative path and text of module `index`; exposed for the touch step.
std::string syntheticRelPath(std::int64_t index, std::int64_t fileCount, Mix mix);

// A tree of callers below `root`/fan: fan_0_0, called by five functions, each called by
// five more, five levels deep (3,905 callers); fifty functions to a file. Gives the
// root's id.
std::string writeCallerFan(const std::string& root);

// A shared helper below `root`/hub called by `callers` functions spread evenly over
// `files` modules below `root`/features, each module also holding one route that calls
// its callers: a symbol as widely called as a logging or validation helper. Python; the
// names are unique in the project, so the calls link without imports. Gives its id.
std::string writeWidelyCalledHelper(const std::string& root, int callers, int files);

}  // namespace vantrel::bench
