#pragma once

#include "Models/AgentProvider.h"

#include <string>
#include <string_view>

namespace tessarin
{

// What the banner says for a runtime's failure: how to sign in, where the text speaks of that, else the text as it is.
// Every provider but Codex and Kimi gets the words for Grok, on purpose.
[[nodiscard]] std::string friendlyError(std::string_view text, AgentProvider provider = AgentProvider::grok);

} // namespace tessarin
