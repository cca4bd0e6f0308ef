#include "Services/CodexAppServerClient.h"

#include <utility>

// The turns of a CodexAppServerClient, what its mode lets them do, and the allowance that they use.

namespace tessarin
{

namespace
{

// What is asked of the person, and who decides: a thread and every turn of it are told the same.
void addPolicy(JsonObject& params, GrokPermissionMode mode)
{
    const bool isFree = mode == GrokPermissionMode::fullAccess;
    params["approvalPolicy"] = isFree ? "never" : "on-request";
    params["approvalsReviewer"] = mode == GrokPermissionMode::auto_ ? "auto_review" : "user";
}

// A turn takes an object where a thread takes a word.
JsonObject sandboxPolicy(GrokPermissionMode mode, const std::string& workspacePath)
{
    if (mode == GrokPermissionMode::fullAccess)
        return { { "type", "dangerFullAccess" } };
    return { { "type", "workspaceWrite" }, { "writableRoots", JsonArray{ Json(workspacePath) } }, { "networkAccess", false } };
}

AgentRuntimeError failure(AgentRuntimeError::Kind kind, std::string message)
{
    return { AgentProvider::codex, kind, std::move(message) };
}

} // namespace

JsonObject CodexAppServerClient::threadParameters() const
{
    JsonObject params{ { "cwd", m_configuration.workspacePath } };
    addPolicy(params, m_configuration.permissionMode);
    params["sandbox"] = m_configuration.permissionMode == GrokPermissionMode::fullAccess ? "danger-full-access" : "workspace-write";
    return params;
}

void CodexAppServerClient::startTurn(const std::string& prompt, Completion<JsonObject> done)
{
    if (!m_sessionId) {
        const auto error = failure(AgentRuntimeError::Kind::disconnected, "Codex is not connected.");
        return m_child->complete<JsonObject>(done, Failure{ AgentError(error) });
    }
    m_streamedItems.clear();
    const JsonObject input{ { "type", "text" }, { "text", prompt } };
    JsonObject params{ { "threadId", *m_sessionId }, { "input", JsonArray{ Json(input) } } };
    addPolicy(params, m_configuration.permissionMode);
    params["sandboxPolicy"] = sandboxPolicy(m_configuration.permissionMode, m_configuration.workspacePath);
    sendRequest("turn/start", std::move(params), [weak = weak_from_this(), done = std::move(done)](const JsonRpcReply& reply) {
        const auto client = weak.lock();
        if (!client)
            return done.abandon();
        client->m_queue->assertCurrent();
        client->turnStarted(reply, done);
    });
}

void CodexAppServerClient::turnStarted(const JsonRpcReply& reply, Completion<JsonObject> done)
{
    if (!reply)
        return m_child->complete<JsonObject>(done, reply);
    const JsonObject* turn = objectAt(reply.value(), "turn");
    const auto id = turn ? textAt(*turn, "id") : std::nullopt;
    if (!id) {
        const auto error = failure(AgentRuntimeError::Kind::protocolError, "Codex did not return a turn ID.");
        return m_child->complete<JsonObject>(done, Failure{ AgentError(error) });
    }
    m_currentTurnID = std::string(*id);
    // The notification that ends a turn may overtake the answer that announces it. The turn is current all the same until the next one
    // ends, and an interrupt of it does no harm.
    if (auto outcome = m_completedBeforeRegistration.extract(*m_currentTurnID))
        m_child->complete<JsonObject>(done, std::move(outcome.mapped()));
    else
        m_turnCompletions.emplace(*m_currentTurnID, std::move(done));
}

void CodexAppServerClient::completeTurn(const JsonObject& params)
{
    const JsonObject* turn = objectAt(params, "turn");
    const auto id = turn ? textAt(*turn, "id") : std::nullopt;
    if (!id)
        return;
    const std::string turnID(*id);
    m_currentTurnID.reset();
    TurnOutcome outcome = outcomeOf(*turn, turnID);
    const auto [first, last] = m_turnCompletions.equal_range(turnID);
    if (first == last) {
        m_completedBeforeRegistration.insert_or_assign(turnID, std::move(outcome));
        return;
    }
    for (auto waiting = first; waiting != last; ++waiting)
        m_child->complete<JsonObject>(waiting->second, outcome);
    m_turnCompletions.erase(first, last);
}

CodexAppServerClient::TurnOutcome CodexAppServerClient::outcomeOf(const JsonObject& turn, const std::string& turnID)
{
    const std::string status(textAt(turn, "status").value_or("failed"));
    // An error that was told of a turn that ends well has no effect.
    if (status == "completed")
        return keptCopy(turn);
    if (const auto told = m_turnErrors.extract(turnID))
        return Failure{ AgentError(told.mapped()) };
    static const JsonObject noError;
    const JsonObject* error = objectAt(turn, "error");
    return Failure{ AgentError(runtimeError(error ? *error : noError, "Codex turn " + status + ".")) };
}

void CodexAppServerClient::cancelTurn()
{
    if (m_sessionId && m_currentTurnID) {
        // What counts is the end of the turn.
        sendRequest("turn/interrupt", { { "threadId", *m_sessionId }, { "turnId", *m_currentTurnID } }, [](const JsonRpcReply&) {});
    }
    for (const auto& [id, approval] : std::exchange(m_pendingApprovals, {}))
        respondToApproval(approval, CodexApproval::cancelOption);
}

void CodexAppServerClient::refreshUsage()
{
    sendRequest("account/rateLimits/read", {}, [weak = weak_from_this()](const JsonRpcReply& reply) {
        const auto client = weak.lock();
        // Silent by design: not every account has an allowance to read, and nothing depends on it.
        if (!client || !reply)
            return;
        client->m_queue->assertCurrent();
        client->reportUsage(reply.value());
    });
}

void CodexAppServerClient::reportUsage(const JsonObject& payload)
{
    m_child->notify([usage = parseRateLimits(payload)](AgentClient& client) {
        if (client.onUsageUpdate)
            client.onUsageUpdate(usage);
    });
}

} // namespace tessarin
