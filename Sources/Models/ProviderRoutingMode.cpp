#include "Models/ProviderRoutingMode.h"

#include "Models/VocabularyTable.h"

namespace tessarin
{

namespace
{

using Mode = ProviderRoutingMode;

struct Row {
    Mode value;
    std::string_view rawText;
    std::string_view label;
    std::optional<AgentProvider> preferredProvider;
    std::string_view detail;
};

constexpr std::array table{
    Row{ Mode::automatic, "automatic", "Auto", std::nullopt,
        "Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted." },
    Row{ Mode::grok, "grok", "Grok", AgentProvider::grok, "Always use the signed-in SuperGrok subscription." },
    Row{ Mode::codex, "codex", "Codex", AgentProvider::codex, "Always use the signed-in ChatGPT subscription through Codex." },
    Row{ Mode::kimi, "kimi", "Kimi", AgentProvider::kimi, "Always use the signed-in Kimi membership through Kimi Code." },
    Row{ Mode::glm, "glm", "GLM", AgentProvider::glm, "Always use the GLM Coding Plan configured in OpenCode." },
    Row{ Mode::claude, "claude", "Claude", AgentProvider::claude, "Always use the signed-in Claude subscription through Claude Code." },
};
static_assert(isInOrder(table) && table.size() == allProviderRoutingModes.size());

} // namespace

std::string_view rawText(ProviderRoutingMode mode)
{
    return rowOf(table, mode).rawText;
}

std::optional<ProviderRoutingMode> providerRoutingModeFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

std::string_view label(ProviderRoutingMode mode)
{
    return rowOf(table, mode).label;
}

std::string_view detail(ProviderRoutingMode mode)
{
    return rowOf(table, mode).detail;
}

std::optional<AgentProvider> preferredProvider(ProviderRoutingMode mode)
{
    return rowOf(table, mode).preferredProvider;
}

} // namespace tessarin
