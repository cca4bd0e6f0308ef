#include "Services/CodexAppServerClient.h"

#include "Platform/Files.h"
#include "Services/ProgramVersion.h"

#include <utility>

// How a CodexAppServerClient launches its child and opens a thread, and how both end.

namespace tessarin
{

namespace
{

constexpr std::string_view clientName = "tessarin";

AgentRuntimeError failure(AgentRuntimeError::Kind kind, std::string message)
{
    return { AgentProvider::codex, kind, std::move(message) };
}

AgentRuntimeError disconnected()
{
    return failure(AgentRuntimeError::Kind::disconnected, "Codex disconnected.");
}

} // namespace

void CodexAppServerClient::launch(Opening opening)
{
    if (!isExecutableFile(m_configuration.executable)) {
        const std::string text = "The Codex executable is not installed.";
        return failOpening(opening, failure(AgentRuntimeError::Kind::protocolError, text));
    }
    ChildLaunch launch;
    launch.executable = m_configuration.executable;
    launch.arguments = { "app-server" };
    launch.workingDirectory = m_configuration.workspacePath;
    launch.environment = m_configuration.processEnvironment;
    if (const auto launched = m_child->launch(launch); !launched)
        return failOpening(opening, failure(AgentRuntimeError::Kind::protocolError, launched.error()));
    sendInitialize(std::move(opening));
}

void CodexAppServerClient::sendInitialize(Opening opening)
{
    const JsonObject client{ { "name", clientName }, { "title", clientName }, { "version", programVersion() } };
    const JsonObject capabilities{ { "experimentalApi", true } };
    sendRequest("initialize", { { "clientInfo", client }, { "capabilities", capabilities } },
        next(&CodexAppServerClient::initialized, std::move(opening)));
}

void CodexAppServerClient::initialized(const JsonObject&, Opening opening)
{
    m_child->write(JsonRpc::notification("initialized"));
    refreshUsage();
    if (opening.storedThreadID)
        resumeThread(std::move(opening));
    else
        createThread(std::move(opening));
}

void CodexAppServerClient::resumeThread(Opening opening)
{
    JsonObject params = threadParameters();
    params["threadId"] = *opening.storedThreadID;
    sendRequest("thread/resume", std::move(params), next(&CodexAppServerClient::threadResumed, std::move(opening)));
}

void CodexAppServerClient::threadResumed(const JsonRpcReply& reply, Opening opening)
{
    if (reply)
        return finishThreadStart(reply.value(), true, opening);
    // With the child gone there is nobody to ask for a new thread.
    if (!m_child->isConnected())
        return failOpening(opening, reply.error());
    createThread(std::move(opening));
}

void CodexAppServerClient::createThread(Opening opening)
{
    sendRequest("thread/start", threadParameters(), next(&CodexAppServerClient::threadCreated, std::move(opening)));
}

void CodexAppServerClient::threadCreated(const JsonObject& result, Opening opening)
{
    finishThreadStart(result, false, opening);
}

void CodexAppServerClient::finishThreadStart(const JsonObject& result, bool replayed, const Opening& opening)
{
    const JsonObject* thread = objectAt(result, "thread");
    const auto id = thread ? textAt(*thread, "id") : std::nullopt;
    if (!id)
        return failOpening(opening, failure(AgentRuntimeError::Kind::protocolError, "Codex did not return a thread ID."));
    m_sessionId = std::string(*id);
    m_child->complete<AgentStartResult>(opening.done, AgentStartResult{ *m_sessionId, replayed });
}

void CodexAppServerClient::failOpening(const Opening& opening, AgentError error)
{
    m_child->complete<AgentStartResult>(opening.done, Failure{ std::move(error) });
}

PendingRequests::Handler CodexAppServerClient::next(ResultStep step, Opening opening)
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

PendingRequests::Handler CodexAppServerClient::next(ReplyStep step, Opening opening)
{
    return [weak = weak_from_this(), step, opening = std::move(opening)](const JsonRpcReply& reply) {
        if (const auto client = weak.lock())
            (client.get()->*step)(reply, opening);
        else
            opening.done.abandon();
    };
}

void CodexAppServerClient::childEnded(ChildEnd end)
{
    m_queue->assertCurrent();
    failPending(disconnected());
    m_child->reportTermination(m_child->lastWords(end));
}

// Nothing that waits can be answered any more: what was not written was not heard.
void CodexAppServerClient::writeFailed(const SystemError& error)
{
    m_queue->assertCurrent();
    failPending(error);
}

void CodexAppServerClient::stopOnQueue()
{
    m_child->stop();
    failPending(disconnected());
}

void CodexAppServerClient::failPending(const AgentError& error)
{
    const auto requests = m_pending.takeAll();
    const auto turns = std::exchange(m_turnCompletions, {});
    for (const PendingRequests::Handler& handler : requests)
        handler(Failure{ error });
    for (const auto& [turnID, done] : turns)
        m_child->complete<JsonObject>(done, Failure{ error });
}

void CodexAppServerClient::sendRequest(std::string_view method, JsonObject params, PendingRequests::Handler handler)
{
    const std::int64_t id = m_pending.add(std::move(handler));
    m_child->write(JsonRpc::request(id, method, std::move(params)));
}

} // namespace tessarin
