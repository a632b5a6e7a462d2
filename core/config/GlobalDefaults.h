// The application's default global settings, in one place: the preferences layer
// registers them and the headless tool lays a project's file over them, so both
// scan a folder with the same configuration.
#pragma once

#include <string>
#include <vector>

#include "core/config/VantrelConfig.h"

namespace vantrel {

const std::vector<std::string>& defaultGlobalExcludePatterns();  // node_modules, .git, __pycache__
const std::vector<std::string>& defaultEnabledLanguageIds();     // "js-family", "python"
constexpr std::int64_t kDefaultMaxDepth = 3;

// The global configuration as the preferences give it when nothing was changed.
VantrelConfig defaultGlobalConfig();

}  // namespace vantrel
