#pragma once

#include "Models/AgentProvider.h"
#include "Platform/Instant.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

enum class ChatEntryKind { user, assistant, thought, tool, system };

inline constexpr std::array allChatEntryKinds{ ChatEntryKind::user, ChatEntryKind::assistant, ChatEntryKind::thought, ChatEntryKind::tool,
    ChatEntryKind::system };

// The stored text; parsed exactly, absent for any other text.
[[nodiscard]] std::string_view rawText(ChatEntryKind kind);
[[nodiscard]] std::optional<ChatEntryKind> chatEntryKindFromRawText(std::string_view text);

// One item of a task.
struct ChatEntry {
    std::string id; // identity inside its task; opaque
    ChatEntryKind kind = ChatEntryKind::user;
    std::string text; // grows by appending for streamed kinds, replaced for `tool`
    std::optional<std::string> title; // of a tool
    std::optional<std::string> status; // of a tool, as the runtime words it
    std::optional<AgentProvider> provider; // active when an update created the entry
    Instant createdAt;
    bool operator==(const ChatEntry&) const = default;

    // With a fresh random id, created now.
    [[nodiscard]] static ChatEntry make(ChatEntryKind kind, std::string text);
};

} // namespace tessarin
