#include <cstdio>

#include "cli/Commands.h"
#include "core/export/ProjectExport.h"

namespace vantrel::cli {

const char* const kScanUsage =
    "usage: vantrel-cli scan DIR [--config FILE] [--out FILE] [--cache-dir DIR] [--jobs N] [--linking names|precise] "
    "[--quiet]";

int runScanCommand(int argc, char** argv) {
    ParsedArgs args =
        parseArgs(argc, argv, 2, {"--config", "--out", "--cache-dir", "--jobs", "--linking"}, {"--quiet"});
    if (args.positional.size() != 1) throw UsageError("scan takes exactly one folder");
    ScanRequest request;
    request.root = requireFolder(args.positional[0]);
    request.config = resolveConfig(request.root, args.value("--config"));
    request.cacheDir = args.value("--cache-dir");
    request.jobs = args.integer("--jobs", 1, 256).value_or(0);
    request.quiet = args.has("--quiet");
    request.linking = linkingOption(args);

    ScanOutcome outcome = runScan(request);
    writeOutput(args.value("--out"), ProjectExport::projectIRJSON(outcome.ir, true));
    if (!request.quiet) std::fprintf(stderr, "%s\n", summaryLine(outcome).c_str());
    return kExitOk;
}

}  // namespace vantrel::cli
