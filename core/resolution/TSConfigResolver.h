// Reads `compilerOptions.baseUrl` and `compilerOptions.paths` of the project's root
// tsconfig.json (else jsconfig.json) and resolves non-relative import specifiers with
// them. Immutable; one per scan, shared by all concurrent analyses.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class TSConfigResolver {
public:
    struct Config {
        std::string configDir;                                  // folder of the file read
        std::optional<std::string> baseUrl;                     // as written
        std::map<std::string, std::vector<std::string>> paths;  // pattern -> targets in file order
    };

    explicit TSConfigResolver(Config config) : config_(std::move(config)) {}

    // Nothing when neither file exists or the first that exists is unusable (unreadable,
    // not UTF-8, not a JSON object after sanitizing). "extends" is not followed.
    static std::optional<TSConfigResolver> loadIfPresent(std::string_view projectRoot);

    // The resolver for the bytes of such a file lying in `configDir`; nothing when they are
    // not UTF-8 or no JSON object after sanitizing.
    static std::optional<TSConfigResolver> decode(std::string_view bytes, std::string configDir);

    // The absolute path of the file that `specifier` maps to, if any. Tried in order: the
    // `paths` key equal to specifier; the wildcard keys (in key order, none ranked above
    // another); specifier itself below the base folder.
    std::optional<std::string> resolveNonRelative(std::string_view specifier) const;

    const Config& config() const { return config_; }

    // The comment- and trailing-comma-stripping pass applied before strict JSON parsing.
    // It knows nothing of JSON strings: a "//" inside a string cuts the rest of its line.
    static std::string sanitizeJSON5ish(std::string_view text);

    // The first existing path among the module candidates of `base`: `base` alone when
    // its last component has an extension, else base + .ts/.tsx/.js/.jsx, then
    // base/index + the same four. Anything at the path counts, file or folder.
    static std::optional<std::string> firstExistingFile(std::string_view base);

private:
    std::optional<std::string> resolveTarget(std::string_view target, std::string_view baseDir) const;

    Config config_;
};

}  // namespace vantrel
