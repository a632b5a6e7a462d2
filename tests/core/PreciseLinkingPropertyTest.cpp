// Random projects made of the shapes precise linking reads (bases that are missing, cyclic
// or the class itself, fields of the class's own type, long member and call chains, every
// kind of receiver, aliases, re-export cycles, package files that point anywhere, broken
// syntax) are scanned in precise mode. Whatever the input, the graph must be well formed,
// hold the symbols name linking sees, and come out the same on one lane as on three.
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/config/GlobalDefaults.h"
#include "core/config/VantrelConfig.h"
#include "core/export/ProjectExport.h"
#include "core/scan/SymbolScanner.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;

constexpr int kProjects = 50;
constexpr int kJsFiles = 6;  // src/m0 .. src/m5
constexpr int kPyFiles = 3;  // src/pkg/q0, src/pkg/q1, q2 at the root

// Few names, so that classes, methods and functions collide across files and kinds.
const std::vector<std::string> kClasses = {"Node", "Store", "Shape", "View", "Base", "Service"};
const std::vector<std::string> kMethods = {"run", "render", "get", "add", "append", "update", "close", "next"};
const std::vector<std::string> kFunctions = {"make", "helper", "load", "render", "min", "open", "escape", "run"};
const std::vector<std::string> kFields = {"next", "svc", "store", "child", "items"};

class Generator {
public:
    explicit Generator(std::uint32_t seed) : rng_(seed) {}

    // Plain modulo rather than a distribution: the same projects on every standard library.
    std::size_t below(std::size_t n) { return n == 0 ? 0 : rng_() % n; }
    bool chance(unsigned percent) { return rng_() % 100 < percent; }
    const std::string& pick(const std::vector<std::string>& from) { return from[below(from.size())]; }
    std::string jsModule() { return "./m" + std::to_string(below(kJsFiles)); }  // may be the file itself
    std::string pyModule() { return "q" + std::to_string(below(kPyFiles)); }
    std::string ns() { return "ns" + std::to_string(below(3)); }  // imported or not

    std::string memberChain(const std::string& start, std::size_t longest) {
        std::string chain = start;
        for (std::size_t i = below(longest) + 1; i-- > 0;) chain += "." + pick(kFields);
        return chain;
    }

private:
    std::mt19937 rng_;
};

// ---- JS family ---------------------------------------------------------------------

const std::vector<std::string> kJsBroken = {"class {",
                                            "function (",
                                            "this.",
                                            "new new Node(",
                                            "}}}",
                                            "super(",
                                            "class X extends extends Y {}",
                                            "import { from",
                                            "export * from",
                                            "=> =>",
                                            "<div>",
                                            "@@",
                                            "(((",
                                            "x?.(",
                                            "const = ;",
                                            "`${",
                                            "/* no end",
                                            "class A extends A.B.C( {",
                                            "} else {",
                                            "new.target.run();"};

std::string jsImport(Generator& g) {
    std::string from = g.jsModule();
    switch (g.below(14)) {
        case 0: return "import { " + g.pick(kFunctions) + " } from '" + from + "';\n";
        case 1: return "import { " + g.pick(kFunctions) + " as " + g.pick(kFunctions) + " } from '" + from + "';\n";
        case 2: return "import * as " + g.ns() + " from '" + from + "';\n";
        case 3: return "import " + g.pick(kClasses) + " from '" + from + "';\n";
        case 4: return "import type { " + g.pick(kClasses) + " } from '" + from + "';\n";
        case 5: return "export * from '" + from + "';\n";
        case 6: return "export { " + g.pick(kFunctions) + " as " + g.pick(kFunctions) + " } from '" + from + "';\n";
        case 7: return "export { " + g.pick(kClasses) + " } from '" + from + "';\n";
        case 8: return "import { " + g.pick(kClasses) + ", " + g.pick(kFunctions) + " } from 'proj';\n";
        case 9: return "import * as " + g.ns() + " from '@ws/p0';\n";
        case 10: return "import { " + g.pick(kFunctions) + " } from 'proj/deep/m1';\n";
        case 11: return "import { " + g.pick(kFunctions) + " } from './missing';\n";
        case 12: return "const { " + g.pick(kClasses) + " } = require('" + from + "');\n";
        default: return "import '" + from + "';\n";
    }
}

// One statement of a function or method body; `param` is a parameter of the enclosing code.
std::string jsStatement(Generator& g, const std::string& param) {
    const std::string& c = g.pick(kClasses);
    const std::string& m = g.pick(kMethods);
    const std::string& f = g.pick(kFunctions);
    switch (g.below(26)) {
        case 0: return "this." + m + "();";
        case 1: return "super." + m + "();";
        case 2: return "super();";
        case 3: return g.memberChain("this", 3) + "." + m + "();";
        case 4: return g.memberChain("this", 40) + "." + m + "();";
        case 5: return param + "." + m + "();";
        case 6: return "new " + c + "()." + m + "();";
        case 7: return "new " + c + "();";
        case 8: return "new " + g.ns() + "." + c + "();";
        case 9: return g.ns() + "." + f + "();";
        case 10: return f + "();";
        case 11: return c + "." + m + "();";
        case 12: return f + "()." + m + "();";
        case 13: return "const v = new " + c + "(); v." + m + "();";
        case 14: return "let v: " + c + "; v." + m + "();";
        case 15: return "const v = " + f + "(); v." + m + "(); v." + g.pick(kFields) + "." + m + "();";
        case 16: return "const xs = [1, 2].map(() => " + f + "());";
        case 17: return param + ".forEach((it) => it." + m + "());";
        case 18: {
            std::string chain = f + "()";
            for (std::size_t i = g.below(30) + 1; i-- > 0;) chain += "." + g.pick(kMethods) + "()";
            return chain + ";";
        }
        case 19: return "(" + param + " as any)." + m + "();";
        case 20: return param + "?." + m + "?.();";
        case 21: return "this[`" + m + "`]();";
        case 22: return "let a = b; let b = a; a." + m + "();";           // an alias cycle
        case 23: return "const " + f + " = " + param + "; " + f + "();";  // a local shadows a function
        case 24: return "new new " + c + "()();";
        default: return "return new " + c + "();";
    }
}

std::string jsBody(Generator& g, const std::string& param, const std::string& indent) {
    std::string body;
    for (std::size_t i = g.below(6) + 1; i-- > 0;) body += indent + jsStatement(g, param) + "\n";
    return body;
}

std::string jsClass(Generator& g) {
    const std::string& name = g.pick(kClasses);
    std::ostringstream out;
    out << (g.chance(60) ? "export " : "") << (g.chance(10) ? "abstract " : "") << "class " << name;
    switch (g.below(6)) {
        case 0: break;
        case 1: out << " extends " << name; break;  // itself
        case 2: out << " extends Missing"; break;
        case 3: out << " extends " << g.ns() << "." << g.pick(kClasses); break;
        default: out << " extends " << g.pick(kClasses); break;  // cycles across files arise
    }
    out << " {\n";
    const std::string& field = g.pick(kFields);
    switch (g.below(4)) {
        case 0: out << "  " << field << ": " << name << ";\n"; break;  // the class's own type
        case 1: out << "  private " << field << " = new " << g.pick(kClasses) << "();\n"; break;
        case 2: out << "  static " << field << " = new " << name << "();\n"; break;
        default: break;
    }
    if (g.chance(60)) {
        out << "  constructor(private " << g.pick(kFields) << ": " << g.pick(kClasses) << ", x) {\n"
            << "    super(x);\n"
            << "    this." << field << " = new " << g.pick(kClasses) << "();\n"
            << "    this." << field << " = this." << field << "." << field << ";\n"
            << "  }\n";
    }
    for (std::size_t i = g.below(4) + 1; i-- > 0;) {
        const std::string& m = g.pick(kMethods);
        switch (g.below(5)) {
            case 0: out << "  static " << m << "() {\n" << jsBody(g, "arguments", "    ") << "  }\n"; break;
            case 1: out << "  get " << m << "() {\n    return this." << m << "();\n  }\n"; break;
            default:
                out << "  " << m << "(p: " << g.pick(kClasses) << ", q) {\n"
                    << jsBody(g, g.chance(50) ? "p" : "q", "    ") << "  }\n";
        }
    }
    out << "}\n";
    return out.str();
}

std::string jsFunction(Generator& g) {
    const std::string& f = g.pick(kFunctions);
    const std::string& c = g.pick(kClasses);
    switch (g.below(5)) {
        case 0: return "export function " + f + "(): " + c + " {\n  return new " + c + "();\n}\n";
        case 1:  // return types that only recursion could settle
            return "export function " + f + "() {\n  return " + g.pick(kFunctions) + "();\n}\n";
        case 2: return "export const " + f + " = (p: " + c + ") => p." + g.pick(kMethods) + "();\n";
        case 3:
            return "export default class {\n  " + g.pick(kMethods) + "() {\n" + jsBody(g, "this", "    ") + "  }\n}\n";
        default:
            return "export function " + f + "(p: " + c + ", q: any) {\n" + jsBody(g, g.chance(50) ? "p" : "q", "  ") +
                   "}\n";
    }
}

std::string jsFile(Generator& g) {
    std::string out;
    for (std::size_t i = g.below(5); i-- > 0;) out += jsImport(g);
    for (std::size_t i = g.below(4) + 2; i-- > 0;) {
        switch (g.below(8)) {
            case 0:
            case 1:
            case 2: out += jsClass(g); break;
            case 3:
            case 4:
            case 5: out += jsFunction(g); break;
            case 6:  // module-level code and a module-level instance, some of it cyclic
                out += "export const s1 = s2;\nexport const s2 = s1;\nexport const store = new " + g.pick(kClasses) +
                       "();\nstore." + g.pick(kMethods) + "();\n";
                break;
            default: out += g.pick(kJsBroken) + "\n"; break;
        }
    }
    if (g.chance(20)) out += "export function View() {\n  return <div onClick={() => helper()}>{render()}</div>;\n}\n";
    return out;
}

std::string rootPackageJson(Generator& g) {
    switch (g.below(8)) {
        case 0: return R"({"name": "proj", "main": "src/m0.ts", "workspaces": ["packages/*"]})";
        case 1: return R"({"name": "proj", "exports": {".": "./src/index.ts", "./deep/*": "./src/*.ts"}})";
        case 2: return R"({"name": "proj", "main": "package.json", "workspaces": ["packages/*"]})";  // itself
        case 3: return R"({"name": "proj", "main": "src", "exports": {".": {"import": "./src/m1.js"}}})";
        case 4: return R"({"name": "proj", "main": "../outside.ts", "workspaces": ["**", "../*", "packages/*"]})";
        case 5: return R"({"name": 42, "workspaces": {"packages": ["packages/*"]}})";
        case 6: return "{ not json";
        default: return R"({"name": "proj", "main": "./src/m2", "workspaces": ["packages/*"]})";
    }
}

std::string workspacePackageJson(Generator& g) {
    switch (g.below(4)) {
        case 0: return R"({"name": "@ws/p0", "main": "index.ts"})";
        case 1: return R"({"name": "proj", "main": "index.ts"})";  // the root's name again
        case 2: return R"({"name": "@ws/p0"})";
        default: return R"({"name": "@ws/p0", "main": "../../src/m3.ts"})";
    }
}

// ---- Python ------------------------------------------------------------------------

const std::vector<std::string> kPyBroken = {
    "def (",           "class :", "):", "self.",        "super(", "import",     "from . import",
    "lambda:",         "(((",     "@",  "class C(C(C(", "if x",   "    return", "def f(self, *, **):",
    "    def g(: pass"};

std::string pyImport(Generator& g) {
    std::string mod = g.pyModule();
    switch (g.below(9)) {
        case 0: return "import " + mod + "\n";
        case 1: return "import pkg." + mod + " as " + g.ns() + "\n";
        case 2: return "from . import " + mod + "\n";
        case 3: return "from ." + mod + " import " + g.pick(kFunctions) + " as " + g.pick(kFunctions) + "\n";
        case 4: return "from pkg." + mod + " import " + g.pick(kClasses) + "\n";
        case 5: return "from pkg import " + mod + "\n";
        case 6: return "from " + mod + " import *\n";
        case 7: return "import re, os\n";
        default: return "from pkg import missing as " + g.ns() + "\n";
    }
}

std::string pyStatement(Generator& g, const std::string& param, const std::string& indent) {
    const std::string& c = g.pick(kClasses);
    const std::string& m = g.pick(kMethods);
    const std::string& f = g.pick(kFunctions);
    switch (g.below(24)) {
        case 0: return indent + "self." + m + "()\n";
        case 1: return indent + "cls." + m + "()\n";
        case 2: return indent + "super()." + m + "()\n";
        case 3: return indent + "super().__init__()\n";
        case 4: return indent + g.memberChain("self", 3) + "." + m + "()\n";
        case 5: return indent + g.memberChain("self", 40) + "." + m + "()\n";
        case 6: return indent + param + "." + m + "()\n";
        case 7: return indent + c + "()." + m + "()\n";
        case 8: return indent + "v = " + c + "()\n" + indent + "v." + m + "()\n";
        case 9: return indent + "v: " + c + " = " + param + "\n" + indent + "v." + m + "()\n";
        case 10: return indent + f + "()." + m + "()\n";
        case 11: return indent + g.ns() + "." + f + "()\n";
        case 12: return indent + g.pyModule() + "." + f + "()\n";
        case 13: return indent + "items = []\n" + indent + "items.append(1)\n";
        case 14: return indent + "d = {}\n" + indent + "d.get(1)\n";
        case 15: return indent + "re.escape(\"x\")\n" + indent + "os.path.join(\"a\", \"b\")\n";
        case 16: return indent + "print(min(1, 2), len([]), open(\"f\"), sorted([]), isinstance(1, int))\n";
        case 17: return indent + "(lambda: " + f + "())()\n";
        case 18: return indent + "[" + f + "() for _ in range(3)]\n";
        case 19: {
            std::string chain = f + "()";
            for (std::size_t i = g.below(30) + 1; i-- > 0;) chain += "." + g.pick(kMethods) + "()";
            return indent + chain + "\n";
        }
        case 20: return indent + "a = b\n" + indent + "b = a\n" + indent + "a." + m + "()\n";  // an alias cycle
        case 21: return indent + f + " = " + param + "\n" + indent + f + "()\n";  // a local shadows a function
        case 22: return indent + "self." + g.pick(kFields) + " = self\n";
        default: return indent + "return " + c + "()\n";
    }
}

std::string pyBody(Generator& g, const std::string& param, const std::string& indent) {
    std::string body;
    for (std::size_t i = g.below(5) + 1; i-- > 0;) body += pyStatement(g, param, indent);
    return body;
}

std::string pyClass(Generator& g) {
    const std::string& name = g.pick(kClasses);
    std::ostringstream out;
    out << "class " << name;
    switch (g.below(5)) {
        case 0: out << ":\n"; break;
        case 1: out << "(" << name << "):\n"; break;  // itself
        case 2: out << "(Missing, " << g.pick(kClasses) << "):\n"; break;
        case 3: out << "(" << g.ns() << "." << g.pick(kClasses) << "):\n"; break;
        default: out << "(" << g.pick(kClasses) << "):\n"; break;  // cycles across files arise
    }
    const std::string& field = g.pick(kFields);
    if (g.chance(50)) out << "    " << field << ": " << (g.chance(50) ? name : g.pick(kClasses)) << "\n";
    if (g.chance(60)) {
        out << "    def __init__(self, x: " << g.pick(kClasses) << "):\n"
            << "        super().__init__()\n"
            << "        self." << field << " = " << g.pick(kClasses) << "()\n"
            << "        self." << field << " = self." << field << "." << field << "\n";
    }
    for (std::size_t i = g.below(4) + 1; i-- > 0;) {
        const std::string& m = g.pick(kMethods);
        switch (g.below(4)) {
            case 0: out << "    @classmethod\n    def " << m << "(cls, p):\n" << pyBody(g, "p", "        "); break;
            case 1: out << "    @staticmethod\n    def " << m << "():\n        pass\n"; break;
            default:
                out << "    def " << m << "(self, p: " << g.pick(kClasses) << ", q):\n"
                    << pyBody(g, g.chance(50) ? "p" : "q", "        ");
                out << "        def inner():\n" << pyBody(g, "q", "            ");
        }
    }
    return out.str();
}

std::string pyFunction(Generator& g) {
    const std::string& f = g.pick(kFunctions);
    switch (g.below(3)) {
        case 0: return "def " + f + "() -> " + g.pick(kClasses) + ":\n    return " + g.pick(kFunctions) + "()\n";
        case 1: return "async def " + f + "(p):\n" + pyBody(g, "p", "    ");
        default:
            return "def " + f + "(p: " + g.pick(kClasses) + ", q) -> " + g.pick(kClasses) + ":\n" +
                   pyBody(g, g.chance(50) ? "p" : "q", "    ");
    }
}

std::string pyFile(Generator& g) {
    std::string out;
    for (std::size_t i = g.below(5); i-- > 0;) out += pyImport(g);
    for (std::size_t i = g.below(4) + 2; i-- > 0;) {
        switch (g.below(7)) {
            case 0:
            case 1:
            case 2: out += pyClass(g); break;
            case 3:
            case 4: out += pyFunction(g); break;
            case 5: out += "instance = " + g.pick(kClasses) + "()\ninstance." + g.pick(kMethods) + "()\n"; break;
            default: out += g.pick(kPyBroken) + "\n"; break;
        }
    }
    return out;
}

// ---- The project and the checks ----------------------------------------------------

using Files = std::vector<std::pair<std::string, std::string>>;

Files randomProject(std::uint32_t seed) {
    Generator g(seed);
    Files files;
    files.emplace_back("package.json", rootPackageJson(g));
    for (int i = 0; i < kJsFiles; ++i) {
        static const char* const extensions[] = {".ts", ".ts", ".js", ".tsx"};
        files.emplace_back("src/m" + std::to_string(i) + extensions[g.below(4)], jsFile(g));
    }
    if (g.chance(50)) {
        std::string index;
        for (std::size_t i = g.below(4) + 1; i-- > 0;) index += "export * from '" + g.jsModule() + "';\n";
        index += "export * from './index';\n";  // a re-export of itself
        files.emplace_back("src/index.ts", index);
    }
    if (g.chance(70)) {
        files.emplace_back("packages/p0/package.json", workspacePackageJson(g));
        files.emplace_back("packages/p0/index.ts", "import { " + g.pick(kFunctions) +
                                                       " } from 'proj';\nexport * from '../../src/m0';\n" + jsFile(g));
    }
    files.emplace_back("src/pkg/__init__.py", g.chance(50) ? "from .q0 import *\n" : pyFile(g));
    files.emplace_back("src/pkg/q0.py", pyFile(g));
    files.emplace_back("src/pkg/q1.py", pyFile(g));
    files.emplace_back("q2.py", pyFile(g));
    return files;
}

std::string listing(const Files& files) {
    std::string text;
    for (const auto& [path, content] : files) text += "---- " + path + "\n" + content + "\n";
    return text;
}

// What is wrong with the graph's shape, at most a few lines of it.
std::vector<std::string> shapeProblems(const ProjectIR& ir) {
    std::vector<std::string> problems;
    auto note = [&](std::string line) {
        if (problems.size() < 8) problems.push_back(std::move(line));
    };
    for (const auto& [id, symbol] : ir.symbols) {
        if (symbol.id != id) note("symbol filed under another id: " + id);
        for (const auto& callee : symbol.refsOut) {
            if (callee == id) note("self-edge: " + id);
            auto it = ir.symbols.find(callee);
            if (it == ir.symbols.end()) note("callee is no symbol: " + id + " -> " + callee);
            else if (!it->second.refsIn.contains(id)) note("refsOut without refsIn: " + id + " -> " + callee);
        }
        for (const auto& caller : symbol.refsIn) {
            if (caller == id) note("self-edge (refsIn): " + id);
            auto it = ir.symbols.find(caller);
            if (it == ir.symbols.end()) note("caller is no symbol: " + caller + " -> " + id);
            else if (!it->second.refsOut.contains(id)) note("refsIn without refsOut: " + caller + " -> " + id);
        }
    }
    return problems;
}

std::set<std::string> symbolIds(const ProjectIR& ir) {
    std::set<std::string> ids;
    for (const auto& [id, symbol] : ir.symbols) ids.insert(id);
    return ids;
}

std::string normalized(ProjectIR ir) {
    ir.lastScan = 0;
    return ProjectExport::projectIRJSON(ir, true);
}

ProjectIR scanTree(const std::string& root, const std::string& supportDir, LinkingMode mode, std::int64_t batchSize,
                   std::int64_t jobs) {
    VantrelConfig config = defaultGlobalConfig();
    config.linking = mode;
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(supportDir));
    return scanner.scanProject(root, config, batchSize, jobs, std::nullopt, {}, {});
}

TEST(PreciseLinkingProperty, RandomProjectsGiveWellFormedGraphsWhateverTheLaneCount) {
    int failedProjects = 0;
    for (int n = 0; n < kProjects && failedProjects < 3; ++n) {
        const std::uint32_t seed = 7919u * static_cast<std::uint32_t>(n) + 17u;
        SCOPED_TRACE("seed " + std::to_string(seed));
        TempDir dir;
        Files files = randomProject(seed);
        for (const auto& [path, content] : files) dir.write("project/" + path, content);
        std::string root = dir / "project";

        std::vector<std::string> failures;
        try {
            ProjectIR one = scanTree(root, dir / "support-1", LinkingMode::precise, 1, 1);
            ProjectIR three = scanTree(root, dir / "support-3", LinkingMode::precise, 2, 3);
            ProjectIR names = scanTree(root, dir / "support-names", LinkingMode::names, 200, 3);
            for (auto& problem : shapeProblems(one)) failures.push_back(problem);
            if (normalized(one) != normalized(three)) failures.push_back("one lane and three lanes differ");
            if (symbolIds(one) != symbolIds(names)) failures.push_back("precise linking changed the set of symbols");
        } catch (const std::exception& e) {
            failures.push_back(std::string("the scan threw: ") + e.what());
        }
        if (!failures.empty()) {
            ++failedProjects;
            std::string message;
            for (const auto& failure : failures) message += "  " + failure + "\n";
            ADD_FAILURE() << "project of seed " << seed << ":\n" << message << listing(files);
        }
    }
}

}  // namespace
}  // namespace vantrel
