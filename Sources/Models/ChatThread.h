#pragma once

#include "Models/ChatEntry.h"
#include "Platform/Uuid.h"

#include <map>
#include <vector>

namespace tessarin
{

// One task inside a project.
struct ChatThread {
    static constexpr std::string_view defaultTitle = "New task";

    Uuid id;
    std::string title;
    std::optional<std::string> sessionId; // that of Grok, in step with providerSessionIDs: older records carry only this one
    std::optional<std::map<std::string, std::string>> providerSessionIDs; // by the provider's raw text
    std::optional<AgentProvider> lastProvider; // whose session was set last
    std::vector<ChatEntry> entries; // in order of arrival; none is ever dropped
    Instant createdAt;
    Instant updatedAt; // refreshed by appending and updating entries
    bool operator==(const ChatThread&) const = default;

    // Empty, with a fresh id, created now.
    [[nodiscard]] static ChatThread make(std::string title = std::string(defaultTitle));

    // The stored session of a provider; Grok falls back to `sessionId`.
    [[nodiscard]] std::optional<std::string> sessionID(AgentProvider provider) const;
    // Also makes the provider the last one.
    void setSessionID(const std::string& id, AgentProvider provider);
};

} // namespace tessarin
