#include "Remote/RemoteHostEvents.h"
#include "Remote/RemoteMessageMemory.h"
#include "RemoteServerFixture.h"

#include <algorithm>
#include <vector>

// What somebody without the key, or one device among many, can't take from the others.

namespace tessarin
{

namespace
{

constexpr std::size_t mebibyte = 1024 * 1024;

class RemoteHostBoundsTest : public RemoteServerFixture
{
protected:
    // What a connection without a reader takes into the system's own buffers is kept small.
    static constexpr int receiveByteLimit = 65536;

    // Its first bytes show that the latest state is on its way to it.
    RemoteDevice connectDeviceThatReadsNoMore()
    {
        RemoteDevice device(port, key, "127.0.0.1", receiveByteLimit);
        EXPECT_TRUE(device.client.receive(RemoteCrypto::lengthByteCount));
        return device;
    }
    // The state after this one is large, and on its way to those who are connected.
    void updateAndWait(const RemoteDevice& watcher, int number)
    {
        server->update(snapshotNamed(std::to_string(number), 10 * mebibyte));
        const auto received = watcher.receive();
        ASSERT_TRUE(received && received->snapshot);
        ASSERT_EQ((*received->snapshot)->hostName, std::to_string(number));
    }
    void drain()
    {
        while (mainThread.drain()) { }
    }
};

} // namespace

TEST_F(RemoteHostBoundsTest, WhoeverNeverReadsAndHasNoKeyDoesNotKeepEachStateThatThereWas)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice watcher = connectDevice();
    ASSERT_TRUE(delivers(watcher));
    std::vector<RemoteDevice> strangers;
    for (int number = 0; number < 12; ++number) {
        updateAndWait(watcher, number);
        strangers.push_back(connectDeviceThatReadsNoMore());
    }
    updateAndWait(watcher, 12);
    EXPECT_TRUE(strangers.front().client.waitForEnd()) << "the one that has taken nothing for longest goes first";
    EXPECT_TRUE(delivers(watcher));
    EXPECT_EQ(clientCount, 1U + 6U) << "64 MiB hold six of them";
}

TEST_F(RemoteHostBoundsTest, ADeviceThatHasShownTheKeyIsNotClosedForTheSakeOfStrangers)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice watcher = connectDevice();
    std::vector<RemoteDevice> devices;
    for (int number = 0; number < 8; ++number) {
        updateAndWait(watcher, number);
        devices.push_back(connectDeviceThatReadsNoMore());
        ASSERT_TRUE(delivers(devices.back()));
    }
    updateAndWait(watcher, 8);
    for (const RemoteDevice& device : devices) {
        EXPECT_TRUE(delivers(device));
    }
    EXPECT_EQ(clientCount, 1U + 8U);
}

TEST_F(RemoteHostBoundsTest, FramesOfTheHostSentBackDoNotMakeItForgetWhatDevicesSaid)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    const std::string command = sealedMessage(messageOf("prompt"), key);
    ASSERT_TRUE(device.client.send(command));
    ASSERT_TRUE(delivers(device));
    const auto commands
        = [&] { return std::count_if(messages.begin(), messages.end(), [](const RemoteEnvelope& each) { return each.type == "prompt"; }); };
    ASSERT_EQ(commands(), 1);

    const RemoteDevice stranger = connectDevice();
    for (std::size_t reflected = 0; reflected <= RemoteMessageMemory::mostCount; ++reflected) {
        ASSERT_TRUE(stranger.client.send(sealedMessage(messageOf("media_chunk"), key)));
        drain();
    }
    ASSERT_TRUE(stranger.client.send(command));
    ASSERT_TRUE(delivers(stranger));
    EXPECT_EQ(commands(), 1);
}

TEST_F(RemoteHostBoundsTest, AnIdCountsOnceWhetherTheHostOrADeviceMightHaveSaidIt)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    RemoteEnvelope envelope = messageOf("error");
    ASSERT_TRUE(device.send(envelope));
    envelope.type = "prompt";
    ASSERT_TRUE(device.send(envelope));
    ASSERT_TRUE(delivers(device));
    EXPECT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages.front().type, "error");
}

TEST_F(RemoteHostBoundsTest, NothingOfADeviceComesAfterTheHostWasStoppedOrStartedAnew)
{
    for (const bool isStartedAnew : { false, true }) {
        ASSERT_TRUE(startListening());
        const RemoteDevice device = connectDevice();
        ASSERT_TRUE(device.send(messageOf("prompt")));
        // The connection ends with this, so the message before it is on its way to the main thread then.
        ASSERT_TRUE(device.client.send(std::string(4, '\0')));
        ASSERT_TRUE(device.client.waitForEnd());
        if (isStartedAnew) {
            ASSERT_TRUE(startListening());
        } else {
            server->stop();
            ASSERT_TRUE(pumpUntilEvent("disabled"));
        }
        EXPECT_TRUE(messages.empty());
        clientCount = 0;
    }
}

TEST_F(RemoteHostBoundsTest, ThoseWhoSayMuchLeaveTheOthersTheirTurn)
{
    constexpr int loudCount = 6;
    constexpr int messagesOfEach = 2000;
    ASSERT_TRUE(startListening());
    std::vector<RemoteDevice> loud;
    std::vector<RemoteDevice> quiet;
    for (int number = 0; number < loudCount; ++number) {
        loud.push_back(connectDevice());
        quiet.push_back(connectDevice());
    }
    for (const RemoteDevice& device : loud) {
        std::string all;
        for (int number = 0; number < messagesOfEach; ++number) {
            all += sealedMessage(messageOf("hello"), key);
        }
        ASSERT_TRUE(device.client.send(all));
    }
    for (const RemoteDevice& device : quiet) {
        ASSERT_TRUE(device.send(messageOf("prompt")));
    }
    const auto prompts
        = [&] { return std::count_if(messages.begin(), messages.end(), [](const RemoteEnvelope& each) { return each.type == "prompt"; }); };
    ASSERT_TRUE(pumpUntil([&] { return prompts() == loudCount; }));
    // Everybody has had a turn, and a turn ends when the main thread is behind.
    EXPECT_LT(messages.size(), 2 * RemoteHostEvents::countLimit * loudCount);
    EXPECT_LT(messages.size(), std::size_t(loudCount) * messagesOfEach);
}

} // namespace tessarin
