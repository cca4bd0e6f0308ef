#include "Platform/Instant.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tessarin
{
namespace
{

TEST(InstantTest, CountsFromTheYear2001)
{
    using namespace std::chrono;
    const auto reference = sys_days{ year{ 2001 } / January / 1 };
    EXPECT_EQ(Instant{}.secondsSince1970(), static_cast<double>(seconds(reference.time_since_epoch()).count()));
    EXPECT_EQ(Instant::fromSecondsSince1970(978307200.0), Instant{});
    EXPECT_EQ(Instant::fromSecondsSince1970(0).secondsSince2001, -978307200.0);
    EXPECT_EQ(Instant::fromSecondsSince1970(978307201.25).secondsSince2001, 1.25);
}

TEST(InstantTest, NowLiesBetweenTwoReadingsOfTheClock)
{
    const auto reading = [] { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); };
    constexpr double microsecond = 1e-6; // what a double of seconds since 1970 can tell apart
    const double before = reading();
    const Instant now = Instant::now();
    EXPECT_GE(now.secondsSince1970(), before - microsecond);
    EXPECT_LE(now.secondsSince1970(), reading() + microsecond);
}

TEST(InstantTest, AreOrderedInTime)
{
    EXPECT_LT(Instant{ 1 }, Instant{ 2 });
    EXPECT_EQ(Instant{ 1.5 }, Instant{ 1.5 });
}

} // namespace
} // namespace tessarin
