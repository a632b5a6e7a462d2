// A Model Context Protocol server without a transport: JSON-RPC 2.0 messages in, replies
// out, one message per line as the stdio transport carries them. It answers
// `initialize`, `ping`, `tools/list` and `tools/call`, and takes notifications without
// a word. The tools are given to it; what they compute is theirs (GraphTools.h).
//
// Errors follow JSON-RPC: a line that is not JSON gets -32700 with id null, a message that
// is no request -32600, an unknown method -32601, arguments a tool refuses -32602. A tool
// that runs but cannot answer (an unknown symbol, no git work tree) returns a result with
// `isError`, which the calling model reads like any answer. Requests before `initialize`
// are answered all the same.
//
// Not thread-safe: one thread hands it the lines (the command's main thread).
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::mcp {

// The protocol revisions this server speaks, newest first. A client asking for one of
// them gets it; any other gets the newest.
inline constexpr std::string_view kProtocolVersions[] = {"2025-06-18", "2025-03-26", "2024-11-05"};

enum ErrorCode : int {
    kParseError = -32700,
    kInvalidRequest = -32600,
    kMethodNotFound = -32601,
    kInvalidParams = -32602,
    kInternalError = -32603,
};

// Thrown by a tool whose arguments do not fit its input schema: a -32602 error with
// this message.
class InvalidParams : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What a tool call answers: text for a reader and the same content as JSON.
struct ToolResult {
    std::string text;
    nlohmann::json structured;  // null: no structuredContent
    bool isError = false;
};

struct Tool {
    std::string name;
    std::string title;
    std::string description;
    nlohmann::json inputSchema;
    nlohmann::json outputSchema;  // null when the result has no fixed shape
    // Throws InvalidParams for bad arguments; any other exception becomes an error result.
    std::function<ToolResult(const nlohmann::json& arguments)> call;
};

struct ServerInfo {
    std::string name;
    std::string version;
    std::string instructions;  // what the tools answer, for the client's model
};

class McpServer {
public:
    McpServer(ServerInfo info, std::vector<Tool> tools);

    // One message (a line without its newline; a trailing "\r" is ignored). Gives the
    // reply as one line of JSON without newline, or nothing for notifications, responses
    // and blank lines.
    [[nodiscard]] std::optional<std::string> handle(std::string_view line);

    // Whether `initialize` has been answered, and the revision agreed on then.
    bool initialized() const { return initialized_; }
    const std::string& protocolVersion() const { return protocolVersion_; }

private:
    nlohmann::json dispatch(const std::string& method, const nlohmann::json& params);
    nlohmann::json initialize(const nlohmann::json& params);
    nlohmann::json listTools() const;
    nlohmann::json callTool(const nlohmann::json& params);

    ServerInfo info_;
    std::vector<Tool> tools_;  // by name
    bool initialized_ = false;
    std::string protocolVersion_;
};

}  // namespace vantrel::mcp
