#include "Platform/MainThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessarin
{

namespace
{

using namespace std::chrono_literals;

class MainThreadTest : public testing::Test
{
protected:
    // Work that adds a letter to the order.
    std::function<void()> add(char letter)
    {
        return [this, letter] { order += letter; };
    }

    MainThread::Clock::time_point now{};
    int wakes = 0;
    std::string order;
    MainThread mainThread{ [this] { ++wakes; }, [this] { return now; } };
};

} // namespace

TEST_F(MainThreadTest, WorkRunsInTheOrderInWhichItWasPosted)
{
    for (const char letter : { 'a', 'b', 'c' })
        mainThread.post(add(letter));
    EXPECT_EQ(order, "") << "never before the loop comes round";
    EXPECT_FALSE(mainThread.drain());
    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(mainThread.drain());
    EXPECT_EQ(order, "abc");
}

TEST_F(MainThreadTest, EachThreadsWorkKeepsItsOrder)
{
    MainThread shared;
    constexpr int each = 2000;
    std::vector<std::vector<int>> orders(4);
    std::vector<std::thread> threads;
    for (auto& numbers : orders) {
        threads.emplace_back([&] {
            for (int number = 0; number < each; ++number)
                shared.post([&numbers, number] { numbers.push_back(number); });
        });
    }
    const auto isDone = [&] { return std::ranges::all_of(orders, [](const auto& numbers) { return numbers.size() == each; }); };
    while (!isDone())
        ASSERT_TRUE(shared.waitAndDrain(60s));
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& numbers : orders)
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
}

TEST_F(MainThreadTest, WakesOnceUntilItIsDrained)
{
    mainThread.post(add('a'));
    mainThread.post(add('b'));
    EXPECT_EQ(wakes, 1);
    mainThread.drain();
    mainThread.post(add('c'));
    mainThread.post(add('d'));
    EXPECT_EQ(wakes, 2);
    mainThread.drain();
    EXPECT_EQ(order, "abcd");
}

TEST_F(MainThreadTest, WorkPostedByWorkRunsInTheSameDrainWithoutAWake)
{
    mainThread.post([this] {
        mainThread.post(add('b'));
        order += 'a';
    });
    EXPECT_FALSE(mainThread.drain());
    EXPECT_EQ(order, "ab");
    EXPECT_EQ(wakes, 1);
}

TEST_F(MainThreadTest, AFloodEndsWithTheBudget)
{
    for (int round = 0; round < 10; ++round) {
        mainThread.post([this] {
            order += 'x';
            now += 3ms;
        });
    }
    EXPECT_TRUE(mainThread.drain(8ms));
    EXPECT_EQ(order, "xxx");
    mainThread.post(add('y'));
    EXPECT_EQ(wakes, 1) << "the caller comes back without being told";
    EXPECT_TRUE(mainThread.drain(8ms));
    EXPECT_FALSE(mainThread.drain());
    EXPECT_EQ(order, "xxxxxxxxxxy");
    mainThread.post(add('z'));
    EXPECT_EQ(wakes, 2);
}

TEST_F(MainThreadTest, EachDrainRunsSomethingHoweverSmallTheBudget)
{
    mainThread.post(add('a'));
    mainThread.post(add('b'));
    EXPECT_TRUE(mainThread.drain(0ms));
    EXPECT_EQ(order, "a");
    EXPECT_FALSE(mainThread.drain(0ms) && order.size() < 2);
    EXPECT_EQ(order, "ab");
}

TEST_F(MainThreadTest, DelayedWorkRunsWhenItsTimeHasCome)
{
    mainThread.postDelayed(80ms, add('a'));
    mainThread.drain();
    EXPECT_EQ(order, "");
    now += 79ms;
    mainThread.drain();
    EXPECT_EQ(order, "");
    now += 1ms;
    mainThread.drain();
    EXPECT_EQ(order, "a");
    now += 1h;
    mainThread.drain();
    EXPECT_EQ(order, "a") << "once";
}

TEST_F(MainThreadTest, DelayedWorkRunsInTheOrderOfItsTimes)
{
    mainThread.postDelayed(30ms, add('c'));
    mainThread.postDelayed(10ms, add('a'));
    mainThread.postDelayed(10ms, add('b'));
    mainThread.postDelayed(50ms, add('d'));
    now += 40ms;
    mainThread.drain();
    EXPECT_EQ(order, "abc");
}

TEST_F(MainThreadTest, DelayedWorkThatFallsDueComesBehindWhatWasPostedBefore)
{
    mainThread.post(add('a'));
    mainThread.postDelayed(0ms, add('b'));
    mainThread.drain();
    EXPECT_EQ(order, "ab");
}

TEST_F(MainThreadTest, DelayedWorkThatFallsDueDuringADrainRunsInIt)
{
    mainThread.postDelayed(10ms, add('b'));
    mainThread.post([this] {
        order += 'a';
        now += 10ms;
    });
    EXPECT_FALSE(mainThread.drain());
    EXPECT_EQ(order, "ab");
}

TEST_F(MainThreadTest, DelayedWorkMayBeCalledOff)
{
    const auto first = mainThread.postDelayed(10ms, add('a'));
    const auto second = mainThread.postDelayed(10ms, add('b'));
    EXPECT_NE(first, second);
    mainThread.cancelDelayed(first);
    now += 10ms;
    mainThread.drain();
    EXPECT_EQ(order, "b");
    mainThread.cancelDelayed(first);
    mainThread.cancelDelayed(second);
    mainThread.cancelDelayed(999);
    EXPECT_FALSE(mainThread.drain());
}

TEST_F(MainThreadTest, DelayedWorkMayBeCalledOffByWorkThatIsDueWithIt)
{
    MainThread::DelayID second = 0;
    const auto held = std::make_shared<int>();
    mainThread.postDelayed(10ms, [&] {
        order += 'a';
        mainThread.cancelDelayed(second);
    });
    second = mainThread.postDelayed(10ms, [this, held] { order += 'b'; });
    now += 10ms;
    mainThread.drain();
    EXPECT_EQ(order, "a");
    EXPECT_EQ(held.use_count(), 1) << "what was called off is let go";
}

TEST_F(MainThreadTest, ARepeatedDelayIsADebounce)
{
    MainThread::DelayID delay = 0;
    for (int change = 0; change < 100; ++change) {
        mainThread.cancelDelayed(delay);
        delay = mainThread.postDelayed(80ms, add('s'));
        now += 79ms;
        mainThread.drain();
    }
    EXPECT_EQ(order, "");
    now += 1ms;
    mainThread.drain();
    EXPECT_EQ(order, "s");
}

TEST_F(MainThreadTest, TheNextDueTimeIsKnown)
{
    EXPECT_FALSE(mainThread.nextDue());
    const auto later = mainThread.postDelayed(50ms, add('b'));
    const auto sooner = mainThread.postDelayed(20ms, add('a'));
    EXPECT_EQ(mainThread.nextDue(), now + 20ms);
    mainThread.cancelDelayed(sooner);
    EXPECT_EQ(mainThread.nextDue(), now + 50ms);
    mainThread.cancelDelayed(later);
    EXPECT_FALSE(mainThread.nextDue());
}

TEST_F(MainThreadTest, WakesWhenTheNextDueTimeComesNearer)
{
    mainThread.postDelayed(50ms, add('a'));
    EXPECT_EQ(wakes, 1);
    mainThread.drain();
    mainThread.postDelayed(60ms, add('c'));
    EXPECT_EQ(wakes, 1) << "the timer that is set comes first";
    mainThread.postDelayed(20ms, add('b'));
    EXPECT_EQ(wakes, 2);
}

TEST_F(MainThreadTest, WaitingEndsWithTheBoundWhenNothingComes)
{
    EXPECT_FALSE(mainThread.waitAndDrain(1ms));
    mainThread.postDelayed(1h, add('a'));
    EXPECT_FALSE(mainThread.waitAndDrain(1ms)) << "the clock stands still";
    now += 1h;
    EXPECT_TRUE(mainThread.waitAndDrain(0ms));
    EXPECT_EQ(order, "a");
}

TEST_F(MainThreadTest, WaitingEndsWhenAnotherThreadPosts)
{
    MainThread shared;
    int ran = 0;
    std::thread poster([&] { shared.post([&] { ++ran; }); });
    EXPECT_TRUE(shared.waitAndDrain(60s));
    poster.join();
    EXPECT_EQ(ran, 1);
}

TEST_F(MainThreadTest, WaitingEndsWhenDelayedWorkFallsDue)
{
    MainThread real;
    int ran = 0;
    const auto due = MainThread::Clock::now() + 5ms;
    real.postDelayed(5ms, [&] { ++ran; });
    EXPECT_TRUE(real.waitAndDrain(60s));
    EXPECT_GE(MainThread::Clock::now(), due);
    EXPECT_EQ(ran, 1);
}

TEST_F(MainThreadTest, WorkIsLetGoWhenItHasRun)
{
    const auto held = std::make_shared<int>();
    mainThread.post([held] {});
    mainThread.post([&] { EXPECT_EQ(held.use_count(), 1); });
    mainThread.drain();
}

TEST_F(MainThreadTest, DroppedWorkMayPostAsItGoes)
{
    const auto posts = [](MainThread& to) { return std::shared_ptr<void>(nullptr, [&to](void*) { to.post([] {}); }); };
    {
        MainThread dying;
        dying.post([held = posts(dying)] {});
        dying.postDelayed(1h, [held = posts(dying)] {});
        const auto calledOff = dying.postDelayed(1h, [held = posts(dying)] {});
        dying.cancelDelayed(calledOff);
    }
    mainThread.postDelayed(0ms, [this, held = posts(mainThread)] { order += 'a'; });
    mainThread.drain();
    EXPECT_EQ(order, "a");
}

} // namespace tessarin
