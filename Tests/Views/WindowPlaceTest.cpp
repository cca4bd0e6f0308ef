#include "Views/WindowPlace.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

const QList<QRect> screens{ QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 1024) };

TEST(WindowPlace, IsReadAsItWasWritten)
{
    for (const WindowPlace& place : { WindowPlace{ QRect(10, -20, 1180, 760), false }, WindowPlace{ QRect(0, 0, 980, 640), true } }) {
        EXPECT_EQ(WindowPlace::parse(place.text()), place);
    }
}

TEST(WindowPlace, AnythingElseIsNoPlace)
{
    for (const char* text : { "", "10 20", "a b c d", "1 2 0 4", "1 2 3 -4", "1 2 3 99999999999999", "0 0 200000 10" }) {
        EXPECT_EQ(WindowPlace::parse(text), std::nullopt) << text;
    }
}

TEST(WindowPlace, IsNeverSmallerThanTheLeastSize)
{
    const auto place = WindowPlace{ QRect(100, 100, 300, 200), false }.fittedTo(screens);
    ASSERT_TRUE(place);
    EXPECT_EQ(place->frame, QRect(QPoint(100, 100), WindowPlace::leastSize));
}

TEST(WindowPlace, MustBeWithinReachOnSomeScreen)
{
    EXPECT_TRUE((WindowPlace{ QRect(2000, 100, 1180, 760), false }.fittedTo(screens)));
    EXPECT_TRUE((WindowPlace{ QRect(-900, 100, 1180, 760), false }.fittedTo(screens)));
    EXPECT_FALSE((WindowPlace{ QRect(-1100, 100, 1180, 760), false }.fittedTo(screens)));
    EXPECT_FALSE((WindowPlace{ QRect(4000, 100, 1180, 760), false }.fittedTo(screens)));
    EXPECT_FALSE((WindowPlace{ QRect(100, 1070, 1180, 760), false }.fittedTo(screens)));
    EXPECT_FALSE((WindowPlace{ QRect(100, -200, 1180, 760), false }.fittedTo(screens)));
    EXPECT_FALSE((WindowPlace{ QRect(100, 100, 1180, 760), false }.fittedTo({})));
}

} // namespace

} // namespace tessarin
