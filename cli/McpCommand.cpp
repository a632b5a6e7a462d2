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

#include "cli/ChangesSupport.h"
#include "cli/Commands.h"
#include "cli/ProgressDisplay.h"
#include "core/live/LiveProject.h"
#include "core/live/LiveSession.h"
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

// The working tree's changes against a revision, through the WorkingChanges that
// `changes` and `watch` use: git's diff at every call, the base graph kept while the
// revision names the same tree. One revision at a time; another replaces it.
class ChangesSource {
public:
    explicit ChangesSource(ScanRequest request) : state_(std::make_shared<State>(std::move(request))) {}

    ChangesReport operator()(const ProjectIR& current, const std::string& revision, std::int64_t depth) {
        State& s = *state_;
        try {
            if (!s.changes || s.revision != revision) {
                s.changes.reset();
                s.changes = openWorkingChanges(s.request, revision, s.display);
                s.revision = revision;
            }
            return computeChanges(*s.changes, current, depth, s.display);
        } catch (const CommandError& e) {
            throw mcp::ToolFailure(e.what());
        }
    }

private:
    struct State {
        explicit State(ScanRequest r) : request(std::move(r)) {}
        ScanRequest request;
        ProgressDisplay display{ProgressDisplay::Mode::silent};  // nothing may reach standard output
        std::unique_ptr<WorkingChanges> changes;
        std::string revision;
    };
    std::shared_ptr<State> state_;  // the provider is copied; the base graph is not
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
    ScanRequest changesRequest;
    changesRequest.root = root;
    changesRequest.config = config;
    changesRequest.cacheDir = cacheDir;
    changesRequest.quiet = true;
    changesRequest.linking = linking;
    tools.changes = ChangesSource(std::move(changesRequest));
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
