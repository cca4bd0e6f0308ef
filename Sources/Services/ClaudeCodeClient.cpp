#include "Services/ClaudeCodeClient.h"

#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Platform/Uuid.h"
#include "Services/ClaudeCodeMessages.h"

#include <utility>

// The operations of a ClaudeCodeClient: opening a session, a turn, calling it off, the end.

namespace tessarin
{

namespace
{

using Kind = ClaudeCodeClientError::Kind;

ClaudeCodeClientError failure(Kind kind, std::string text = {})
{
    return { kind, std::move(text) };
}

} // namespace

std::shared_ptr<ClaudeCodeClient> ClaudeCodeClient::make(Configuration configuration, MainThread& mainThread)
{
    return std::shared_ptr<ClaudeCodeClient>(new ClaudeCodeClient(std::move(configuration), mainThread));
}

ClaudeCodeClient::ClaudeCodeClient(Configuration configuration, MainThread& mainThread)
    : m_configuration(std::move(configuration))
    , m_queue(std::make_shared<SerialQueue>("com.local.tessarin.claude-code"))
    , m_child(std::make_shared<RuntimeChild>("Claude Code", mainThread, m_queue))
{
}

ClaudeCodeClient::~ClaudeCodeClient()
{
    // Nothing waits after a `stop`. Without one the flows end here unheard: their handlers find the client gone.
    for (const auto& [id, completion] : m_controlCompletions)
        completion(Failure{ AgentError(failure(Kind::disconnected)) });
    if (m_promptCompletion)
        m_promptCompletion->abandon();
}

AgentProvider ClaudeCodeClient::provider() const
{
    return AgentProvider::claude;
}

void ClaudeCodeClient::start(std::optional<std::string> existingSessionID, StartCompletion completion)
{
    m_child->open(shared_from_this());
    Opening opened = opening(std::move(existingSessionID), std::move(completion));
    // The launch happens on the queue, so that nothing that the child does can be handled before `initialize` waits for its answer.
    m_queue->sync([this, &opened] {
        m_queue->assertCurrent();
        launch(std::move(opened));
        m_child->flush();
    });
}

void ClaudeCodeClient::sendPrompt(std::string prompt, PromptCompletion completion)
{
    const Completion<JsonObject> done(std::move(completion));
    m_queue->sync([this, &prompt, &done] {
        m_queue->assertCurrent();
        startTurn(prompt, done);
        m_child->flush();
    });
}

void ClaudeCodeClient::cancel()
{
    m_queue->sync([this] {
        m_queue->assertCurrent();
        cancelTurn();
        m_child->flush();
    });
}

void ClaudeCodeClient::respondToPermission(std::int64_t requestID, std::string optionID)
{
    m_queue->sync([this, requestID, &optionID] {
        m_queue->assertCurrent();
        answerPermission(requestID, optionID);
        m_child->flush();
    });
}

void ClaudeCodeClient::stop()
{
    m_child->close();
    m_queue->sync([this] {
        m_queue->assertCurrent();
        stopOnQueue();
        m_child->flush();
    });
}

ClaudeCodeClient::Opening ClaudeCodeClient::opening(std::optional<std::string> existingSessionID, StartCompletion completion)
{
    const bool resume = existingSessionID.has_value();
    std::string sessionID = resume ? *std::move(existingSessionID) : lowerCased(Uuid::random().text());
    return { std::move(sessionID), resume, Completion(std::move(completion)) };
}

void ClaudeCodeClient::launch(Opening opening)
{
    if (const auto launched = launchProcess(opening); !launched)
        return m_child->complete<AgentStartResult>(opening.done, Failure{ launched.error() });
    m_sessionID = opening.sessionID;
    initialize(std::move(opening));
}

Result<void, AgentError> ClaudeCodeClient::launchProcess(const Opening& opening)
{
    if (!isExecutableFile(m_configuration.executable))
        return Failure{ AgentError(failure(Kind::executableMissing)) };
    using ClaudeCodeMessages::SessionOrigin;
    ChildLaunch launch;
    launch.executable = m_configuration.executable;
    launch.arguments = ClaudeCodeMessages::arguments(m_configuration.model, m_configuration.permissionMode, opening.sessionID,
        opening.resume ? SessionOrigin::stored : SessionOrigin::created);
    launch.workingDirectory = m_configuration.workspacePath;
    launch.environment = m_configuration.processEnvironment;
    if (const auto launched = m_child->launch(launch); !launched)
        return Failure{ AgentError(failure(Kind::processFailed, launched.error())) };
    return {};
}

void ClaudeCodeClient::initialize(Opening opening)
{
    sendControlRequest(
        ClaudeCodeMessages::initialize(), [weak = weak_from_this(), opening = std::move(opening)](const ControlReply& reply) {
            const auto client = weak.lock();
            if (!client)
                return opening.done.abandon();
            client->m_queue->assertCurrent();
            client->initialized(reply, opening);
        });
}

void ClaudeCodeClient::initialized(const ControlReply& reply, const Opening& opening)
{
    if (reply)
        m_child->complete<AgentStartResult>(opening.done, AgentStartResult{ opening.sessionID, opening.resume });
    else
        m_child->complete<AgentStartResult>(opening.done, Failure{ reply.error() });
}

void ClaudeCodeClient::startTurn(const std::string& prompt, Completion<JsonObject> done)
{
    const auto refuse = [this, &done](ClaudeCodeClientError error) {
        m_queue->assertCurrent();
        m_child->complete<JsonObject>(done, Failure{ AgentError(std::move(error)) });
    };
    if (!m_child->isConnected() || !m_sessionID)
        return refuse(failure(Kind::disconnected, "Claude Code is not connected."));
    if (m_promptCompletion)
        return refuse(failure(Kind::protocolError, "Claude Code is already handling a prompt."));
    m_promptCompletion = std::move(done);
    m_turn = ClaudeCodeTurn();
    m_child->write(ClaudeCodeMessages::prompt(prompt, *m_sessionID));
}

void ClaudeCodeClient::cancelTurn()
{
    if (!m_child->isConnected())
        return;
    // Whatever it answers, the turn ends with its `result`.
    sendControlRequest(ClaudeCodeMessages::interrupt(), [](const ControlReply&) {});
    for (const auto& [id, permission] : std::exchange(m_permissions, {}))
        m_child->write(ClaudeCodeMessages::deny(permission.controlRequestID));
}

void ClaudeCodeClient::stopOnQueue()
{
    m_child->stop();
    failPending(failure(Kind::disconnected, "Claude Code stopped."));
}

void ClaudeCodeClient::writeFailed(const SystemError& error)
{
    m_queue->assertCurrent();
    failPending(error);
}

// A turn that was running fails with what the child said last, as everybody else hears it.
void ClaudeCodeClient::childEnded(ChildEnd end)
{
    m_queue->assertCurrent();
    const std::string lastWords = m_child->lastWords(end);
    failPending(failure(Kind::disconnected, lastWords));
    m_child->reportTermination(lastWords);
}

void ClaudeCodeClient::failPending(const AgentError& error)
{
    for (const auto& [id, completion] : std::exchange(m_controlCompletions, {}))
        completion(Failure{ error });
    if (const auto done = std::exchange(m_promptCompletion, std::nullopt))
        m_child->complete<JsonObject>(*done, Failure{ error });
    // Nobody is there to hear an answer.
    m_permissions.clear();
}

} // namespace tessarin
