#include "Models/ProviderUsage.h"

#include "Models/ProviderUsageCoder.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

struct LabelRow {
    std::optional<double> percent;
    bool exhausted;
    const char* label;
};

class CompactLabelTest : public testing::TestWithParam<LabelRow>
{
};

TEST_P(CompactLabelTest, IsThePercentageElseTheExhaustion)
{
    ProviderUsage usage;
    usage.primaryUsedPercent = GetParam().percent;
    usage.exhausted = GetParam().exhausted;
    EXPECT_EQ(usage.compactLabel(), GetParam().label);
    usage.secondaryUsedPercent = 99;
    EXPECT_EQ(usage.compactLabel(), GetParam().label) << "the second period has no part in it";
}

INSTANTIATE_TEST_SUITE_P(Rules, CompactLabelTest,
    testing::Values(LabelRow{ 41.5, false, "42% used" }, LabelRow{ 42.0, false, "42% used" }, LabelRow{ 0.0, false, "0% used" },
        LabelRow{ 0.5, false, "1% used" }, LabelRow{ 2.5, false, "3% used" }, LabelRow{ 41.49, false, "41% used" },
        LabelRow{ -0.4, false, "0% used" }, LabelRow{ -0.5, false, "-1% used" }, LabelRow{ 100.0, true, "100% used" },
        LabelRow{ 12.0, true, "12% used" }, LabelRow{ 1e20, false, "100000000000000000000% used" },
        LabelRow{ std::nullopt, true, "Limit reached" }, LabelRow{ std::nullopt, false, "Usage unavailable" }));

ProviderUsage fullUsage()
{
    return { .provider = AgentProvider::glm,
        .primaryUsedPercent = 41.5,
        .secondaryUsedPercent = 7,
        .resetsAt = Instant{ 800000000.25 },
        .planType = "pro",
        .exhausted = true };
}

TEST(ProviderUsageTest, ReportsAreEqualWhenAllFieldsAre)
{
    EXPECT_EQ(fullUsage(), fullUsage());
    ProviderUsage other = fullUsage();
    other.planType.reset();
    EXPECT_NE(fullUsage(), other);
    other = fullUsage();
    other.resetsAt = Instant{ 1 };
    EXPECT_NE(fullUsage(), other);
}

TEST(ProviderUsageCoderTest, WritesExactlyItsKeys)
{
    EXPECT_EQ(compactJson(encodeProviderUsage(fullUsage())),
        R"({"provider":"glm","primaryUsedPercent":41.5,"secondaryUsedPercent":7,"resetsAt":800000000.25,"planType":"pro","exhausted":true})");
}

TEST(ProviderUsageCoderTest, LeavesOutWhatIsAbsent)
{
    EXPECT_EQ(compactJson(encodeProviderUsage({})), R"({"provider":"grok","exhausted":false})");
}

std::optional<ProviderUsage> decoded(std::string_view text)
{
    return decodeProviderUsage(parseJson(text).value().as_object());
}

TEST(ProviderUsageCoderTest, ReadsWhatItWrites)
{
    EXPECT_EQ(decodeProviderUsage(encodeProviderUsage(fullUsage())), fullUsage());
    EXPECT_EQ(decodeProviderUsage(encodeProviderUsage({})), ProviderUsage{});
}

TEST(ProviderUsageCoderTest, ANullCountsAsAbsentAndUnknownKeysArePassedOver)
{
    EXPECT_EQ(
        decoded(
            R"({"provider":"grok","exhausted":false,"primaryUsedPercent":null,"secondaryUsedPercent":null,"resetsAt":null,"planType":null,"x":[]})"),
        ProviderUsage{});
}

TEST(ProviderUsageCoderTest, AMissingRequiredKeyOrAWrongTypeFails)
{
    for (const char* text : { R"({"exhausted":false})", R"({"provider":"grok"})", R"({"provider":"Grok","exhausted":false})",
             R"({"provider":1,"exhausted":false})", R"({"provider":"grok","exhausted":0})", R"({"provider":"grok","exhausted":null})",
             R"({"provider":null,"exhausted":true})", R"({"provider":"grok","exhausted":false,"primaryUsedPercent":"4"})",
             R"({"provider":"grok","exhausted":false,"secondaryUsedPercent":true})",
             R"({"provider":"grok","exhausted":false,"resetsAt":"2001"})", R"({"provider":"grok","exhausted":false,"planType":1})" }) {
        EXPECT_EQ(decoded(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace tessarin
