// impact, diff and export: questions and files over a scanned folder or a saved graph.
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "core/impact/BlastRadius.h"
#include "core/impact/ProjectDiff.h"
#include "core/impact/ProjectDiffJson.h"
#include "core/layout/GraphLayout.h"
#include "core/model/IRJson.h"
#include "imageexport/GraphExport.h"

namespace vantrel::cli {

const char* const kImpactUsage =
    "usage: vantrel-cli impact (DIR | IR.json) SYMBOL_ID [--depth N] [--json] [--cache-dir DIR] "
    "[--linking names|precise] [--quiet]";
const char* const kDiffUsage = "usage: vantrel-cli diff BEFORE.json AFTER.json [--symbol ID] [--depth N]";
const char* const kExportUsage =
    "usage: vantrel-cli export (DIR | IR.json) --format json|dot|svg|png --out FILE [--cache-dir DIR] "
    "[--linking names|precise] [--quiet]";

namespace {

ScanRequest scanTemplate(const ParsedArgs& args) {
    ScanRequest request;
    request.cacheDir = args.value("--cache-dir");
    request.quiet = args.has("--quiet");
    request.linking = linkingOption(args);
    return request;
}

// Symbols whose id contains the text, for a hint after a mistyped id.
std::vector<std::string> similarIds(const ProjectIR& ir, const std::string& text) {
    std::vector<std::string> found;
    std::string needle = text;
    if (auto colon = needle.find(':'); colon != std::string::npos) needle = needle.substr(0, colon);
    for (const auto& [id, symbol] : ir.symbols) {
        if (found.size() == 3) break;
        if (id.find(needle) != std::string::npos || symbol.shortName() == text) found.push_back(id);
    }
    return found;
}

nlohmann::ordered_json levelsToJson(const ImpactLevels& levels) {
    nlohmann::ordered_json out = nlohmann::ordered_json::object();
    for (const auto& [level, ids] : levels)
        out[std::to_string(level)] = std::vector<std::string>(ids.begin(), ids.end());
    return out;
}

}  // namespace

int runImpactCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(argc, argv, 2, {"--depth", "--cache-dir", "--linking"}, {"--json", "--quiet"});
    if (args.positional.size() != 2) throw UsageError("impact takes a folder or graph file, and a symbol id");
    std::int64_t depth = args.integer("--depth", 1, 12).value_or(3);
    ProjectIR ir = loadGraph(args.positional[0], scanTemplate(args));
    const std::string& id = args.positional[1];
    if (!ir.symbols.count(id)) {
        std::string message = "unknown symbol id '" + id + "'";
        auto similar = similarIds(ir, id);
        if (!similar.empty()) {
            message += " (did you mean";
            for (std::size_t i = 0; i < similar.size(); ++i) message += (i ? ", '" : " '") + similar[i] + "'";
            message += "?)";
        }
        throw CommandError(message);
    }
    ImpactLevels levels = calculateBlastRadius(id, ir, depth);
    if (args.has("--json")) {
        writeOutput(std::nullopt, levelsToJson(levels).dump(2));
        return kExitOk;
    }
    std::string text;
    if (levels.empty()) text = "no callers within depth " + std::to_string(depth) + "\n";
    for (const auto& [level, ids] : levels) {
        text += "level " + std::to_string(level) + "\n";
        for (const auto& caller : ids) text += "  " + caller + "\n";
    }
    writeOutput(std::nullopt, text);
    return kExitOk;
}

int runDiffCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(argc, argv, 2, {"--symbol", "--depth"}, {});
    if (args.positional.size() != 2) throw UsageError("diff takes two graph files");
    std::int64_t depth = args.integer("--depth", 1, 12).value_or(3);
    ScanRequest noScan;
    for (const auto& file : args.positional)
        if (std::filesystem::is_directory(file)) throw UsageError(file + " is a folder; diff compares two graph files");
    ProjectIR before = loadGraph(args.positional[0], noScan);
    ProjectIR after = loadGraph(args.positional[1], noScan);
    nlohmann::ordered_json out =
        nlohmann::ordered_json::parse(projectDiffResultToJson(ProjectDiff::diff(before, after)).dump());
    if (auto symbol = args.value("--symbol")) {
        nlohmann::ordered_json levels = nlohmann::ordered_json::array();
        for (const auto& [level, delta] : ProjectDiff::blastRadiusDelta(*symbol, before, after, depth)) {
            levels.push_back({{"level", level},
                              {"added", std::vector<std::string>(delta.added.begin(), delta.added.end())},
                              {"removed", std::vector<std::string>(delta.removed.begin(), delta.removed.end())}});
        }
        out["blastRadiusDelta"] = {{"symbol", *symbol}, {"depth", depth}, {"levels", std::move(levels)}};
    }
    writeOutput(std::nullopt, out.dump(2));
    return kExitOk;
}

int runExportCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(argc, argv, 2, {"--format", "--out", "--cache-dir", "--linking"}, {"--quiet"});
    if (args.positional.size() != 1) throw UsageError("export takes one folder or graph file");
    auto formatText = args.value("--format");
    if (!formatText) throw UsageError("--format is required");
    auto format = graphExportFormatFromRaw(*formatText);
    if (!format) throw UsageError("unknown format '" + *formatText + "' (json, dot, svg or png)");
    auto out = args.value("--out");
    if (!out) throw UsageError("--out is required");
    ProjectIR ir = loadGraph(args.positional[0], scanTemplate(args));
    std::string bytes;
    try {
        bytes = GraphExport::makeData(*format, ir, computeForceLayout(ir));
    } catch (const std::exception& e) {
        throw CommandError(e.what());
    }
    writeOutput(*out, bytes);
    return kExitOk;
}

}  // namespace vantrel::cli
