#include "Services/CodexAppServerClient.h"

#include <utility>

namespace tessarin
{

std::shared_ptr<CodexAppServerClient> CodexAppServerClient::make(Configuration configuration, MainThread& mainThread)
{
    return std::shared_ptr<CodexAppServerClient>(new CodexAppServerClient(std::move(configuration), mainThread));
}

CodexAppServerClient::CodexAppServerClient(Configuration configuration, MainThread& mainThread)
    : m_configuration(std::move(configuration))
    , m_queue(std::make_shared<SerialQueue>("com.local.tessarin.codex-app-server"))
    , m_child(std::make_shared<RuntimeChild>("Codex", mainThread, m_queue))
{
}

CodexAppServerClient::~CodexAppServerClient()
{
    m_queue->post([queue = m_queue, child = m_child] { child->terminate(); });
    // Nothing waits after a `stop`. Without one the flows end here unheard: their handlers find the client gone.
    for (const PendingRequests::Handler& handler : m_pending.takeAll())
        handler(Failure{ AgentError(AgentRuntimeError{}) });
    for (const auto& [turnID, done] : m_turnCompletions)
        done.abandon();
}

AgentProvider CodexAppServerClient::provider() const
{
    return AgentProvider::codex;
}

void CodexAppServerClient::start(std::optional<std::string> existingSessionID, StartCompletion completion)
{
    m_child->open(shared_from_this());
    m_queue->post([self = shared_from_this(), opening = Opening{ std::move(existingSessionID), Completion(std::move(completion)) }] {
        self->m_queue->assertCurrent();
        self->launch(opening);
        self->m_child->flush();
    });
}

void CodexAppServerClient::sendPrompt(std::string prompt, PromptCompletion completion)
{
    m_queue->post([self = shared_from_this(), prompt = std::move(prompt), done = Completion<JsonObject>(std::move(completion))] {
        self->m_queue->assertCurrent();
        self->startTurn(prompt, done);
        self->m_child->flush();
    });
}

void CodexAppServerClient::cancel()
{
    m_queue->post([self = shared_from_this()] {
        self->m_queue->assertCurrent();
        self->cancelTurn();
        self->m_child->flush();
    });
}

void CodexAppServerClient::respondToPermission(std::int64_t requestID, std::string optionID)
{
    m_queue->post([self = shared_from_this(), requestID, optionID = std::move(optionID)] {
        self->m_queue->assertCurrent();
        // Nothing is found when it was answered before, or called off.
        if (const auto approval = self->m_pendingApprovals.extract(requestID))
            self->respondToApproval(approval.mapped(), optionID);
        self->m_child->flush();
    });
}

void CodexAppServerClient::stop()
{
    m_child->close();
    m_queue->post([self = shared_from_this()] {
        self->m_queue->assertCurrent();
        self->stopOnQueue();
        self->m_child->flush();
    });
}

void CodexAppServerClient::finishStop()
{
    m_queue->sync([] {}); // behind the work above
}

} // namespace tessarin
