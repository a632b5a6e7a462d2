// What a new exclude pattern would take out of a project, shown while it is typed: the
// files a scan takes now that the pattern matches, by their own path or by the path of a
// folder above them (a scan skips a matched folder whole).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// `files`: project-relative paths with "/" separators.
[[nodiscard]] std::size_t countExcludedBy(const std::vector<std::string>& files, std::string_view pattern);

}  // namespace vantrel
