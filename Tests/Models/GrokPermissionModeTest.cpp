#include "Models/GrokPermissionMode.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

using Mode = GrokPermissionMode;

struct Row {
    Mode mode;
    const char* rawText;
    const char* label;
    const char* grokName;
    const char* systemImage;
    const char* kimiMode;
    const char* claudeMode;
    std::optional<std::string_view> acpMetadata;
    const char* detail;
};

const std::vector<Row> rows{
    { Mode::ask, "ask", "Ask", "Ask", "hand.raised.fill", "manual", "default", std::nullopt,
        "Grok asks before actions that are not already allowed." },
    { Mode::auto_, "auto", "Auto", "Auto", "checkmark.shield.fill", "auto", "auto", "autoMode",
        "Grok's safety classifier approves routine actions and escalates others." },
    { Mode::fullAccess, "full_access", "Full access", "Always-approve", "bolt.shield.fill", "yolo", "bypassPermissions", "yoloMode",
        "Grok skips ordinary approval prompts. Deny rules, hooks, and any configured sandbox still apply." },
};

class GrokPermissionModeTest : public testing::TestWithParam<Row>
{
};

TEST_P(GrokPermissionModeTest, HasItsTexts)
{
    const Row& row = GetParam();
    EXPECT_EQ(rawText(row.mode), row.rawText);
    EXPECT_EQ(label(row.mode), row.label);
    EXPECT_EQ(grokName(row.mode), row.grokName);
    EXPECT_EQ(systemImage(row.mode), row.systemImage);
    EXPECT_EQ(kimiMode(row.mode), row.kimiMode);
    EXPECT_EQ(claudeMode(row.mode), row.claudeMode);
    EXPECT_EQ(acpMetadata(row.mode), row.acpMetadata);
    EXPECT_EQ(detail(row.mode), row.detail);
}

TEST_P(GrokPermissionModeTest, IsMadeFromItsRawText)
{
    EXPECT_EQ(grokPermissionModeFromRawText(GetParam().rawText), GetParam().mode);
}

INSTANTIATE_TEST_SUITE_P(Table, GrokPermissionModeTest, testing::ValuesIn(rows));

TEST(GrokPermissionModesTest, StandInTheirOrder)
{
    EXPECT_EQ(allGrokPermissionModes, (std::array{ Mode::ask, Mode::auto_, Mode::fullAccess }));
}

TEST(GrokPermissionModesTest, NeitherNamesNorLabelsAreRawTexts)
{
    EXPECT_EQ(grokPermissionModeFromRawText("full_access"), Mode::fullAccess);
    for (const char* text : { "fullAccess", "Ask", "Full access", "", "AUTO", "auto_", "ask " }) {
        EXPECT_EQ(grokPermissionModeFromRawText(text), std::nullopt) << text;
    }
}

struct DetailRow {
    AgentProvider provider;
    Mode mode;
    const char* detail;
};

class PermissionDetailTest : public testing::TestWithParam<DetailRow>
{
};

TEST_P(PermissionDetailTest, IsThatOfTheProvider)
{
    EXPECT_EQ(detail(GetParam().mode, GetParam().provider), GetParam().detail);
}

INSTANTIATE_TEST_SUITE_P(Table, PermissionDetailTest,
    testing::Values(DetailRow{ AgentProvider::kimi, Mode::ask, "Kimi uses manual mode and asks before tool actions." },
        DetailRow{ AgentProvider::kimi, Mode::auto_, "Kimi handles approvals and questions autonomously." },
        DetailRow{ AgentProvider::kimi, Mode::fullAccess,
            "Kimi uses YOLO mode for regular tool calls; sensitive actions and plan exits may still ask." },
        DetailRow{ AgentProvider::glm, Mode::ask,
            "OpenCode applies its configured allow/deny rules and sends unresolved GLM tool actions here for approval." },
        DetailRow{ AgentProvider::glm, Mode::auto_,
            "OpenCode applies its own permission rules and tessarin surfaces any action it still cannot decide." },
        DetailRow{ AgentProvider::glm, Mode::fullAccess,
            "tessarin approves OpenCode tool prompts automatically. OpenCode deny rules still apply." },
        DetailRow{ AgentProvider::claude, Mode::ask,
            "Claude Code uses its default permission checks and sends unresolved tool actions here for approval." },
        DetailRow{ AgentProvider::claude, Mode::auto_,
            "Claude Code uses its native auto permission mode and escalates actions it cannot approve." },
        DetailRow{ AgentProvider::claude, Mode::fullAccess, "Claude Code uses bypassPermissions. Explicit deny rules still apply." }));

TEST(PermissionDetailsTest, WithoutProviderForGrokAndForCodexTheyAreThePlainOnes)
{
    for (const Mode mode : allGrokPermissionModes) {
        EXPECT_EQ(detail(mode, std::nullopt), detail(mode));
        EXPECT_EQ(detail(mode, AgentProvider::grok), detail(mode));
        EXPECT_EQ(detail(mode, AgentProvider::codex), detail(mode));
    }
}

using Arguments = std::vector<std::string>;

TEST(AgentArgumentsTest, EndInStdioBehindTheMode)
{
    EXPECT_EQ(agentArguments(Mode::ask, std::nullopt), (Arguments{ "agent", "--permission-mode", "default", "stdio" }));
    EXPECT_EQ(agentArguments(Mode::auto_, std::nullopt), (Arguments{ "agent", "--permission-mode", "auto", "stdio" }));
    EXPECT_EQ(agentArguments(Mode::fullAccess, std::nullopt), (Arguments{ "agent", "--always-approve", "stdio" }));
}

TEST(AgentArgumentsTest, NameTheModelFirst)
{
    EXPECT_EQ(agentArguments(Mode::fullAccess, "m"), (Arguments{ "agent", "--model", "m", "--always-approve", "stdio" }));
    EXPECT_EQ(agentArguments(Mode::ask, "grok 4"), (Arguments{ "agent", "--model", "grok 4", "--permission-mode", "default", "stdio" }));
}

TEST(AgentArgumentsTest, AnEmptyModelIsNone)
{
    for (const Mode mode : allGrokPermissionModes) {
        EXPECT_EQ(agentArguments(mode, ""), agentArguments(mode, std::nullopt));
    }
}

} // namespace
} // namespace tessarin
