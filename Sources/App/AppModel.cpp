#include "App/AppModel.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

std::shared_ptr<AppModel> AppModel::make(Surroundings surroundings)
{
    std::shared_ptr<AppModel> model(new AppModel(std::move(surroundings)));
    model->configureRemoteHost();
    model->loadRemoteSecret();
    model->refreshInstallStatus();
    model->refreshCodexInstallStatus();
    model->refreshKimiInstallStatus();
    model->refreshOpenCodeInstallStatus();
    model->refreshClaudeInstallStatus();
    return model;
}

AppModel::AppModel(Surroundings surroundings)
    : m_surroundings(std::move(surroundings))
    , m_workspaces(m_surroundings.store.load())
    , m_remoteHost(m_surroundings.mainThread)
    , m_imagineStore(m_surroundings.preferences.locations(), m_surroundings.now)
    , m_imagineArrivals(makeImagineArrivals())
{
    if (!m_workspaces.empty()) {
        const Workspace& first = m_workspaces.front();
        m_selectedWorkspaceID = first.id;
        if (!first.threads.empty()) {
            m_selectedThreadID = first.threads.front().id;
        }
    }
    const Preferences& preferences = m_surroundings.preferences;
    m_permissionMode = grokPermissionModeFromRawText(preferences.text(permissionModeKey).value_or("")).value_or(GrokPermissionMode::ask);
    m_routingMode = providerRoutingModeFromRawText(preferences.text(routingModeKey).value_or("")).value_or(ProviderRoutingMode::automatic);
    m_remoteEnabled = preferences.boolean(RemoteHostConfiguration::enabledKey).value_or(false);
    auto advertisedHost = preferences.text(RemoteHostConfiguration::advertisedHostKey);
    m_remoteAdvertisedHost = advertisedHost ? std::move(*advertisedHost) : m_surroundings.remote.suggestedAddress();
    m_imagineItems = m_imagineStore.load();
}

AppModel::~AppModel() = default;

AppModel::Subscription AppModel::observe(Observer observer)
{
    return m_signal.join(std::move(observer));
}

void AppModel::changed(ModelChange::Kind kind, std::size_t index)
{
    m_signal.fire({ kind, index });
}

void AppModel::setConnectionState(ConnectionState state)
{
    m_isSigningIn = false;
    publish(m_connectionState, std::move(state), ModelChange::Kind::connectionState);
}

void AppModel::clearPermissionRequest()
{
    publish(m_permissionRequest, std::optional<PermissionRequest>(), ModelChange::Kind::permissionRequest);
}

void AppModel::setErrorMessage(std::optional<std::string> message)
{
    publish(m_errorMessage, std::move(message), ModelChange::Kind::errorMessage);
}

void AppModel::setActiveProvider(std::optional<AgentProvider> provider)
{
    publish(m_activeProvider, provider, ModelChange::Kind::activeProvider);
}

void AppModel::setPlan(std::vector<PlanEntry> plan)
{
    publish(m_plan, std::move(plan), ModelChange::Kind::plan);
}

void AppModel::clearLog()
{
    publish(m_cliLog, std::string(), ModelChange::Kind::cliLog);
}

void AppModel::fail(const std::string& text, std::string message)
{
    setConnectionState(ConnectionState::failed(text));
    setErrorMessage(std::move(message));
}

void AppModel::setImagineState(ConnectionState state)
{
    publish(m_imagineState, std::move(state), ModelChange::Kind::imagineState);
}

void AppModel::setImagineProgress(std::string progress)
{
    publish(m_imagineProgress, std::move(progress), ModelChange::Kind::imagineProgress);
}

void AppModel::failImagine(const std::string& text, std::string message)
{
    setImagineState(ConnectionState::failed(text));
    setErrorMessage(std::move(message));
}

void AppModel::setSelectedSection(AppSection section)
{
    publish(m_selectedSection, section, ModelChange::Kind::section);
}

void AppModel::clearError()
{
    setErrorMessage(std::nullopt);
}

const std::vector<Workspace>& AppModel::workspaces() const
{
    return m_workspaces;
}
const std::optional<Uuid>& AppModel::selectedWorkspaceID() const
{
    return m_selectedWorkspaceID;
}
const std::optional<Uuid>& AppModel::selectedThreadID() const
{
    return m_selectedThreadID;
}
const ConnectionState& AppModel::connectionState() const
{
    return m_connectionState;
}
const std::vector<PlanEntry>& AppModel::plan() const
{
    return m_plan;
}
const std::optional<PermissionRequest>& AppModel::permissionRequest() const
{
    return m_permissionRequest;
}
const std::optional<std::string>& AppModel::errorMessage() const
{
    return m_errorMessage;
}
const std::string& AppModel::cliLog() const
{
    return m_cliLog;
}
AppSection AppModel::selectedSection() const
{
    return m_selectedSection;
}
GrokPermissionMode AppModel::permissionMode() const
{
    return m_permissionMode;
}
ProviderRoutingMode AppModel::routingMode() const
{
    return m_routingMode;
}
std::optional<AgentProvider> AppModel::activeProvider() const
{
    return m_activeProvider;
}
const std::map<AgentProvider, ProviderUsage>& AppModel::providerUsage() const
{
    return m_providerUsage;
}

const Workspace* AppModel::selectedWorkspace() const
{
    if (!m_selectedWorkspaceID) {
        return nullptr;
    }
    const auto isSelected = [this](const Workspace& workspace) { return workspace.id == *m_selectedWorkspaceID; };
    if (m_workspaceRow < m_workspaces.size() && isSelected(m_workspaces[m_workspaceRow])) {
        return &m_workspaces[m_workspaceRow];
    }
    const auto found = std::find_if(m_workspaces.begin(), m_workspaces.end(), isSelected);
    if (found == m_workspaces.end()) {
        return nullptr;
    }
    m_workspaceRow = static_cast<std::size_t>(found - m_workspaces.begin());
    return &*found;
}

const ChatThread* AppModel::selectedThread() const
{
    const Workspace* workspace = selectedWorkspace();
    if (!workspace || !m_selectedThreadID) {
        return nullptr;
    }
    const std::vector<ChatThread>& threads = workspace->threads;
    const auto isSelected = [this](const ChatThread& thread) { return thread.id == *m_selectedThreadID; };
    if (m_threadRow < threads.size() && isSelected(threads[m_threadRow])) {
        return &threads[m_threadRow];
    }
    const auto found = std::find_if(threads.begin(), threads.end(), isSelected);
    if (found == threads.end()) {
        return nullptr;
    }
    m_threadRow = static_cast<std::size_t>(found - threads.begin());
    return &*found;
}

const std::vector<ChatEntry>& AppModel::entries() const
{
    static const std::vector<ChatEntry> none;
    const ChatThread* thread = selectedThread();
    return thread ? thread->entries : none;
}

bool AppModel::canSend() const
{
    return selectedWorkspace() && !m_connectionState.isBusy();
}

bool AppModel::isTurnUnderWay() const
{
    return m_connectionState.isBusy() && !m_isSigningIn;
}

bool AppModel::canChangePermissionMode() const
{
    return !m_connectionState.isBusy() && !m_imagineState.isBusy() && !m_permissionRequest;
}

bool AppModel::canChangeRoutingMode() const
{
    return canChangePermissionMode();
}

bool AppModel::hasRunnableProvider() const
{
    if (const auto pinned = preferredProvider(m_routingMode)) {
        return providerAvailable(*pinned);
    }
    return std::any_of(
        allAgentProviders.begin(), allAgentProviders.end(), [this](AgentProvider provider) { return providerAvailable(provider); });
}

std::string AppModel::activeProviderLabel() const
{
    return std::string(m_activeProvider ? shortLabel(*m_activeProvider) : label(m_routingMode));
}

std::string AppModel::connectionLabel() const
{
    if (m_connectionState.kind() == ConnectionState::Kind::working && m_activeProvider) {
        return std::string(shortLabel(*m_activeProvider)) + " is working";
    }
    return std::string(m_connectionState.label());
}

} // namespace tessarin
