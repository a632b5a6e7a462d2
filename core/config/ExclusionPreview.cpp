#include "core/config/ExclusionPreview.h"

#include "core/config/PathGlobMatcher.h"

namespace vantrel {

std::size_t countExcludedBy(const std::vector<std::string>& files, std::string_view pattern) {
    if (pattern.empty()) return 0;
    const PathGlobMatcher matcher({std::string(pattern)});
    std::size_t count = 0;
    for (const std::string& file : files) {
        std::string_view path = file;
        // The file itself, then each folder above it, nearest first.
        for (;;) {
            if (matcher.matches(path)) {
                ++count;
                break;
            }
            const std::size_t slash = path.rfind('/');
            if (slash == std::string_view::npos) break;
            path = path.substr(0, slash);
        }
    }
    return count;
}

}  // namespace vantrel
