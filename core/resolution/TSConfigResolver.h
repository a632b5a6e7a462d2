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
        std::string configDir;                                   // folder of the file read
        std::optional<std::string> baseUrl;                      // as written
        std::map<std::string, std::vector<std::string>> paths;   // pattern -> targets in file order
    };

    explicit TSConfigResolver(Config config) : config_(std::move(config)) {}

    // Nothing when neither file exists or the first that exists is unusable.
    static std::optional<TSConfigResolver> loadIfPresent(std::string_view projectRoot);

    // The absolute path of the file that `spec` maps to, if any.
    std::optional<std::string> resolveNonRelative(std::string_view spec) const;

    const Config& config() const { return config_; }

    // The comment- and trailing-comma-stripping pass applied before strict JSON parsing.
    static std::string sanitizeJSON5ish(std::string_view text);

private:
    Config config_;
};

}  // namespace vantrel
