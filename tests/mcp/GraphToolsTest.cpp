// The MCP server and its graph tools over the scanned scan-project fixture, driven line by
// line as a client would drive them. The expected rows come from reading the fixture's
// sources: who calls whom, on which line.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/cache/ProjectCache.h"
#include "core/config/GlobalDefaults.h"
#include "core/scan/SymbolScanner.h"
#include "mcp/GraphTools.h"
#include "mcp/McpServer.h"
#include "tests/support/TempDir.h"

namespace vantrel::mcp {
namespace {

using nlohmann::json;
using vantrel::testing::TempDir;

constexpr const char* kComputeTotal = "py/pkg/totals.py:compute_total:function";
constexpr const char* kStart = "src/app/main.ts:start:function";

class GraphToolsTest : public ::testing::Test {
protected:
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    std::shared_ptr<const ProjectIR> graph = scan();
    ChangesProvider changes;  // set by a test before the first call
    std::unique_ptr<McpServer> server;
    int nextId = 1;

    std::shared_ptr<const ProjectIR> scan() {
        ScanOptions options;
        options.root = root;
        options.config = defaultGlobalConfig();
        options.maxConcurrentParses = 2;
        SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "cache"));
        return std::make_shared<const ProjectIR>(scanner.scanProject(options));
    }

    McpServer& mcp() {
        if (!server) {
            GraphToolsOptions options;
            options.graph = [this] { return graph; };
            options.projectRoot = root;
            options.changes = changes;
            server = std::make_unique<McpServer>(ServerInfo{"vantrel", "9.9", "instructions"},
                                                 makeGraphTools(std::move(options)));
        }
        return *server;
    }

    json send(const std::string& line) {
        auto reply = mcp().handle(line);
        EXPECT_TRUE(reply.has_value()) << line;
        if (!reply) return nullptr;
        EXPECT_EQ(reply->find('\n'), std::string::npos) << "a reply is one line";
        return json::parse(*reply);
    }

    json request(const std::string& method, const json& params) {
        int id = nextId++;
        json reply = send(json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump());
        EXPECT_EQ(reply["id"], id);
        return reply;
    }

    // The result of a tool call that must succeed as a protocol exchange.
    json call(const std::string& tool, const json& arguments) {
        json reply = request("tools/call", {{"name", tool}, {"arguments", arguments}});
        EXPECT_TRUE(reply.contains("result")) << reply.dump();
        return reply["result"];
    }

    static std::vector<std::string> ids(const json& rows) {
        std::vector<std::string> out;
        for (const auto& row : rows) out.push_back(row["id"]);
        return out;
    }
};

TEST_F(GraphToolsTest, InitializeAgreesOnARevisionAndListsTheSixTools) {
    json init = request("initialize", {{"protocolVersion", "2025-03-26"},
                                       {"capabilities", json::object()},
                                       {"clientInfo", {{"name", "test"}, {"version", "1"}}}});
    EXPECT_EQ(init["result"]["protocolVersion"], "2025-03-26");
    EXPECT_EQ(init["result"]["serverInfo"]["name"], "vantrel");
    EXPECT_EQ(init["result"]["capabilities"]["tools"]["listChanged"], false);
    EXPECT_TRUE(mcp().initialized());
    // A revision the server does not speak: it offers its newest.
    EXPECT_EQ(request("initialize", {{"protocolVersion", "2023-01-01"}})["result"]["protocolVersion"], "2025-06-18");

    EXPECT_EQ(mcp().handle(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), std::nullopt);
    EXPECT_EQ(request("ping", json::object())["result"], json::object());

    json tools = request("tools/list", json::object())["result"]["tools"];
    std::vector<std::string> names;
    for (const auto& tool : tools) {
        names.push_back(tool["name"]);
        EXPECT_EQ(tool["inputSchema"]["type"], "object") << tool["name"];
        EXPECT_FALSE(tool["description"].get<std::string>().empty());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"blast_radius", "callees", "changes", "diagnostics", "find_symbols",
                                               "symbol_source"}));
}

TEST_F(GraphToolsTest, FindSymbolsRanksExactThenPrefixThenNameThenPath) {
    // "ma": no name is or starts with it; summarize and format hold it; the files
    // main.ts and math.ts hold it in their paths. Within a rank by id, bytewise.
    json found = call("find_symbols", {{"query", "ma"}})["structuredContent"];
    EXPECT_EQ(ids(found["matches"]),
              (std::vector<std::string>{"src/app/View.tsx:summarize:function", "src/app/main.ts:format:function",
                                        kStart, "src/lib/math.ts:add:function", "src/lib/math.ts:clamp:function",
                                        "src/lib/math.ts:run:function", "src/lib/math.ts:tidy:function"}));
    EXPECT_EQ(found["matches"][0]["match"], "substring");
    EXPECT_EQ(found["matches"][2]["match"], "path");
    EXPECT_EQ(found["matches"][2]["line"], 5);
    EXPECT_EQ(found["matches"][2]["kind"], "function");

    // The limit cuts the list; the total still counts every match.
    json limited = call("find_symbols", {{"query", "ma"}, {"limit", 3}})["structuredContent"];
    EXPECT_EQ(limited["total"], 7);
    EXPECT_EQ(limited["matches"].size(), 3u);

    // Case-blind: the exact name first, then the file's other symbol by its path.
    EXPECT_EQ(ids(call("find_symbols", {{"query", "VIEW"}})["structuredContent"]["matches"]),
              (std::vector<std::string>{"src/app/View.tsx:View:component", "src/app/View.tsx:summarize:function"}));
    // Two exact matches tie by id; a prefix comes after them.
    EXPECT_EQ(ids(call("find_symbols", {{"query", "run"}})["structuredContent"]["matches"]),
              (std::vector<std::string>{"src/lib/math.ts:run:function", "src/lib/strings.ts:run:function"}));
    EXPECT_EQ(ids(call("find_symbols", {{"query", "total"}})["structuredContent"]["matches"]),
              (std::vector<std::string>{kComputeTotal, "py/pkg/totals.py:_values:function"}));
    // The kind filter.
    EXPECT_EQ(ids(call("find_symbols", {{"query", "v"}, {"kind", "component"}})["structuredContent"]["matches"]),
              (std::vector<std::string>{"src/app/View.tsx:View:component"}));
    json none = call("find_symbols", {{"query", "zzz"}});
    EXPECT_EQ(none["structuredContent"]["total"], 0);
    EXPECT_NE(none["content"][0]["text"].get<std::string>().find("No symbols"), std::string::npos);
}

TEST_F(GraphToolsTest, BlastRadiusGivesCallersLevelByLevel) {
    // compute_total is called by report (Python) and summarize (TSX); they by format and
    // View; format by start.
    json result = call("blast_radius", {{"id", kComputeTotal}});
    EXPECT_FALSE(result.contains("isError"));
    json reach = result["structuredContent"];
    ASSERT_EQ(reach["levels"].size(), 3u);
    EXPECT_EQ(ids(reach["levels"][0]["callers"]),
              (std::vector<std::string>{"py/pkg/report.py:report:function", "src/app/View.tsx:summarize:function"}));
    EXPECT_EQ(ids(reach["levels"][1]["callers"]),
              (std::vector<std::string>{"src/app/View.tsx:View:component", "src/app/main.ts:format:function"}));
    EXPECT_EQ(ids(reach["levels"][2]["callers"]), (std::vector<std::string>{kStart}));
    EXPECT_EQ(reach["levels"][0]["count"], 2);
    EXPECT_EQ(reach["levels"][0]["callers"][0]["line"], 6);
    EXPECT_EQ(reach["levels"][0]["callers"][0]["file"], "py/pkg/report.py");
    EXPECT_EQ(reach["callerCount"], 5);
    EXPECT_EQ(reach["summary"], "5 callers on 3 levels in 3 files");
    std::string text = result["content"][0]["text"];
    EXPECT_NE(text.find("5 callers on 3 levels in 3 files"), std::string::npos);
    EXPECT_NE(text.find("src/app/main.ts:start:function\tsrc/app/main.ts:5"), std::string::npos);

    // A limit lists the first callers of each level by file; the count stays whole.
    json limited = call("blast_radius", {{"id", kComputeTotal}, {"limit", 1}})["structuredContent"];
    EXPECT_EQ(ids(limited["levels"][0]["callers"]), (std::vector<std::string>{"py/pkg/report.py:report:function"}));
    EXPECT_EQ(limited["levels"][0]["count"], 2);
    EXPECT_EQ(limited["levels"][0]["omitted"], 1);
    EXPECT_EQ(limited["levels"][2]["omitted"], 0);

    // Depth cuts the walk.
    EXPECT_EQ(call("blast_radius", {{"id", kComputeTotal}, {"depth", 1}})["structuredContent"]["levels"].size(), 1u);
    EXPECT_EQ(call("blast_radius", {{"id", kStart}})["structuredContent"]["summary"], "No callers");
}

TEST_F(GraphToolsTest, CalleesAndSourceOfASymbol) {
    json callees = call("callees", {{"id", kStart}})["structuredContent"];
    // By file, then line: format in main.ts, then run (line 5) and tidy (line 9) in math.ts.
    EXPECT_EQ(ids(callees["callees"]),
              (std::vector<std::string>{"src/app/main.ts:format:function", "src/lib/math.ts:run:function",
                                        "src/lib/math.ts:tidy:function"}));
    EXPECT_EQ(callees["callees"][2]["line"], 9);

    json source = call("symbol_source", {{"id", "src/lib/math.ts:clamp:function"}});
    EXPECT_EQ(source["structuredContent"]["file"], "src/lib/math.ts");
    EXPECT_EQ(source["structuredContent"]["startLine"], 11);
    EXPECT_EQ(source["structuredContent"]["endLine"], 13);
    EXPECT_EQ(source["structuredContent"]["code"],
              "function clamp(value: number) {\n  return Math.max(0, value);\n}\n");
    std::string text = source["content"][0]["text"];
    EXPECT_EQ(text.rfind("src/lib/math.ts:11-13\n```typescript\nfunction clamp", 0), 0u) << text;

    // A file deleted since the scan: the tool says so rather than failing the exchange.
    std::filesystem::remove(root + "/src/lib/math.ts");
    json gone = call("symbol_source", {{"id", "src/lib/math.ts:clamp:function"}});
    EXPECT_EQ(gone["isError"], true);
}

TEST_F(GraphToolsTest, AnUnknownIdNamesTheNearestIds) {
    // "ad" is one edit from add and pad, three from both runs and tidy.
    json result = call("blast_radius", {{"id", "src/lib/math.ts:ad:function"}});
    EXPECT_EQ(result["isError"], true);
    EXPECT_EQ(result["structuredContent"]["nearest"],
              (json{"src/lib/math.ts:add:function", "src/lib/strings.ts:pad:function", "src/lib/math.ts:run:function",
                    "src/lib/math.ts:tidy:function", "src/lib/strings.ts:run:function"}));
    EXPECT_EQ(result["content"][0]["text"].get<std::string>().rfind(
                  "No symbol 'src/lib/math.ts:ad:function'. Nearest ids: src/lib/math.ts:add:function, "
                  "src/lib/strings.ts:pad:function, ",
                  0),
              0u);
    EXPECT_EQ(call("callees", {{"id", "nothing"}})["isError"], true);
    EXPECT_EQ(call("symbol_source", {{"id", "Compute_Total"}})["structuredContent"]["nearest"][0], kComputeTotal);
}

TEST_F(GraphToolsTest, DiagnosticsAreGroupedByReason) {
    json result = call("diagnostics", json::object())["structuredContent"];
    const json& sections = result["sections"];
    ASSERT_GE(sections.size(), 2u);
    // External packages come last: react from main.ts, requests from report.py.
    const json& external = sections.back();
    EXPECT_EQ(external["reason"], "externalModule");
    EXPECT_EQ(external["imports"].size(), 2u);
    EXPECT_EQ(external["imports"][0]["importPath"], "react");
    EXPECT_EQ(external["imports"][0]["importers"], (json{"src/app/main.ts"}));
    EXPECT_EQ(external["imports"][1]["importPath"], "requests");
    EXPECT_EQ(external["imports"][1]["importers"], (json{"py/pkg/report.py"}));
    EXPECT_EQ(sections[0]["imports"][0]["importPath"], "./nowhere");
}

TEST_F(GraphToolsTest, ChangesReportsWhatTheProviderCannotTell) {
    changes = [](const ProjectIR&, const std::string& base, std::int64_t) -> ChangesReport {
        throw ToolFailure("/x is not inside a git work tree (base " + base + ")");
    };
    json result = call("changes", json::object());
    EXPECT_EQ(result["isError"], true);
    EXPECT_EQ(result["content"][0]["text"], "changes failed: /x is not inside a git work tree (base HEAD)");
    EXPECT_EQ(request("tools/call", {{"name", "changes"}, {"arguments", {{"depth", 13}}}})["error"]["code"],
              kInvalidParams);
}

TEST_F(GraphToolsTest, ProtocolErrorsAndNotifications) {
    auto code = [&](const std::string& line) { return send(line)["error"]["code"]; };
    json parse = send("{not json");
    EXPECT_EQ(parse["error"]["code"], kParseError);
    EXPECT_TRUE(parse["id"].is_null());
    EXPECT_EQ(code("[1, 2]"), kInvalidRequest);
    EXPECT_EQ(code(R"({"jsonrpc":"2.0","id":4})"), kInvalidRequest);
    EXPECT_EQ(code(R"({"jsonrpc":"1.0","id":5,"method":"ping"})"), kInvalidRequest);
    EXPECT_EQ(code(R"({"jsonrpc":"2.0","id":{"x":1},"method":"ping"})"), kInvalidRequest);
    json unknown = send(R"({"jsonrpc":"2.0","id":"abc","method":"resources/list"})");
    EXPECT_EQ(unknown["error"]["code"], kMethodNotFound);
    EXPECT_EQ(unknown["id"], "abc");

    // Invalid arguments are protocol errors.
    auto callError = [&](const json& params) { return request("tools/call", params)["error"]["code"]; };
    EXPECT_EQ(callError({{"name", "find_symbols"}, {"arguments", json::object()}}), kInvalidParams);
    EXPECT_EQ(callError({{"name", "find_symbols"}, {"arguments", {{"query", 3}}}}), kInvalidParams);
    EXPECT_EQ(callError({{"name", "find_symbols"}, {"arguments", {{"query", "a"}, {"limit", 201}}}}), kInvalidParams);
    EXPECT_EQ(callError({{"name", "find_symbols"}, {"arguments", {{"query", "a"}, {"kind", "module"}}}}),
              kInvalidParams);
    EXPECT_EQ(callError({{"name", "blast_radius"}, {"arguments", {{"id", kStart}, {"depth", 0}}}}), kInvalidParams);
    EXPECT_EQ(callError({{"name", "blast_radius"}, {"arguments", {{"id", kStart}, {"depth", 2.5}}}}), kInvalidParams);
    EXPECT_EQ(callError({{"name", "no_such_tool"}}), kInvalidParams);

    // Notifications, responses and blank lines get no reply, whatever they say.
    for (const char* line :
         {R"({"jsonrpc":"2.0","method":"notifications/initialized"})",
          R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":1}})",
          R"({"jsonrpc":"2.0","method":"no/such/method"})", R"({"jsonrpc":"2.0","id":9,"result":{}})", "", "  \r"})
        EXPECT_EQ(mcp().handle(line), std::nullopt) << line;
    // Requests before initialize are answered.
    EXPECT_FALSE(mcp().initialized());
    EXPECT_TRUE(send(R"({"jsonrpc":"2.0","id":7,"method":"tools/list"})").contains("result"));
    EXPECT_TRUE(send(R"({"jsonrpc":"2.0","id":8,"method":"ping","params":null})").contains("result"));
    EXPECT_EQ(code(R"({"jsonrpc":"2.0","id":10,"method":"ping","params":"x"})"), kInvalidParams);
}

}  // namespace
}  // namespace vantrel::mcp
