// mcp: a Model Context Protocol server on standard input and output for coding agents.
// The folder is scanned once; the graph is then kept up to date as files change, and each
// tool call answers from the latest graph. Standard output carries protocol messages only,
// one per line; everything else goes to standard error.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <thread>

#include "cli/Commands.h"
#include "core/cache/ProjectCache.h"
#include "core/changes/BaseWorkspace.h"
#include "core/changes/ChangeReach.h"
#include "core/changes/ChangedSymbols.h"
#include "core/changes/GitRepository.h"
#include "core/changes/UnifiedDiff.h"
#include "core/config/GlobalDefaults.h"
#include "core/live/LiveProject.h"
#include "core/live/LiveSession.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "mcp/GraphTools.h"
#include "mcp/McpServer.h"

namespace vantrel::cli {

const char* const kMcpUsage =
    "usage: vantrel-cli mcp DIR [--config FILE] [--cache-dir DIR] [--linking names|precise] [--base REV]";

namespace {

// How long a tool call waits for an update in progress before answering from the graph
// it has.
constexpr std::chrono::milliseconds kFreshnessWait{2000};

void log(const std::string& line) {
    std::fprintf(stderr, "vantrel-cli mcp: %s\n", line.c_str());
    std::fflush(stderr);
}

// The working tree's changes against a revision, asked afresh at every call: git's diff
// of the moment, the base graph from the workspace that `changes` keeps (scanned once per
// base tree and stored).
class ChangesSource {
public:
    ChangesSource(std::string root, VantrelConfig config, std::optional<std::string> cacheDir)
        : root_(std::move(root)), config_(std::move(config)), cacheDir_(std::move(cacheDir)) {}

    ChangesReport operator()(const ProjectIR& current, const std::string& revision, std::int64_t depth) {
        try {
            auto tree = git::locateWorkTree(root_);
            std::string commit = git::resolveCommit(root_, revision);
            auto changes = changesBelowFolder(parseUnifiedDiff(git::diffAgainst(root_, commit)),
                                              git::untrackedFiles(root_), tree.prefix);
            ProjectIR base = baseGraph(tree, commit);
            auto changed = changedSymbols(changes, current, base);
            auto reached = reachOfChanges(changed, current, base, depth);
            return makeChangesReport(revision, commit, depth, changed, reached, current, base);
        } catch (const git::GitError& e) {
            throw mcp::ToolFailure(e.what());
        } catch (const ScanError& e) {
            throw mcp::ToolFailure(std::string("the base tree's scan failed: ") + e.what());
        }
    }

private:
    std::string supportDir() const {
        if (cacheDir_) return standardizePath(*cacheDir_);
        if (auto dir = defaultApplicationSupportDirectory()) return *dir;
        throw mcp::ToolFailure("no place for the base tree: set HOME or XDG_DATA_HOME, or start with --cache-dir");
    }

    ProjectIR baseGraph(const git::WorkTree& tree, const std::string& commit) {
        auto treeId = git::subtreeId(root_, commit, tree.prefix);
        if (!treeId) return {};
        BaseWorkspace workspace(supportDir(), root_);
        BaseWorkspace::Lock lock(workspace);
        std::string key = baseGraphKey(*treeId, config_, SymbolScanner::defaultPlugins());
        if (auto stored = workspace.loadGraph(key)) return std::move(*stored);
        if (!pathExists(workspace.indexFile())) workspace.clearTree();
        git::checkoutTree(root_, *treeId, workspace.indexFile(), workspace.treeDir());
        ScanOptions scan;
        scan.root = workspace.treeDir();
        scan.config = config_;
        scan.maxConcurrentParses = std::max<std::int64_t>(1, std::thread::hardware_concurrency());
        ProjectIR base = makeScanner(cacheDir_).scanProject(scan);
        workspace.storeGraph(key, base);
        return base;
    }

    std::string root_;
    VantrelConfig config_;
    std::optional<std::string> cacheDir_;
};

}  // namespace

int runMcpCommand(int argc, char** argv) {
    ParsedArgs args = parseArgs(argc, argv, 2, {"--config", "--cache-dir", "--linking", "--base"}, {});
    if (args.positional.size() != 1) throw UsageError("mcp takes exactly one folder");
    const std::string root = requireFolder(args.positional[0]);
    const auto configFile = args.value("--config");
    const auto cacheDir = args.value("--cache-dir");
    const auto linking = linkingOption(args);
    auto loadConfig = [root, configFile, linking] {
        VantrelConfig config = resolveConfig(root, configFile);
        if (linking) config.linking = linking;
        return config;
    };
    VantrelConfig config = loadConfig();  // a bad --config is a usage error before anything starts

    // Standard output belongs to the protocol: replies go to a duplicate of it, and the
    // descriptor itself now leads to standard error, so that nothing else written there
    // (a library, a child process) can break the stream.
    std::FILE* protocol = nullptr;
    if (int fd = ::dup(STDOUT_FILENO); fd >= 0) protocol = ::fdopen(fd, "w");
    if (!protocol || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) throw CommandError("cannot set up standard output");

    LiveProjectOptions options;
    options.root = root;
    options.loadConfig = loadConfig;
    options.maxConcurrentParses = std::max<std::int64_t>(1, std::thread::hardware_concurrency());
    options.isCancelled = [] { return interrupted(); };
    auto project = std::make_unique<LiveProject>(makeScanner(cacheDir), options);
    log("scanning " + root);
    try {
        project->open();
    } catch (const ScanError& e) {
        if (e.kind() == ScanError::Kind::cancelled) throw CommandError("scan cancelled", kExitCancelled);
        throw CommandError(std::string("scan failed: ") + e.what());
    }
    log(std::to_string(project->graph().symbols.size()) + " symbols; serving on standard input and output");

    // The session's thread applies each quiet burst of saves; its handlers only log, to
    // standard error, which stays apart from the protocol.
    LiveSessionHandlers handlers;
    handlers.updated = [](const LiveUpdate& update, const std::shared_ptr<const ProjectIR>& graph) {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.3f", update.seconds);
        log("updated: " + std::to_string(update.reanalysed.size()) + " files analysed again, " +
            std::to_string(graph->symbols.size()) + " symbols, " + seconds + " s");
    };
    handlers.state = [](LiveState state, const std::string& message) {
        if (state == LiveState::failed) log("update failed, answering from the last graph: " + message);
    };
    handlers.notice = [](const std::string& message) { log(message); };
    LiveSession session(std::move(project), LiveSessionOptions{}, std::move(handlers));

    mcp::GraphToolsOptions tools;
    // A call waits briefly for saves the watcher has seen to be applied, so that an agent
    // that edits and then asks gets the answer of its edit.
    tools.graph = [&session] {
        session.waitUntilIdle(kFreshnessWait);
        return session.graph();
    };
    tools.projectRoot = root;
    tools.changes = ChangesSource(root, config, cacheDir);
    tools.defaultBase = args.value("--base").value_or("HEAD");

    mcp::McpServer server({"vantrel", VANTREL_VERSION, mcp::graphToolsInstructions()},
                          mcp::makeGraphTools(std::move(tools)));

    // A client that goes away makes writes fail instead of ending the process by signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::mutex outLock;
    std::string line;
    while (std::getline(std::cin, line)) {
        auto reply = server.handle(line);
        if (!reply) continue;
        std::lock_guard guard(outLock);
        reply->push_back('\n');
        if (std::fwrite(reply->data(), 1, reply->size(), protocol) != reply->size() || std::fflush(protocol) != 0) {
            log("standard output closed; stopping");
            return kExitOk;
        }
    }
    log("standard input closed; stopping");
    return kExitOk;
}

}  // namespace vantrel::cli
