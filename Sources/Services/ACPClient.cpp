#include "Services/ACPClient.h"

#include "Services/Locators.h"

#include <utility>

namespace tessarin
{

ACPClient::Configuration ACPClient::Configuration::grok(std::string executable, std::string workspacePath, std::optional<std::string> model,
    GrokPermissionMode permissionMode, const RuntimeContext& context)
{
    Configuration configuration;
    configuration.executable = std::move(executable);
    configuration.workspacePath = std::move(workspacePath);
    configuration.processArguments = agentArguments(permissionMode, model);
    configuration.model = std::move(model);
    configuration.permissionMode = permissionMode;
    configuration.processEnvironment = GrokLocator::augmentedEnvironment(context);
    configuration.terminalEnvironment = configuration.processEnvironment;
    return configuration;
}

std::shared_ptr<ACPClient> ACPClient::make(Configuration configuration, MainThread& mainThread)
{
    return std::shared_ptr<ACPClient>(new ACPClient(std::move(configuration), mainThread));
}

ACPClient::ACPClient(Configuration configuration, MainThread& mainThread)
    : m_configuration(std::move(configuration))
    , m_runtimeName(shortLabel(m_configuration.provider))
    , m_queue(std::make_shared<SerialQueue>("com.local.tessarin.acp"))
    , m_child(std::make_shared<RuntimeChild>(m_runtimeName, mainThread, m_queue))
    , m_terminals(m_configuration.terminalEnvironment)
    , m_arguments(m_configuration.processArguments)
{
}

ACPClient::~ACPClient()
{
    // Nothing waits after a `stop`. Without one the flows end here unheard: their handlers find the client gone.
    for (const PendingRequests::Handler& handler : m_pending.takeAll())
        handler(Failure{ AgentError(ACPClientError{ ACPClientError::Kind::disconnected, {} }) });
}

AgentProvider ACPClient::provider() const
{
    return m_configuration.provider;
}

void ACPClient::start(std::optional<std::string> existingSessionID, StartCompletion completion)
{
    m_child->open(shared_from_this());
    Opening opening{ std::move(existingSessionID), Completion(std::move(completion)) };
    // The launch happens on the queue, so that nothing that the child does can be handled before `initialize` waits for its answer: a
    // child that ends at once fails the start like any other.
    m_queue->sync([this, &opening] {
        m_queue->assertCurrent();
        launch(std::move(opening));
        m_child->flush();
    });
}

void ACPClient::sendPrompt(std::string prompt, PromptCompletion completion)
{
    const Completion<JsonObject> done(std::move(completion));
    m_queue->sync([this, &prompt, &done] {
        m_queue->assertCurrent();
        startTurn(prompt, done);
        m_child->flush();
    });
}

void ACPClient::cancel()
{
    m_queue->sync([this] {
        m_queue->assertCurrent();
        cancelTurn();
        m_child->flush();
    });
}

void ACPClient::respondToPermission(std::int64_t requestID, std::string optionID)
{
    m_queue->sync([this, requestID, &optionID] {
        m_queue->assertCurrent();
        selectPermission(requestID, optionID);
        m_child->flush();
    });
}

void ACPClient::stop()
{
    m_child->close();
    m_queue->sync([this] {
        m_queue->assertCurrent();
        stopOnQueue();
        m_child->flush();
    });
}

// The runtime has been asked within the stop; what it ran through us is asked behind it.
void ACPClient::finishStop()
{
    m_terminals.finishReleases();
}

} // namespace tessarin
