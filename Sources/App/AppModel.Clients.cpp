#include "App/AppModel.h"

#include "App/FriendlyError.h"
#include "App/InstallMessage.h"
#include "Services/ACPClient.h"
#include "Services/ClaudeCodeClient.h"
#include "Services/CodexAppServerClient.h"
#include "Services/Locators.h"
#include "Services/RuntimeProgram.h"

#include <tuple>

namespace tessarin
{
namespace
{

// Those runtimes that speak the Agent Client Protocol.
ACPClient::Configuration acpConfiguration(AgentProvider provider, std::string executable, const std::string& workspacePath,
    GrokPermissionMode permissionMode, const RuntimeContext& context)
{
    auto configuration = ACPClient::Configuration::grok(std::move(executable), workspacePath, std::nullopt, permissionMode, context);
    configuration.provider = provider;
    if (provider == AgentProvider::kimi) {
        configuration.processArguments = { "acp" };
        configuration.processEnvironment = KimiLocator::subscriptionEnvironment(context);
    } else if (provider == AgentProvider::glm) {
        configuration.model = OpenCodeLocator::configuredModel(context);
        configuration.processArguments = { "acp", "--cwd", workspacePath };
        configuration.processEnvironment = OpenCodeLocator::subscriptionEnvironment(context);
    }
    return configuration;
}

} // namespace

// Where a runtime of this provider is; absent where none can take a turn.
std::optional<std::string> AppModel::usableExecutable(AgentProvider provider) const
{
    const RuntimeContext& context = m_surroundings.runtimes;
    switch (provider) {
    case AgentProvider::grok:
        return GrokLocator::findExecutable(context);
    case AgentProvider::kimi:
        return KimiLocator::findExecutable(context);
    case AgentProvider::glm:
        if (!OpenCodeLocator::isCodingPlanModel(OpenCodeLocator::configuredModel(context))) {
            return std::nullopt;
        }
        return OpenCodeLocator::findExecutable(context);
    case AgentProvider::codex:
        return CodexLocator::findExecutable(context);
    case AgentProvider::claude:
        return ClaudeLocator::findExecutable(context);
    }
    return std::nullopt;
}

std::shared_ptr<AgentClient> AppModel::makeClient(AgentProvider provider, const std::string& workspacePath) const
{
    const auto executable = usableExecutable(provider);
    if (!executable) {
        return nullptr;
    }
    const RuntimeContext& context = m_surroundings.runtimes;
    MainThread& mainThread = m_surroundings.mainThread;
    switch (provider) {
    case AgentProvider::codex:
        return CodexAppServerClient::make(
            { *executable, workspacePath, m_permissionMode, CodexLocator::subscriptionEnvironment(context) }, mainThread);
    case AgentProvider::claude:
        return ClaudeCodeClient::make({ *executable, workspacePath, ClaudeLocator::configuredModel(context), m_permissionMode,
                                          ClaudeLocator::subscriptionEnvironment(context) },
            mainThread);
    case AgentProvider::grok:
    case AgentProvider::kimi:
    case AgentProvider::glm:
        break;
    }
    return ACPClient::make(acpConfiguration(provider, *executable, workspacePath, m_permissionMode, context), mainThread);
}

void AppModel::startClient(AgentProvider provider, std::function<void()> afterReady)
{
    const Workspace* workspace = selectedWorkspace();
    const ChatThread* thread = selectedThread();
    if (!workspace || !thread) {
        return;
    }
    const std::shared_ptr<AgentClient> client = makeClient(provider, workspace->path);
    if (!client) {
        // The old client stays as it is, and with it the active provider.
        const std::string text(installMessage(provider));
        fail(text, text);
        return;
    }
    dropClient();
    setConnectionState(ConnectionState::Kind::connecting);
    clearLog();
    m_client = client;
    setActiveProvider(provider);
    setCallbacks(client);
    client->start(thread->sessionID(provider),
        [weak = weak_from_this(), weakClient = std::weak_ptr(client), provider, afterReady = std::move(afterReady)](
            const Result<AgentStartResult, AgentError>& result) {
            const auto model = weak.lock();
            if (model && model->isCurrent(weakClient)) {
                model->finishStart(provider, result, afterReady);
            }
        });
}

// Only the end of the child asks whether the client is still the current one. What else a replaced client has sent lands in the task that
// is selected when it arrives, on purpose.
void AppModel::setCallbacks(const std::shared_ptr<AgentClient>& client)
{
    const std::weak_ptr<AppModel> weak = weak_from_this();
    client->onSessionUpdate = [weak](const SessionUpdate& update) {
        if (const auto model = weak.lock()) {
            model->handle(update);
        }
    };
    client->onPermissionRequest = [weak, weakClient = std::weak_ptr(client)](PermissionRequest request) {
        if (const auto model = weak.lock()) {
            model->receivePermission(PermissionOwner::build, weakClient, std::move(request));
        }
    };
    client->onLog = [weak](const std::string& text) {
        if (const auto model = weak.lock()) {
            model->appendLog(text);
        }
    };
    client->onReplayStarted = [weak] {
        if (const auto model = weak.lock()) {
            model->beginReplay();
        }
    };
    client->onReplayFailed = [weak] {
        if (const auto model = weak.lock()) {
            model->abandonReplay();
        }
    };
    // Held weakly, since the client holds this itself.
    client->onUnexpectedTermination = [weak, weakClient = std::weak_ptr(client)](const std::string& text) {
        const auto model = weak.lock();
        if (model && model->isCurrent(weakClient)) {
            model->forgetAsker(weakClient);
            model->fail(text, text);
        }
    };
    client->onUsageUpdate = [weak](ProviderUsage usage) {
        if (const auto model = weak.lock()) {
            model->replaceUsage(std::move(usage));
        }
    };
}

void AppModel::finishStart(
    AgentProvider provider, const Result<AgentStartResult, AgentError>& result, const std::function<void()>& afterReady)
{
    if (!result) {
        // A replay that had begun is undone by onReplayFailed or not at all.
        const std::string text = result.error().description();
        fail(text, friendlyError(text, provider));
        return;
    }
    m_isReplaying = false;
    m_replayBackup.reset(); // what was replayed stands
    updateActiveThread([&](ChatThread& thread) {
        const auto sessions = [&thread] { return std::tuple(thread.sessionId, thread.providerSessionIDs, thread.lastProvider); };
        const auto before = sessions();
        thread.setSessionID(result.value().sessionId, provider);
        if (sessions() != before) {
            m_treeChanges.noteFields(thread.id);
            changed(ModelChange::Kind::workspaces);
        }
    });
    setConnectionState(ConnectionState::Kind::ready);
    persist();
    afterReady();
}

void AppModel::beginReplay()
{
    m_replayBackup = entries();
    m_isReplaying = true;
    setEntries({});
}

void AppModel::abandonReplay()
{
    if (m_replayBackup) {
        setEntries(std::move(*m_replayBackup));
    }
    m_replayBackup.reset();
    m_isReplaying = false;
}

void AppModel::appendLog(const std::string& text)
{
    if (!text.empty()) {
        m_cliLog += text;
        changed(ModelChange::Kind::cliLog);
    }
}

void AppModel::dropClient()
{
    if (m_client) {
        m_client->stop(); // dropping alone would leave the child running
        m_client.reset();
    }
}

void AppModel::stopRuntimes()
{
    abandonReplay();
    const std::vector<std::shared_ptr<AgentClient>> clients{ m_client, m_imagineClient };
    dropClient();
    dropImagineClient();
    stopProbes();
    m_signIns.stop();
    for (const std::shared_ptr<AgentClient>& client : clients) {
        if (client) {
            client->finishStop();
        }
    }
    if (!m_treeChanges.isEmpty()) {
        persist();
    }
}

bool AppModel::isCurrent(const std::weak_ptr<AgentClient>& client) const
{
    const auto alive = client.lock();
    return alive && alive == m_client;
}

} // namespace tessarin
