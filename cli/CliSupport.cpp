#include "cli/CliSupport.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <thread>

#include "cli/ProgressDisplay.h"
#include "core/cache/ProjectCache.h"
#include "core/config/GlobalDefaults.h"
#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"

namespace vantrel::cli {

std::optional<std::string> ParsedArgs::value(const std::string& name) const {
    auto it = values.find(name);
    return it == values.end() ? std::nullopt : std::optional<std::string>(it->second);
}

std::optional<std::int64_t> ParsedArgs::integer(const std::string& name, std::int64_t min, std::int64_t max) const {
    auto text = value(name);
    if (!text) return std::nullopt;
    try {
        std::size_t used = 0;
        long long parsed = std::stoll(*text, &used);
        if (used == text->size() && parsed >= min && parsed <= max) return parsed;
    } catch (const std::exception&) {
    }
    throw UsageError(name + " takes a whole number from " + std::to_string(min) + " to " + std::to_string(max) +
                     ", not '" + *text + "'");
}

ParsedArgs parseArgs(int argc, char** argv, int first, const std::set<std::string>& valued,
                     const std::set<std::string>& flags) {
    ParsedArgs parsed;
    bool onlyPositional = false;
    for (int i = first; i < argc; ++i) {
        std::string arg = argv[i];
        if (onlyPositional || arg.size() < 2 || arg[0] != '-') {
            parsed.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            onlyPositional = true;
            continue;
        }
        std::string name = arg;
        std::optional<std::string> inlineValue;
        if (auto eq = arg.find('='); eq != std::string::npos && arg.rfind("--", 0) == 0) {
            name = arg.substr(0, eq);
            inlineValue = arg.substr(eq + 1);
        }
        if (valued.count(name)) {
            if (inlineValue) {
                parsed.values[name] = *inlineValue;
            } else if (i + 1 < argc) {
                parsed.values[name] = argv[++i];
            } else {
                throw UsageError(name + " needs a value");
            }
        } else if (flags.count(name) && !inlineValue) {
            parsed.flags.insert(name);
        } else {
            throw UsageError("unknown option " + arg);
        }
    }
    return parsed;
}

VantrelConfig resolveConfig(const std::string& root, const std::optional<std::string>& configFile) {
    if (configFile) {
        std::string error;
        auto bytes = readWholeFile(*configFile, &error);
        if (!bytes) throw UsageError("cannot read --config " + *configFile + ": " + error);
        auto config = VantrelConfig::decode(*bytes);
        if (!config)
            throw UsageError("--config " + *configFile +
                             " is not a valid configuration (a JSON object with \"exclude\" and \"maxDepth\")");
        return *config;
    }
    return mergeConfig(defaultGlobalConfig(), VantrelConfig::loadIfPresent(root));
}

SymbolScanner makeScanner(const std::optional<std::string>& cacheDir) {
    ProjectCache cache = cacheDir ? ProjectCache(standardizePath(*cacheDir)) : ProjectCache();
    return SymbolScanner(SymbolScanner::defaultPlugins(), std::move(cache));
}

namespace {
volatile std::sig_atomic_t interruptCount = 0;

void onInterrupt(int) {
    interruptCount = interruptCount + 1;
    if (interruptCount > 1) _exit(kExitCancelled);
}
}  // namespace

void installInterruptHandler() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

bool interrupted() { return interruptCount > 0; }

std::optional<LinkingMode> linkingOption(const ParsedArgs& args) {
    auto value = args.value("--linking");
    if (!value) return std::nullopt;
    auto mode = linkingModeFromRaw(*value);
    if (!mode) throw UsageError("unknown linking mode '" + *value + "' (names or precise)");
    return mode;
}

ScanRequest changesScanRequest(const ParsedArgs& args) {
    ScanRequest request;
    request.root = requireFolder(args.positional[0]);
    request.cacheDir = args.value("--cache-dir");
    request.quiet = args.has("--quiet");
    request.linking = linkingOption(args);
    request.config = resolveConfig(request.root, args.value("--config"));
    return request;
}

ProgressDisplay::Mode progressMode(bool quiet) {
    if (quiet) return ProgressDisplay::Mode::silent;
    return isatty(STDERR_FILENO) ? ProgressDisplay::Mode::terminal : ProgressDisplay::Mode::lines;
}

ScanOutcome runScan(const ScanRequest& given) {
    ScanRequest request = given;
    if (request.linking) request.config.linking = request.linking;
    SymbolScanner scanner = makeScanner(request.cacheDir);
    std::int64_t jobs =
        request.jobs > 0 ? request.jobs : std::max<std::int64_t>(1, std::thread::hardware_concurrency());
    ProgressDisplay display(progressMode(request.quiet));
    CancelCheck isCancelled = [] { return interrupted(); };
    ScanStats stats;
    auto start = std::chrono::steady_clock::now();
    ScanOutcome outcome;
    try {
        display.begin();
        std::int64_t count = scanner.countSourceFiles(request.root, request.config, isCancelled);
        outcome.ir = scanner.scanProject(
            request.root, request.config, 200, jobs, count, [&](const ScanProgress& p) { display.update(p); },
            isCancelled, &stats);
        outcome.files = count;
    } catch (const ScanError& e) {
        display.finish();
        if (e.kind() == ScanError::Kind::cancelled) throw CommandError("scan cancelled", kExitCancelled);
        throw CommandError(std::string("scan failed: ") + e.what());
    }
    display.finish();
    outcome.parsed = stats.parsed.load();
    outcome.fromCache = stats.fromCache.load();
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return outcome;
}

std::int64_t edgeCount(const ProjectIR& ir) {
    std::int64_t edges = 0;
    for (const auto& [id, symbol] : ir.symbols) edges += static_cast<std::int64_t>(symbol.refsOut.size());
    return edges;
}

std::string summaryLine(const ScanOutcome& outcome) {
    return summaryLine(outcome.ir, outcome.files, outcome.parsed, outcome.fromCache, outcome.seconds);
}

std::string summaryLine(const ProjectIR& ir, std::int64_t files, std::int64_t parsed, std::int64_t fromCache,
                        double seconds) {
    char secondsText[32];
    std::snprintf(secondsText, sizeof secondsText, "%.2f", seconds);
    return std::to_string(files) + " files (" + std::to_string(parsed) + " parsed, " + std::to_string(fromCache) +
           " from cache), " + std::to_string(ir.symbols.size()) + " symbols, " + std::to_string(edgeCount(ir)) +
           " edges, " + std::to_string(ir.diagnostics.size()) + " diagnostics in " + secondsText + " s";
}

std::string requireFolder(const std::string& path) {
    std::string absolute = standardizePath(path);
    if (!isDirectory(absolute)) throw CommandError(path + " is not a folder");
    return absolute;
}

ProjectIR loadGraph(const std::string& pathOrDir, const ScanRequest& scanTemplate) {
    if (isDirectory(pathOrDir)) {
        ScanRequest request = scanTemplate;
        request.root = standardizePath(pathOrDir);
        request.config = resolveConfig(request.root, std::nullopt);
        return runScan(request).ir;
    }
    std::string error;
    auto bytes = readWholeFile(pathOrDir, &error);
    if (!bytes) throw CommandError("cannot read " + pathOrDir + ": " + error);
    try {
        return decodeProjectIR(*bytes);
    } catch (const DecodeError& e) {
        throw CommandError(pathOrDir + " is not a valid ProjectIR: " + e.what());
    }
}

void writeOutput(const std::optional<std::string>& outFile, const std::string& bytes) {
    if (!outFile || *outFile == "-") {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        if (!bytes.empty() && bytes.back() != '\n') std::fputc('\n', stdout);
        std::fflush(stdout);
        return;
    }
    // A device or pipe (/dev/null, /dev/stdout, a fifo) is written as it is: replacing it
    // through a temporary file would put a regular file in its place.
    struct stat st {};
    if (::stat(outFile->c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
        std::FILE* out = std::fopen(outFile->c_str(), "wb");
        bool ok = out && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
        if (out && std::fclose(out) != 0) ok = false;
        if (!ok) throw CommandError("cannot write " + *outFile);
        return;
    }
    if (!writeFileAtomically(*outFile, bytes)) throw CommandError("cannot write " + *outFile);
}

}  // namespace vantrel::cli
