#include "Services/ACPClient.h"

#include "Services/ProgramVersion.h"

#include <utility>

// The conversation that an ACPClient begins: opening a session, a turn, calling it off.

namespace tessarin
{

namespace
{

constexpr std::int64_t protocolVersion = 1;
constexpr std::string_view clientName = "tessarin";

ACPClientError disconnected()
{
    return { ACPClientError::Kind::disconnected, {} };
}

} // namespace

void ACPClient::launch(Opening opening)
{
    if (const auto launched = launchProcess(); !launched)
        return failOpening(opening, launched.error());
    sendInitialize(next(&ACPClient::initialized, std::move(opening)));
}

void ACPClient::sendInitialize(PendingRequests::Handler handler)
{
    const JsonObject fileSystem{ { "readTextFile", true }, { "writeTextFile", true } };
    const JsonObject capabilities{ { "fs", fileSystem }, { "terminal", true } };
    const JsonObject client{ { "name", clientName }, { "version", programVersion() } };
    sendRequest("initialize", { { "protocolVersion", protocolVersion }, { "clientCapabilities", capabilities }, { "clientInfo", client } },
        std::move(handler));
}

void ACPClient::initialized(const JsonObject& result, Opening opening)
{
    m_isInitialized = true;
    // The provider decides, not what the runtime announces.
    m_supportsConfigOptions = provider() == AgentProvider::kimi || provider() == AgentProvider::glm;
    const JsonObject* capabilities = objectAt(result, "agentCapabilities");
    const bool restoresSessions = capabilities && booleanAt(*capabilities, "loadSession") == true;
    if (opening.storedSessionID && restoresSessions)
        loadSession(std::move(opening));
    else
        createSession(std::move(opening));
}

void ACPClient::loadSession(Opening opening)
{
    m_sessionId = opening.storedSessionID;
    m_child->notify([](AgentClient& client) {
        if (client.onReplayStarted)
            client.onReplayStarted();
    });
    sendRequest("session/load", { { "sessionId", *m_sessionId }, { "cwd", m_configuration.workspacePath }, { "mcpServers", JsonArray() } },
        next(&ACPClient::sessionLoaded, std::move(opening)));
}

void ACPClient::sessionLoaded(const JsonRpcReply& reply, Opening opening)
{
    if (reply) {
        opening.replayed = true;
        return applyRuntimeConfiguration(std::move(opening));
    }
    m_child->notify([](AgentClient& client) {
        if (client.onReplayFailed)
            client.onReplayFailed();
    });
    createSession(std::move(opening));
}

void ACPClient::createSession(Opening opening)
{
    JsonObject params{ { "cwd", m_configuration.workspacePath }, { "mcpServers", JsonArray() } };
    if (const auto key = acpMetadata(m_configuration.permissionMode))
        params["_meta"] = JsonObject{ { *key, true } };
    sendRequest("session/new", std::move(params), next(&ACPClient::sessionCreated, std::move(opening)));
}

void ACPClient::sessionCreated(const JsonObject& result, Opening opening)
{
    const auto sessionId = textAt(result, "sessionId");
    if (!sessionId) {
        const std::string text = m_runtimeName + " did not return a session ID.";
        return failOpening(opening, ACPClientError{ ACPClientError::Kind::invalidResponse, text });
    }
    m_sessionId = std::string(*sessionId);
    applyRuntimeConfiguration(std::move(opening));
}

void ACPClient::applyRuntimeConfiguration(Opening opening)
{
    if (!m_supportsConfigOptions)
        finishOpening(std::move(opening));
    else if (provider() == AgentProvider::kimi)
        setConfigOption("mode", kimiMode(m_configuration.permissionMode), next(&ACPClient::modeApplied, std::move(opening)));
    else
        applyModel(std::move(opening));
}

void ACPClient::modeApplied(const JsonRpcReply& reply, Opening opening)
{
    // Newer versions of Kimi call this mode "default", and without it a session that ran in a freer mode would keep that one.
    if (!reply && m_configuration.permissionMode == GrokPermissionMode::ask)
        setConfigOption("mode", "default", next(&ACPClient::defaultModeApplied, std::move(opening)));
    else
        applyModel(std::move(opening)); // a refused mode is tolerated
}

void ACPClient::defaultModeApplied(const JsonRpcReply&, Opening opening)
{
    applyModel(std::move(opening));
}

void ACPClient::applyModel(Opening opening)
{
    const auto& model = m_configuration.model;
    if (model && !model->empty())
        setConfigOption("model", *model, next(&ACPClient::modelApplied, std::move(opening)));
    else
        finishOpening(std::move(opening));
}

void ACPClient::modelApplied(const JsonRpcReply& reply, Opening opening)
{
    // Only models of the coding plan may be used with GLM: going on with another one would cost money.
    if (!reply && provider() == AgentProvider::glm)
        failOpening(opening, reply.error());
    else
        finishOpening(std::move(opening));
}

void ACPClient::finishOpening(Opening opening)
{
    // The tolerant steps above also come here when the child ended under them.
    if (!m_child->isConnected())
        return failOpening(opening, disconnected());
    m_child->complete<AgentStartResult>(opening.done, AgentStartResult{ *m_sessionId, opening.replayed });
}

void ACPClient::failOpening(const Opening& opening, AgentError error)
{
    m_child->complete<AgentStartResult>(opening.done, Failure{ std::move(error) });
}

PendingRequests::Handler ACPClient::next(ResultStep step, Opening opening)
{
    return [weak = weak_from_this(), step, opening = std::move(opening)](const JsonRpcReply& reply) {
        const auto client = weak.lock();
        if (!client)
            return opening.done.abandon();
        client->m_queue->assertCurrent();
        if (reply)
            (client.get()->*step)(reply.value(), opening);
        else
            client->failOpening(opening, reply.error());
    };
}

PendingRequests::Handler ACPClient::next(ReplyStep step, Opening opening)
{
    return [weak = weak_from_this(), step, opening = std::move(opening)](const JsonRpcReply& reply) {
        if (const auto client = weak.lock())
            (client.get()->*step)(reply, opening);
        else
            opening.done.abandon();
    };
}

void ACPClient::setConfigOption(std::string_view configId, std::string_view value, PendingRequests::Handler handler)
{
    sendRequest(
        "session/set_config_option", { { "sessionId", *m_sessionId }, { "configId", configId }, { "value", value } }, std::move(handler));
}

void ACPClient::startTurn(const std::string& prompt, Completion<JsonObject> done)
{
    if (!m_sessionId)
        return m_child->complete<JsonObject>(done, Failure{ AgentError(disconnected()) });
    const JsonObject text{ { "type", "text" }, { "text", prompt } };
    sendRequest("session/prompt", { { "sessionId", *m_sessionId }, { "prompt", JsonArray{ text } } }, turnEnd(std::move(done)));
}

PendingRequests::Handler ACPClient::turnEnd(Completion<JsonObject> done)
{
    return [weak = weak_from_this(), done = std::move(done)](const JsonRpcReply& reply) {
        const auto client = weak.lock();
        if (!client)
            return done.abandon();
        client->m_queue->assertCurrent();
        client->m_child->complete<JsonObject>(done, reply);
    };
}

void ACPClient::cancelTurn()
{
    if (!m_sessionId)
        return;
    sendNotification("session/cancel", { { "sessionId", *m_sessionId } });
    for (const std::int64_t id : std::exchange(m_pendingPermissionIDs, {}))
        answerPermission(id, { { "outcome", "cancelled" } });
}

} // namespace tessarin
