#include "core/util/Paths.h"

#include <unistd.h>

#include <vector>

#include "core/util/Text.h"

namespace vantrel {

namespace {
std::string currentDirectory() {
    std::vector<char> buffer(4096);
    while (getcwd(buffer.data(), buffer.size()) == nullptr) {
        if (buffer.size() > (1u << 20)) return "/";
        buffer.resize(buffer.size() * 2);
    }
    return std::string(buffer.data());
}
}  // namespace

namespace {
// Absolute, without empty, "." or ".." pieces and without a trailing "/": what
// standardising would give back unchanged. Paths made by walking a folder are of this
// kind, so they are copied instead of taken apart.
bool isStandard(std::string_view path) {
    if (path.empty() || path.front() != '/') return false;
    if (path.size() == 1) return true;
    if (path.back() == '/') return false;
    std::size_t start = 1;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        std::string_view part = path.substr(start, end - start);
        if (part.empty() || part == "." || part == "..") return false;
        start = end + 1;
    }
    return true;
}
}  // namespace

std::string standardizePath(std::string_view path) {
    if (isStandard(path)) return std::string(path);
    std::string input;
    if (path.empty() || path.front() != '/') {
        input = currentDirectory();
        input.push_back('/');
    }
    input.append(path);

    std::vector<std::string_view> parts;
    std::string_view view(input);
    std::size_t i = 0;
    while (i < view.size()) {
        while (i < view.size() && view[i] == '/') ++i;
        std::size_t start = i;
        while (i < view.size() && view[i] != '/') ++i;
        if (start == i) break;
        auto part = view.substr(start, i - start);
        if (part == ".") continue;
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
            continue;
        }
        parts.push_back(part);
    }
    if (parts.empty()) return "/";
    std::string out;
    for (auto part : parts) {
        out.push_back('/');
        out.append(part);
    }
    return out;
}

std::string resolvePath(std::string_view base, std::string_view relative) {
    if (!relative.empty() && relative.front() == '/') return standardizePath(relative);
    std::string joined(base);
    joined.push_back('/');
    joined.append(relative);
    return standardizePath(joined);
}

std::string relativePath(std::string_view file, std::string_view root) {
    std::string filePath = standardizePath(file);
    std::string rootPath = standardizePath(root);
    if (filePath == rootPath) return escapeInvalidUtf8(lastPathComponent(filePath));
    if (rootPath.back() != '/') rootPath.push_back('/');
    if (filePath.compare(0, rootPath.size(), rootPath) == 0)
        return escapeInvalidUtf8(std::string_view(filePath).substr(rootPath.size()));
    return escapeInvalidUtf8(filePath);
}

std::string lastPathComponent(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    if (path == "/") return "/";
    auto slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string deletingLastPathComponent(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    auto slash = path.rfind('/');
    if (slash == std::string_view::npos) return "";
    if (slash == 0) return "/";
    return std::string(path.substr(0, slash));
}

std::string appendPathComponent(std::string_view path, std::string_view component) {
    std::string out(path);
    if (out.empty() || out.back() != '/') out.push_back('/');
    out.append(component);
    return out;
}

std::string pathExtension(std::string_view path) {
    std::string last = lastPathComponent(path);
    auto dot = last.rfind('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == last.size()) return "";
    return last.substr(dot + 1);
}

std::string lowercased(std::string_view text) {
    std::string out(text);
    for (auto& c : out) c = asciiLower(c);
    return out;
}

}  // namespace vantrel
