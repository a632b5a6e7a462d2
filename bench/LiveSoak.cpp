// A long run of the live session under constant edits: a generated TypeScript project whose
// files a writer thread rewrites many times a second (calls added and removed, files added
// and deleted, in place or by rename as editors save), while the session keeps the graph
// up to date. It samples the resident memory every second and, once the writer stops and
// the session is idle, compares the session's graph with a fresh full scan on a cache of
// its own, symbol by symbol. Exit 1 on any difference, or when memory grew by more than
// the bound below after the warm-up.
//
//   vantrel_live_soak [--seconds N] [--files N] [--dir D]
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "bench/GraphDifferences.h"
#include "bench/SyntheticProject.h"
#include "core/config/GlobalDefaults.h"
#include "core/live/LiveSession.h"

namespace fs = std::filesystem;
using namespace vantrel;
using namespace std::chrono_literals;

namespace {

// Growth allowed after the warm-up: the graph gains at most kMaxAddedFiles small files and
// a few hundred edges, a few MB; the rest is room for the allocator's arenas on a loaded
// machine. A leak per update (several a second) exceeds it within the default minute.
constexpr double kGrowthBoundMb = 48.0;
constexpr int kMaxAddedFiles = 40;

double residentMb() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

struct Args {
    int seconds = 60;
    int files = 300;
    std::string dir;
};

Args parseArgs(int argc, char** argv) {
    Args args;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::cerr << arg << " needs a value\n";
                std::exit(2);
            }
            return argv[++i];
        };
        if (arg == "--seconds") args.seconds = std::max(1, std::atoi(value().c_str()));
        else if (arg == "--files") args.files = std::max(10, std::atoi(value().c_str()));
        else if (arg == "--dir") args.dir = value();
        else {
            std::cerr << "usage: vantrel_live_soak [--seconds N] [--files N] [--dir D]\n";
            std::exit(2);
        }
    }
    return args;
}

// Edits the project like a busy developer with several tools saving at once. Every edit
// leaves valid TypeScript; which calls exist at the end is random, the graph must match it.
class Writer {
public:
    Writer(std::string root, std::vector<std::string> files) : root_(std::move(root)), random_(20240611) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            std::ifstream in(root_ + "/" + files[i], std::ios::binary);
            std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            files_[files[i]] = File{text, {}};
            helpers_.push_back(helperName(files[i]));
        }
        for (const auto& [rel, file] : files_) order_.push_back(rel);
    }

    void run(const std::atomic<bool>& stop) {
        while (!stop) {
            step();
            ++edits;
            std::this_thread::sleep_for(std::chrono::milliseconds(5 + random_() % 45));
        }
    }

    std::atomic<long> edits{0};

private:
    struct File {
        std::string base;
        std::vector<std::string> extras;  // appended functions, each calling a helper
    };

    static std::string helperName(const std::string& rel) {
        // m<index>.ts(x) defines helper<index>.
        std::string stem = fs::path(rel).stem().string();
        return "helper" + stem.substr(1);
    }

    std::string text(const File& file) const {
        std::string out = file.base;
        for (const auto& extra : file.extras) out += extra;
        return out;
    }

    void save(const std::string& rel, const std::string& content) {
        fs::path path = fs::path(root_) / rel;
        fs::create_directories(path.parent_path());
        if (random_() % 3 == 0) {
            // As editors save: a hidden temporary file renamed over the old one.
            fs::path temp = path.parent_path() / ("." + path.filename().string() + ".tmp");
            std::ofstream(temp, std::ios::binary | std::ios::trunc) << content;
            fs::rename(temp, path);
        } else {
            std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
        }
    }

    void step() {
        unsigned choice = random_() % 20;
        if (choice == 0 && added_ < kMaxAddedFiles) {
            std::string rel = "soak/s" + std::to_string(next_) + "/new" + std::to_string(next_) + ".ts";
            ++next_;
            ++added_;
            File file{"export function fresh" + std::to_string(next_) + "(x: number): number {\n  return " +
                          randomHelper() + "(x);\n}\n",
                      {}};
            files_[rel] = file;
            order_.push_back(rel);
            save(rel, text(file));
            return;
        }
        if (choice == 1 && added_ > 0) {
            // Delete one of the files this run added, and its folder.
            for (auto it = order_.rbegin(); it != order_.rend(); ++it) {
                if (it->rfind("soak/", 0) != 0) continue;
                fs::remove_all(fs::path(root_) / fs::path(*it).parent_path());
                files_.erase(*it);
                order_.erase(std::next(it).base());
                --added_;
                return;
            }
        }
        const std::string& rel = order_[random_() % order_.size()];
        File& file = files_[rel];
        if (!file.extras.empty() && random_() % 2 == 0) {
            file.extras.erase(file.extras.begin() + static_cast<long>(random_() % file.extras.size()));
        } else {
            std::string name = "extra" + std::to_string(next_++);
            file.extras.push_back("\nexport function " + name + "(): number {\n  return " + randomHelper() +
                                  "(1);\n}\n");
        }
        save(rel, text(file));
    }

    std::string randomHelper() { return helpers_[random_() % helpers_.size()]; }

    std::string root_;
    std::mt19937 random_;
    std::map<std::string, File> files_;
    std::vector<std::string> order_;
    std::vector<std::string> helpers_;
    int added_ = 0;
    long next_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Args args = parseArgs(argc, argv);
    bool ownDir = args.dir.empty();
    std::string base = args.dir;
    if (ownDir) {
        std::string pattern = (fs::temp_directory_path() / "vantrel-soak-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) {
            std::perror("mkdtemp");
            return 1;
        }
        base = pattern;
    }
    std::string root = base + "/project";
    fs::remove_all(root);
    fs::remove_all(base + "/cache-live");
    fs::remove_all(base + "/cache-fresh");
    auto generated = bench::generateSyntheticProject(root, args.files, bench::Mix::typescript);
    std::cout << "project: " << generated.relPaths.size() << " files in " << root << "\n";

    VantrelConfig config = defaultGlobalConfig();
    LiveProjectOptions projectOptions;
    projectOptions.root = root;
    projectOptions.loadConfig = [config] { return config; };
    auto project = std::make_unique<LiveProject>(
        SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(base + "/cache-live")), projectOptions);
    project->open();

    std::atomic<long> updates{0};
    std::atomic<long> failures{0};
    std::mutex lastFailureMutex;
    std::string lastFailure;
    LiveSessionHandlers handlers;
    handlers.updated = [&](const LiveUpdate&, std::shared_ptr<const ProjectIR>) { ++updates; };
    handlers.state = [&](LiveState state, const std::string& message) {
        if (state != LiveState::failed) return;
        // A file caught half-written or deleted mid-scan; the next burst retries it.
        ++failures;
        std::lock_guard lock(lastFailureMutex);
        lastFailure = message;
    };
    handlers.notice = [](const std::string& message) { std::cout << "notice: " << message << "\n"; };
    LiveSessionOptions sessionOptions;
    sessionOptions.quiet = 100ms;
    LiveSession session(std::move(project), sessionOptions, handlers);

    Writer writer(root, generated.relPaths);
    std::atomic<bool> stop{false};
    std::thread writing([&] { writer.run(stop); });

    std::vector<double> rss;
    auto start = std::chrono::steady_clock::now();
    for (int second = 1; second <= args.seconds; ++second) {
        std::this_thread::sleep_until(start + std::chrono::seconds(second));
        rss.push_back(residentMb());
        std::printf("t=%3ds rss=%7.1f MB edits=%ld updates=%ld failed=%ld\n", second, rss.back(), writer.edits.load(),
                    updates.load(), failures.load());
        std::fflush(stdout);
    }
    stop = true;
    writing.join();
    bool idle = session.waitUntilIdle(300s);

    auto live = session.graph();
    ProjectIR fresh = SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(base + "/cache-fresh"))
                          .scanProject(root, config, 200, 2, std::nullopt, {}, {});
    auto diffs = bench::graphDifferences(*live, fresh);

    // Memory after the warm-up (10 s, or half of a shorter run) against its highest later.
    std::size_t warm = std::min<std::size_t>(10, rss.size() / 2);
    double first = rss.front(), last = rss.back();
    double max = *std::max_element(rss.begin(), rss.end());
    double warmRss = rss[warm > 0 ? warm - 1 : 0];
    double laterMax = *std::max_element(rss.begin() + static_cast<long>(warm), rss.end());
    double growth = laterMax - warmRss;

    std::printf("edits=%ld updates=%ld failed updates=%ld symbols=%zu (fresh scan %zu)\n", writer.edits.load(),
                updates.load(), failures.load(), live->symbols.size(), fresh.symbols.size());
    if (failures > 0) {
        std::lock_guard lock(lastFailureMutex);
        std::printf("last failure (retried by later bursts): %s\n", lastFailure.c_str());
    }
    std::printf("RSS first %.1f MB, max %.1f MB, last %.1f MB; growth after %zus %.1f MB (bound %.0f MB)\n", first,
                max, last, warm, growth, kGrowthBoundMb);
    bool ok = idle && diffs.empty() && growth <= kGrowthBoundMb;
    if (!idle) std::printf("the session did not become idle\n");
    for (const auto& line : diffs) std::printf("  %s\n", line.c_str());
    if (growth > kGrowthBoundMb) std::printf("memory grew beyond the bound\n");
    std::printf("%s\n", ok ? "PASS" : "FAIL");
    if (ownDir) {
        std::error_code ec;
        fs::remove_all(base, ec);
    }
    return ok ? 0 : 1;
}
