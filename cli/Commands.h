// The headless tool's commands. Each returns the exit code or throws UsageError /
// CommandError, which main turns into one line on standard error.
#pragma once

#include "cli/CliSupport.h"

namespace vantrel::cli {

extern const char* const kScanUsage;
int runScanCommand(int argc, char** argv);
extern const char* const kImpactUsage;
int runImpactCommand(int argc, char** argv);
extern const char* const kDiffUsage;
int runDiffCommand(int argc, char** argv);
extern const char* const kExportUsage;
int runExportCommand(int argc, char** argv);
extern const char* const kChangesUsage;
int runChangesCommand(int argc, char** argv);
extern const char* const kWatchUsage;
int runWatchCommand(int argc, char** argv);
extern const char* const kMcpUsage;
int runMcpCommand(int argc, char** argv);

}  // namespace vantrel::cli
