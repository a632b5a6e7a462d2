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

}  // namespace vantrel::bench
