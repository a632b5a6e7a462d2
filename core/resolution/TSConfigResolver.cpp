#include "core/resolution/TSConfigResolver.h"

#include <nlohmann/json.hpp>

#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {

namespace {

// The three replacements below are written out by hand rather than as regular
// expressions: a lazy [\s\S]*? over a multi-megabyte file overflows the stack of
// backtracking engines. Each pass has the leftmost, non-overlapping match semantics of
// a replace-all.

// /\*[\s\S]*?\*/ -> "": block comments, shortest match.
std::string removeBlockComments(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (true) {
        std::size_t open = text.find("/*", pos);
        if (open == std::string_view::npos) break;
        // Without a close after this opening there is none after any later one either.
        std::size_t close = text.find("*/", open + 2);
        if (close == std::string_view::npos) break;
        out.append(text.substr(pos, open - pos));
        pos = close + 2;
    }
    out.append(text.substr(pos));
    return out;
}

// //[^\n\r]* -> "": line comments up to, not including, the line end.
std::string removeLineComments(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (true) {
        std::size_t open = text.find("//", pos);
        if (open == std::string_view::npos) break;
        out.append(text.substr(pos, open - pos));
        std::size_t end = text.find_first_of("\n\r", open + 2);
        pos = end == std::string_view::npos ? text.size() : end;
    }
    out.append(text.substr(pos));
    return out;
}

// \s of the platform's regular expressions: tab, LF, FF, CR and the Unicode separators
// (general category Z). Vertical tab and NEL are not in it.
bool isRegexSpace(char32_t c) {
    switch (c) {
        case 0x09:
        case 0x0A:
        case 0x0C:
        case 0x0D:
        case 0x20:
        case 0xA0:
        case 0x1680:
        case 0x2028:
        case 0x2029:
        case 0x202F:
        case 0x205F:
        case 0x3000: return true;
        default: return c >= 0x2000 && c <= 0x200A;
    }
}

// Byte length of the \s character at `i`, or 0 when there is none.
std::size_t regexSpaceLengthAt(std::string_view text, std::size_t i) {
    auto c = firstScalar(text.substr(i));
    if (!c || !isRegexSpace(*c)) return 0;
    return *c < 0x80 ? 1 : *c < 0x800 ? 2 : *c < 0x10000 ? 3 : 4;
}

// ,\s*([\]}]) -> "$1": a comma before a closing bracket or brace, with the space between.
std::string removeTrailingCommas(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] != ',') {
            out.push_back(text[i++]);
            continue;
        }
        std::size_t j = i + 1;
        while (std::size_t length = j < text.size() ? regexSpaceLengthAt(text, j) : 0) j += length;
        if (j < text.size() && (text[j] == ']' || text[j] == '}')) {
            out.push_back(text[j]);
            i = j + 1;
        } else {
            out.push_back(',');
            ++i;
        }
    }
    return out;
}

bool isStringArray(const nlohmann::json& value) {
    if (!value.is_array()) return false;
    for (const auto& element : value)
        if (!element.is_string()) return false;
    return true;
}

}  // namespace

std::string TSConfigResolver::sanitizeJSON5ish(std::string_view text) {
    return removeTrailingCommas(removeLineComments(removeBlockComments(text)));
}

std::optional<TSConfigResolver> TSConfigResolver::loadIfPresent(std::string_view projectRoot) {
    std::string root = standardizePath(projectRoot);
    std::string file;
    for (const char* name : {"tsconfig.json", "jsconfig.json"}) {
        std::string candidate = appendPathComponent(root, name);
        if (pathExists(candidate)) {
            file = candidate;
            break;
        }
    }
    if (file.empty()) return std::nullopt;  // an unusable tsconfig.json does not fall back to jsconfig.json

    auto bytes = readWholeFile(file);
    if (!bytes) return std::nullopt;
    return decode(*bytes, deletingLastPathComponent(file));
}

std::optional<TSConfigResolver> TSConfigResolver::decode(std::string_view bytes, std::string configDir) {
    if (!utf8ToUtf16(bytes)) return std::nullopt;
    nlohmann::json document;
    try {
        document = parseJsonOrThrow(sanitizeJSON5ish(bytes));
    } catch (const DecodeError&) {
        return std::nullopt;
    }
    if (!document.is_object()) return std::nullopt;

    Config config;
    config.configDir = std::move(configDir);
    auto options = document.find("compilerOptions");
    if (options != document.end() && options->is_object()) {
        auto baseUrl = options->find("baseUrl");
        if (baseUrl != options->end() && baseUrl->is_string()) config.baseUrl = baseUrl->get<std::string>();
        auto paths = options->find("paths");
        if (paths != options->end() && paths->is_object()) {
            for (const auto& [pattern, targets] : paths->items()) {
                if (isStringArray(targets)) config.paths[pattern] = targets.get<std::vector<std::string>>();
            }
        }
    }
    return TSConfigResolver(std::move(config));
}

std::optional<std::string> TSConfigResolver::resolveNonRelative(std::string_view specifier) const {
    const std::string& configDir = config_.configDir;
    std::string baseDir = config_.baseUrl && !config_.baseUrl->empty() ? resolvePath(configDir, *config_.baseUrl)
                                                                       : standardizePath(configDir);

    // An exact key beats every wildcard.
    if (auto exact = config_.paths.find(std::string(specifier)); exact != config_.paths.end()) {
        for (const auto& target : exact->second)
            if (auto hit = resolveTarget(target, baseDir)) return hit;
    }

    // Wildcard keys split at their first "*"; a further "*" is a literal character. A key
    // that applies but finds nothing leaves the search to the next key.
    for (const auto& [key, targets] : config_.paths) {
        auto star = key.find('*');
        if (star == std::string::npos) continue;
        std::string_view prefix = std::string_view(key).substr(0, star);
        std::string_view suffix = std::string_view(key).substr(star + 1);
        if (specifier.size() < prefix.size() + suffix.size() || !specifier.starts_with(prefix) ||
            !specifier.ends_with(suffix))
            continue;
        std::string_view captured = specifier.substr(prefix.size(), specifier.size() - prefix.size() - suffix.size());
        for (const auto& target : targets)
            if (auto hit = resolveTarget(replaceAll(target, "*", captured), baseDir)) return hit;
    }

    // The specifier itself below the base folder, whatever `paths` holds.
    return resolveTarget(specifier, baseDir);
}

std::optional<std::string> TSConfigResolver::resolveTarget(std::string_view target, std::string_view baseDir) const {
    return firstExistingFile(resolvePath(baseDir, target));
}

std::optional<std::string> TSConfigResolver::firstExistingFile(std::string_view base) {
    std::string path(base);
    if (!pathExtension(path).empty()) {
        if (pathExists(path)) return path;
        return std::nullopt;
    }
    for (const char* extension : {".ts", ".tsx", ".js", ".jsx"})
        if (std::string candidate = path + extension; pathExists(candidate)) return candidate;
    for (const char* index : {"index.ts", "index.tsx", "index.js", "index.jsx"})
        if (std::string candidate = appendPathComponent(path, index); pathExists(candidate)) return candidate;
    return std::nullopt;
}

}  // namespace vantrel
