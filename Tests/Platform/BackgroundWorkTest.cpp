#include "Platform/BackgroundWork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#if !defined(__APPLE__)
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace tessarin
{

namespace
{

constexpr std::chrono::seconds bound{ 30 };

// Occupies both threads until the end has begun, or the bound has passed.
void occupyUntilTheEnd(std::atomic<int>& ended)
{
    constexpr int threadCount = 2;
    const auto begun = std::make_shared<std::latch>(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        runInBackground(
            [begun, &ended] {
                begun->count_down();
                const auto last = std::chrono::steady_clock::now() + bound;
                while (!isBackgroundWorkEnding() && std::chrono::steady_clock::now() < last) {
                    std::this_thread::yield();
                }
                ended += isBackgroundWorkEnding() ? 1 : 0;
            },
            AtEnd::dropped);
    }
    begun->wait();
}

TEST(BackgroundWorkTest, WorkRunsOnAnotherThread)
{
    std::promise<std::thread::id> ran;
    runInBackground([&] { ran.set_value(std::this_thread::get_id()); });
    auto id = ran.get_future();
    ASSERT_EQ(id.wait_for(bound), std::future_status::ready);
    EXPECT_NE(id.get(), std::this_thread::get_id());
}

TEST(BackgroundWorkTest, WorkThatWaitsDoesNotHoldUpTheNext)
{
    std::promise<void> go;
    runInBackground([gone = go.get_future().share()] { gone.wait(); });
    std::promise<void> ran;
    runInBackground([&] { ran.set_value(); });
    EXPECT_EQ(ran.get_future().wait_for(bound), std::future_status::ready);
    go.set_value();
    finishBackgroundWork();
}

TEST(BackgroundWorkTest, FinishingWaitsForAllThatWasAskedFor)
{
    std::atomic<int> done = 0;
    for (int work = 0; work < 1000; ++work) {
        runInBackground([&] {
            std::this_thread::yield();
            ++done;
        });
    }
    finishBackgroundWork();
    EXPECT_EQ(done, 1000);
    finishBackgroundWork();
}

TEST(BackgroundWorkTest, WhatAWorkHoldsIsGoneWhenItHasFinished)
{
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = held;
    runInBackground([held = std::move(held)] {});
    finishBackgroundWork();
    EXPECT_TRUE(watched.expired());
}

TEST(BackgroundWorkTest, ManyThreadsMayAsk)
{
    std::atomic<int> done = 0;
    std::vector<std::thread> askers;
    askers.reserve(4);
    for (int asker = 0; asker < 4; ++asker) {
        askers.emplace_back([&] {
            for (int work = 0; work < 500; ++work) {
                runInBackground([&] { ++done; });
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    finishBackgroundWork();
    EXPECT_EQ(done, 2000);
}

TEST(BackgroundWorkTest, AtTheEndWhatHasBegunIsFinishedAndTheRestIsDropped)
{
    std::atomic<int> ended = 0;
    std::atomic<int> droppedThatRan = 0;
    std::atomic<int> kept = 0;
    occupyUntilTheEnd(ended);
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = held;
    for (int work = 0; work < 100; ++work) {
        runInBackground([&, held] { ++droppedThatRan; }, AtEnd::dropped);
        runInBackground([&] { ++kept; });
    }
    held.reset();
    EXPECT_FALSE(isBackgroundWorkEnding());
    endBackgroundWork();
    EXPECT_EQ(ended, 2) << "it hears of the end while it runs";
    EXPECT_EQ(droppedThatRan, 0);
    EXPECT_TRUE(watched.expired()) << "what is dropped goes with all that it holds";
    EXPECT_EQ(kept, 100);
    EXPECT_FALSE(isBackgroundWorkEnding());
}

TEST(BackgroundWorkTest, WhatIsAskedForAfterTheEndRuns)
{
    endBackgroundWork();
    std::atomic<int> done = 0;
    runInBackground([&] { ++done; }, AtEnd::dropped);
    finishBackgroundWork();
    EXPECT_EQ(done, 1);
}

#if !defined(__APPLE__)
TEST(BackgroundWorkTest, OthersGoFirst)
{
    std::atomic<int> niceness = 0;
    runInBackground([&] { niceness = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::syscall(SYS_gettid))); });
    finishBackgroundWork();
    constexpr int last = 19;
    EXPECT_EQ(niceness, std::min(::getpriority(PRIO_PROCESS, 0) + 10, last));
}
#endif

} // namespace

} // namespace tessarin
