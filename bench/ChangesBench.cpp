// `changes` benchmark. Makes a git repository of a deterministic synthetic project, edits
// one file, and times the headless tool as a user runs it: a warm `scan` of the folder
// (the reference), the first `changes` run (the base tree checked out and scanned), and
// the second one (both graphs warm). The goal: the second run takes at most twice the
// warm scan.
//
//   vantrel_bench_changes [--files N] [--runs N] [--keep]
//
// git runs with a private HOME and no system configuration.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/SyntheticProject.h"
#include "core/util/FileIO.h"
#include "core/util/Subprocess.h"
#include "core/util/Text.h"

using namespace vantrel;
namespace fs = std::filesystem;

namespace {

// Runs a program (searched on PATH) with its output written to `outFile`; the seconds it took.
double timed(const std::vector<std::string>& argv, const std::string& outFile = "/dev/null") {
    auto start = std::chrono::steady_clock::now();
    SubprocessResult run;
    try {
        run = runSubprocess(SubprocessRequest{argv, {}, {}, {}});
    } catch (const SubprocessError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        std::exit(1);
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (run.exitCode != 0) {
        std::fprintf(stderr, "%s %s exited with %d\n", argv[0].c_str(), argv.size() > 1 ? argv[1].c_str() : "",
                     run.exitCode);
        std::exit(1);
    }
    if (outFile != "/dev/null") writeFileAtomically(outFile, run.out);
    return seconds;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    std::int64_t fileCount = 10000;
    int runs = 3;
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--files" && i + 1 < argc) fileCount = std::stoll(argv[++i]);
        else if (arg == "--runs" && i + 1 < argc) runs = std::max(1, std::stoi(argv[++i]));
        else if (arg == "--keep") keep = true;
        else {
            std::fprintf(stderr, "usage: %s [--files N] [--runs N] [--keep]\n", argv[0]);
            return 2;
        }
    }

    fs::path work = fs::temp_directory_path() / ("vantrel-bench-changes-" + std::to_string(getpid()));
    std::string root = (work / "project").string();
    std::string cache = (work / "cache").string();
    fs::create_directories(work / "home");
    setenv("HOME", (work / "home").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (work / "home/.config").c_str(), 1);
    setenv("GIT_CONFIG_NOSYSTEM", "1", 1);

    bench::generateSyntheticProject(root, fileCount, bench::Mix::mixed);
    double commit = timed({"git", "-C", root, "init", "-q"}) + timed({"git", "-C", root, "add", "-A"}) +
                    timed({"git", "-C", root, "-c", "user.name=bench", "-c", "user.email=bench@example.invalid",
                           "commit", "-q", "-m", "synthetic"});
    // One edit inside a function body of a module in the middle.
    std::string edited = root + "/" + bench::syntheticRelPath(fileCount / 2, fileCount, bench::Mix::mixed);
    std::string text = *readWholeFile(edited);
    for (const char* from : {"return input + ", "return value + "})
        if (text.find(from) != std::string::npos) text = replaceAll(text, from, std::string(from, 7) + "2 * ");
    writeFileAtomically(edited, text);
    std::printf("%lld files committed in %.2f s; edited %s\n\n", static_cast<long long>(fileCount), commit,
                edited.c_str() + root.size() + 1);

    const std::string cli = VANTREL_CLI_PATH;
    std::vector<std::string> scan{cli, "scan", root, "--cache-dir", cache, "--quiet"};
    std::vector<std::string> changes{cli, "changes", root, "--cache-dir", cache, "--quiet"};
    double coldScan = timed(scan);
    std::vector<double> warmScans, warmChanges;
    for (int i = 0; i < runs; ++i) warmScans.push_back(timed(scan));
    double firstChanges = timed(changes);
    std::string answer = (work / "changes.txt").string();
    for (int i = 0; i < runs; ++i) warmChanges.push_back(timed(changes, answer));

    double scanWarm = median(warmScans), changesWarm = median(warmChanges);
    std::printf("cold scan                  %8.3f s\n", coldScan);
    std::printf("warm scan (median of %d)    %8.3f s\n", runs, scanWarm);
    std::printf("changes, first run         %8.3f s   (base tree checked out and scanned)\n", firstChanges);
    std::printf("changes, second run        %8.3f s   (median of %d)\n", changesWarm, runs);
    std::printf("second changes / warm scan %8.2fx   (goal: at most 2x)\n\n", changesWarm / scanWarm);
    std::string report = readWholeFile(answer).value_or("");
    std::printf("%s", report.substr(0, report.find("level 1")).c_str());

    if (!keep) fs::remove_all(work);
    else std::printf("kept %s\n", work.c_str());
    return changesWarm <= 2 * scanWarm ? 0 : 1;
}
