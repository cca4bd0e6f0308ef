#include "Remote/RemoteHostEvents.h"

#include "Remote/RemoteHostServer.h"
#include "Remote/RemoteHostState.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace tessarin
{

namespace
{

class RemoteHostEventsTest : public testing::Test
{
protected:
    RemoteHostEventsTest()
    {
        events->onCaughtUp = [this] { ++timesCaughtUp; };
    }

    // Events that note their number.
    void post(int first, int count, std::size_t byteCount = 0)
    {
        queue->sync([&] {
            for (int number = first; number < first + count; ++number) {
                events->post([this, number](RemoteHostServer& server) { told.push_back(&server == *receiver ? number : -1); }, byteCount);
            }
        });
    }
    // Runs so many on the main thread.
    void take(int count)
    {
        for (int taken = 0; taken < count; ++taken) {
            mainThread.drain(std::chrono::milliseconds(0));
        }
    }
    bool isBehind()
    {
        bool isBehind = false;
        queue->sync([&] { isBehind = events->isBehind(); });
        return isBehind;
    }
    int caughtUp()
    {
        queue->sync([] {});
        return timesCaughtUp;
    }

    MainThread mainThread;
    RemoteHostServer here{ mainThread };
    std::shared_ptr<RemoteHostServer* const> receiver = std::make_shared<RemoteHostServer* const>(&here);
    std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("com.local.tessarin.test");
    std::shared_ptr<RemoteHostEvents> events = std::make_shared<RemoteHostEvents>(mainThread, queue, receiver);
    std::vector<int> told;
    int timesCaughtUp = 0;
};

} // namespace

TEST_F(RemoteHostEventsTest, EventsComeInOrderAndEachByItself)
{
    post(0, 3);
    EXPECT_TRUE(told.empty());
    take(1);
    EXPECT_EQ(told, std::vector{ 0 }) << "the window may paint in between";
    take(2);
    EXPECT_EQ(told, (std::vector{ 0, 1, 2 }));
}

TEST_F(RemoteHostEventsTest, NothingIsToldOnceTheReceiverIsGone)
{
    post(0, 3);
    take(1);
    receiver.reset();
    take(2);
    EXPECT_EQ(told, std::vector{ 0 });
}

TEST_F(RemoteHostEventsTest, ItIsBehindFromTheCountLimitUntilHalfIsTaken)
{
    const int limit = RemoteHostEvents::countLimit;
    post(0, limit - 1);
    EXPECT_FALSE(isBehind());
    post(0, 1);
    EXPECT_TRUE(isBehind());
    take(limit / 2 - 1);
    EXPECT_TRUE(isBehind());
    EXPECT_EQ(caughtUp(), 0);
    take(1);
    EXPECT_EQ(caughtUp(), 1);
    EXPECT_FALSE(isBehind());
    take(limit);
    EXPECT_EQ(caughtUp(), 1);
}

TEST_F(RemoteHostEventsTest, ItIsBehindFromTheByteLimitUntilHalfIsTaken)
{
    post(0, 3, RemoteHostEvents::byteLimit / 4);
    EXPECT_FALSE(isBehind());
    post(3, 1, RemoteHostEvents::byteLimit / 4);
    EXPECT_TRUE(isBehind());
    take(1);
    EXPECT_TRUE(isBehind());
    take(1);
    EXPECT_EQ(caughtUp(), 1);
    EXPECT_FALSE(isBehind());
}

TEST(RemoteHostStateTest, LabelsAreThoseOfTheSettings)
{
    EXPECT_EQ(RemoteHostState::listening(43765).label(), "Available on port 43765");
    EXPECT_EQ(RemoteHostState::listening(80).label(), "Available on port 80");
    EXPECT_EQ(RemoteHostState::failed("No.").label(), "Needs attention");
    EXPECT_EQ(RemoteHostState::disabled().label(), "Off");
    EXPECT_EQ(RemoteHostState::starting().label(), "Starting…");
}

TEST(RemoteHostStateTest, StatesAreEqualWithTheSamePayload)
{
    EXPECT_EQ(RemoteHostState(), RemoteHostState::disabled());
    EXPECT_EQ(RemoteHostState::listening(1), RemoteHostState::listening(1));
    EXPECT_NE(RemoteHostState::listening(1), RemoteHostState::listening(2));
    EXPECT_EQ(RemoteHostState::failed("a"), RemoteHostState::failed("a"));
    EXPECT_NE(RemoteHostState::failed("a"), RemoteHostState::failed("b"));
    EXPECT_NE(RemoteHostState::disabled(), RemoteHostState::starting());
    EXPECT_EQ(RemoteHostState::failed("a").failureText(), "a");
    EXPECT_EQ(RemoteHostState::listening(7).port(), 7);
}

TEST(RemoteHostStateTest, CasesStandInTheirOrder)
{
    using Kind = RemoteHostState::Kind;
    EXPECT_LT(Kind::listening, Kind::failed);
    EXPECT_LT(Kind::failed, Kind::disabled);
    EXPECT_LT(Kind::disabled, Kind::starting);
}

} // namespace tessarin
