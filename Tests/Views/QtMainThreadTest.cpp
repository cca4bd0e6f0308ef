#include "Views/QtMainThread.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTimer>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace tessarin
{

namespace
{

// Runs Qt's loop until it is so; false when it does not come to be so in time.
template <class Condition>
bool loopUntil(Condition condition)
{
    QElapsedTimer passed;
    passed.start();
    while (!condition() && passed.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 100);
    }
    return condition();
}

TEST(QtMainThread, RunsWhatIsPostedFromAnyThreadInOrder)
{
    QtMainThread main;
    std::vector<int> seen;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            main.mainThread().post([&seen, i] { seen.push_back(i); });
        }
    });
    EXPECT_TRUE(loopUntil([&] { return seen.size() == 1000; }));
    other.join();
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(QtMainThread, RunsDelayedWorkWhenItIsDueAndNotWhenItWasCalledOff)
{
    QtMainThread main;
    std::vector<int> seen;
    main.mainThread().postDelayed(std::chrono::milliseconds(60), [&] { seen.push_back(60); });
    main.mainThread().postDelayed(std::chrono::milliseconds(20), [&] { seen.push_back(20); });
    const auto off = main.mainThread().postDelayed(std::chrono::milliseconds(10), [&] { seen.push_back(10); });
    main.mainThread().cancelDelayed(off);
    EXPECT_TRUE(loopUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<int>{ 20, 60 }));
}

TEST(QtMainThread, AFloodLeavesTheLoopTimeForItsOwnWork)
{
    QtMainThread main;
    bool isDone = false;
    int left = 400;
    std::function<void()> work = [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1);
        while (std::chrono::steady_clock::now() < end) { }
        isDone = --left == 0;
    };
    for (int i = 0; i < 400; ++i) {
        main.mainThread().post(work);
    }
    int leftAtTick = 0;
    QTimer tick;
    tick.setSingleShot(true);
    QObject::connect(&tick, &QTimer::timeout, [&] { leftAtTick = left; });
    tick.start(10);
    EXPECT_TRUE(loopUntil([&] { return isDone; }));
    EXPECT_GT(leftAtTick, 200);
}

TEST(QtMainThread, WhatWasPostedBeforeTheLoopBeganRunsInIt)
{
    QtMainThread main;
    bool hasRun = false;
    main.mainThread().post([&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(loopUntil([&] { return hasRun; }));
}

} // namespace

} // namespace tessarin
