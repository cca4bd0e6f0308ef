#include "Platform/BackgroundWork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
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
