#include "Views/RelativeTime.h"

#include "Printing.h"

#include <QDateTime>
#include <gtest/gtest.h>

#include <limits>

namespace tessarin
{

namespace
{

constexpr double minute = 60;
constexpr double hour = 60 * minute;
constexpr double day = 24 * hour;

// Noon, so that a whole number of days ago is that many days by the calendar, also across a change of the clocks.
Instant noon()
{
    return Instant::fromSecondsSince1970(static_cast<double>(QDateTime(QDate(2026, 8, 14), QTime(12, 0)).toSecsSinceEpoch()));
}

QString ago(double seconds)
{
    return relativeTime({ noon().secondsSince2001 - seconds }, noon());
}

TEST(RelativeTime, CountsMinutesAndHoursByTheClock)
{
    EXPECT_EQ(ago(0), "just now");
    EXPECT_EQ(ago(59), "just now");
    EXPECT_EQ(ago(minute), "1 minute ago");
    EXPECT_EQ(ago(2 * minute + 59), "2 minutes ago");
    EXPECT_EQ(ago(hour), "1 hour ago");
    EXPECT_EQ(ago(23 * hour), "23 hours ago");
}

TEST(RelativeTime, CountsDaysAndMoreByTheCalendar)
{
    EXPECT_EQ(ago(day), "yesterday");
    EXPECT_EQ(ago(2 * day), "2 days ago");
    EXPECT_EQ(ago(6 * day), "6 days ago");
    EXPECT_EQ(ago(7 * day), "last week");
    EXPECT_EQ(ago(14 * day), "2 weeks ago");
    EXPECT_EQ(ago(30 * day), "last month");
    EXPECT_EQ(ago(70 * day), "2 months ago");
    EXPECT_EQ(ago(400 * day), "last year");
    EXPECT_EQ(ago(1000 * day), "2 years ago");
}

TEST(RelativeTime, TheEveningBeforeIsYesterdayOnceADayHasPassed)
{
    EXPECT_EQ(ago(13 * hour), "13 hours ago");
    EXPECT_EQ(ago(day + 11 * hour), "yesterday");
    EXPECT_EQ(ago(day + 13 * hour), "2 days ago");
}

TEST(RelativeTime, AFutureMomentReadsJustNow)
{
    EXPECT_EQ(ago(-1000), "just now");
}

TEST(RelativeTime, NoStoredNumberIsTooLarge)
{
    EXPECT_EQ(ago(std::numeric_limits<double>::quiet_NaN()), "just now");
    EXPECT_TRUE(ago(1e300).endsWith("years ago"));
    EXPECT_TRUE(ago(std::numeric_limits<double>::infinity()).endsWith("years ago"));
}

} // namespace

} // namespace tessarin
