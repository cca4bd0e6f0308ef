#include "App/AppModel.h"

#include "App/FriendlyError.h"
#include "App/HandoffCapsule.h"
#include "Platform/Text.h"

namespace tessarin
{

void AppModel::send(const std::string& text)
{
    const std::string prompt(trimmed(text));
    if (prompt.empty() || !selectedWorkspace()) {
        return;
    }
    updateThreadTitleIfNeeded(prompt); // this saves, so the entry below reaches the store with the next save only
    appendEntry(ChatEntry::make(ChatEntryKind::user, prompt));
    routePrompt({ prompt, prompt, {} });
}

void AppModel::routePrompt(Turn turn)
{
    const auto provider = providerForNextTurn(turn.attempted);
    if (!provider) {
        const std::string text = "No subscription runtime is ready. Install Grok Build, Codex, or Kimi Code and sign in.";
        fail(text, text);
        return;
    }
    const Workspace* workspace = selectedWorkspace();
    const ChatThread* thread = selectedThread();
    const auto lastProvider = thread ? thread->lastProvider : std::nullopt;
    if (turn.attempted.empty() && lastProvider && lastProvider != provider && workspace) {
        // The next runtime knows nothing of what the last one did.
        turn.prompt
            = HandoffCapsule::build({ *lastProvider, *provider, turn.originalPrompt, entries(), m_plan, workspace->path, std::nullopt });
        appendSystemEntry("Switched this task from " + std::string(shortLabel(*lastProvider)) + " to " + std::string(shortLabel(*provider))
            + " with visible context attached.");
    }
    turn.attempted.insert(*provider);
    if (m_client && m_client->provider() == *provider && m_connectionState.kind() == ConnectionState::Kind::ready) {
        performSend(turn);
    } else {
        startClient(*provider, performSendLater(std::move(turn)));
    }
}

void AppModel::performSend(const Turn& turn)
{
    if (!m_client) {
        return;
    }
    m_fallbackMessageIDs = FallbackMessageIDs::random();
    setConnectionState(ConnectionState::Kind::working);
    m_client->sendPrompt(
        turn.prompt, [weak = weak_from_this(), weakClient = std::weak_ptr(m_client), turn](const Result<JsonObject, AgentError>& result) {
            const auto model = weak.lock();
            if (model && model->isCurrent(weakClient)) {
                model->finishPrompt(model->m_client->provider(), turn, result);
            }
        });
}

std::function<void()> AppModel::performSendLater(Turn turn)
{
    return [weak = weak_from_this(), turn = std::move(turn)] {
        if (const auto model = weak.lock()) {
            model->performSend(turn);
        }
    };
}

void AppModel::finishPrompt(AgentProvider provider, const Turn& turn, const Result<JsonObject, AgentError>& result)
{
    if (result) {
        // The reply came by updates; there is nothing to read in the result.
        setConnectionState(ConnectionState::Kind::ready);
        persist();
        return;
    }
    if (result.error().isUsageLimitFailure()) {
        markExhausted(provider);
        std::set<AgentProvider> attempted = turn.attempted;
        attempted.insert(provider);
        const auto next = m_routingMode == ProviderRoutingMode::automatic ? nextAutomaticProvider(provider, attempted) : std::nullopt;
        if (next) {
            handoff(provider, *next, { {}, turn.originalPrompt, std::move(attempted) });
            return;
        }
    }
    const std::string text = result.error().description();
    fail(text, friendlyError(text, provider));
    appendSystemEntry("Error from " + std::string(shortLabel(provider)) + ": " + text);
}

void AppModel::stopWorking()
{
    if (m_client) {
        m_client->cancel();
    }
    clearPermissionRequest();
    setConnectionState(ConnectionState::Kind::ready);
    appendSystemEntry("Stopped by you.");
}

void AppModel::appendSystemEntry(std::string text)
{
    appendEntry(ChatEntry::make(ChatEntryKind::system, std::move(text)));
    persist();
}

} // namespace tessarin
