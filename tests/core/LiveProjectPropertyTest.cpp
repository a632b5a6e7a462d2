// Random sequences of edits, additions, deletions and renames applied to a generated
// project of JS, TS and Python files. After each step the live project is told the paths a
// watcher would name, and its graph must equal a full scan of the folder with an empty
// cache, in both linking modes. The projects are made to stress what an update can miss:
// few names shared by many files (a symbol appearing or going changes how other files'
// calls resolve), imports of files that do not exist yet, folder index files, Python
// packages, classes whose methods call each other.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "core/config/VantrelConfig.h"
#include "core/live/LiveProject.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;

const std::vector<std::string> kNames = {"load", "save", "render", "helper", "parse", "run", "make", "close"};
// Where files may live; each one may be there or not at any step.
const std::vector<std::string> kPaths = {
    "src/m0.ts",   "src/m1.ts",       "src/m2.js",        "src/m3.tsx",     "src/lib/index.ts",
    "src/lib/m4.ts", "src/lib/m5.js", "src/lib/deep/m6.ts", "pkg/__init__.py", "pkg/q0.py",
    "pkg/q1.py",   "pkg/sub/__init__.py", "pkg/sub/q2.py", "q3.py",          "src/m7.ts"};

// Plain modulo rather than a distribution: the same projects on every standard library.
class Rng {
public:
    explicit Rng(std::uint32_t seed) : rng_(seed) {}
    std::uint32_t next() { return rng_(); }
    std::size_t below(std::size_t n) { return n == 0 ? 0 : rng_() % n; }
    bool chance(unsigned percent) { return rng_() % 100 < percent; }
    const std::string& name() { return kNames[below(kNames.size())]; }

private:
    std::mt19937 rng_;
};

// A file as two seeds: its shape (imports, functions, classes and their methods) and
// what its bodies call. A save that draws a new body seed changes only the calls, which
// leaves the file's symbols and type facts as they were.
struct FileModel {
    std::vector<std::string> functions;
    std::uint32_t shape = 0;
    std::uint32_t body = 0;
    // Moved without rewriting: its imports were made for its old place, so the next save,
    // made for the new place, changes more than the bodies.
    bool moved = false;
};

FileModel newModel(Rng& rng) {
    FileModel model;
    std::set<std::string> chosen;
    for (std::size_t i = rng.below(3) + 1; i-- > 0;) chosen.insert(rng.name());
    model.functions.assign(chosen.begin(), chosen.end());
    model.shape = rng.next();
    model.body = rng.next();
    return model;
}

std::string jsFile(const std::string& path, const FileModel& model) {
    Rng shape(model.shape), body(model.body);
    const auto& functions = model.functions;
    const bool inLib = path.starts_with("src/lib/");
    const bool deep = path.starts_with("src/lib/deep/");
    std::ostringstream out;
    // Imports of files that may or may not exist, by every form of relative path.
    const std::vector<std::string> specs =
        deep    ? std::vector<std::string>{"../m4", "../m5", "..", "../../m0", "../../m7"}
        : inLib ? std::vector<std::string>{"./m4", "./m5", "./deep/m6", "../m0", "../m1", "../m7", "."}
                : std::vector<std::string>{"./m0", "./m1", "./m2", "./m3", "./lib", "./lib/m4", "./m7", "./lib/index"};
    std::set<std::string> imported;
    for (std::size_t i = shape.below(3); i-- > 0;) {
        std::string local = shape.name();
        if (imported.count(local) || std::count(functions.begin(), functions.end(), local)) continue;
        imported.insert(local);
        out << "import { " << local << " } from '" << specs[shape.below(specs.size())] << "';\n";
    }
    if (shape.chance(20)) out << "import React from 'react';\n";
    for (const auto& fn : functions) {
        out << "export function " << fn << "() {\n";
        for (std::size_t i = body.below(4); i-- > 0;) out << "  " << body.name() << "();\n";
        out << "}\n";
    }
    if (shape.chance(50)) {
        std::string klass = shape.chance(50) ? "Store" : "View";
        out << "export class " << klass << " {\n  " << shape.name() << "() { this." << body.name() << "(); "
            << body.name() << "(); }\n  " << shape.name() << "() { return new " << klass << "(); }\n}\n";
        if (shape.chance(50))
            out << "export function use" << klass << "() {\n  new " << klass << "()." << body.name() << "();\n}\n";
    }
    return out.str();
}

std::string pyFile(const std::string& path, const FileModel& model) {
    Rng shape(model.shape), body(model.body);
    const auto& functions = model.functions;
    std::ostringstream out;
    const bool inPkg = path.starts_with("pkg/");
    const std::vector<std::string> froms = inPkg ? std::vector<std::string>{".q0", ".q1", ".sub.q2", ".sub", "."}
                                                 : std::vector<std::string>{"pkg.q0", "pkg.q1", "pkg.sub.q2", "pkg"};
    std::set<std::string> imported;
    for (std::size_t i = shape.below(3); i-- > 0;) {
        std::string local = shape.name();
        if (imported.count(local) || std::count(functions.begin(), functions.end(), local)) continue;
        imported.insert(local);
        out << "from " << froms[shape.below(froms.size())] << " import " << local << "\n";
    }
    if (shape.chance(20)) out << "import os\n";
    for (const auto& fn : functions) {
        out << "def " << fn << "():\n";
        std::size_t calls = body.below(4);
        if (calls == 0) out << "    pass\n";
        for (std::size_t i = calls; i-- > 0;) out << "    " << body.name() << "()\n";
    }
    if (shape.chance(40)) {
        out << "class Store:\n    def " << shape.name() << "(self):\n        self." << body.name() << "()\n        "
            << body.name() << "()\n    def " << shape.name() << "(self):\n        return Store()\n";
    }
    return out.str();
}

std::string fileText(const std::string& path, const FileModel& model) {
    return path.ends_with(".py") ? pyFile(path, model) : jsFile(path, model);
}

struct Project {
    const TempDir& dir;
    std::map<std::string, FileModel> files;

    void write(const std::string& path, const std::string& content) const { dir.write("project/" + path, content); }
    void remove(const std::string& path) const { fs::remove(dir.at("project/" + path)); }
    std::vector<std::string> absent() const {
        std::vector<std::string> out;
        for (const auto& path : kPaths)
            if (!files.count(path)) out.push_back(path);
        return out;
    }
};

ProjectIR fullScanWithoutCache(const std::string& root, LinkingMode linking) {
    TempDir support;
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path()));
    ScanOptions options;
    options.root = root;
    options.config.linking = linking;
    options.maxConcurrentParses = 2;
    return scanner.scanProject(options);
}

std::string firstDifference(const ProjectIR& live, const ProjectIR& full) {
    for (const auto& [id, symbol] : full.symbols) {
        auto it = live.symbols.find(id);
        if (it == live.symbols.end()) return "missing symbol " + id;
        if (it->second.refsOut != symbol.refsOut) return "other callees of " + id;
        if (it->second.refsIn != symbol.refsIn) return "other callers of " + id;
        if (!(it->second == symbol)) return "other range or kind of " + id;
    }
    for (const auto& [id, symbol] : live.symbols)
        if (!full.symbols.count(id)) return "extra symbol " + id;
    if (live.diagnostics != full.diagnostics)
        return "other diagnostics (" + std::to_string(live.diagnostics.size()) + " vs " +
               std::to_string(full.diagnostics.size()) + ")";
    return {};
}

void runSequence(std::uint32_t seed, LinkingMode linking, int steps) {
    TempDir dir;
    TempDir support;
    Rng gen(seed);
    Project project{dir, {}};
    for (const auto& path : kPaths)
        if (gen.chance(60)) {
            project.files[path] = newModel(gen);
            project.write(path, fileText(path, project.files[path]));
        }
    const std::string root = dir.at("project");
    fs::create_directories(root);
    LiveProjectOptions options;
    options.root = root;
    options.loadConfig = [linking] {
        VantrelConfig config;
        config.linking = linking;
        return config;
    };
    options.maxConcurrentParses = 2;
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
    live.open();
    // A copy a reader holds must never change under it.
    std::shared_ptr<const ProjectIR> held;
    ProjectIR heldAsItWas;

    for (int step = 0; step < steps; ++step) {
        std::vector<std::string> touched;
        std::string what;
        bool bodyOnly = false;
        const std::size_t op = gen.below(10);
        auto absent = project.absent();
        if ((op < 4 || absent.empty()) && !project.files.empty()) {
            // An edit: half of them change only what the bodies call.
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            if (gen.chance(50)) it->second = newModel(gen);
            else {
                it->second.body = gen.next();
                bodyOnly = !it->second.moved;
            }
            it->second.moved = false;
            project.write(it->first, fileText(it->first, it->second));
            touched.push_back(it->first);
            what = "edit " + it->first;
        } else if (op < 6 && !absent.empty()) {
            std::string path = absent[gen.below(absent.size())];
            project.files[path] = newModel(gen);
            project.write(path, fileText(path, project.files[path]));
            touched.push_back(path);
            what = "add " + path;
        } else if (op < 8 && !project.files.empty()) {
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            project.remove(it->first);
            touched.push_back(it->first);
            what = "delete " + it->first;
            project.files.erase(it);
        } else if (!project.files.empty() && !absent.empty()) {
            // A rename keeps the bytes; the new place may change what the imports reach.
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            std::string to = absent[gen.below(absent.size())];
            if (it->first.ends_with(".py") != to.ends_with(".py")) {
                project.files[to] = it->second;
                project.write(to, fileText(to, it->second));
                project.remove(it->first);
            } else {
                fs::create_directories(fs::path(root + "/" + to).parent_path());
                fs::rename(root + "/" + it->first, root + "/" + to);
                project.files[to] = it->second;
                project.files[to].moved = true;
            }
            touched = {it->first, to};
            what = "rename " + it->first + " to " + to;
            project.files.erase(it);
        } else {
            continue;
        }
        // A watcher names a new or vanished folder rather than its files, now and then.
        if (gen.chance(20)) {
            std::string folder = fs::path(touched.front()).parent_path().string();
            touched.push_back(folder);
        }
        const LiveUpdate update = live.update(touched);
        if (bodyOnly && update.changed.size() == 1) {
            // Only what the bodies call changed: that file alone is analysed and linked again.
            EXPECT_EQ(update.reanalysed, update.changed) << what;
            EXPECT_EQ(update.relinkedFiles, 1u) << what;
        }
        const ProjectIR full = fullScanWithoutCache(root, linking);
        const std::string difference = firstDifference(live.graph(), full);
        ASSERT_EQ(difference, "") << "seed " << seed << ", step " << step << ": " << what;
        // Readers' copies, brought up to date from the symbols the update touched.
        auto snapshot = live.snapshot();
        ASSERT_EQ(firstDifference(*snapshot, full), "") << "snapshot, seed " << seed << ", step " << step;
        if (held) {
            ASSERT_EQ(firstDifference(*held, heldAsItWas), "") << "held copy changed at step " << step;
        }
        if (step % 5 == 0) {
            held = snapshot;
            heldAsItWas = *snapshot;
        }
    }
}

// VANTREL_LIVE_SEEDS=N runs N sequences per mode instead, for a longer search by hand.
std::uint32_t sequences(std::uint32_t usual) {
    const char* asked = std::getenv("VANTREL_LIVE_SEEDS");
    return asked ? static_cast<std::uint32_t>(std::strtoul(asked, nullptr, 10)) : usual;
}

TEST(LiveProjectPropertyTest, NamesModeMatchesAFullScanAfterEveryStep) {
    for (std::uint32_t seed = 1; seed <= sequences(4); ++seed) runSequence(seed, LinkingMode::names, 40);
}

TEST(LiveProjectPropertyTest, PreciseModeMatchesAFullScanAfterEveryStep) {
    for (std::uint32_t seed = 1001; seed <= 1000 + sequences(3); ++seed) runSequence(seed, LinkingMode::precise, 30);
}

}  // namespace
}  // namespace vantrel

namespace vantrel {
namespace {

// The work an update does, for changes whose reach is known by hand.
TEST(LiveProjectTest, UpdatesOnlyWhatAChangeCanReach) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/a.ts", "export function load() {}\n");
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() { load(); }\n");
    dir.write("p/c.ts", "export function other() { show(); }\n");
    LiveProjectOptions options;
    options.root = dir.at("p");
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
    EXPECT_TRUE(live.open().fullScan);
    EXPECT_EQ(live.graph().symbols.at("a.ts:load:function").refsIn, IdSet{"b.ts:show:function"});

    // A save that changes only a body: that file alone is analysed and linked again.
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() {\n  load();\n  load();\n}\n");
    LiveUpdate body = live.update({"b.ts"});
    EXPECT_EQ(body.changed, std::vector<std::string>{"b.ts"});
    EXPECT_EQ(body.reanalysed, std::vector<std::string>{"b.ts"});
    EXPECT_EQ(body.relinkedFiles, 1u);
    EXPECT_EQ(live.graph().symbols.at("b.ts:show:function").range.endLine, 5);

    // The same bytes written again are no change at all.
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() {\n  load();\n  load();\n}\n");
    EXPECT_TRUE(live.update({"b.ts"}).empty());

    // A second `show` makes c's bare call ambiguous: c is linked again and loses its edge,
    // b's import keeps its own; a.ts and its callers are left alone.
    dir.write("p/d.ts", "export function show() {}\n");
    LiveUpdate added = live.update({"d.ts"});
    EXPECT_EQ(added.added, std::vector<std::string>{"d.ts"});
    EXPECT_EQ(added.reanalysed, std::vector<std::string>{"d.ts"});
    EXPECT_EQ(added.relinkedFiles, 2u);  // d, and c which calls `show`
    EXPECT_TRUE(live.graph().symbols.at("c.ts:other:function").refsOut.empty());
    EXPECT_EQ(live.graph().symbols.at("a.ts:load:function").refsIn, IdSet{"b.ts:show:function"});

    // Deleting a.ts leaves b's import unresolved, which b's new analysis says.
    std::filesystem::remove(dir.at("p/a.ts"));
    LiveUpdate removed = live.update({"a.ts"});
    EXPECT_EQ(removed.removed, std::vector<std::string>{"a.ts"});
    EXPECT_EQ(removed.reanalysed, std::vector<std::string>{"b.ts"});
    // One diagnostic per match of the import: the statement's and its one name's.
    ASSERT_EQ(live.graph().diagnostics.size(), 2u);
    EXPECT_EQ(live.graph().diagnostics[0].importPath, "./a");
    EXPECT_EQ(live.graph().symbols.count("a.ts:load:function"), 0u);

    // A settings file calls for a full scan.
    dir.write("p/tsconfig.json", "{\"compilerOptions\": {}}\n");
    EXPECT_TRUE(live.update({"tsconfig.json"}).fullScan);
    // Paths no scan takes change nothing.
    dir.write("p/node_modules/x/index.js", "function load() {}\n");
    dir.write("p/notes.txt", "load()\n");
    EXPECT_TRUE(live.update({"node_modules/x/index.js", "notes.txt", ".git/HEAD"}).empty());
}

// Precise linking: a save that changes declarations links again only the files whose
// resolutions read what changed, worked out by hand here.
TEST(LiveProjectTest, PreciseDeclarationSavesRelinkOnlyTheFilesThatReadThem) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/base.ts", "export class Base {\n  greet() {}\n}\n");
    dir.write("p/shape.ts", "import { Base } from './base';\nexport class Shape extends Base {\n  area() { return 0; }\n}\n");
    dir.write("p/use.ts", "import { Shape } from './shape';\nexport function draw() {\n  new Shape().greet();\n}\n");
    dir.write("p/poke.ts", "export function poke(x: any) {\n  x.spin();\n}\n");
    dir.write("p/far.ts", "export function far() {\n  helper();\n}\nfunction helper() {}\n");
    dir.write("p/root.ts", "export function unrelated() {}\n");
    dir.write("p/kid.ts", "import { Root } from './root';\nexport class Kid extends Root {}\n");
    dir.write("p/call.ts", "import { Kid } from './kid';\nexport function call() {\n  new Kid().wave();\n}\n");
    LiveProjectOptions options;
    options.root = dir.at("p");
    options.loadConfig = [] {
        VantrelConfig config;
        config.linking = LinkingMode::precise;
        return config;
    };
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
    live.open();
    const auto& symbols = live.graph().symbols;
    EXPECT_EQ(symbols.at("use.ts:draw:function").refsOut, IdSet{"base.ts:greet:method"});
    EXPECT_TRUE(symbols.at("poke.ts:poke:function").refsOut.empty());

    // Base gains `spin`, now the one method of that name: base.ts itself, use.ts (Shape's
    // base is read through base.ts) and poke.ts (it asked who declares `spin`); not far.ts.
    dir.write("p/base.ts", "export class Base {\n  greet() {}\n  spin() {}\n}\n");
    LiveUpdate spin = live.update({"base.ts"});
    EXPECT_EQ(spin.reanalysed, std::vector<std::string>{"base.ts"});
    EXPECT_EQ(spin.relinkedFiles, 3u);
    EXPECT_FALSE(spin.allTouched);
    EXPECT_EQ(live.graph().symbols.at("poke.ts:poke:function").refsOut, IdSet{"base.ts:spin:method"});
    EXPECT_EQ(live.graph().symbols.at("use.ts:draw:function").refsOut, IdSet{"base.ts:greet:method"});
    EXPECT_EQ(live.graph().symbols.at("far.ts:far:function").refsOut, IdSet{"far.ts:helper:function"});

    // Shape overrides greet: shape.ts and use.ts, which reads it; draw now reaches Shape's.
    dir.write("p/shape.ts", "import { Base } from './base';\nexport class Shape extends Base {\n"
                            "  area() { return 0; }\n  greet() {}\n}\n");
    LiveUpdate greet = live.update({"shape.ts"});
    EXPECT_EQ(greet.relinkedFiles, 2u);
    EXPECT_EQ(live.graph().symbols.at("use.ts:draw:function").refsOut, IdSet{"shape.ts:greet:method"});
    EXPECT_TRUE(live.graph().symbols.at("base.ts:greet:method").refsIn.empty());

    // root.ts comes to declare Kid's base: call.ts read only kid.ts (whose base was not in
    // the project), but kid.ts's base is read through root.ts, so call.ts is linked again.
    EXPECT_TRUE(live.graph().symbols.at("call.ts:call:function").refsOut.empty());
    dir.write("p/root.ts", "export class Root {\n  wave() {}\n}\n");
    LiveUpdate root = live.update({"root.ts"});
    EXPECT_EQ(root.relinkedFiles, 2u);
    EXPECT_EQ(live.graph().symbols.at("call.ts:call:function").refsOut, IdSet{"root.ts:wave:method"});
    EXPECT_EQ(firstDifference(live.graph(), fullScanWithoutCache(dir.at("p"), LinkingMode::precise)), "");
}

// Files added and removed while nothing watched: the records of the files importing them
// were kept for their bytes, so opening the project again must analyse those afresh.
TEST(LiveProjectTest, OpeningAgainCatchesUpWithFilesThatCameOrWentMeanwhile) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/a.ts", "import { b } from './b';\nexport function a() { return b(); }\n");
    dir.write("p/c.ts", "export function b() { return 0; }\n");
    LiveProjectOptions options;
    options.root = dir.at("p");
    auto open = [&] {
        auto live = std::make_unique<LiveProject>(
            SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
        live->open();
        return live;
    };
    {
        auto live = open();
        // './b' does not exist: two diagnostics (the statement's match and its name's), and
        // the call links by its unique name to c.ts.
        EXPECT_EQ(live->graph().diagnostics.size(), 2u);
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"c.ts:b:function"});
    }
    dir.write("p/b.ts", "export function b() { return 1; }\n");
    {
        // Now './b' resolves and the name is no longer unique: the import decides.
        auto live = open();
        EXPECT_TRUE(live->graph().diagnostics.empty());
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"b.ts:b:function"});
        EXPECT_EQ(firstDifference(live->graph(), fullScanWithoutCache(dir.at("p"), LinkingMode::names)), "");
    }
    std::filesystem::remove(dir.at("p/b.ts"));
    {
        auto live = open();
        EXPECT_EQ(live->graph().diagnostics.size(), 2u);
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"c.ts:b:function"});
    }
}

}  // namespace
}  // namespace vantrel
