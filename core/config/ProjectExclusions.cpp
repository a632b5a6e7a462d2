#include "core/config/ProjectExclusions.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

using json = nlohmann::ordered_json;

// The project file in use: the first candidate that exists, else the one to create.
std::string projectFilePath(std::string_view root, bool& exists) {
    for (const char* candidate : {"vantrel.json", ".vantrel/config.json"}) {
        std::string path = appendPathComponent(root, candidate);
        if (pathExists(path)) {
            exists = true;
            return path;
        }
    }
    exists = false;
    return appendPathComponent(root, "vantrel.json");
}

}  // namespace

std::string exclusionPatternForFile(std::string_view relativePath) {
    std::string pattern(relativePath);
    std::replace(pattern.begin(), pattern.end(), '\\', '/');
    while (pattern.starts_with("./")) pattern.erase(0, 2);
    return pattern;
}

ExclusionResult addProjectExclusion(std::string_view projectRoot, std::string_view pattern,
                                    const VantrelConfig& inEffect) {
    bool exists = false;
    const std::string path = projectFilePath(projectRoot, exists);
    json root;
    if (exists) {
        std::string readError;
        auto bytes = readWholeFile(path, &readError);
        if (!bytes) return {false, "Could not read " + path + ": " + readError};
        // Only a file the scan itself accepts is rewritten; anything else stays as written.
        if (!VantrelConfig::decode(*bytes)) return {false, path + " is not a valid project file; fix it first"};
        root = json::parse(*bytes);
    } else {
        root["exclude"] = inEffect.exclude;
        root["maxDepth"] = inEffect.maxDepth;
    }
    json& exclude = root["exclude"];
    // An empty list leaves the global patterns in force; written out, it would drop them.
    if (exclude.empty()) exclude = inEffect.exclude;
    if (std::find(exclude.begin(), exclude.end(), std::string(pattern)) == exclude.end())
        exclude.push_back(std::string(pattern));
    if (!writeFileAtomically(path, root.dump(2) + "\n")) return {false, "Could not write " + path};
    return {true, {}};
}

}  // namespace vantrel
