#include "Models/ProviderRoutingMode.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

struct Row {
    ProviderRoutingMode mode;
    const char* rawText;
    const char* label;
    std::optional<AgentProvider> preferredProvider;
    const char* detail;
};

const std::vector<Row> rows{
    { ProviderRoutingMode::automatic, "automatic", "Auto", std::nullopt,
        "Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted." },
    { ProviderRoutingMode::grok, "grok", "Grok", AgentProvider::grok, "Always use the signed-in SuperGrok subscription." },
    { ProviderRoutingMode::codex, "codex", "Codex", AgentProvider::codex, "Always use the signed-in ChatGPT subscription through Codex." },
    { ProviderRoutingMode::kimi, "kimi", "Kimi", AgentProvider::kimi, "Always use the signed-in Kimi membership through Kimi Code." },
    { ProviderRoutingMode::glm, "glm", "GLM", AgentProvider::glm, "Always use the GLM Coding Plan configured in OpenCode." },
    { ProviderRoutingMode::claude, "claude", "Claude", AgentProvider::claude,
        "Always use the signed-in Claude subscription through Claude Code." },
};

class ProviderRoutingModeTest : public testing::TestWithParam<Row>
{
};

TEST_P(ProviderRoutingModeTest, HasItsTextsAndItsProvider)
{
    const Row& row = GetParam();
    EXPECT_EQ(rawText(row.mode), row.rawText);
    EXPECT_EQ(label(row.mode), row.label);
    EXPECT_EQ(preferredProvider(row.mode), row.preferredProvider);
    EXPECT_EQ(detail(row.mode), row.detail);
}

TEST_P(ProviderRoutingModeTest, IsMadeFromItsRawText)
{
    EXPECT_EQ(providerRoutingModeFromRawText(GetParam().rawText), GetParam().mode);
}

INSTANTIATE_TEST_SUITE_P(Table, ProviderRoutingModeTest, testing::ValuesIn(rows));

TEST(ProviderRoutingModesTest, StandInTheirOrder)
{
    ASSERT_EQ(allProviderRoutingModes.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        EXPECT_EQ(allProviderRoutingModes[index], rows[index].mode);
    }
}

TEST(ProviderRoutingModesTest, TheLabelAutoIsNoRawText)
{
    EXPECT_EQ(providerRoutingModeFromRawText("automatic"), ProviderRoutingMode::automatic);
    EXPECT_EQ(providerRoutingModeFromRawText("auto"), std::nullopt);
    for (const char* text : { "", "Auto", "Automatic", "grok ", "Grok" }) {
        EXPECT_EQ(providerRoutingModeFromRawText(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace tessarin
