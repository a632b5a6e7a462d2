// The MCP server's blast_radius over a synthetic project of 20,000 symbols: the time from
// a tools/call request line handed to McpServer::handle to its reply line, at the default
// depth of 3, for a few hundred symbols spread over the project and the most called ones.
// Target: a median under 5 ms.
//
//   vantrel_bench_mcp [--symbols N] [--calls N]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bench/SyntheticGraph.h"
#include "mcp/GraphTools.h"
#include "mcp/McpServer.h"

using namespace vantrel;

namespace {

int intOption(int argc, char** argv, const char* name, int fallback) {
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], name) == 0) return std::atoi(argv[i + 1]);
    return fallback;
}

double percentile(std::vector<double> sorted, double p) {
    std::size_t index = static_cast<std::size_t>(p * static_cast<double>(sorted.size() - 1) + 0.5);
    return sorted[index];
}

}  // namespace

int main(int argc, char** argv) {
    const int symbolCount = intOption(argc, argv, "--symbols", 20000);
    const int callCount = std::max(1, intOption(argc, argv, "--calls", 400));
    auto graph = std::make_shared<const ProjectIR>(bench::realisticProject(symbolCount));

    mcp::GraphToolsOptions options;
    options.graph = [graph] { return graph; };
    options.projectRoot = "/nonexistent";
    mcp::McpServer server({"vantrel", VANTREL_VERSION, ""}, mcp::makeGraphTools(std::move(options)));
    (void)server.handle(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})");

    // Symbols spread evenly over the id order, with the most called ones among them.
    std::vector<std::string> targets = bench::mostCalled(*graph, 20);
    std::vector<std::string> all;
    for (const auto& [id, symbol] : graph->symbols) all.push_back(id);
    for (int i = 0; static_cast<int>(targets.size()) < callCount; ++i)
        targets.push_back(all[(static_cast<std::size_t>(i) * 7919u) % all.size()]);

    std::vector<double> times;
    std::size_t replyBytes = 0, callers = 0;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        std::string line = nlohmann::json{{"jsonrpc", "2.0"},
                                          {"id", i + 1},
                                          {"method", "tools/call"},
                                          {"params", {{"name", "blast_radius"}, {"arguments", {{"id", targets[i]}}}}}}
                               .dump();
        auto start = std::chrono::steady_clock::now();
        auto reply = server.handle(line);
        times.push_back(bench::milliseconds(std::chrono::steady_clock::now() - start));
        if (!reply || reply->find("\"isError\"") != std::string::npos) {
            std::fprintf(stderr, "blast_radius failed for %s\n", targets[i].c_str());
            return 1;
        }
        replyBytes += reply->size();
        if (std::getenv("VANTREL_BENCH_VERBOSE") && times.back() > 5)
            std::fprintf(stderr, "%s %.1f ms %zu bytes\n", targets[i].c_str(), times.back(), reply->size());
        callers += nlohmann::json::parse(*reply)["result"]["structuredContent"]["callerCount"].get<std::size_t>();
    }
    std::sort(times.begin(), times.end());
    std::printf("blast_radius through McpServer::handle, %zu symbols, %zu edges, %zu calls at depth 3\n",
                graph->symbols.size(), bench::edgeCount(*graph), times.size());
    std::printf("  median %.3f ms, p90 %.3f ms, max %.3f ms (mean reply %zu bytes, %.1f callers)\n",
                percentile(times, 0.5), percentile(times, 0.9), times.back(), replyBytes / times.size(),
                static_cast<double>(callers) / static_cast<double>(times.size()));
    return 0;
}
