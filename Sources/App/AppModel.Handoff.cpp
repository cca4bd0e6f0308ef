#include "App/AppModel.h"

#include "App/HandoffCapsule.h"

namespace tessarin
{

bool AppModel::providerAvailable(AgentProvider provider) const
{
    return usableExecutable(provider).has_value();
}

// Asking may drop a report whose renewal has come, which observers are told.
template <class Question>
std::optional<AgentProvider> AppModel::askAboutProviders(Question question)
{
    const std::size_t reportCount = m_providerUsage.size();
    const auto answer = question(ProviderSelection::Situation{
        m_routingMode,
        m_activeProvider,
        m_providerUsage,
        [this](AgentProvider provider) { return providerAvailable(provider); },
        m_surroundings.now(),
    });
    if (m_providerUsage.size() != reportCount) {
        changed(ModelChange::Kind::providerUsage);
    }
    return answer;
}

std::optional<AgentProvider> AppModel::providerForNextTurn(const std::set<AgentProvider>& excluding)
{
    return askAboutProviders(
        [&](const ProviderSelection::Situation& situation) { return ProviderSelection::providerForNextTurn(situation, excluding); });
}

std::optional<AgentProvider> AppModel::nextAutomaticProvider(AgentProvider after, const std::set<AgentProvider>& attempted)
{
    return askAboutProviders([&](const ProviderSelection::Situation& situation) {
        return ProviderSelection::nextAutomaticProvider(after, attempted, situation);
    });
}

void AppModel::handoff(AgentProvider from, AgentProvider to, Turn turn)
{
    const Workspace* workspace = selectedWorkspace();
    if (!workspace) {
        return;
    }
    // Built before the line below is written, which therefore is no part of it.
    turn.prompt = HandoffCapsule::build({ from, to, turn.originalPrompt, entries(), m_plan, workspace->path, std::nullopt });
    appendSystemEntry(
        std::string(shortLabel(from)) + " allowance reached. Automatically handed this task to " + std::string(shortLabel(to)) + ".");
    dropClient();
    setConnectionState(ConnectionState::Kind::idle);
    turn.attempted.insert(to);
    startClient(to, performSendLater(std::move(turn)));
}

void AppModel::markExhausted(AgentProvider provider)
{
    ProviderUsage usage;
    usage.provider = provider;
    if (const auto known = m_providerUsage.find(provider); known != m_providerUsage.end()) {
        usage = known->second;
    }
    usage.exhausted = true;
    replaceUsage(std::move(usage));
}

void AppModel::replaceUsage(ProviderUsage usage)
{
    const auto known = m_providerUsage.find(usage.provider);
    if (known == m_providerUsage.end() || known->second != usage) {
        m_providerUsage[usage.provider] = usage;
        changed(ModelChange::Kind::providerUsage);
    }
}

} // namespace tessarin
