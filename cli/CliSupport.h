// Shared plumbing of the headless tool's commands: arguments, configuration, the
// scanner with its cache location, Ctrl-C, and the scan with its progress display.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/ProgressDisplay.h"
#include "core/config/VantrelConfig.h"
#include "core/model/ProjectIR.h"
#include "core/scan/SymbolScanner.h"

namespace vantrel::cli {

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2, kExitGate = 3, kExitCancelled = 130 };

// A usage error: printed with the command's usage text, exit 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A failure the user must see as one line, with its exit code.
class CommandError : public std::runtime_error {
public:
    CommandError(const std::string& message, int exitCode = kExitFailure)
        : std::runtime_error(message), exitCode_(exitCode) {}
    int exitCode() const { return exitCode_; }

private:
    int exitCode_;
};

struct ParsedArgs {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;  // options that take a value
    std::set<std::string> flags;                // options without one

    std::optional<std::string> value(const std::string& name) const;
    bool has(const std::string& name) const { return flags.count(name) > 0; }
    // An integer option within [min, max]; UsageError otherwise.
    std::optional<std::int64_t> integer(const std::string& name, std::int64_t min, std::int64_t max) const;
};

// Options in `valued` take the next argument ("--x V" or "--x=V"); unknown options
// and missing values are usage errors.
ParsedArgs parseArgs(int argc, char** argv, int first, const std::set<std::string>& valued,
                     const std::set<std::string>& flags);

// --config FILE used as it is (strictly decoded, a usage error if unusable); otherwise
// the project's own file laid over the default global settings.
VantrelConfig resolveConfig(const std::string& root, const std::optional<std::string>& configFile);

// --cache-dir replaces the application-support folder.
SymbolScanner makeScanner(const std::optional<std::string>& cacheDir);

// SIGINT sets a flag that the scan polls; a second Ctrl-C ends the process at once.
void installInterruptHandler();
bool interrupted();

struct ScanRequest {
    std::string root;
    VantrelConfig config;
    std::optional<std::string> cacheDir;
    std::int64_t jobs = 0;  // 0: one per core
    bool quiet = false;
    std::optional<LinkingMode> linking;  // --linking: wins over the configuration's
};

// The value of --linking (names or precise); UsageError for any other.
std::optional<LinkingMode> linkingOption(const ParsedArgs& args);

// The scan that `changes` and `watch` ask for: the folder, --cache-dir, --quiet,
// --linking and --config, read in that order (the first wrong one is the error).
ScanRequest changesScanRequest(const ParsedArgs& args);

struct ScanOutcome {
    ProjectIR ir;
    std::int64_t files = 0;
    std::int64_t parsed = 0;
    std::int64_t fromCache = 0;
    double seconds = 0;
};

// How scan progress shows on standard error: nothing when quiet, a live bar on a
// terminal, a line per phase otherwise.
ProgressDisplay::Mode progressMode(bool quiet);

// Scans with the progress display on standard error; throws CommandError (exit 1 with
// the file and cause, or 130 when interrupted).
ScanOutcome runScan(const ScanRequest& request);

std::int64_t edgeCount(const ProjectIR& ir);
std::string summaryLine(const ScanOutcome& outcome);
std::string summaryLine(const ProjectIR& ir, std::int64_t files, std::int64_t parsed, std::int64_t fromCache,
                        double seconds);

// A folder is scanned; anything else is read as a ProjectIR JSON file.
ProjectIR loadGraph(const std::string& pathOrDir, const ScanRequest& scanTemplate);

// The standardised absolute form of a folder argument; CommandError when it is no folder.
std::string requireFolder(const std::string& path);

void writeOutput(const std::optional<std::string>& outFile, const std::string& bytes);

}  // namespace vantrel::cli
