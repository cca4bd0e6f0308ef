#include "Services/AgentError.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using Kind = ACPClientError::Kind;

AgentError errorSaying(std::string text)
{
    return ACPClientError{ Kind::invalidResponse, std::move(text) };
}

TEST(ACPClientErrorTest, EachCaseHasItsText)
{
    EXPECT_EQ((ACPClientError{ Kind::executableMissing, "Kimi" }).description(), "The Kimi CLI is not installed.");
    EXPECT_EQ((ACPClientError{ Kind::processFailed, "No such file" }).description(), "No such file");
    EXPECT_EQ((ACPClientError{ Kind::invalidResponse, "Refused" }).description(), "Refused");
    EXPECT_EQ((ACPClientError{ Kind::invalidRequest, "Missing" }).description(), "Missing");
    EXPECT_EQ((ACPClientError{ Kind::disconnected, {} }).description(), "The model runtime disconnected.");
}

TEST(ClaudeCodeClientErrorTest, EachCaseHasItsText)
{
    using ClaudeKind = ClaudeCodeClientError::Kind;
    EXPECT_EQ((ClaudeCodeClientError{ ClaudeKind::processFailed, "No such file" }).description(), "No such file");
    EXPECT_EQ((ClaudeCodeClientError{ ClaudeKind::disconnected, "Claude Code stopped." }).description(), "Claude Code stopped.");
    EXPECT_EQ((ClaudeCodeClientError{ ClaudeKind::protocolError, "Refused" }).description(), "Refused");
    EXPECT_EQ((ClaudeCodeClientError{ ClaudeKind::executableMissing, "unused" }).description(), "The Claude Code CLI is not installed.");
}

TEST(AgentErrorTest, DescriptionIsThatOfTheErrorWithin)
{
    EXPECT_EQ(AgentError(ACPClientError{ Kind::executableMissing, "GLM" }).description(), "The GLM CLI is not installed.");
    EXPECT_EQ(AgentError(AgentRuntimeError{ AgentProvider::claude, AgentRuntimeError::Kind::protocolError, "As it is" }).description(),
        "As it is");
}

struct WordsRow {
    const char* text;
    bool isUsageLimit;
};

class UsageLimitWordsTest : public testing::TestWithParam<WordsRow>
{
};

TEST_P(UsageLimitWordsTest, AreRecognisedInAnyCase)
{
    EXPECT_EQ(errorSaying(GetParam().text).isUsageLimitFailure(), GetParam().isUsageLimit) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Rows, UsageLimitWordsTest,
    testing::Values(WordsRow{ "You have hit your usage limit.", true }, WordsRow{ "USAGE LIMIT", true }, WordsRow{ "Rate limited", true },
        WordsRow{ "Rate limit", true }, WordsRow{ "Your quota is used up", true }, WordsRow{ "Quota", true },
        WordsRow{ "Weekly Allowance Reached", true }, WordsRow{ "allowance exhausted", true },
        WordsRow{ "exhausting your ALLOWANCE", true }, WordsRow{ "Your allowance is 20 messages", false },
        WordsRow{ "The end was reached", false }, WordsRow{ "exhausted", false }, WordsRow{ "the limit of usage", false },
        WordsRow{ "", false }, WordsRow{ "The model runtime disconnected.", false }));

TEST(AgentErrorTest, TheKindOfARuntimeErrorDecidesAndNotItsWords)
{
    using RuntimeKind = AgentRuntimeError::Kind;
    const auto isUsageLimit = [](RuntimeKind kind, std::string message) {
        return AgentError(AgentRuntimeError{ AgentProvider::codex, kind, std::move(message) }).isUsageLimitFailure();
    };
    EXPECT_TRUE(isUsageLimit(RuntimeKind::usageLimit, "come back tomorrow"));
    EXPECT_FALSE(isUsageLimit(RuntimeKind::protocolError, "quota"));
    EXPECT_FALSE(isUsageLimit(RuntimeKind::authentication, "usage limit"));
    EXPECT_FALSE(isUsageLimit(RuntimeKind::disconnected, "rate limit"));
}

TEST(AgentErrorTest, TheTextOfEveryClientErrorIsLookedAt)
{
    EXPECT_TRUE(AgentError(ACPClientError{ Kind::processFailed, "quota" }).isUsageLimitFailure());
    EXPECT_FALSE(AgentError(ACPClientError{ Kind::disconnected, "quota" }).isUsageLimitFailure());
    EXPECT_TRUE(AgentError(ClaudeCodeClientError{ ClaudeCodeClientError::Kind::disconnected, "quota" }).isUsageLimitFailure());
    EXPECT_FALSE(AgentError(ClaudeCodeClientError{ ClaudeCodeClientError::Kind::executableMissing, "quota" }).isUsageLimitFailure());
    EXPECT_TRUE(AgentError(SystemError{ "Disk quota exceeded" }).isUsageLimitFailure());
    EXPECT_FALSE(AgentError(SystemError{ "Broken pipe" }).isUsageLimitFailure());
}

} // namespace

} // namespace tessarin
