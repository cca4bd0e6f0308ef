#include "Services/ClaudeCodeClient.h"

#include "Services/ClaudeCodeMessages.h"

#include <utility>

// The control channel of a ClaudeCodeClient, in both directions.

namespace tessarin
{

void ClaudeCodeClient::sendControlRequest(JsonObject request, ControlCompletion completion)
{
    const std::string id = "tessarin_" + std::to_string(m_nextControlRequestID++);
    m_controlCompletions.emplace(id, std::move(completion));
    m_child->write(ClaudeCodeMessages::controlRequest(id, std::move(request)));
}

void ClaudeCodeClient::handleControlResponse(const JsonObject& message)
{
    const JsonObject* response = objectAt(message, "response");
    const auto id = response ? textAt(*response, "request_id") : std::nullopt;
    if (!id)
        return;
    const auto waiting = m_controlCompletions.extract(std::string(*id));
    if (waiting.empty())
        return;
    if (textAt(*response, "subtype") == "error") {
        const auto text = textAt(*response, "error").value_or("Claude Code rejected a control request.");
        return waiting.mapped()(
            Failure{ AgentError(ClaudeCodeClientError{ ClaudeCodeClientError::Kind::protocolError, std::string(text) }) });
    }
    const JsonObject* result = objectAt(*response, "response");
    waiting.mapped()(result ? keptCopy(*result) : JsonObject());
}

void ClaudeCodeClient::handleControlRequest(const JsonObject& message)
{
    const auto id = textAt(message, "request_id");
    const JsonObject* request = objectAt(message, "request");
    if (!id || !request)
        return;
    if (textAt(*request, "subtype") != "can_use_tool")
        return m_child->write(ClaudeCodeMessages::controlError(*id, "tessarin does not support this Claude control request."));
    static const JsonObject noInput;
    const JsonObject* found = objectAt(*request, "input");
    const JsonObject& input = found ? *found : noInput;
    // The runtime does not ask in this mode; should it do so all the same, it has the person's word already.
    if (m_configuration.permissionMode == GrokPermissionMode::fullAccess)
        return m_child->write(ClaudeCodeMessages::allow(*id, input));
    askPerson(std::string(*id), *request, input);
}

void ClaudeCodeClient::askPerson(const std::string& controlRequestID, const JsonObject& request, const JsonObject& input)
{
    const std::int64_t id = m_nextPermissionID++;
    m_permissions.emplace(id, PendingPermission{ controlRequestID, keptCopy(input) });
    m_child->notify([shown = ClaudeCodeMessages::permissionRequest(id, request, input)](AgentClient& client) {
        if (client.onPermissionRequest)
            client.onPermissionRequest(shown);
    });
}

void ClaudeCodeClient::answerPermission(std::int64_t id, std::string_view optionID)
{
    auto open = m_permissions.extract(id);
    if (open.empty())
        return;
    PendingPermission& permission = open.mapped();
    if (optionID == ClaudeCodeMessages::allowOnceOptionID)
        m_child->write(ClaudeCodeMessages::allow(permission.controlRequestID, std::move(permission.input)));
    else
        m_child->write(ClaudeCodeMessages::deny(permission.controlRequestID));
}

} // namespace tessarin
