// vantrel-cli: the headless tool over the core, for scripts, CI and end-to-end tests.
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/Commands.h"

using namespace vantrel::cli;

namespace {

struct Command {
    const char* name;
    const char* const* usage;
    int (*run)(int, char**);
};

const Command kCommands[] = {
    {"scan", &kScanUsage, runScanCommand},          {"impact", &kImpactUsage, runImpactCommand},
    {"diff", &kDiffUsage, runDiffCommand},          {"export", &kExportUsage, runExportCommand},
    {"changes", &kChangesUsage, runChangesCommand}, {"watch", &kWatchUsage, runWatchCommand},
    {"mcp", &kMcpUsage, runMcpCommand},
};

void printHelp(std::FILE* out) {
    std::fprintf(out,
                 "vantrel-cli %s: symbol-level call graphs of JS/TS and Python projects.\n\n"
                 "Commands:\n",
                 VANTREL_VERSION);
    for (const auto& command : kCommands) std::fprintf(out, "  %s\n", *command.usage + std::strlen("usage: "));
    std::fprintf(out,
                 "\nExit codes: 0 success, 1 failure, 2 usage error, 3 over the --fail-over gate of changes,\n"
                 "130 interrupted (the way watch ends).\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        printHelp(stderr);
        return kExitUsage;
    }
    std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        printHelp(stdout);
        return kExitOk;
    }
    if (name == "--version") {
        std::printf("vantrel-cli %s\n", VANTREL_VERSION);
        return kExitOk;
    }
    for (const auto& command : kCommands) {
        if (name != command.name) continue;
        for (int i = 2; i < argc; ++i) {
            if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
                std::printf("%s\n", *command.usage);
                return kExitOk;
            }
        }
        installInterruptHandler();
        try {
            return command.run(argc, argv);
        } catch (const UsageError& e) {
            std::fprintf(stderr, "vantrel-cli %s: %s\n%s\n", command.name, e.what(), *command.usage);
            return kExitUsage;
        } catch (const CommandError& e) {
            std::fprintf(stderr, "vantrel-cli %s: %s\n", command.name, e.what());
            return e.exitCode();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "vantrel-cli %s: %s\n", command.name, e.what());
            return kExitFailure;
        }
    }
    std::fprintf(stderr, "vantrel-cli: unknown command '%s'\n", name.c_str());
    printHelp(stderr);
    return kExitUsage;
}
