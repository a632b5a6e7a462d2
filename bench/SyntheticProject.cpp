#include "bench/SyntheticProject.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vantrel::bench {

namespace {

// A small linear congruential generator: deterministic on every platform.
struct Random {
    std::uint64_t state;
    explicit Random(std::uint64_t seed) : state(seed * 6364136223846793005ULL + 1442695040888963407ULL) {}
    std::uint64_t next() {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return state >> 33;
    }
    std::int64_t below(std::int64_t n) {
        return n <= 0 ? 0 : static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(n));
    }
};

enum class Kind { ts, tsx, py };

Kind kindOf(std::int64_t index, Mix mix) {
    switch (mix) {
        case Mix::typescript: return index % 5 == 4 ? Kind::tsx : Kind::ts;
        case Mix::python: return Kind::py;
        case Mix::mixed: return index % 4 == 3 ? Kind::py : (index % 5 == 4 ? Kind::tsx : Kind::ts);
    }
    return Kind::ts;
}

constexpr std::int64_t kPerFolder = 50;

std::string folderOf(std::int64_t index) {
    std::int64_t folder = index / kPerFolder;
    return "pkg" + std::to_string(folder / 20) + "/mod" + std::to_string(folder % 20);
}

std::string stemOf(std::int64_t index) { return "m" + std::to_string(index); }

// Another module of the same language, for imports and calls.
std::int64_t partnerOf(Random& random, std::int64_t index, std::int64_t fileCount, Mix mix) {
    for (int tries = 0; tries < 16; ++tries) {
        std::int64_t other = random.below(fileCount);
        if (other != index && (kindOf(other, mix) == Kind::py) == (kindOf(index, mix) == Kind::py)) return other;
    }
    return index;
}

std::string relativeImport(std::int64_t to) { return "../../" + folderOf(to) + "/" + stemOf(to); }

std::string typescriptModule(std::int64_t i, std::int64_t fileCount, Mix mix, bool tsx) {
    Random random(static_cast<std::uint64_t>(i) + 17);
    std::int64_t a = partnerOf(random, i, fileCount, mix);
    std::int64_t b = partnerOf(random, i, fileCount, mix);
    std::string n = std::to_string(i), na = std::to_string(a), nb = std::to_string(b);
    std::ostringstream out;
    out << "// Module " << n << ": generated for benchmarks.\n"
        << "import { helper" << na << ", Service" << na << " } from '" << relativeImport(a) << "';\n"
        << "import { transform" << nb << " as t" << nb << " } from '" << relativeImport(b) << "';\n"
        << "import { useState } from 'react';\n\n"
        << "export interface Options" << n << " {\n  depth: number;\n  label?: string;\n}\n\n"
        << "export function compute" << n << "(x: number, options: Options" << n << " = { depth: 2 }): number {\n"
        << "  const y = helper" << na << "(x) + options.depth;\n"
        << "  if (y > 100) {\n    return transform" << n << "(y - 1);\n  }\n"
        << "  return t" << nb << "(y) + clamp" << n << "(x);\n}\n\n"
        << "export const transform" << n << " = (value: number): number => {\n"
        << "  const parts = [value, value * 2, value * 3].map((v) => clamp" << n << "(v));\n"
        << "  return parts.reduce((sum, v) => sum + v, 0);\n};\n\n"
        << "function clamp" << n << "(value: number): number {\n  return Math.min(Math.max(value, 0), 1000);\n}\n\n"
        << "export function helper" << n << "(input: number): number {\n  return input + " << (i % 7) << ";\n}\n\n"
        << "export class Service" << n << " {\n"
        << "  private readonly cache = new Map<string, number>();\n\n"
        << "  run(key: string): number {\n"
        << "    const hit = this.cache.get(key);\n"
        << "    if (hit !== undefined) return hit;\n"
        << "    const value = compute" << n << "(key.length);\n"
        << "    this.cache.set(key, value);\n    return value;\n  }\n\n"
        << "  describe(): string {\n    return `Service" << n << " with ${this.cache.size} entries`;\n  }\n}\n";
    if (tsx) {
        out << "\nexport function Panel" << n << "({ seed }: { seed: number }) {\n"
            << "  const [count, setCount] = useState(seed);\n"
            << "  const total = compute" << n << "(count);\n"
            << "  return (\n    <section className=\"panel\">\n"
            << "      <h2>{formatTitle" << n << "(total)}</h2>\n"
            << "      <button onClick={() => setCount(helper" << na << "(count))}>more</button>\n"
            << "    </section>\n  );\n}\n\n"
            << "const formatTitle" << n << " = (total: number) => `Total: ${total}`;\n";
    }
    return out.str();
}

std::string pythonModule(std::int64_t i, std::int64_t fileCount, Mix mix) {
    Random random(static_cast<std::uint64_t>(i) + 91);
    std::int64_t a = partnerOf(random, i, fileCount, mix);
    std::int64_t b = partnerOf(random, i, fileCount, mix);
    std::string n = std::to_string(i), na = std::to_string(a), nb = std::to_string(b);
    auto dotted = [](std::int64_t k) {
        std::int64_t folder = k / kPerFolder;
        return "pkg" + std::to_string(folder / 20) + ".mod" + std::to_string(folder % 20) + "." + stemOf(k);
    };
    std::ostringstream out;
    out << "\"\"\"Module " << n << ": generated for benchmarks.\"\"\"\n"
        << "import os\n"
        << "from " << dotted(a) << " import helper_" << na << "\n"
        << "from " << dotted(b) << " import Model" << nb << " as Other\n\n\n"
        << "def compute_" << n << "(x, depth=2):\n"
        << "    y = helper_" << na << "(x) + depth\n"
        << "    if y > 100:\n        return transform_" << n << "(y - 1)\n"
        << "    return sum(clamp_" << n << "(v) for v in (x, y))\n\n\n"
        << "def transform_" << n << "(value):\n"
        << "    parts = [clamp_" << n << "(v) for v in (value, value * 2, value * 3)]\n"
        << "    return sum(parts)\n\n\n"
        << "def clamp_" << n << "(value):\n    return min(max(value, 0), 1000)\n\n\n"
        << "def helper_" << n << "(value):\n    return value + " << (i % 7) << "\n\n\n"
        << "class Model" << n << ":\n"
        << "    def __init__(self, name):\n        self.name = name\n        self.values = {}\n\n"
        << "    @property\n    def size(self):\n        return len(self.values)\n\n"
        << "    def save(self, key):\n"
        << "        self.values[key] = compute_" << n << "(len(key))\n"
        << "        return os.path.join(self.name, key)\n\n"
        << "    def merge(self, other):\n"
        << "        return Other(self.name).save(other.name) + helper_" << na << "(1)\n";
    return out.str();
}

}  // namespace

std::string syntheticRelPath(std::int64_t index, std::int64_t, Mix mix) {
    switch (kindOf(index, mix)) {
        case Kind::ts: return folderOf(index) + "/" + stemOf(index) + ".ts";
        case Kind::tsx: return folderOf(index) + "/" + stemOf(index) + ".tsx";
        case Kind::py: return folderOf(index) + "/" + stemOf(index) + ".py";
    }
    return "";
}

GeneratedProject generateSyntheticProject(const std::string& root, std::int64_t fileCount, Mix mix) {
    namespace fs = std::filesystem;
    GeneratedProject project;
    for (std::int64_t i = 0; i < fileCount; ++i) {
        Kind kind = kindOf(i, mix);
        std::string rel = syntheticRelPath(i, fileCount, mix);
        std::string text =
            kind == Kind::py ? pythonModule(i, fileCount, mix) : typescriptModule(i, fileCount, mix, kind == Kind::tsx);
        fs::path path = fs::path(root) / rel;
        fs::create_directories(path.parent_path());
        if (kind == Kind::py) {
            // Packages, so that the dotted imports resolve.
            for (fs::path dir = path.parent_path(); dir != fs::path(root) && dir.has_relative_path();
                 dir = dir.parent_path())
                if (!fs::exists(dir / "__init__.py")) std::ofstream(dir / "__init__.py");
        }
        std::ofstream(path, std::ios::binary) << text;
        project.relPaths.push_back(rel);
        project.bytes += text.size();
    }
    return project;
}

std::string writeCallerFan(const std::string& root) {
    namespace fs = std::filesystem;
    constexpr int kLevels = 5, kBranch = 5, kPerFile = 50;
    fs::create_directories(fs::path(root) / "fan");
    int width = 1;
    for (int level = 0; level <= kLevels; ++level, width *= kBranch) {
        for (int first = 0; first < width; first += kPerFile) {
            std::ofstream out(fs::path(root) / "fan" /
                              ("level" + std::to_string(level) + "_" + std::to_string(first) + ".py"));
            for (int i = first; i < std::min(width, first + kPerFile); ++i) {
                out << "def fan_" << level << "_" << i << "():\n    return ";
                if (level == 0) out << "0\n\n\n";
                else out << "fan_" << level - 1 << "_" << i / kBranch << "()\n\n\n";
            }
        }
    }
    return "fan/level0_0.py:fan_0_0:function";
}

std::string writeWidelyCalledHelper(const std::string& root, int callers, int files) {
    namespace fs = std::filesystem;
    static const char* const kVerbs[] = {"validate", "sync", "load", "apply", "render", "export", "merge", "notify"};
    static const char* const kAreas[] = {"billing", "orders", "accounts", "catalog", "shipping",
                                         "reports", "search", "audit",    "pricing", "inventory"};
    fs::create_directories(fs::path(root) / "hub");
    std::ofstream(fs::path(root) / "hub" / "telemetry.py") << "def record_usage_event(name):\n    return name\n";
    for (int file = 0; file < files; ++file) {
        const std::string area = kAreas[file % 10], module = area + "_" + std::to_string(file / 10);
        const fs::path folder = fs::path(root) / "features" / area;
        fs::create_directories(folder);
        std::ostringstream text, route;
        route << "def route_" << module << "():\n    return [";
        for (int i = file; i < callers; i += files) {
            const std::string name = std::string(kVerbs[i % 8]) + "_" + module + "_" + std::to_string(i);
            text << "def " << name << "():\n    return record_usage_event(\"" << name << "\")\n\n\n";
            route << name << "(), ";
        }
        route << "]\n";
        std::ofstream(folder / (module + ".py")) << text.str() << route.str();
    }
    return "hub/telemetry.py:record_usage_event:function";
}

}  // namespace vantrel::bench
