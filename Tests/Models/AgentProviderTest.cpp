#include "Models/AgentProvider.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

struct Row {
    AgentProvider provider;
    const char* rawText;
    const char* label;
    const char* shortLabel;
    const char* systemImage;
};

const std::vector<Row> rows{
    { AgentProvider::grok, "grok", "Grok", "Grok", "xmark" },
    { AgentProvider::codex, "codex", "ChatGPT / Codex", "Codex", "sparkles" },
    { AgentProvider::kimi, "kimi", "Kimi Code", "Kimi", "moon.stars.fill" },
    { AgentProvider::glm, "glm", "GLM Coding Plan", "GLM", "cube.transparent.fill" },
    { AgentProvider::claude, "claude", "Claude", "Claude", "circle.hexagongrid.fill" },
};

class AgentProviderTest : public testing::TestWithParam<Row>
{
};

TEST_P(AgentProviderTest, HasItsTexts)
{
    const Row& row = GetParam();
    EXPECT_EQ(rawText(row.provider), row.rawText);
    EXPECT_EQ(label(row.provider), row.label);
    EXPECT_EQ(shortLabel(row.provider), row.shortLabel);
    EXPECT_EQ(systemImage(row.provider), row.systemImage);
}

TEST_P(AgentProviderTest, IsMadeFromItsRawText)
{
    EXPECT_EQ(agentProviderFromRawText(GetParam().rawText), GetParam().provider);
}

INSTANTIATE_TEST_SUITE_P(Table, AgentProviderTest, testing::ValuesIn(rows));

TEST(AgentProvidersTest, StandInTheRoutingOrder)
{
    ASSERT_EQ(allAgentProviders.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        EXPECT_EQ(allAgentProviders[index], rows[index].provider);
    }
}

TEST(AgentProvidersTest, NoOtherTextIsOne)
{
    for (const char* text : { "", "Grok", "GROK", "grok ", " grok", "gro", "grokk", "openai", "ChatGPT / Codex", "opencode" }) {
        EXPECT_EQ(agentProviderFromRawText(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace tessarin
