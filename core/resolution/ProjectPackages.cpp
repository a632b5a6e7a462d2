#include "core/resolution/ProjectPackages.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "core/json/JsonDocument.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel {

using nlohmann::json;

namespace {

std::optional<json> readJson(const std::string& path) {
    try {
        auto bytes = readWholeFile(path);
        if (!bytes) return std::nullopt;
        json value = parseJsonOrThrow(*bytes);
        if (!value.is_object()) return std::nullopt;
        return value;
    } catch (...) {
        return std::nullopt;
    }
}

// A target of `exports`: a string, or the first of the conditions a bundler would take.
std::optional<std::string> exportTarget(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_object()) return std::nullopt;
    for (const char* condition : {"source", "import", "module", "default", "require", "node", "types"}) {
        auto it = value.find(condition);
        if (it != value.end())
            if (auto target = exportTarget(*it)) return target;
    }
    return std::nullopt;
}

bool isBuildOutput(std::string_view relative) {
    std::string_view path = relative.starts_with("./") ? relative.substr(2) : relative;
    return path.starts_with("dist/") || path.starts_with("build/") || path.starts_with("lib/") ||
           path.starts_with("out/");
}

std::optional<std::string> existingFile(const std::string& folder, std::string_view relative) {
    if (relative.empty()) return std::nullopt;
    auto hit = TSConfigResolver::firstExistingFile(resolvePath(folder, relative));
    if (!hit || isDirectory(*hit)) return std::nullopt;
    return hit;
}

ProjectPackages::Package readPackage(const std::string& folder, const json& manifest, const std::string& name) {
    ProjectPackages::Package package;
    package.folder = folder;
    std::vector<std::string> candidates;
    if (auto source = manifest.find("source"); source != manifest.end() && source->is_string())
        candidates.push_back(source->get<std::string>());
    candidates.push_back("src/index");
    auto exports = manifest.find("exports");
    if (exports != manifest.end()) {
        if (exports->is_object() && exports->contains(".")) {
            if (auto target = exportTarget((*exports)["."])) candidates.push_back(*target);
        } else if (auto target = exportTarget(*exports)) {
            candidates.push_back(*target);
        }
        if (exports->is_object())
            for (const auto& [key, value] : exports->items()) {
                if (std::count(key.begin(), key.end(), '*') != 1) continue;
                if (auto target = exportTarget(value); target && std::count(target->begin(), target->end(), '*') == 1)
                    package.exportPatterns.emplace_back(key, *target);
            }
    }
    for (const char* field : {"module", "main"})
        if (auto it = manifest.find(field); it != manifest.end() && it->is_string())
            candidates.push_back(it->get<std::string>());
    // A scoped name's last piece names its source file as often as the bare name does.
    std::string base = name.substr(name.rfind('/') == std::string::npos ? 0 : name.rfind('/') + 1);
    candidates.push_back("src/" + base);
    if (!base.empty()) {
        std::string capital = base;
        capital[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(capital[0])));
        candidates.push_back("src/" + capital);
    }
    candidates.push_back("index");
    for (const auto& candidate : candidates) {
        if (isBuildOutput(candidate)) continue;
        if (auto hit = existingFile(folder, candidate)) {
            package.entry = *hit;
            break;
        }
    }
    return package;
}

// The folders a workspace pattern names: "packages/*" and "packages/**" one level of
// folders below "packages", anything else the folder itself.
std::vector<std::string> workspaceFolders(const std::string& root, std::string pattern) {
    std::vector<std::string> folders;
    if (pattern.starts_with("./")) pattern = pattern.substr(2);
    if (pattern.starts_with("!")) return folders;
    auto star = pattern.find('*');
    if (star == std::string::npos) {
        folders.push_back(resolvePath(root, pattern));
        return folders;
    }
    std::string parent = resolvePath(root, pattern.substr(0, star));
    std::error_code error;
    for (std::filesystem::directory_iterator it(parent, error), end; !error && it != end; it.increment(error))
        if (it->is_directory(error)) folders.push_back(standardizePath(it->path().string()));
    std::sort(folders.begin(), folders.end());
    return folders;
}

std::vector<std::string> workspacePatterns(const std::string& root, const json& manifest) {
    std::vector<std::string> patterns;
    auto workspaces = manifest.find("workspaces");
    const json* list = nullptr;
    if (workspaces != manifest.end()) {
        if (workspaces->is_array()) list = &*workspaces;
        else if (workspaces->is_object() && workspaces->contains("packages")) list = &(*workspaces)["packages"];
    }
    if (list && list->is_array())
        for (const auto& item : *list)
            if (item.is_string()) patterns.push_back(item.get<std::string>());
    // pnpm keeps its list in YAML: the "- 'pattern'" lines under "packages:".
    if (auto yaml = readWholeFile(appendPathComponent(root, "pnpm-workspace.yaml"))) {
        bool inPackages = false;
        std::size_t start = 0;
        while (start <= yaml->size()) {
            std::size_t end = yaml->find('\n', start);
            if (end == std::string::npos) end = yaml->size();
            std::string_view line(yaml->data() + start, end - start);
            start = end + 1;
            if (!line.empty() && line[0] != ' ' && line[0] != '-') inPackages = line.starts_with("packages:");
            auto dash = line.find('-');
            if (!inPackages || dash == std::string_view::npos) continue;
            std::string_view item = line.substr(dash + 1);
            while (!item.empty() && (item.front() == ' ' || item.front() == '\'' || item.front() == '"'))
                item.remove_prefix(1);
            while (!item.empty() &&
                   (item.back() == ' ' || item.back() == '\'' || item.back() == '"' || item.back() == '\r'))
                item.remove_suffix(1);
            if (!item.empty()) patterns.emplace_back(item);
        }
    }
    return patterns;
}

}  // namespace

ProjectPackages ProjectPackages::load(std::string_view rootPath) {
    ProjectPackages packages;
    try {
        const std::string root = standardizePath(rootPath);
        auto manifest = readJson(appendPathComponent(root, "package.json"));
        auto add = [&](const std::string& folder, const json& m) {
            auto name = m.find("name");
            if (name == m.end() || !name->is_string() || name->get<std::string>().empty()) return;
            const std::string text = name->get<std::string>();
            packages.packages_.try_emplace(text, readPackage(folder, m, text));
        };
        if (manifest) add(root, *manifest);
        for (const auto& pattern :
             manifest ? workspacePatterns(root, *manifest) : workspacePatterns(root, json::object()))
            for (const auto& folder : workspaceFolders(root, pattern))
                if (auto m = readJson(appendPathComponent(folder, "package.json"))) add(folder, *m);
    } catch (...) {
    }
    return packages;
}

std::optional<std::string> ProjectPackages::resolve(std::string_view specifier) const {
    if (packages_.empty() || specifier.empty() || specifier.starts_with(".") || specifier.starts_with("/"))
        return std::nullopt;
    // The longest package name that is the specifier or a folder prefix of it.
    for (auto it = packages_.rbegin(); it != packages_.rend(); ++it) {
        const std::string& name = it->first;
        if (!specifier.starts_with(name)) continue;
        const Package& package = it->second;
        if (specifier.size() == name.size()) return package.entry;
        if (specifier[name.size()] != '/') continue;
        std::string subpath = "./" + std::string(specifier.substr(name.size() + 1));
        for (const auto& [pattern, target] : package.exportPatterns) {
            const auto star = pattern.find('*');
            std::string_view prefix = std::string_view(pattern).substr(0, star);
            std::string_view suffix = std::string_view(pattern).substr(star + 1);
            if (subpath.size() < prefix.size() + suffix.size() || !std::string_view(subpath).starts_with(prefix) ||
                !std::string_view(subpath).ends_with(suffix))
                continue;
            std::string middle = subpath.substr(prefix.size(), subpath.size() - prefix.size() - suffix.size());
            std::string mapped = target;
            mapped.replace(mapped.find('*'), 1, middle);
            if (auto hit = existingFile(package.folder, mapped)) return hit;
        }
        return existingFile(package.folder, subpath);
    }
    return std::nullopt;
}

std::string ProjectPackages::fingerprint() const {
    std::string out;
    for (const auto& [name, package] : packages_) {
        out += name + '\n' + package.folder + '\n' + package.entry.value_or("") + '\n';
        for (const auto& [pattern, target] : package.exportPatterns) out += pattern + '>' + target + '\n';
    }
    return out;
}

}  // namespace vantrel
