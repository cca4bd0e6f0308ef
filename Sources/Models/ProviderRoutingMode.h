#pragma once

#include "Models/AgentProvider.h"

namespace tessarin
{

// How a prompt finds its runtime: automatically, or always the same one.
enum class ProviderRoutingMode { automatic, grok, codex, kimi, glm, claude };

inline constexpr std::array allProviderRoutingModes{ ProviderRoutingMode::automatic, ProviderRoutingMode::grok, ProviderRoutingMode::codex,
    ProviderRoutingMode::kimi, ProviderRoutingMode::glm, ProviderRoutingMode::claude };

[[nodiscard]] std::string_view rawText(ProviderRoutingMode mode);
[[nodiscard]] std::optional<ProviderRoutingMode> providerRoutingModeFromRawText(std::string_view text);

[[nodiscard]] std::string_view label(ProviderRoutingMode mode);
[[nodiscard]] std::string_view detail(ProviderRoutingMode mode);
// The provider that the mode pins; absent for `automatic`.
[[nodiscard]] std::optional<AgentProvider> preferredProvider(ProviderRoutingMode mode);

} // namespace tessarin
