#include "core/impact/ProjectDiffJson.h"

#include <string>
#include <vector>

namespace vantrel {

using nlohmann::json;
using namespace jsonfield;

namespace {

json edgesToJson(const std::vector<ProjectDiffResult::Edge>& edges) {
    json out = json::array();
    for (const auto& edge : edges) out.push_back(json{{"fromId", edge.fromId}, {"toId", edge.toId}});
    return out;
}

std::string element(const char* key, std::size_t index) { return std::string(key) + "[" + std::to_string(index) + "]"; }

std::vector<std::string> stringsFromJson(const json& object, const char* key) {
    std::vector<std::string> out;
    std::size_t index = 0;
    for (const auto& item : requireArray(object, key, "")) {
        if (!item.is_string())
            throw DecodeError("key '" + element(key, index) + "': expected a string, found " + describeType(item));
        out.push_back(item.get<std::string>());
        ++index;
    }
    return out;
}

std::vector<ProjectDiffResult::Edge> edgesFromJson(const json& object, const char* key) {
    std::vector<ProjectDiffResult::Edge> out;
    std::size_t index = 0;
    for (const auto& item : requireArray(object, key, "")) {
        const std::string where = element(key, index);
        expectObject(item, where);
        out.push_back({requireString(item, "fromId", where), requireString(item, "toId", where)});
        ++index;
    }
    return out;
}

}  // namespace

json projectDiffResultToJson(const ProjectDiffResult& result) {
    return json{{"addedSymbols", result.addedSymbols},
                {"removedSymbols", result.removedSymbols},
                {"addedEdges", edgesToJson(result.addedEdges)},
                {"removedEdges", edgesToJson(result.removedEdges)}};
}

ProjectDiffResult projectDiffResultFromJson(const json& value) {
    expectObject(value, "");
    ProjectDiffResult result;
    result.addedSymbols = stringsFromJson(value, "addedSymbols");
    result.removedSymbols = stringsFromJson(value, "removedSymbols");
    result.addedEdges = edgesFromJson(value, "addedEdges");
    result.removedEdges = edgesFromJson(value, "removedEdges");
    return result;
}

ProjectDiffResult decodeProjectDiffResult(std::string_view bytes) {
    return projectDiffResultFromJson(parseJsonOrThrow(bytes));
}

}  // namespace vantrel
