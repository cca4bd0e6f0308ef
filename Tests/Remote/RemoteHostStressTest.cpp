#include "../Platform/TemporaryFolder.h"
#include "Remote/RemoteHostEvents.h"
#include "RemoteServerFixture.h"

#include <algorithm>
#include <random>
#include <unistd.h>

namespace tessarin
{

namespace
{

using namespace std::string_literals;

constexpr std::size_t mebibyte = 1024 * 1024;
// A sanitizer keeps what was freed, and takes notes: with one, these tests look for other things than memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t keptBySanitizer = 4096 * mebibyte;
#else
constexpr std::size_t keptBySanitizer = 0;
#endif

std::string textOf(std::size_t size)
{
    return std::string(size, 'x');
}

class RemoteHostStressTest : public RemoteServerFixture
{
protected:
    void SetUp() override
    {
        raiseDescriptorLimit();
        ASSERT_TRUE(startListening());
    }

    // So many that never read, and have little room.
    std::vector<RemoteDevice> connectNeverReading(std::size_t count)
    {
        std::vector<RemoteDevice> devices;
        for (std::size_t number = 0; number < count; ++number) {
            devices.emplace_back(port, key, "127.0.0.1", 16 * 1024);
        }
        EXPECT_TRUE(pumpUntilClients(count));
        return devices;
    }

    RemoteMedia sparseMedia(off_t size)
    {
        RemoteMedia media{ "ID", "video", folder / "large.mp4", "large.mp4" };
        writeWholeFile(media.path, "");
        EXPECT_EQ(truncate(media.path.c_str(), size), 0);
        return media;
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(RemoteHostStressTest, TwoHundredDevicesAtOnceGetAndSay)
{
    std::vector<RemoteDevice> devices;
    for (int number = 0; number < 200; ++number) {
        devices.emplace_back(port, key, number % 2 == 0 ? "127.0.0.1" : loopbackOfVersionSix());
        ASSERT_TRUE(devices.back().client.isConnected());
    }
    ASSERT_TRUE(pumpUntilClients(200));
    server->update(snapshotNamed("all", 100'000));
    server->send(RemoteEnvelope::makeError("to all"));
    for (const RemoteDevice& device : devices) {
        ASSERT_EQ(device.receiveError(), "to all");
        ASSERT_TRUE(device.send(messageOf("hello")));
    }
    EXPECT_TRUE(pumpUntil([this] { return messages.size() == 200; }));
    devices.clear();
    EXPECT_TRUE(pumpUntilClients(0));
}

TEST_F(RemoteHostStressTest, AThousandConnectsAndDropsLeaveNothing)
{
    server->update(snapshotNamed("large", 1'000'000));
    const RemoteDevice bystander = connectDevice();
    ASSERT_TRUE(bystander.receive());
    const int before = openDescriptors();
    std::mt19937 random(1);
    for (int number = 0; number < 1000; ++number) {
        RemoteDevice device(port, key);
        ASSERT_TRUE(device.client.isConnected());
        switch (random() % 5) {
        case 0:
            device.client.reset();
            break;
        case 1:
            device.client.send("\0\0"s);
            break;
        case 2:
            device.client.send("\xFF\xFF\xFF\xFF"s);
            break;
        case 3:
            device.client.endWriting();
            break;
        default:
            break;
        }
        mainThread.drain();
    }
    ASSERT_TRUE(delivers(bystander));
    ASSERT_TRUE(pumpUntilClients(1));
    EXPECT_LE(openDescriptors(), before);
    EXPECT_TRUE(bystander.client.isSilent());
}

TEST_F(RemoteHostStressTest, WhatStrangersHoldIsBoundedAndTheOneHoldingMostGoes)
{
    const RemoteDevice device = connectDevice();
    const std::size_t memoryBefore = residentMemory();
    const std::string announced = "\1\0\0\0"s;
    std::vector<TcpClient> strangers;
    // Each holds a little less than the one before, and all together just the limit.
    for (std::size_t number = 0; number < 8; ++number) {
        strangers.emplace_back(port);
        const std::size_t size = number == 0 ? 10 * mebibyte : 7 * mebibyte;
        ASSERT_TRUE(strangers.back().send(announced + std::string(size - announced.size(), 'x')));
    }
    ASSERT_TRUE(delivers(device));
    ASSERT_TRUE(pumpUntilClients(9)) << "59 MiB";
    strangers.emplace_back(port);
    ASSERT_TRUE(strangers.back().send(announced + std::string(6 * mebibyte, 'x')));
    EXPECT_TRUE(strangers.front().waitForEnd()) << "it held most";
    ASSERT_TRUE(pumpUntilClients(9));
    for (int number = 0; number < 50; ++number) {
        strangers.emplace_back(port);
        static_cast<void>(strangers.back().send(announced + std::string(9 * mebibyte, 'x')));
    }
    EXPECT_TRUE(delivers(device));
    EXPECT_LT(residentMemory(), memoryBefore + 200 * mebibyte + keptBySanitizer) << "450 MiB were sent";
}

TEST_F(RemoteHostStressTest, WhoHasShownTheKeyIsNoStranger)
{
    const RemoteDevice device = connectDevice();
    ASSERT_TRUE(delivers(device));
    RemoteEnvelope large = messageOf("prompt", textOf(16'000'000));
    const std::string frame = sealedMessage(large, key);
    ASSERT_TRUE(device.client.send(std::string_view(frame).substr(0, frame.size() - 1)));
    std::vector<TcpClient> strangers;
    for (int number = 0; number < 10; ++number) {
        strangers.emplace_back(port);
        static_cast<void>(strangers.back().send("\1\0\0\0"s + std::string(14 * mebibyte, 'x')));
    }
    ASSERT_TRUE(device.client.send(std::string_view(frame).substr(frame.size() - 1)));
    EXPECT_TRUE(pumpUntil([&] { return !messages.empty() && messages.back() == large; }));
}

TEST_F(RemoteHostStressTest, WhatTheHostSaidOrSomebodyRepeatsShowsNoKey)
{
    server->send(RemoteEnvelope::makeError("nobody hears this"));
    const RemoteDevice device = connectDevice();
    const std::string said = sealedMessage(messageOf("hello"), key);
    ASSERT_TRUE(device.client.send(said));
    server->send(RemoteEnvelope::makeError("mirror"));
    const auto heard = device.receiveFrame();
    ASSERT_TRUE(heard);
    std::vector<TcpClient> strangers;
    for (std::size_t number = 0; number < 6; ++number) {
        strangers.emplace_back(port);
        static_cast<void>(strangers.back().send(*heard + said + "\1\0\0\0"s + std::string((15 - number) * mebibyte, 'x')));
    }
    EXPECT_TRUE(strangers.front().waitForEnd()) << "each repeated two frames that open, and is a stranger all the same";
    EXPECT_TRUE(delivers(device));
}

TEST_F(RemoteHostStressTest, GarbageHurtsNobody)
{
    const RemoteDevice device = connectDevice();
    server->update(snapshotNamed("state"));
    std::mt19937 random(7);
    for (int number = 0; number < 300; ++number) {
        std::string garbage(random() % 2000, '\0');
        for (char& byte : garbage) {
            byte = static_cast<char>(random());
        }
        if (random() % 2 == 0) {
            garbage.insert(0, "\0\0"s + static_cast<char>(random() % 4) + static_cast<char>(random()));
        }
        const TcpClient stranger(port);
        ASSERT_TRUE(stranger.isConnected());
        static_cast<void>(stranger.send(garbage));
        mainThread.drain();
    }
    ASSERT_TRUE(delivers(device));
    EXPECT_EQ(messages.size(), 1U);
    ASSERT_TRUE(device.receive());
    EXPECT_TRUE(device.client.isSilent());
}

TEST_F(RemoteHostStressTest, ASnapshotNotYetOnTheWireGivesWayToANewerOne)
{
    const std::vector<RemoteDevice> stalled = connectNeverReading(1);
    const RemoteDevice quick = connectDevice();
    const std::size_t memoryBefore = residentMemory();
    for (int number = 0; number < 100; ++number) {
        server->update(snapshotNamed(std::to_string(number), 2'000'000));
        ASSERT_TRUE(quick.receive());
    }
    EXPECT_LT(residentMemory(), memoryBefore + 100 * mebibyte + keptBySanitizer) << "200 MB were sent";
    int received = 0;
    std::string name;
    for (; name != "99"; ++received) {
        const auto envelope = stalled.front().receive();
        ASSERT_TRUE(envelope && envelope->snapshot);
        name = (**envelope->snapshot).hostName;
    }
    EXPECT_LE(received, 3) << "what was on its way, and the newest";
}

TEST_F(RemoteHostStressTest, WhoTakesNothingWhileTooMuchWaitsIsClosedAndTheOthersAreNot)
{
    const std::vector<RemoteDevice> stalled = connectNeverReading(1);
    const RemoteDevice reading = connectDevice();
    const std::string text(mebibyte, 'x');
    int sent = 0;
    while (clientCount == 2 && sent < 200) {
        server->send(RemoteEnvelope::makeError(text + std::to_string(++sent)));
        ASSERT_EQ(reading.receiveError(), text + std::to_string(sent));
        mainThread.drain();
    }
    EXPECT_EQ(clientCount, 1U);
    EXPECT_GE(sent, 64);
    EXPECT_LE(sent, 70);
    EXPECT_TRUE(delivers(reading));
}

TEST_F(RemoteHostStressTest, TwoHundredThatNeverReadAndALargeVideoCostLittle)
{
    const std::vector<RemoteDevice> stalled = connectNeverReading(200);
    const RemoteDevice reading = connectDevice();
    const std::size_t memoryBefore = residentMemory();
    const RemoteMedia video = sparseMedia(1'000'000'000);
    for (int round = 0; round < 3; ++round) {
        server->sendMedia(video);
        server->update(snapshotNamed("state", 1'000'000));
    }
    constexpr int chunkCount = 5087; // of 196,608 bytes
    std::size_t mostMemory = 0;
    for (int chunks = 0; chunks < chunkCount;) {
        const auto frame = reading.receiveFrame();
        ASSERT_TRUE(frame);
        // A larger one is a snapshot. They are not opened, which would take most of the time.
        chunks += frame->size() < 300'000 ? 1 : 0;
        mostMemory = std::max(mostMemory, residentMemory());
    }
    EXPECT_LT(mostMemory, memoryBefore + 150 * mebibyte + keptBySanitizer);
    EXPECT_TRUE(delivers(reading));
    EXPECT_EQ(clientCount, 201U);
}

TEST_F(RemoteHostStressTest, AFloodOfMessagesWaitsWithTheDeviceWhileTheMainThreadIsBusy)
{
    const RemoteDevice device = connectDevice();
    constexpr std::size_t flood = 800;
    const std::string text(60'000, 'x');
    std::vector<std::string> sent;
    std::string frame;
    std::size_t byteCount = 0;
    const auto sendMore = [&] {
        if (frame.empty()) {
            const RemoteEnvelope next = messageOf("prompt", text);
            sent.push_back(next.id);
            frame = sealedMessage(next, key);
        }
        const std::size_t count = device.client.sendWhatFits(frame);
        frame.erase(0, count);
        byteCount += count;
        return count > 0;
    };
    while (sent.size() < flood && (sendMore() || device.client.waitForRoom())) { }
    EXPECT_LT(sent.size(), flood) << "the main thread takes nothing";
    EXPECT_LT(byteCount, RemoteHostEvents::byteLimit + 24 * mebibyte) << "what may wait, and what the system holds of a connection";
    while (sent.size() < flood || !frame.empty()) {
        if (!sendMore()) {
            ASSERT_TRUE(pumpUntil([&] { return device.client.waitForRoom(); }));
        }
    }
    ASSERT_TRUE(pumpUntil([&] { return messages.size() == flood; }));
    EXPECT_EQ(messageIDs(), sent);
    EXPECT_TRUE(delivers(device));
}

TEST_F(RemoteHostStressTest, WhatWaitsForTheMainThreadStillComesWhenItsDeviceHasGone)
{
    constexpr std::size_t count = 3 * RemoteHostEvents::countLimit;
    std::vector<std::string> sent;
    {
        const RemoteDevice device(port, key);
        for (std::size_t number = 0; number < count; ++number) {
            const RemoteEnvelope next = messageOf("hello");
            sent.push_back(next.id);
            ASSERT_TRUE(device.send(next));
        }
    }
    ASSERT_TRUE(pumpUntil([&] { return messages.size() == count; }));
    EXPECT_EQ(messageIDs(), sent);
    EXPECT_TRUE(pumpUntilEvent("clients 0"));
}

TEST_F(RemoteHostStressTest, ConnectionsWaitWhileTheMainThreadIsBusy)
{
    constexpr int count = static_cast<int>(RemoteHostEvents::countLimit) + 200;
    const int before = openDescriptors();
    std::vector<TcpClient> strangers;
    for (int number = 0; number < count; ++number) {
        strangers.emplace_back(port);
        ASSERT_TRUE(strangers.back().isConnected());
    }
    // Those that wait are the system's, and no descriptors of ours. A few are accepted in a row.
    EXPECT_LT(openDescriptors(), before + 2 * count - 100);
    EXPECT_TRUE(pumpUntilClients(strangers.size()));
    strangers.clear();
    EXPECT_TRUE(pumpUntilClients(0));
    EXPECT_TRUE(delivers(connectDevice()));
}

} // namespace tessarin
