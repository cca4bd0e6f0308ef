#include "Services/CodexAppServerClient.h"

#include <algorithm>
#include <utility>

// What arrives at a CodexAppServerClient: told apart and handed on. Nothing in it ends the client.

namespace tessarin
{

void CodexAppServerClient::handleLine(std::string_view line)
{
    m_queue->assertCurrent();
    const auto storage = m_child->batch().storageFor(line.size());
    for (DeltaLines* lines : { &m_messageDeltas, &m_thoughtDeltas }) {
        if (auto text = lines->envelope.valueIn(line, storage); text && text->is_string())
            return emitDelta(*lines, std::move(*text));
    }
    auto message = parseJson(line, storage);
    if (!message)
        return;
    if (JsonObject* object = message->if_object())
        handle(*object, line);
}

void CodexAppServerClient::handle(JsonObject& message, std::string_view line)
{
    if (!message.contains("method") && handleResponse(message))
        return;
    const auto method = textAt(message, "method");
    if (!method)
        return;
    JsonObject noParams;
    Json* found = message.if_contains("params");
    JsonObject& params = found && found->is_object() ? found->get_object() : noParams;
    if (auto id = RPCID::from(message))
        handleServerRequest(std::move(*id), *method, params);
    else
        handleNotification(*method, params, line);
}

bool CodexAppServerClient::handleResponse(const JsonObject& message)
{
    const Json* id = message.if_contains("id");
    const auto number = id && id->is_number() ? integerAt(message, "id") : std::nullopt;
    const auto handler = number ? m_pending.take(*number) : std::nullopt;
    if (!handler)
        return false;
    if (const JsonObject* error = objectAt(message, "error")) {
        (*handler)(Failure{ AgentError(runtimeError(*error, "Codex returned an unknown error.")) });
    } else {
        const JsonObject* result = objectAt(message, "result");
        (*handler)(result ? keptCopy(*result) : JsonObject());
    }
    return true;
}

void CodexAppServerClient::handleNotification(std::string_view method, JsonObject& params, std::string_view line)
{
    if (method == "item/agentMessage/delta")
        handleDelta(m_messageDeltas, params, line);
    else if (method == "item/reasoning/summaryTextDelta" || method == "item/reasoning/textDelta")
        handleDelta(m_thoughtDeltas, params, line);
    else if (method == "item/started" || method == "item/completed")
        handleItem(params, method == "item/completed");
    else if (method == "turn/plan/updated")
        handlePlan(params);
    else if (method == "account/rateLimits/updated")
        handleRateLimits(params);
    else if (method == "error")
        handleError(params);
    else if (method == "turn/completed") {
        completeTurn(params);
        refreshUsage();
    }
}

void CodexAppServerClient::handleItem(JsonObject& params, bool isCompleted)
{
    Json* item = params.if_contains("item");
    if (item && item->is_object())
        emitItem(item->get_object(), isCompleted);
}

void CodexAppServerClient::handlePlan(const JsonObject& params)
{
    const auto storage = m_child->batch().storageFor(0);
    JsonArray entries(storage);
    const JsonArray* plan = arrayAt(params, "plan");
    // One step that is no object spoils the whole plan.
    if (plan && std::all_of(plan->begin(), plan->end(), [](const Json& step) { return step.is_object(); })) {
        for (const Json& value : *plan) {
            const JsonObject& step = value.get_object();
            entries.push_back(
                { { "id", "codex-plan-" + std::to_string(entries.size()) }, { "content", textAt(step, "step").value_or("Task") },
                    { "status", normalizeStatus(textAt(step, "status").value_or("pending")) }, { "priority", "medium" } });
        }
    }
    m_child->batch().add(JsonObject({ { "sessionUpdate", "plan" }, { "entries", std::move(entries) } }, storage));
}

void CodexAppServerClient::handleRateLimits(const JsonObject& params)
{
    if (const JsonObject* rateLimits = objectAt(params, "rateLimits"))
        reportUsage(*rateLimits);
}

// Kept until the turn ends; the last one told counts.
void CodexAppServerClient::handleError(const JsonObject& params)
{
    const auto turnID = textAt(params, "turnId");
    // The runtime tries again by itself.
    if (booleanAt(params, "willRetry") == true || !turnID)
        return;
    static const JsonObject noError;
    const JsonObject* error = objectAt(params, "error");
    m_turnErrors.insert_or_assign(std::string(*turnID), runtimeError(error ? *error : noError, "Codex turn failed."));
}

void CodexAppServerClient::handleServerRequest(RPCID id, std::string_view method, const JsonObject& params)
{
    if (!CodexApproval::isRequest(method)) {
        const std::string text = "tessarin does not support Codex request " + std::string(method) + ".";
        return m_child->write(JsonRpc::error(id.jsonValue(), text, JsonRpc::methodNotFound));
    }
    const std::int64_t approvalID = m_nextApprovalID++;
    PendingApproval approval{ std::move(id), std::string(method), std::nullopt };
    if (const JsonObject* permissions = objectAt(params, "permissions"))
        approval.requestedPermissions = keptCopy(*permissions);
    m_pendingApprovals.emplace(approvalID, std::move(approval));
    m_child->notify([request = CodexApproval::permissionRequest(approvalID, method, params)](AgentClient& client) {
        if (client.onPermissionRequest)
            client.onPermissionRequest(request);
    });
}

void CodexAppServerClient::respondToApproval(const PendingApproval& approval, std::string_view optionID)
{
    m_child->write(JsonRpc::response(approval.rpcID.jsonValue(), CodexApproval::result(approval, optionID)));
}

} // namespace tessarin
