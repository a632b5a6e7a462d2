#include "core/config/VantrelConfig.h"

#include <nlohmann/json.hpp>

#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

using nlohmann::json;

namespace {

std::vector<std::string> stringArray(const json& array, const char* key) {
    std::vector<std::string> out;
    out.reserve(array.size());
    for (const auto& element : array) {
        if (!element.is_string()) throw DecodeError(std::string("key '") + key + "': expected strings only");
        out.push_back(element.get<std::string>());
    }
    return out;
}

}  // namespace

const VantrelConfig& VantrelConfig::defaultConfig() {
    static const VantrelConfig config{
        {"**/node_modules/**", "**/.git/**", "**/.build/**", "**/DerivedData/**", "**/dist/**", "**/build/**"},
        3,
        std::nullopt};
    return config;
}

std::optional<VantrelConfig> VantrelConfig::decode(std::string_view bytes) {
    try {
        // Strict JSON: the parser accepts neither comments nor trailing commas.
        json root = parseJsonOrThrow(bytes);
        jsonfield::expectObject(root, "");
        VantrelConfig config;
        config.exclude = stringArray(jsonfield::requireArray(root, "exclude", ""), "exclude");
        const json& depth = jsonfield::require(root, "maxDepth", "");
        // An unsigned value beyond the signed range would wrap; it is not a usable depth.
        if (depth.is_number_unsigned() && depth.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
            return std::nullopt;
        config.maxDepth = jsonfield::requireInteger(root, "maxDepth", "");
        auto languages = root.find("enabledLanguages");
        if (languages != root.end() && !languages->is_null()) {
            if (!languages->is_array()) return std::nullopt;
            config.enabledLanguages = stringArray(*languages, "enabledLanguages");
        }
        return config;
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<VantrelConfig> VantrelConfig::loadIfPresent(std::string_view projectRoot) {
    for (const char* candidate : {"vantrel.json", ".vantrel/config.json"}) {
        std::string path = appendPathComponent(projectRoot, candidate);
        if (!pathExists(path)) continue;
        // The first file that exists decides, usable or not.
        auto bytes = readWholeFile(path);
        if (!bytes) return std::nullopt;
        return decode(*bytes);
    }
    return std::nullopt;
}

VantrelConfig mergeConfig(const VantrelConfig& global, const std::optional<VantrelConfig>& project) {
    if (!project) return global;
    VantrelConfig merged;
    merged.exclude = project->exclude.empty() ? global.exclude : project->exclude;
    merged.maxDepth = project->maxDepth;
    merged.enabledLanguages = project->enabledLanguages ? project->enabledLanguages : global.enabledLanguages;
    return merged;
}

}  // namespace vantrel
