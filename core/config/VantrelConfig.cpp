#include "core/config/VantrelConfig.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "core/json/JsonDocument.h"
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
        std::nullopt,
        std::nullopt};
    return config;
}

std::string_view rawValue(LinkingMode mode) { return mode == LinkingMode::precise ? "precise" : "names"; }

std::optional<LinkingMode> linkingModeFromRaw(std::string_view raw) {
    if (raw == "names") return LinkingMode::names;
    if (raw == "precise") return LinkingMode::precise;
    return std::nullopt;
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
        auto linking = root.find("linking");
        if (linking != root.end() && !linking->is_null()) {
            if (!linking->is_string()) return std::nullopt;
            config.linking = linkingModeFromRaw(linking->get<std::string>());
            if (!config.linking) return std::nullopt;
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
    merged.linking = project->linking ? project->linking : global.linking;
    return merged;
}

ConfigEdit addProjectExclusion(std::string_view projectRoot, std::string_view pattern, const VantrelConfig& effective) {
    ConfigEdit edit;
    json root;
    for (const char* candidate : {"vantrel.json", ".vantrel/config.json"}) {
        std::string path = appendPathComponent(projectRoot, candidate);
        if (!pathExists(path)) continue;
        edit.path = path;
        std::string readError;
        auto bytes = readWholeFile(path, &readError);
        if (!bytes || !VantrelConfig::decode(*bytes)) {
            edit.error = bytes ? path + " is not a usable project file" : path + ": " + readError;
            return edit;
        }
        root = parseJsonOrThrow(*bytes);
        break;
    }
    if (edit.path.empty()) {
        edit.path = appendPathComponent(projectRoot, "vantrel.json");
        root = json::object({{"exclude", json::array()}, {"maxDepth", effective.maxDepth}});
    }
    json& exclude = root["exclude"];
    if (exclude.empty()) exclude = effective.exclude;
    if (std::find(exclude.begin(), exclude.end(), json(pattern)) == exclude.end()) exclude.push_back(pattern);
    if (!writeFileAtomically(edit.path, dumpJson(root, true) + "\n")) edit.error = "Cannot write " + edit.path;
    return edit;
}

}  // namespace vantrel
