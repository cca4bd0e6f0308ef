#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tessarin
{

// The five runtimes. The order is the automatic routing order.
enum class AgentProvider { grok, codex, kimi, glm, claude };

inline constexpr std::array allAgentProviders{ AgentProvider::grok, AgentProvider::codex, AgentProvider::kimi, AgentProvider::glm,
    AgentProvider::claude };

// The text that is stored and travels over the wire; parsed exactly, absent for any other text.
[[nodiscard]] std::string_view rawText(AgentProvider provider);
[[nodiscard]] std::optional<AgentProvider> agentProviderFromRawText(std::string_view text);

[[nodiscard]] std::string_view label(AgentProvider provider);
[[nodiscard]] std::string_view shortLabel(AgentProvider provider);
[[nodiscard]] std::string_view systemImage(AgentProvider provider);

} // namespace tessarin
