// Plugins as the scan holds them, without the plugin interface itself: what passes
// plugins around needs no parser headers.
#pragma once

#include <memory>
#include <vector>

namespace vantrel {

class LanguagePlugin;
using PluginPtr = std::shared_ptr<const LanguagePlugin>;
using PluginList = std::vector<PluginPtr>;

}  // namespace vantrel
