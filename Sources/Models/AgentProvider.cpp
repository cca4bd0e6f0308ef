#include "Models/AgentProvider.h"

#include "Models/VocabularyTable.h"

namespace tessarin
{

namespace
{

struct Row {
    AgentProvider value;
    std::string_view rawText;
    std::string_view label;
    std::string_view shortLabel;
    std::string_view systemImage;
};

constexpr std::array table{
    Row{ AgentProvider::grok, "grok", "Grok", "Grok", "xmark" },
    Row{ AgentProvider::codex, "codex", "ChatGPT / Codex", "Codex", "sparkles" },
    Row{ AgentProvider::kimi, "kimi", "Kimi Code", "Kimi", "moon.stars.fill" },
    Row{ AgentProvider::glm, "glm", "GLM Coding Plan", "GLM", "cube.transparent.fill" },
    Row{ AgentProvider::claude, "claude", "Claude", "Claude", "circle.hexagongrid.fill" },
};
static_assert(isInOrder(table) && table.size() == allAgentProviders.size());

} // namespace

std::string_view rawText(AgentProvider provider)
{
    return rowOf(table, provider).rawText;
}

std::optional<AgentProvider> agentProviderFromRawText(std::string_view text)
{
    return valueFromRawText(table, text);
}

std::string_view label(AgentProvider provider)
{
    return rowOf(table, provider).label;
}

std::string_view shortLabel(AgentProvider provider)
{
    return rowOf(table, provider).shortLabel;
}

std::string_view systemImage(AgentProvider provider)
{
    return rowOf(table, provider).systemImage;
}

} // namespace tessarin
