#include "Services/CodexAppServerClient.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using Kind = AgentRuntimeError::Kind;

JsonObject object(std::string_view text)
{
    return boost::json::parse(text).as_object();
}

ProviderUsage usage(std::string_view text)
{
    return CodexAppServerClient::parseRateLimits(object(text));
}

struct ErrorRow {
    const char* name;
    const char* error;
    Kind kind;
    const char* message;
};

class CodexErrorTest : public testing::TestWithParam<ErrorRow>
{
};

TEST_P(CodexErrorTest, IsClassified)
{
    const AgentRuntimeError expected{ AgentProvider::codex, GetParam().kind, GetParam().message };
    EXPECT_EQ(CodexAppServerClient::runtimeError(object(GetParam().error), "fallback"), expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, CodexErrorTest,
    testing::Values(ErrorRow{ "NothingIsTheFallback", "{}", Kind::protocolError, "fallback" },
        ErrorRow{ "AMessage", R"({"message":"broken"})", Kind::protocolError, "broken" },
        ErrorRow{ "AMessageInside", R"({"error":{"message":"inner"}})", Kind::protocolError, "inner" },
        ErrorRow{ "TheOuterMessageWins", R"({"message":"outer","error":{"message":"inner"}})", Kind::protocolError, "outer" },
        ErrorRow{ "AnOuterMessageOfAnotherTypeIsNone", R"({"message":7,"error":{"message":"inner"}})", Kind::protocolError, "inner" },
        ErrorRow{ "AMessageOfAnotherTypeIsTheFallback", R"({"message":7,"error":["x"]})", Kind::protocolError, "fallback" },
        ErrorRow{ "AnEmptyMessageStaysEmpty", R"({"message":""})", Kind::protocolError, "" },
        ErrorRow{ "TheInfoOfALimit", R"({"message":"x","codexErrorInfo":"usageLimitExceeded"})", Kind::usageLimit, "x" },
        ErrorRow{ "TheInfoInside", R"({"error":{"message":"x","codexErrorInfo":"usageLimitExceeded"}})", Kind::usageLimit, "x" },
        ErrorRow{ "TheOuterInfoHidesTheInner",
            R"({"message":"x","codexErrorInfo":"other","error":{"codexErrorInfo":"usageLimitExceeded"}})", Kind::protocolError, "x" },
        ErrorRow{ "AnOuterInfoOfAnotherTypeHidesTheInner",
            R"({"message":"x","codexErrorInfo":{"a":1},"error":{"codexErrorInfo":"usageLimitExceeded"}})", Kind::protocolError, "x" },
        ErrorRow{ "AnInfoThatIsAnObjectLeavesItToTheMessage",
            R"({"message":"401 Unauthorized","codexErrorInfo":{"httpConnectionFailed":{"httpStatusCode":401}}})", Kind::authentication,
            "401 Unauthorized" },
        ErrorRow{
            "AnInfoInOtherLettersIsAnotherOne", R"({"message":"x","codexErrorInfo":"usagelimitexceeded"})", Kind::protocolError, "x" },
        ErrorRow{ "TheWordsOfALimit", R"({"message":"You\u2019ve hit your USAGE Limit."})", Kind::usageLimit,
            "You\u2019ve hit your USAGE Limit." },
        ErrorRow{ "ALimitComesBeforeALogin", R"({"message":"usage limit, login again","codexErrorInfo":"unauthorized"})", Kind::usageLimit,
            "usage limit, login again" },
        ErrorRow{ "TheInfoOfASignIn", R"({"message":"x","codexErrorInfo":"unauthorized"})", Kind::authentication, "x" },
        ErrorRow{ "TheWordsOfASignIn", R"({"message":"Please run codex login"})", Kind::authentication, "Please run codex login" },
        ErrorRow{ "ARateLimitIsNoUsageLimit", R"({"message":"rate limit"})", Kind::protocolError, "rate limit" }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(CodexErrorFallbackTest, IsClassifiedLikeAnyMessage)
{
    EXPECT_EQ(CodexAppServerClient::runtimeError({}, "usage limit").kind, Kind::usageLimit);
}

TEST(CodexStatusTest, WordsAreNormalised)
{
    EXPECT_EQ(CodexAppServerClient::normalizeStatus("inProgress"), "in_progress");
    EXPECT_EQ(CodexAppServerClient::normalizeStatus("declined"), "failed");
    for (const char* word : { "completed", "failed", "pending", "someday", "", "Declined" })
        EXPECT_EQ(CodexAppServerClient::normalizeStatus(word), word);
}

struct ResetRow {
    const char* name;
    const char* payload;
    bool exhausted;
    std::optional<double> resetsAt; // since 1970
};

class CodexRateLimitsTest : public testing::TestWithParam<ResetRow>
{
};

TEST_P(CodexRateLimitsTest, SayWhetherAndUntilWhen)
{
    const ProviderUsage result = usage(GetParam().payload);
    EXPECT_EQ(result.exhausted, GetParam().exhausted);
    EXPECT_EQ(result.resetsAt.has_value(), GetParam().resetsAt.has_value());
    if (result.resetsAt && GetParam().resetsAt) {
        EXPECT_EQ(result.resetsAt->secondsSince1970(), *GetParam().resetsAt);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, CodexRateLimitsTest,
    testing::Values(ResetRow{ "Nothing", "{}", false, std::nullopt },
        ResetRow{ "IdleIsThePrimaryReset", R"({"primary":{"usedPercent":1,"resetsAt":1000},"secondary":{"usedPercent":2,"resetsAt":500}})",
            false, 1000 },
        ResetRow{ "IdleWithoutAPrimaryReset", R"({"primary":{"usedPercent":1},"secondary":{"usedPercent":2,"resetsAt":500}})", false, 500 },
        ResetRow{ "OnlyTheBlockingWindowCounts",
            R"({"primary":{"usedPercent":100,"resetsAt":1000},"secondary":{"usedPercent":40,"resetsAt":2000}})", true, 1000 },
        ResetRow{ "TheSecondaryBlocks",
            R"({"primary":{"usedPercent":99.9,"resetsAt":1000},"secondary":{"usedPercent":100,"resetsAt":500}})", true, 500 },
        ResetRow{ "TheLaterOfTwoThatBlock",
            R"({"primary":{"usedPercent":100,"resetsAt":1000},"secondary":{"usedPercent":100.5,"resetsAt":900}})", true, 1000 },
        ResetRow{
            "ABlockingWindowWithoutATime", R"({"primary":{"usedPercent":100},"secondary":{"usedPercent":1,"resetsAt":2000}})", true, 2000 },
        ResetRow{ "ReachedByTypeIsTheLaterOfBoth",
            R"({"rateLimitReachedType":"x","primary":{"usedPercent":1,"resetsAt":1000},"secondary":{"usedPercent":2,"resetsAt":2000}})",
            true, 2000 },
        ResetRow{ "ReachedByAnEmptyType", R"({"rateLimitReachedType":"","primary":{"resetsAt":3000},"secondary":{"resetsAt":2000}})", true,
            3000 },
        ResetRow{ "ReachedByATypeThatIsNoText", R"({"rateLimitReachedType":1})", false, std::nullopt },
        ResetRow{ "ReachedBySpending", R"({"spendControlReached":true,"primary":{"resetsAt":7}})", true, 7 },
        ResetRow{ "SpendingThatIsNoBoolean", R"({"spendControlReached":1})", false, std::nullopt },
        ResetRow{ "SpendingThatIsNotReached", R"({"spendControlReached":false,"rateLimitReachedType":null})", false, std::nullopt },
        ResetRow{ "APercentageThatIsAText", R"({"primary":{"usedPercent":"100","resetsAt":"1000"}})", false, std::nullopt },
        ResetRow{ "AFractionOfASecond", R"({"primary":{"usedPercent":0,"resetsAt":1000.5}})", false, 1000.5 },
        ResetRow{ "AWindowThatIsNoObject", R"({"primary":[100],"secondary":null})", false, std::nullopt },
        ResetRow{ "TheAnswerWrapsThem", R"({"rateLimits":{"primary":{"usedPercent":100,"resetsAt":1000}},"primary":{"usedPercent":0}})",
            true, 1000 },
        ResetRow{ "AWrapThatIsNoObjectIsNone", R"({"rateLimits":7,"primary":{"usedPercent":100,"resetsAt":1000}})", true, 1000 }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(CodexUsageTest, CarriesThePercentagesAndThePlan)
{
    const ProviderUsage whole = usage(R"({"primary":{"usedPercent":42},"secondary":{"usedPercent":7.5},"planType":"plus"})");
    EXPECT_EQ(whole, (ProviderUsage{ AgentProvider::codex, 42.0, 7.5, std::nullopt, "plus", false }));
    const ProviderUsage odd = usage(R"({"primary":{"usedPercent":null},"secondary":{"usedPercent":true},"planType":7})");
    EXPECT_EQ(odd, (ProviderUsage{ AgentProvider::codex, std::nullopt, std::nullopt, std::nullopt, std::nullopt, false }));
}

} // namespace

} // namespace tessarin
