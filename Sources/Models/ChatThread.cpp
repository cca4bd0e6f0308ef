#include "Models/ChatThread.h"

#include <utility>

namespace tessarin
{

ChatThread ChatThread::make(std::string title)
{
    ChatThread thread;
    thread.id = Uuid::random();
    thread.title = std::move(title);
    thread.createdAt = Instant::now();
    thread.updatedAt = Instant::now();
    return thread;
}

std::optional<std::string> ChatThread::sessionID(AgentProvider provider) const
{
    if (providerSessionIDs) {
        if (const auto found = providerSessionIDs->find(std::string(rawText(provider))); found != providerSessionIDs->end()) {
            return found->second;
        }
    }
    return provider == AgentProvider::grok ? sessionId : std::nullopt;
}

void ChatThread::setSessionID(const std::string& sessionID, AgentProvider provider)
{
    if (!providerSessionIDs) {
        providerSessionIDs.emplace();
    }
    (*providerSessionIDs)[std::string(rawText(provider))] = sessionID;
    // Both fields stay in step for this one provider only: older records carry only `sessionId`.
    if (provider == AgentProvider::grok) {
        sessionId = sessionID;
    }
    lastProvider = provider;
}

} // namespace tessarin
