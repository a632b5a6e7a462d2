// Adds a pattern to a project's own exclusions, in its project file ("vantrel.json", or
// ".vantrel/config.json" where that is the file in use). The other keys of the file stay
// as written. Without a project file one is made, holding the exclusions in effect (its
// list replaces the global one, so the global patterns are copied in first) and the depth
// in effect. A project file that is not usable is left alone: the caller shows the error.
#pragma once

#include <string>
#include <string_view>

#include "core/config/VantrelConfig.h"

namespace vantrel {

struct ExclusionResult {
    bool ok = false;
    std::string error;  // when not ok: one line naming the file and the cause
};

// `inEffect`: the merged settings the project is scanned with now. A pattern already in
// the list is not added twice.
[[nodiscard]] ExclusionResult addProjectExclusion(std::string_view projectRoot, std::string_view pattern,
                                                  const VantrelConfig& inEffect);

// The pattern that excludes one file, given by its path relative to the project: the
// path itself, with "/" separators. The globs have no escape, so a "*" or "?" in the
// name would also match other characters there; such names are rare enough to accept it.
[[nodiscard]] std::string exclusionPatternForFile(std::string_view relativePath);

}  // namespace vantrel
