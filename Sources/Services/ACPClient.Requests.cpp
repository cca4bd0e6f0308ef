#include "Services/ACPClient.h"

#include <utility>

// What a runtime asks of an ACPClient. Each request is answered exactly once.

namespace tessarin
{

namespace
{

// An array with anything but maps in it counts as empty; an option without an id or a name is left out.
std::vector<PermissionOption> permissionOptions(const JsonObject& params)
{
    std::vector<PermissionOption> options;
    const JsonArray* array = arrayAt(params, "options");
    if (!array)
        return options;
    for (const Json& value : *array) {
        const JsonObject* option = value.if_object();
        if (!option)
            return {};
        const auto id = textAt(*option, "optionId");
        const auto name = textAt(*option, "name");
        if (id && name)
            options.push_back({ std::string(*id), std::string(*name), std::string(textAt(*option, "kind").value_or("allow_once")) });
    }
    return options;
}

const PermissionOption* firstOfKind(const std::vector<PermissionOption>& options, std::string_view kind)
{
    for (const PermissionOption& option : options) {
        if (option.kind == kind)
            return &option;
    }
    return nullptr;
}

// What Kimi wants stands here and nowhere else.
std::string contentTexts(const JsonObject& toolCall)
{
    std::string texts;
    const JsonArray* content = arrayAt(toolCall, "content");
    if (!content)
        return texts;
    for (const Json& value : *content) {
        const JsonObject* part = value.if_object();
        const JsonObject* inner = part ? objectAt(*part, "content") : nullptr;
        const auto text = inner ? textAt(*inner, "text") : std::nullopt;
        if (text && !text->empty())
            texts.append(texts.empty() ? "" : "\n").append(*text);
    }
    return texts;
}

// A person has to see what they approve.
std::string permissionDetail(const JsonObject& toolCall, const std::string& runtimeName)
{
    const Json* rawInput = toolCall.if_contains("rawInput");
    if (auto text = rawInput ? prettyJson(*rawInput) : std::nullopt)
        return *text;
    const std::string sentence = runtimeName + " is requesting permission to continue.";
    const bool isAbsent = !rawInput || rawInput->is_null();
    const std::string texts = isAbsent ? contentTexts(toolCall) : std::string();
    return texts.empty() ? sentence : sentence + "\n\n" + texts;
}

} // namespace

void ACPClient::handleAgentRequest(std::int64_t id, std::string_view method, const JsonObject& params)
{
    if (method == "session/request_permission")
        handlePermissionRequest(id, params);
    else if (!handleToolRequest(id, method, params))
        m_child->write(JsonRpc::error(id, "Unsupported ACP method: " + std::string(method), JsonRpc::methodNotFound));
}

void ACPClient::handlePermissionRequest(std::int64_t id, const JsonObject& params)
{
    static const JsonObject noToolCall;
    const JsonObject* found = objectAt(params, "toolCall");
    const JsonObject& toolCall = found ? *found : noToolCall;
    PermissionRequest request;
    request.id = id;
    request.title = textAt(toolCall, "title").value_or("Run a tool");
    request.detail = permissionDetail(toolCall, m_runtimeName);
    request.options = permissionOptions(params);
    // OpenCode has no mode in which it does not ask: here the client approves in the person's place.
    if (provider() == AgentProvider::glm && m_configuration.permissionMode == GrokPermissionMode::fullAccess) {
        const PermissionOption* always = firstOfKind(request.options, "allow_always");
        if (const PermissionOption* choice = always ? always : firstOfKind(request.options, "allow_once"))
            return answerPermission(id, { { "outcome", "selected" }, { "optionId", choice->id } });
    }
    m_pendingPermissionIDs.insert(id);
    m_child->notify([request = std::move(request)](AgentClient& client) {
        if (client.onPermissionRequest)
            client.onPermissionRequest(request);
    });
}

void ACPClient::selectPermission(std::int64_t id, const std::string& optionID)
{
    if (m_pendingPermissionIDs.erase(id) > 0)
        answerPermission(id, { { "outcome", "selected" }, { "optionId", optionID } });
}

void ACPClient::answerPermission(std::int64_t id, JsonObject outcome)
{
    m_child->write(JsonRpc::response(id, { { "outcome", std::move(outcome) } }));
}

} // namespace tessarin
