#include "Views/MessageRules.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

ChatEntry entry(ChatEntryKind kind, std::string text)
{
    return ChatEntry::make(kind, std::move(text));
}

TEST(MessageRules, TheFirstRowHasNoGap)
{
    EXPECT_EQ(MessageRules::gapAbove(std::nullopt, ChatEntryKind::user), RowGap::None);
}

TEST(MessageRules, ToolCardsStandCloseTogether)
{
    EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::tool, ChatEntryKind::tool), RowGap::Tight);
    EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::thought, ChatEntryKind::tool), RowGap::Normal);
    EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::assistant, ChatEntryKind::tool), RowGap::Normal);
}

TEST(MessageRules, WhatThePersonAndTheProgramSayStandsApart)
{
    for (const ChatEntryKind kind : { ChatEntryKind::assistant, ChatEntryKind::thought, ChatEntryKind::tool }) {
        EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::user, kind), RowGap::Wide);
        EXPECT_EQ(MessageRules::gapAbove(kind, ChatEntryKind::system), RowGap::Wide);
    }
}

TEST(MessageRules, AnAnswerStandsFurtherFromTheToolsBeforeIt)
{
    EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::tool, ChatEntryKind::assistant), RowGap::Answer);
    EXPECT_EQ(MessageRules::gapAbove(ChatEntryKind::tool, ChatEntryKind::thought), RowGap::Normal);
}

TEST(MessageRules, AnotherLastTextScrolls)
{
    EXPECT_TRUE(MessageRules::scrollsForAppended({ entry(ChatEntryKind::user, "mend it") }));
    EXPECT_TRUE(MessageRules::scrollsForAppended({ entry(ChatEntryKind::user, "mend it"), entry(ChatEntryKind::assistant, "I will") }));
}

TEST(MessageRules, TheSameLastTextDoesNotScroll)
{
    EXPECT_FALSE(MessageRules::scrollsForAppended({ entry(ChatEntryKind::user, "again"), entry(ChatEntryKind::user, "again") }));
}

TEST(MessageRules, ANewToolCardWithoutTextDoesNotScroll)
{
    EXPECT_FALSE(MessageRules::scrollsForAppended({ entry(ChatEntryKind::assistant, "I look"), entry(ChatEntryKind::tool, "") }));
    EXPECT_FALSE(MessageRules::scrollsForAppended({ entry(ChatEntryKind::tool, ""), entry(ChatEntryKind::tool, "") }));
}

TEST(MessageRules, AnEmptyListDoesNotScroll)
{
    EXPECT_FALSE(MessageRules::scrollsForAppended({}));
}

} // namespace

} // namespace tessarin
