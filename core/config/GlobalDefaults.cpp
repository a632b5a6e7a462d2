#include "core/config/GlobalDefaults.h"

namespace vantrel {

const std::vector<std::string>& defaultGlobalExcludePatterns() {
    static const std::vector<std::string> patterns{"**/node_modules/**", "**/.git/**", "**/__pycache__/**"};
    return patterns;
}

const std::vector<std::string>& defaultEnabledLanguageIds() {
    static const std::vector<std::string> ids{"js-family", "python"};
    return ids;
}

VantrelConfig defaultGlobalConfig() {
    return VantrelConfig{defaultGlobalExcludePatterns(), kDefaultMaxDepth, defaultEnabledLanguageIds(), std::nullopt};
}

}  // namespace vantrel
