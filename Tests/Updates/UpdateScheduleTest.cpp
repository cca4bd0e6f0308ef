#include "Updates/UpdateSchedule.h"

#include <gtest/gtest.h>

#include <limits>

namespace tessarin::UpdateSchedule
{
namespace
{

using namespace std::chrono_literals;

constexpr Instant now{ 800'000'000 };

TEST(UpdateScheduleTest, WithoutALookBeforeItIsDueAtOnce)
{
    EXPECT_EQ(untilNextLook(std::nullopt, now), 0ms);
}

TEST(UpdateScheduleTest, ADayAfterTheLastLookItIsDueAndNotEarlier)
{
    EXPECT_EQ(untilNextLook(now, now), 24h);
    EXPECT_EQ(untilNextLook(Instant{ now.secondsSince2001 - 3600 }, now), 23h);
    EXPECT_EQ(untilNextLook(Instant{ now.secondsSince2001 - 86399.9995 }, now), 1ms) << "rounded up";
    EXPECT_EQ(untilNextLook(Instant{ now.secondsSince2001 - 86400 }, now), 0ms);
    EXPECT_EQ(untilNextLook(Instant{ now.secondsSince2001 - 10'000'000 }, now), 0ms);
}

TEST(UpdateScheduleTest, ALastLookThatLiesAheadDoesNotCount)
{
    EXPECT_EQ(untilNextLook(Instant{ now.secondsSince2001 + 1 }, now), 0ms);
    EXPECT_EQ(untilNextLook(Instant{ std::numeric_limits<double>::infinity() }, now), 0ms);
    EXPECT_EQ(untilNextLook(Instant{ std::numeric_limits<double>::quiet_NaN() }, now), 0ms);
}

TEST(UpdateScheduleTest, TheLastLookIsStoredInWholeSecondsAndReadBack)
{
    EXPECT_EQ(storedText(Instant{ 800'000'000.9 }), "800000000");
    EXPECT_EQ(lastLookFrom("800000000"), now);
    for (const char* wrong : { "", " 1", "1 ", "1.5", "yesterday", "99999999999999999999999" }) {
        EXPECT_EQ(lastLookFrom(wrong), std::nullopt) << wrong;
    }
}

} // namespace
} // namespace tessarin::UpdateSchedule
