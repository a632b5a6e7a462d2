// The JSON form of a ProjectDiffResult: {"addedSymbols", "removedSymbols": [string],
// "addedEdges", "removedEdges": [{"fromId", "toId"}]}. All keys are required on reading;
// anything missing or of the wrong type fails the whole decode with a DecodeError.
// Lists are taken in the order written.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

#include "core/impact/ProjectDiff.h"
#include "core/model/IRJson.h"

namespace vantrel {

nlohmann::json projectDiffResultToJson(const ProjectDiffResult& result);
ProjectDiffResult projectDiffResultFromJson(const nlohmann::json& value);

// Parses text and decodes it; a syntax error is a DecodeError too.
ProjectDiffResult decodeProjectDiffResult(std::string_view bytes);

}  // namespace vantrel
