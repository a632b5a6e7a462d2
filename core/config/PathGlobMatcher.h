// Exclusion globs. "**" compiles to "*"; "*" matches any run (also across "/"), "?"
// exactly one character (also "/"), everything else itself, case-sensitively. A
// pattern must match the whole path; leading and trailing "/" of the path are ignored.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class PathGlobMatcher {
public:
    explicit PathGlobMatcher(const std::vector<std::string>& patterns);
    // True when any pattern matches the whole path.
    bool matches(std::string_view path) const;

private:
    std::vector<std::string> compiled_;
};

}  // namespace vantrel
