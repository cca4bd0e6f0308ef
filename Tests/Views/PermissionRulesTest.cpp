#include "Views/PermissionRules.h"

#include "Views/TerminalProgram.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

TEST(PermissionRulesTest, TheHeadingNamesTheActiveProviderOrAnAgent)
{
    EXPECT_EQ(PermissionRules::heading(AgentProvider::codex), "Codex needs permission");
    EXPECT_EQ(PermissionRules::heading(AgentProvider::glm), "GLM needs permission");
    EXPECT_EQ(PermissionRules::heading(std::nullopt), "Agent needs permission");
}

TEST(PermissionRulesTest, OptionsWhoseKindBeginsWithAllowHaveAButtonInTheirOrder)
{
    const PermissionOption always{ "a", "Always", "allow_always" };
    const PermissionOption once{ "o", "Once", "allow_once" };
    const PermissionOption odd{ "x", "Odd", "allowed_by_a_new_word" };
    const PermissionRequest request{ 1, "", "", { { "r", "No", "reject_once" }, always, { "c", "Cancel", "cancel" }, once, odd } };
    EXPECT_EQ(PermissionRules::offered(request), (std::vector<PermissionOption>{ always, once, odd }));
    EXPECT_TRUE(PermissionRules::offered({ 1, "", "", { { "r", "No", "reject_always" } } }).empty());
}

TEST(PermissionRulesTest, OnlyAPermissionForOnceIsTheDefault)
{
    EXPECT_TRUE(PermissionRules::isDefault({ "o", "Once", "allow_once" }));
    EXPECT_FALSE(PermissionRules::isDefault({ "a", "Always", "allow_always" }));
}

TEST(PermissionRulesTest, ARequestWhoseAgentIsGoneSaysThatAnAnswerHasNoEffect)
{
    EXPECT_EQ(PermissionRules::note(false), "The agent is gone. An answer has no effect.");
    EXPECT_TRUE(PermissionRules::note(true).isEmpty());
}

TEST(PermissionRulesTest, OnlyFullAccessIsOrange)
{
    EXPECT_EQ(PermissionRules::modeTint(GrokPermissionMode::ask), Tint::Secondary);
    EXPECT_EQ(PermissionRules::modeTint(GrokPermissionMode::auto_), Tint::Secondary);
    EXPECT_EQ(PermissionRules::modeTint(GrokPermissionMode::fullAccess), Tint::Orange);
}

TEST(PermissionRulesTest, TheCurrentModeIsMarkedInTheMenu)
{
    EXPECT_EQ(PermissionRules::menuTitle(GrokPermissionMode::fullAccess, GrokPermissionMode::fullAccess), QStringLiteral("Full access  ✓"));
    EXPECT_EQ(PermissionRules::menuTitle(GrokPermissionMode::ask, GrokPermissionMode::fullAccess), "Ask");
}

TEST(PermissionRulesTest, TheToolTipSpeaksOfTheActiveProviderElseOfThePinnedOne)
{
    EXPECT_EQ(PermissionRules::help(GrokPermissionMode::ask, AgentProvider::kimi, ProviderRoutingMode::claude),
        "Agent permission mode: Kimi uses manual mode and asks before tool actions.");
    EXPECT_EQ(PermissionRules::help(GrokPermissionMode::auto_, std::nullopt, ProviderRoutingMode::kimi),
        "Agent permission mode: Kimi handles approvals and questions autonomously.");
    EXPECT_EQ(PermissionRules::help(GrokPermissionMode::ask, std::nullopt, ProviderRoutingMode::automatic),
        "Agent permission mode: Grok asks before actions that are not already allowed.");
}

TEST(TerminalProgramTest, TheDesktopsOwnChoiceComesFirstAndThePersonsNext)
{
    const QStringList names = TerminalProgram::candidates("my-terminal");
    EXPECT_EQ(names.mid(0, 3), (QStringList{ "xdg-terminal-exec", "my-terminal", "x-terminal-emulator" }));
    EXPECT_EQ(TerminalProgram::candidates(QString()).mid(0, 2), (QStringList{ "xdg-terminal-exec", "x-terminal-emulator" }));
    EXPECT_TRUE(names.contains("xterm"));
}

TEST(TerminalProgramTest, TheFirstThatIsThereIsChosen)
{
    const auto find = [](const QString& name) { return name == "b" || name == "c" ? "/bin/" + name : QString(); };
    EXPECT_EQ(TerminalProgram::choose({ "a", "b", "c" }, find), "/bin/b");
    EXPECT_EQ(TerminalProgram::choose({ "a" }, find), std::nullopt);
}

} // namespace

} // namespace tessarin
