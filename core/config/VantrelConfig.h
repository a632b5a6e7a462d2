// A project's own scan settings, read from "vantrel.json" or ".vantrel/config.json" in
// its root, and the merge of such a file over the user's global settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// How call sites become edges. `names` links plain calls by their bare name; `precise`
// also follows receivers, classes, constructors, `super` and import aliases. Absent means
// `names`, so a graph stays what it was unless a project or the user asks otherwise.
enum class LinkingMode { names, precise };

std::string_view rawValue(LinkingMode mode);
std::optional<LinkingMode> linkingModeFromRaw(std::string_view raw);

struct VantrelConfig {
    std::vector<std::string> exclude;                          // glob patterns, order as written
    std::int64_t maxDepth = 3;                                 // levels a blast radius goes
    std::optional<std::vector<std::string>> enabledLanguages;  // plugin ids; absent or empty: all
    std::optional<LinkingMode> linking{};                      // absent: names
    bool operator==(const VantrelConfig&) const = default;

    // The six default patterns, depth 3, no language list.
    static const VantrelConfig& defaultConfig();

    // The first of the two candidate files that exists, decoded strictly; nothing when
    // neither exists or the first one is unusable (the second is then not tried).
    static std::optional<VantrelConfig> loadIfPresent(std::string_view projectRoot);

    // Strict decoding of the file format; nothing for anything unusable.
    static std::optional<VantrelConfig> decode(std::string_view bytes);
};

// Lays a project's file over global settings: a non-empty project `exclude` replaces
// the global one, the project's `maxDepth` always wins (unlimited), and its
// `enabledLanguages` and `linking` win when present. Without a project file, the global settings.
[[nodiscard]] VantrelConfig mergeConfig(const VantrelConfig& global, const std::optional<VantrelConfig>& project);

struct ConfigEdit {
    std::string path;   // the file written
    std::string error;  // empty on success
};

// Adds `pattern` to the exclusions in the project's file, the one loadIfPresent reads,
// keeping every other field as it was. A file without exclusions of its own first gets
// those of `effective` (the merged settings), since a project's non-empty list replaces
// the global one; without a file, "vantrel.json" is written with `effective`'s
// exclusions and depth. A file that is not usable is left alone: an error.
ConfigEdit addProjectExclusion(std::string_view projectRoot, std::string_view pattern, const VantrelConfig& effective);

}  // namespace vantrel
