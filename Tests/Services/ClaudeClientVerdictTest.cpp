#include "Services/ClaudeCodeVerdict.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

namespace Verdict = ClaudeCodeVerdict;
using Kind = AgentRuntimeError::Kind;

JsonObject object(std::string_view text)
{
    return boost::json::parse(text).as_object();
}

struct KindRow {
    const char* message;
    std::optional<std::int64_t> status;
    Kind kind;
};

void PrintTo(const KindRow& row, std::ostream* out)
{
    *out << row.message << " " << row.status.value_or(0);
}

class ErrorKindTest : public testing::TestWithParam<KindRow>
{
};

TEST_P(ErrorKindTest, FirstMatchWins)
{
    EXPECT_EQ(Verdict::errorKind(GetParam().message, GetParam().status), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Rows, ErrorKindTest,
    testing::Values(KindRow{ "try later", 429, Kind::usageLimit }, KindRow{ "Rate limit reached", std::nullopt, Kind::usageLimit },
        KindRow{ "your USAGE LIMIT is used up", std::nullopt, Kind::usageLimit }, KindRow{ "Quota", 500, Kind::usageLimit },
        KindRow{ "quota", 403, Kind::usageLimit }, KindRow{ "please login", 429, Kind::usageLimit },
        KindRow{ "no", 401, Kind::authentication }, KindRow{ "no", 403, Kind::authentication },
        KindRow{ "Not logged in · Please run /login", std::nullopt, Kind::authentication },
        KindRow{ "Authentication failed", std::nullopt, Kind::authentication },
        KindRow{ "UNAUTHORIZED", std::nullopt, Kind::authentication }, KindRow{ "log in", std::nullopt, Kind::protocolError },
        KindRow{ "no", 400, Kind::protocolError }, KindRow{ "no", 500, Kind::protocolError },
        KindRow{ "limit of usage", 402, Kind::protocolError }, KindRow{ "", std::nullopt, Kind::protocolError }));

struct FailureRow {
    const char* result;
    const char* message;
    Kind kind = Kind::protocolError;
};

void PrintTo(const FailureRow& row, std::ostream* out)
{
    *out << row.result;
}

class FailedResultTest : public testing::TestWithParam<FailureRow>
{
};

TEST_P(FailedResultTest, IsToldInTheFirstWordsThatAreThere)
{
    const auto failure = Verdict::failureOf(object(GetParam().result));
    EXPECT_EQ(failure, (AgentRuntimeError{ AgentProvider::claude, GetParam().kind, GetParam().message }));
}

INSTANTIATE_TEST_SUITE_P(Rows, FailedResultTest,
    testing::Values(FailureRow{ R"({"is_error":true,"errors":["a","b"],"result":"r","subtype":"s"})", "a; b" },
        FailureRow{ R"({"is_error":true,"errors":["a"]})", "a" },
        FailureRow{ R"({"is_error":true,"errors":[],"result":"r","subtype":"s"})", "" },
        FailureRow{ R"({"is_error":true,"errors":["a",1],"result":"r","subtype":"s"})", "r" },
        FailureRow{ R"({"is_error":true,"errors":"a","result":"r","subtype":"s"})", "r" },
        FailureRow{ R"({"is_error":true,"result":"","subtype":"s"})", "" },
        FailureRow{ R"({"is_error":true,"result":{},"subtype":"error_during_execution"})", "error_during_execution" },
        FailureRow{ R"({"is_error":true,"result":null,"subtype":3})", "Claude Code could not complete the turn." },
        FailureRow{ R"({"is_error":true})", "Claude Code could not complete the turn." },
        FailureRow{ R"({"is_error":true,"result":"try later","api_error_status":429})", "try later", Kind::usageLimit },
        FailureRow{ R"({"is_error":true,"result":"try later","api_error_status":429.0})", "try later", Kind::usageLimit },
        FailureRow{ R"({"is_error":true,"result":"no","api_error_status":403})", "no", Kind::authentication },
        FailureRow{ R"({"is_error":true,"result":"quota","api_error_status":403})", "quota", Kind::usageLimit },
        FailureRow{ R"({"is_error":true,"result":"no","api_error_status":"429"})", "no" },
        FailureRow{ R"({"is_error":true,"result":"no","api_error_status":1e300})", "no" },
        FailureRow{ R"({"is_error":true,"result":"no","api_error_status":null})", "no" }));

class GoodResultTest : public testing::TestWithParam<const char*>
{
};

TEST_P(GoodResultTest, IsEveryOneThatIsNotMarkedAsAnError)
{
    EXPECT_EQ(Verdict::failureOf(object(GetParam())), std::nullopt) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Rows, GoodResultTest,
    testing::Values(R"({"is_error":false,"result":"r"})", R"({"subtype":"error_max_turns","errors":["a"]})", R"({"is_error":"true"})",
        R"({"is_error":1})", R"({"is_error":null,"api_error_status":429})", "{}"));

ProviderUsage usageOf(std::string_view info)
{
    const auto usage = Verdict::usageIn(object("{\"rate_limit_info\":" + std::string(info) + "}"));
    EXPECT_TRUE(usage.has_value()) << info;
    return usage.value_or(ProviderUsage());
}

TEST(ClaudeUsageTest, EveryFieldHasItsKey)
{
    const auto usage = usageOf(R"({"utilization":0.42,"resets_at":1795203145,"status":"allowed_warning","rate_limit_type":"five_hour"})");
    EXPECT_EQ(usage.provider, AgentProvider::claude);
    EXPECT_EQ(usage.primaryUsedPercent, 42.0);
    EXPECT_EQ(usage.secondaryUsedPercent, std::nullopt);
    EXPECT_EQ(usage.resetsAt, Instant::fromSecondsSince1970(1795203145));
    EXPECT_EQ(usage.planType, "five_hour");
    EXPECT_FALSE(usage.exhausted);
}

TEST(ClaudeUsageTest, MissingAndMistypedFieldsAreAbsent)
{
    ProviderUsage nothing;
    nothing.provider = AgentProvider::claude;
    EXPECT_EQ(usageOf("{}"), nothing);
    EXPECT_EQ(usageOf(R"({"utilization":"0.4","resets_at":"soon","status":7,"rate_limit_type":[]})"), nothing);
    EXPECT_EQ(usageOf(R"({"utilization":true,"resets_at":false,"status":true})"), nothing);
}

TEST(ClaudeUsageTest, TheSpellingOfTheProgramOfTodayIsReadWhereTheOtherIsMissing)
{
    const auto usage = usageOf(R"({"status":"rejected","resetsAt":1795203145,"rateLimitType":"five_hour",)"
                               R"("unifiedWindows":{"seven_day":{"utilization":0.5},"five_hour":{"utilization":1,"resetsAt":1}}})");
    EXPECT_EQ(usage.primaryUsedPercent, 100.0);
    EXPECT_EQ(usage.resetsAt, Instant::fromSecondsSince1970(1795203145));
    EXPECT_EQ(usage.planType, "five_hour");
    EXPECT_TRUE(usage.exhausted);
}

TEST(ClaudeUsageTest, TheFirstSpellingWins)
{
    const auto usage = usageOf(R"({"utilization":0.1,"resets_at":1,"resetsAt":2,"rate_limit_type":"a","rateLimitType":"b",)"
                               R"("unifiedWindows":{"a":{"utilization":0.2},"b":{"utilization":0.3}}})");
    EXPECT_EQ(usage.primaryUsedPercent, 10.0);
    EXPECT_EQ(usage.resetsAt, Instant::fromSecondsSince1970(1));
    EXPECT_EQ(usage.planType, "a");
}

TEST(ClaudeUsageTest, AMistypedFirstSpellingGivesWayToTheSecond)
{
    const auto usage = usageOf(R"({"utilization":null,"resets_at":"x","resetsAt":2,"rate_limit_type":1,"rateLimitType":"b",)"
                               R"("unifiedWindows":{"b":{"utilization":0.25}}})");
    EXPECT_EQ(usage.primaryUsedPercent, 25.0);
    EXPECT_EQ(usage.resetsAt, Instant::fromSecondsSince1970(2));
    EXPECT_EQ(usage.planType, "b");
}

TEST(ClaudeUsageTest, AWindowCountsOnlyUnderTheNameOfItsType)
{
    EXPECT_EQ(usageOf(R"({"rateLimitType":"a","unifiedWindows":{"b":{"utilization":0.2}}})").primaryUsedPercent, std::nullopt);
    EXPECT_EQ(usageOf(R"({"unifiedWindows":{"b":{"utilization":0.2}}})").primaryUsedPercent, std::nullopt);
    EXPECT_EQ(usageOf(R"({"rateLimitType":"a","unifiedWindows":{"a":0.2}})").primaryUsedPercent, std::nullopt);
    EXPECT_EQ(usageOf(R"({"rateLimitType":"a","unifiedWindows":["a"]})").primaryUsedPercent, std::nullopt);
    EXPECT_EQ(usageOf(R"({"rateLimitType":"a","unifiedWindows":{"a":{"utilization":"1"}}})").primaryUsedPercent, std::nullopt);
}

TEST(ClaudeUsageTest, OnlyTheStatusSaysThatNothingIsLeft)
{
    EXPECT_TRUE(usageOf(R"({"status":"rejected"})").exhausted);
    EXPECT_TRUE(usageOf(R"({"status":"rejected","utilization":0})").exhausted);
    for (const char* status : { "allowed", "allowed_warning", "Rejected", "rejected ", "" })
        EXPECT_FALSE(usageOf(R"({"utilization":1.5,"status":")" + std::string(status) + "\"}").exhausted) << status;
    EXPECT_EQ(usageOf(R"({"utilization":1.5,"status":"allowed"})").primaryUsedPercent, 150.0);
}

TEST(ClaudeUsageTest, AUtilizationThatIsTooLargeForAPercentageIsAbsent)
{
    EXPECT_EQ(usageOf(R"({"utilization":1e308})").primaryUsedPercent, std::nullopt);
}

TEST(ClaudeUsageTest, AnEventWithoutTheReportGivesNone)
{
    for (const char* event : { "{}", R"({"rate_limit_info":null})", R"({"rate_limit_info":[]})", R"({"rate_limit_info":"rejected"})",
             R"({"status":"rejected"})" })
        EXPECT_EQ(Verdict::usageIn(object(event)), std::nullopt) << event;
}

} // namespace

} // namespace tessarin
