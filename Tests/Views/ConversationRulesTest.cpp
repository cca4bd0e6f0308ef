#include "Views/ConversationRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

TEST(ConversationRules, EachConnectionStateHasItsColour)
{
    EXPECT_EQ(ConversationRules::connectionTint(ConnectionState::Kind::idle), Tint::Secondary);
    EXPECT_EQ(ConversationRules::connectionTint(ConnectionState::Kind::connecting), Tint::Orange);
    EXPECT_EQ(ConversationRules::connectionTint(ConnectionState::Kind::ready), Tint::Green);
    EXPECT_EQ(ConversationRules::connectionTint(ConnectionState::Kind::working), Tint::Orange);
    EXPECT_EQ(ConversationRules::connectionTint(ConnectionState::failed("why")), Tint::Red);
}

TEST(ConversationRules, TheWorkingRowNamesTheProviderOrTheAgent)
{
    EXPECT_EQ(ConversationRules::workingText(AgentProvider::codex), "Codex is working…");
    EXPECT_EQ(ConversationRules::workingText(std::nullopt), "Agent is working…");
}

TEST(ConversationRules, TheAvatarHasTheProvidersSymbolOrSparkles)
{
    EXPECT_EQ(ConversationRules::avatarSymbol(AgentProvider::kimi), "moon.stars.fill");
    EXPECT_EQ(ConversationRules::avatarSymbol(std::nullopt), "sparkles");
}

TEST(ConversationRules, OnlyAutomaticRoutingHasTheBranch)
{
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::automatic), "arrow.triangle.branch");
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::grok), "xmark");
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::codex), "sparkles");
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::kimi), "moon.stars.fill");
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::glm), "cube.transparent.fill");
    EXPECT_EQ(ConversationRules::routingSymbol(ProviderRoutingMode::claude), "circle.hexagongrid.fill");
}

TEST(ConversationRules, TheCurrentModeIsTickedAfterTwoBlanks)
{
    EXPECT_EQ(ConversationRules::routingMenuTitle(ProviderRoutingMode::automatic, ProviderRoutingMode::automatic), "Auto  ✓");
    EXPECT_EQ(ConversationRules::routingMenuTitle(ProviderRoutingMode::glm, ProviderRoutingMode::automatic), "GLM");
}

TEST(ConversationRules, ADraftIsSentTrimmed)
{
    EXPECT_EQ(ConversationRules::promptToSend(" \n mend it\nnow \t\n", true), "mend it\nnow");
}

TEST(ConversationRules, ABlankDraftIsNotSent)
{
    EXPECT_EQ(ConversationRules::promptToSend("", true), std::nullopt);
    EXPECT_EQ(ConversationRules::promptToSend(" \n\t\u00a0", true), std::nullopt);
}

TEST(ConversationRules, NothingIsSentWhileNothingCanBeSent)
{
    EXPECT_EQ(ConversationRules::promptToSend("mend it", false), std::nullopt);
}

} // namespace

} // namespace tessarin
