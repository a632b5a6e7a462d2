#include "mcp/McpServer.h"

#include <algorithm>

namespace vantrel::mcp {

namespace {

using nlohmann::json;

// A JSON-RPC error the dispatch raises; handle() turns it into the error reply.
struct RpcError {
    int code;
    std::string message;
};

// Replies are written as one line; text read from source files may hold bytes that are no
// UTF-8, which are replaced rather than failing the reply.
std::string dumpLine(const json& message) { return message.dump(-1, ' ', false, json::error_handler_t::replace); }

json errorReply(const json& id, int code, const std::string& message) {
    return json{{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

bool validId(const json& id) { return id.is_string() || id.is_number_integer() || id.is_number_unsigned(); }

}  // namespace

McpServer::McpServer(ServerInfo info, std::vector<Tool> tools) : info_(std::move(info)), tools_(std::move(tools)) {
    std::sort(tools_.begin(), tools_.end(), [](const Tool& a, const Tool& b) { return a.name < b.name; });
}

std::optional<std::string> McpServer::handle(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.find_first_not_of(" \t") == std::string_view::npos) return std::nullopt;

    json message = json::parse(line, nullptr, false);
    if (message.is_discarded()) return dumpLine(errorReply(nullptr, kParseError, "Parse error: not JSON"));
    if (!message.is_object()) return dumpLine(errorReply(nullptr, kInvalidRequest, "Invalid request: not an object"));

    const bool hasId = message.contains("id");
    const json id = hasId ? message["id"] : json(nullptr);
    auto method = message.find("method");
    if (method == message.end()) {
        // A response to a request of ours (we send none) or a stray message: nothing to say.
        if (message.contains("result") || message.contains("error")) return std::nullopt;
        return dumpLine(errorReply(validId(id) ? id : json(nullptr), kInvalidRequest, "Invalid request: no method"));
    }
    if (message.value("jsonrpc", json()) != "2.0" || !method->is_string() || (hasId && !validId(id))) {
        if (!hasId) return std::nullopt;  // a broken notification still gets no reply
        return dumpLine(errorReply(validId(id) ? id : json(nullptr), kInvalidRequest,
                                   "Invalid request: needs \"jsonrpc\": \"2.0\", a method name and a string or "
                                   "integer id"));
    }
    json params = message.value("params", json::object());
    if (params.is_null()) params = json::object();  // some clients send null for "no params"
    if (!params.is_object() && !params.is_array()) {
        if (!hasId) return std::nullopt;
        return dumpLine(errorReply(id, kInvalidParams, "Invalid params: not an object"));
    }

    const std::string name = method->get<std::string>();
    if (!hasId) return std::nullopt;  // notifications: initialized, cancelled, progress, ...
    try {
        return dumpLine(json{{"jsonrpc", "2.0"}, {"id", id}, {"result", dispatch(name, params)}});
    } catch (const RpcError& e) {
        return dumpLine(errorReply(id, e.code, e.message));
    } catch (const std::exception& e) {
        return dumpLine(errorReply(id, kInternalError, std::string("Internal error: ") + e.what()));
    }
}

json McpServer::dispatch(const std::string& method, const json& params) {
    if (method == "initialize") return initialize(params);
    if (method == "ping") return json::object();
    if (method == "tools/list") return listTools();
    if (method == "tools/call") return callTool(params);
    throw RpcError{kMethodNotFound, "Method not found: " + method};
}

json McpServer::initialize(const json& params) {
    std::string requested;
    if (params.is_object() && params.contains("protocolVersion") && params["protocolVersion"].is_string())
        requested = params["protocolVersion"].get<std::string>();
    protocolVersion_ = std::string(kProtocolVersions[0]);
    for (auto version : kProtocolVersions)
        if (requested == version) protocolVersion_ = requested;
    initialized_ = true;
    return json{{"protocolVersion", protocolVersion_},
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo", {{"name", info_.name}, {"version", info_.version}}},
                {"instructions", info_.instructions}};
}

json McpServer::listTools() const {
    json tools = json::array();
    for (const auto& tool : tools_) {
        json entry{{"name", tool.name},
                   {"title", tool.title},
                   {"description", tool.description},
                   {"inputSchema", tool.inputSchema},
                   // Every tool only reads the graph and the project's files.
                   {"annotations", {{"readOnlyHint", true}, {"openWorldHint", false}}}};
        if (!tool.outputSchema.is_null()) entry["outputSchema"] = tool.outputSchema;
        tools.push_back(std::move(entry));
    }
    return json{{"tools", std::move(tools)}};
}

json McpServer::callTool(const json& params) {
    if (!params.is_object() || !params.contains("name") || !params["name"].is_string())
        throw RpcError{kInvalidParams, "Invalid params: tools/call needs a tool name"};
    const std::string name = params["name"].get<std::string>();
    auto tool = std::find_if(tools_.begin(), tools_.end(), [&](const Tool& t) { return t.name == name; });
    if (tool == tools_.end()) throw RpcError{kInvalidParams, "Unknown tool: " + name};
    json arguments = params.value("arguments", json::object());
    if (arguments.is_null()) arguments = json::object();
    if (!arguments.is_object()) throw RpcError{kInvalidParams, "Invalid params: arguments must be an object"};

    ToolResult result;
    try {
        result = tool->call(arguments);
    } catch (const InvalidParams& e) {
        throw RpcError{kInvalidParams, std::string("Invalid params: ") + e.what()};
    } catch (const std::exception& e) {
        result = ToolResult{std::string(name) + " failed: " + e.what(), json(nullptr), true};
    }
    json reply{{"content", json::array({json{{"type", "text"}, {"text", result.text}}})}};
    if (!result.structured.is_null()) reply["structuredContent"] = result.structured;
    if (result.isError) reply["isError"] = true;
    return reply;
}

}  // namespace vantrel::mcp
