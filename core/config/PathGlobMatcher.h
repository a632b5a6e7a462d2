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
    struct Pattern {
        std::string compiled;
        // The longest run of the pattern without '*' or '?': a text it matches holds that
        // run as it stands, so a text without it is refused at the cost of one search.
        std::string literal;
    };
    std::vector<Pattern> patterns_;
};

}  // namespace vantrel
