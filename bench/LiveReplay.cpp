// The live project checked against full scans on real code: a copy of a source folder
// (an npm package, a Python library) is edited step by step the way a developer edits,
// and after each step the live graph must equal a full scan of the copy with an empty
// cache. The edits change declarations, which is where precise linking's narrowed
// re-linking can go wrong: a function or method renamed, a method of a common name added
// to a class, a new class declaring such methods, files deleted and brought back, files
// copied under a new name. Prints each step's update time and what it re-linked; exits 1
// at the first difference, naming it.
//
//   vantrel_live_replay SOURCE_DIR [--steps N] [--seed N] [--linking names|precise]
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "bench/GraphDifferences.h"
#include "core/live/LiveProject.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/FileIO.h"

namespace fs = std::filesystem;
using namespace vantrel;

namespace {

// Where the run keeps its copy and caches; removed at the end.
struct ScratchDir {
    fs::path path;
    ScratchDir() {
        std::string pattern = (fs::temp_directory_path() / "vantrel-replay-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make a scratch folder");
        path = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

ProjectIR fullScan(const std::string& root, LinkingMode linking, const std::string& cache) {
    fs::remove_all(cache);
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(cache));
    ScanOptions options;
    options.root = root;
    options.config.linking = linking;
    options.maxConcurrentParses = 2;
    return scanner.scanProject(options);
}

bool isSource(const fs::path& path) {
    static const std::vector<std::string> kinds{".py", ".js", ".ts", ".tsx", ".jsx", ".mjs", ".cjs"};
    return std::find(kinds.begin(), kinds.end(), path.extension().string()) != kinds.end();
}

// Method names many classes share: adding one changes who alone declares it.
const std::vector<std::string> kCommonNames{"get", "run", "close", "update", "render", "parse", "process", "reset"};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: vantrel_live_replay SOURCE_DIR [--steps N] [--seed N] [--linking names|precise]\n");
        return 2;
    }
    const fs::path source = argv[1];
    int steps = 40;
    unsigned seed = 1;
    LinkingMode linking = LinkingMode::precise;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        auto next = [&] { return i + 1 < argc ? std::string(argv[++i]) : std::string(); };
        if (arg == "--steps") steps = std::stoi(next());
        else if (arg == "--seed") seed = static_cast<unsigned>(std::stoul(next()));
        else if (arg == "--linking") linking = next() == "names" ? LinkingMode::names : LinkingMode::precise;
    }
    ScratchDir scratch;
    const fs::path root = scratch.path / "project";
    fs::copy(source, root, fs::copy_options::recursive | fs::copy_options::skip_symlinks);
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() && isSource(entry.path())) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "no sources in %s\n", source.c_str());
        return 2;
    }

    LiveProjectOptions options;
    options.root = root.string();
    options.loadConfig = [linking] {
        VantrelConfig config;
        config.linking = linking;
        return config;
    };
    options.maxConcurrentParses = 2;
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache((scratch.path / "live").string())),
                     options);
    live.open();
    std::printf("%zu files, %zu symbols\n", files.size(), live.graph().symbols.size());

    std::mt19937 rng(seed);
    auto below = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
    const std::regex declaration(R"((def|function|class)\s+([A-Za-z_]\w*))");
    std::vector<std::pair<fs::path, std::string>> deleted;
    for (int step = 0; step < steps; ++step) {
        fs::path file = files[below(files.size())];
        std::string text;
        if (!readWholeFileInto(file.string(), text)) continue;
        const bool python = file.extension() == ".py";
        std::vector<fs::path> touched{file};
        std::string what;
        const std::size_t op = below(10);
        if (op < 4) {
            // Rename one declaration, leaving its callers calling the old name.
            std::vector<std::smatch> found;
            for (auto it = std::sregex_iterator(text.begin(), text.end(), declaration); it != std::sregex_iterator(); ++it)
                found.push_back(*it);
            if (found.empty()) continue;
            const std::smatch& chosen = found[below(found.size())];
            what = "rename " + chosen[2].str();
            text.replace(static_cast<std::size_t>(chosen.position(2)), static_cast<std::size_t>(chosen.length(2)),
                         chosen[2].str() + "_renamed");
            writeFileAtomically(file.string(), text);
        } else if (op < 7) {
            // A class declaring common method names, at the end of the file.
            const std::string name = kCommonNames[below(kCommonNames.size())];
            what = "class with " + name;
            text += python ? "\n\nclass Replay" + std::to_string(step) + ":\n    def " + name + "(self):\n        pass\n"
                           : "\nexport class Replay" + std::to_string(step) + " {\n  " + name + "() {}\n}\n";
            writeFileAtomically(file.string(), text);
        } else if (op < 8 || deleted.empty()) {
            what = "delete";
            deleted.emplace_back(file, text);
            fs::remove(file);
            files.erase(std::find(files.begin(), files.end(), file));
        } else if (op < 9) {
            auto [back, content] = deleted.back();
            deleted.pop_back();
            writeFileAtomically(back.string(), content);
            files.push_back(back);
            std::sort(files.begin(), files.end());
            touched = {back};
            what = "bring back";
        } else {
            fs::path copy = file.parent_path() / (file.stem().string() + "_copy" + std::to_string(step) +
                                                  file.extension().string());
            writeFileAtomically(copy.string(), text);
            files.push_back(copy);
            std::sort(files.begin(), files.end());
            touched = {copy};
            what = "copy";
        }
        std::vector<std::string> paths;
        for (const auto& path : touched) paths.push_back(fs::relative(path, root).string());
        const auto start = std::chrono::steady_clock::now();
        const LiveUpdate update = live.update(paths);
        const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        const ProjectIR full = fullScan(root.string(), linking, (scratch.path / "full").string());
        const auto differences = bench::graphDifferences(live.graph(), full, 1);
        const std::string difference = differences.empty() ? std::string() : differences.front();
        std::printf("step %2d  %-28s %-44s %7.2f ms  analysed %zu  linked %zu%s\n", step, what.c_str(),
                    paths.front().c_str(), ms, update.reanalysed.size(), update.relinkedFiles,
                    difference.empty() ? "" : "  DIFFERENT");
        if (!difference.empty()) {
            std::printf("first difference: %s\n", difference.c_str());
            return 1;
        }
    }
    std::printf("all %d steps equal a full scan\n", steps);
    return 0;
}
