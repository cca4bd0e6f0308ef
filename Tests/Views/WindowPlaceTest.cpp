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

QRect fitted(const QRect& frame, const QList<QRect>& among = screens)
{
    const auto place = WindowPlace{ frame, false }.fittedTo(among);
    return place ? place->frame : QRect();
}

TEST(WindowPlace, StaysWhereItsUpperEdgeCanBeReached)
{
    for (const QRect& frame : { QRect(2000, 100, 1180, 760), QRect(-900, 100, 1180, 760), QRect(100, 900, 1180, 760) }) {
        EXPECT_EQ(fitted(frame), frame);
    }
}

TEST(WindowPlace, ComesBackWholeFromWhereNobodyCanReachIt)
{
    EXPECT_EQ(fitted(QRect(-1100, 100, 1180, 760)), QRect(0, 100, 1180, 760));
    EXPECT_EQ(fitted(QRect(4000, 100, 1180, 760)), QRect(740, 100, 1180, 760)) << "a screen that is gone";
    EXPECT_EQ(fitted(QRect(100, 1070, 1180, 760)), QRect(100, 320, 1180, 760));
    EXPECT_EQ(fitted(QRect(100, -200, 1180, 760)), QRect(100, 0, 1180, 760));
    EXPECT_FALSE((WindowPlace{ QRect(100, 100, 1180, 760), false }.fittedTo({})));
}

TEST(WindowPlace, FitsAScreenThatGotSmaller)
{
    EXPECT_EQ(fitted(QRect(300, 200, 2000, 1300), { QRect(0, 30, 1280, 770) }), QRect(0, 30, 1280, 770));
    EXPECT_EQ(fitted(QRect(0, 0, 1180, 760), { QRect(0, 0, 800, 600) }), QRect(QPoint(0, 0), WindowPlace::leastSize));
}

TEST(WindowPlaceKeeper, AMaximizedWindowIsKnownByThePlaceItGoesBackTo)
{
    const QRect before(40, 50, 1100, 700);
    const QRect whole(0, 0, 1920, 1080);
    for (const bool isToldLate : { false, true }) {
        WindowPlaceKeeper keeper({ QRect(0, 0, 1180, 760), false });
        keeper.note(before, false);
        if (isToldLate) {
            keeper.note(whole, false);
        }
        keeper.note(whole, true);
        keeper.note(whole, true);
        EXPECT_EQ(keeper.place(), (WindowPlace{ before, true })) << isToldLate;
        keeper.note(before, false);
        EXPECT_EQ(keeper.place(), (WindowPlace{ before, false })) << isToldLate;
    }
}

TEST(WindowPlaceKeeper, TheSizeAndThePlaceOfAMaximizedWindowMayBeToldOneAfterTheOther)
{
    const QRect before(40, 50, 1100, 700);
    WindowPlaceKeeper keeper({ QRect(0, 0, 1180, 760), false });
    keeper.note(before, false);
    keeper.note(QRect(40, 50, 1920, 1080), false);
    keeper.note(QRect(0, 0, 1920, 1080), false);
    keeper.note(QRect(0, 0, 1920, 1080), true);
    EXPECT_EQ(keeper.place(), (WindowPlace{ before, true }));
}

TEST(WindowPlaceKeeper, ThatAWindowIsMaximizedMayBeToldBeforeItsSize)
{
    const QRect before(40, 50, 1100, 700);
    WindowPlaceKeeper keeper({ QRect(0, 0, 1180, 760), false });
    keeper.note(before, false);
    keeper.note(before, true);
    keeper.note(QRect(40, 50, 1920, 1080), true);
    keeper.note(QRect(0, 0, 1920, 1080), true);
    EXPECT_EQ(keeper.place(), (WindowPlace{ before, true }));
    keeper.note(QRect(0, 0, 1920, 1080), false);
    keeper.note(before, false);
    EXPECT_EQ(keeper.place(), (WindowPlace{ before, false }));
}

TEST(WindowPlaceKeeper, AWindowThatIsMovedIsKnownByItsLastPlace)
{
    WindowPlaceKeeper keeper({ QRect(0, 0, 1180, 760), false });
    keeper.note(QRect(40, 50, 1180, 760), false);
    keeper.note(QRect(60, 70, 1180, 760), false);
    EXPECT_EQ(keeper.place(), (WindowPlace{ QRect(60, 70, 1180, 760), false }));
    keeper.note(QRect(0, 0, 1920, 1080), true);
    EXPECT_EQ(keeper.place(), (WindowPlace{ QRect(60, 70, 1180, 760), true }));
}

TEST(WindowPlaceKeeper, AWindowThatBeginsMaximizedKeepsItsPlace)
{
    const WindowPlace begin{ QRect(40, 50, 1100, 700), true };
    WindowPlaceKeeper keeper(begin);
    keeper.note(QRect(0, 0, 1920, 1080), true);
    EXPECT_EQ(keeper.place(), begin);
}

} // namespace

} // namespace tessarin
