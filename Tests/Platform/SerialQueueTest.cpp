#include "Platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

constexpr std::chrono::seconds bound{ 60 };

// Holds up whoever waits at it until it is opened.
class Gate
{
public:
    void open() { m_opened.set_value(); }
    [[nodiscard]] bool wait() const { return m_future.wait_for(bound) == std::future_status::ready; }

private:
    std::promise<void> m_opened;
    std::shared_future<void> m_future = m_opened.get_future().share();
};

} // namespace

TEST(SerialQueueTest, WorkRunsInTheOrderInWhichItWasPosted)
{
    SerialQueue queue("com.local.tessarin.test");
    std::vector<int> order;
    for (int number = 0; number < 10'000; ++number)
        queue.post([&order, number] { order.push_back(number); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 10'000U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SerialQueueTest, NoTwoPiecesOfWorkRunAtOnce)
{
    SerialQueue queue("com.local.tessarin.test");
    std::atomic<int> running = 0;
    int total = 0, mostAtOnce = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                queue.post([&] {
                    mostAtOnce = std::max(mostAtOnce, ++running);
                    ++total;
                    --running;
                });
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    queue.sync([] {});
    EXPECT_EQ(total, 8000);
    EXPECT_EQ(mostAtOnce, 1);
}

TEST(SerialQueueTest, SyncReturnsWhenItsWorkHasRunAfterAllThatWasPostedBefore)
{
    SerialQueue queue("com.local.tessarin.test");
    std::string order;
    queue.post([&] { order += "a"; });
    queue.post([&] { order += "b"; });
    queue.sync([&] { order += "c"; });
    EXPECT_EQ(order, "abc");
}

TEST(SerialQueueTest, SyncFromManyThreadsDoesNotLock)
{
    SerialQueue queue("com.local.tessarin.test");
    int total = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round)
                queue.sync([&] { ++total; });
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(total, 8000);
}

TEST(SerialQueueTest, WorkMayPostToItsOwnQueue)
{
    SerialQueue queue("com.local.tessarin.test");
    std::string order;
    queue.sync([&] {
        queue.post([&] { order += "b"; });
        order += "a";
    });
    queue.sync([] {});
    EXPECT_EQ(order, "ab");
}

TEST(SerialQueueTest, ABusyQueueDoesNotHoldUpAnother)
{
    SerialQueue busy("com.local.tessarin.busy");
    SerialQueue other("com.local.tessarin.other");
    Gate gate;
    bool wasOpened = false;
    busy.post([&] { wasOpened = gate.wait(); });
    other.sync([] {});
    gate.open();
    busy.sync([] {});
    EXPECT_TRUE(wasOpened);
}

TEST(SerialQueueTest, WhatIsStillQueuedWhenTheQueueGoesIsDropped)
{
    auto queue = std::make_optional<SerialQueue>("com.local.tessarin.test");
    Gate entered, mayGo;
    std::promise<void> dropped;
    std::atomic<bool> hasRun = false;
    // Tells when the work that holds it is destroyed.
    std::shared_ptr<void> sentinel(nullptr, [&](void*) { dropped.set_value(); });
    queue->post([&] {
        entered.open();
        EXPECT_TRUE(mayGo.wait());
    });
    queue->post([&hasRun, sentinel = std::move(sentinel)] { hasRun = true; });
    ASSERT_TRUE(entered.wait());
    queue.reset();
    mayGo.open();
    EXPECT_EQ(dropped.get_future().wait_for(bound), std::future_status::ready);
    EXPECT_FALSE(hasRun);
}

TEST(SerialQueueTest, AQueueMayGoFromItsOwnWork)
{
    auto queue = std::make_shared<SerialQueue>("com.local.tessarin.test");
    SerialQueue* const same = queue.get();
    std::promise<void> gone;
    same->post([&gone, queue = std::move(queue)]() mutable {
        queue = nullptr;
        gone.set_value();
    });
    EXPECT_EQ(gone.get_future().wait_for(bound), std::future_status::ready);
}

TEST(SerialQueueTest, ManyQueuesShareTheThreads)
{
    std::vector<std::unique_ptr<SerialQueue>> queues;
    std::vector<int> counts(500, 0);
    for (std::size_t number = 0; number < counts.size(); ++number)
        queues.push_back(std::make_unique<SerialQueue>("com.local.tessarin." + std::to_string(number)));
    for (int round = 0; round < 20; ++round) {
        for (std::size_t number = 0; number < counts.size(); ++number)
            queues[number]->post([&counts, number] { ++counts[number]; });
    }
    for (const auto& queue : queues)
        queue->sync([] {});
    EXPECT_EQ(counts, std::vector<int>(500, 20));
}

TEST(SerialQueueTest, AQueueKnowsItsLabelAndItsCaller)
{
    SerialQueue queue("com.local.tessarin.acp");
    EXPECT_EQ(queue.label(), "com.local.tessarin.acp");
    EXPECT_FALSE(SerialQueue::isCallerOnAny());
    queue.sync([&] {
        queue.assertCurrent();
        EXPECT_TRUE(SerialQueue::isCallerOnAny());
    });
}

#ifndef NDEBUG
TEST(SerialQueueDeathTest, WorkOfAQueueIsRefusedElsewhere)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            SerialQueue queue("com.local.tessarin.test");
            queue.assertCurrent();
        },
        "currentQueue");
    EXPECT_DEATH(
        {
            SerialQueue queue("com.local.tessarin.test");
            SerialQueue other("com.local.tessarin.other");
            other.sync([&] { queue.assertCurrent(); });
        },
        "currentQueue");
}

TEST(SerialQueueDeathTest, SyncFromAQueueIsRefused)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            SerialQueue queue("com.local.tessarin.test");
            SerialQueue other("com.local.tessarin.other");
            other.sync([&] { queue.sync([] {}); });
        },
        "isCallerOnAny");
}
#endif

} // namespace tessarin
