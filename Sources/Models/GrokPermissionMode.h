#pragma once

#include "Models/AgentProvider.h"

#include <string>
#include <vector>

namespace tessarin
{

// How much an agent may do unasked. One mode for all providers, in spite of its name.
enum class GrokPermissionMode { ask, auto_, fullAccess };

inline constexpr std::array allGrokPermissionModes{ GrokPermissionMode::ask, GrokPermissionMode::auto_, GrokPermissionMode::fullAccess };

[[nodiscard]] std::string_view rawText(GrokPermissionMode mode);
[[nodiscard]] std::optional<GrokPermissionMode> grokPermissionModeFromRawText(std::string_view text);

[[nodiscard]] std::string_view label(GrokPermissionMode mode);
[[nodiscard]] std::string_view grokName(GrokPermissionMode mode);
[[nodiscard]] std::string_view systemImage(GrokPermissionMode mode);
// The mode words of the Kimi and Claude runtimes.
[[nodiscard]] std::string_view kimiMode(GrokPermissionMode mode);
[[nodiscard]] std::string_view claudeMode(GrokPermissionMode mode);
// The one key that is sent as true in the metadata of a new ACP session; absent when nothing is sent.
[[nodiscard]] std::optional<std::string_view> acpMetadata(GrokPermissionMode mode);
[[nodiscard]] std::string_view detail(GrokPermissionMode mode);
// The text for a provider; absent, Grok and also Codex give the plain one.
[[nodiscard]] std::string_view detail(GrokPermissionMode mode, std::optional<AgentProvider> provider);
// The arguments of the Grok runtime. An empty model counts as none.
[[nodiscard]] std::vector<std::string> agentArguments(GrokPermissionMode mode, const std::optional<std::string>& model);

} // namespace tessarin
