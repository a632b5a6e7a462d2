// The project's own npm packages: the root package.json and those of its workspaces
// (npm and yarn `workspaces`, pnpm's pnpm-workspace.yaml `packages`), each by name with
// its folder and entry. Precise linking resolves imports of these names to the project's
// files, as a library's examples and tests import the library by its name.
//
// An entry prefers source over build output: the `source` field, then src/index, then
// `exports` / `module` / `main` unless they point into dist/ or build/, then src/<name>.
// Subpaths go through `exports` patterns with one "*", else below the package folder.
// Reading never fails: a package.json that is missing or unusable adds nothing.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class ProjectPackages {
public:
    struct Package {
        std::string folder;                                               // absolute
        std::optional<std::string> entry;                                 // absolute file, when one was found
        std::vector<std::pair<std::string, std::string>> exportPatterns;  // "./x/*" -> "./y/*"
        bool operator==(const Package&) const = default;
    };

    // The packages of the project at `root` (absolute).
    static ProjectPackages load(std::string_view root);

    // The file an import of `specifier` names, when it is one of these packages or a path
    // below one; absolute.
    [[nodiscard]] std::optional<std::string> resolve(std::string_view specifier) const;

    // What the packages resolve to, for the cache key: names, folders and entries.
    [[nodiscard]] std::string fingerprint() const;

    const std::map<std::string, Package>& packages() const { return packages_; }

private:
    std::map<std::string, Package> packages_;
};

}  // namespace vantrel
