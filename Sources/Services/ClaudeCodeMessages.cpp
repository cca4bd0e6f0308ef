#include "Services/ClaudeCodeMessages.h"

#include <optional>
#include <utility>

namespace tessarin::ClaudeCodeMessages
{

namespace
{

JsonObject controlResponse(JsonObject response)
{
    return { { "type", "control_response" }, { "response", std::move(response) } };
}

JsonObject permissionAnswer(std::string_view requestID, JsonObject answer)
{
    return controlResponse({ { "subtype", "success" }, { "request_id", requestID }, { "response", std::move(answer) } });
}

std::string title(const JsonObject& request)
{
    for (const char* key : { "display_name", "title", "tool_name" }) {
        if (const auto text = textAt(request, key))
            return std::string(*text);
    }
    return "Use a tool";
}

std::string detail(const JsonObject& request, const JsonObject& input)
{
    if (auto text = prettyJson(input))
        return *std::move(text);
    return std::string(textAt(request, "description").value_or("Claude Code needs permission to continue."));
}

} // namespace

std::vector<std::string> arguments(
    const std::string& model, GrokPermissionMode permissionMode, const std::string& sessionID, SessionOrigin origin)
{
    return {
        "--output-format",
        "stream-json",
        "--verbose",
        "--input-format",
        "stream-json",
        "--include-partial-messages",
        "--permission-prompt-tool",
        "stdio",
        "--setting-sources=user,project,local",
        "--permission-mode",
        std::string(claudeMode(permissionMode)),
        "--model",
        model,
        (origin == SessionOrigin::stored ? "--resume=" : "--session-id=") + sessionID,
    };
}

JsonObject controlRequest(std::string_view requestID, JsonObject request)
{
    return { { "type", "control_request" }, { "request_id", requestID }, { "request", std::move(request) } };
}

JsonObject initialize()
{
    return { { "subtype", "initialize" }, { "hooks", nullptr } };
}

JsonObject interrupt()
{
    return { { "subtype", "interrupt" } };
}

JsonObject allow(std::string_view requestID, JsonObject input)
{
    return permissionAnswer(requestID, { { "behavior", "allow" }, { "updatedInput", std::move(input) } });
}

JsonObject deny(std::string_view requestID)
{
    return permissionAnswer(requestID, { { "behavior", "deny" }, { "message", "Denied by the user in tessarin." } });
}

JsonObject controlError(std::string_view requestID, std::string_view message)
{
    return controlResponse({ { "subtype", "error" }, { "request_id", requestID }, { "error", message } });
}

JsonObject prompt(std::string_view text, std::string_view sessionID)
{
    const JsonObject message{ { "role", "user" }, { "content", text } };
    return { { "type", "user" }, { "message", message }, { "parent_tool_use_id", nullptr }, { "session_id", sessionID } };
}

PermissionRequest permissionRequest(std::int64_t id, const JsonObject& request, const JsonObject& input)
{
    return { .id = id,
        .title = title(request),
        .detail = detail(request, input),
        .options = { { denyOptionID, "Deny", "reject_once" }, { allowOnceOptionID, "Allow once", "allow_once" } } };
}

} // namespace tessarin::ClaudeCodeMessages
