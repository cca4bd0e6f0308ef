#include "RemoteServerFixture.h"

#include <algorithm>
#include <cstdint>
#include <sys/socket.h>
#include <thread>

namespace tessarin
{

namespace
{

using namespace std::string_literals;
using testing::ElementsAre;

class RemoteHostServerTest : public RemoteServerFixture
{
protected:
    [[nodiscard]] std::string listening() const { return "listening " + std::to_string(port); }

    // As if the system took the listening socket away.
    [[nodiscard]] bool breakListener() const
    {
        for (int descriptor = 3; descriptor < 1000; ++descriptor) {
            int isListening = 0;
            socklen_t length = sizeof isListening;
            if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &length) == 0 && isListening == 1) {
                return ::shutdown(descriptor, SHUT_RDWR) == 0;
            }
        }
        return false;
    }
    // The host name of the snapshot that comes next.
    static std::string receiveSnapshot(const RemoteDevice& device)
    {
        const auto envelope = device.receive();
        return envelope && envelope->snapshot ? (**envelope->snapshot).hostName : "none";
    }
};

} // namespace

TEST_F(RemoteHostServerTest, StartingIsToldBeforeListening)
{
    ASSERT_TRUE(startListening());
    EXPECT_THAT(events, ElementsAre("clients 0", "starting", listening()));
}

TEST_F(RemoteHostServerTest, ItListensWhereDevicesExpectItUnlessToldOtherwise)
{
    EXPECT_EQ(RemoteHostServer::defaultPort, 43765);
}

TEST_F(RemoteHostServerTest, NothingIsToldWithinACall)
{
    server->start(key, port);
    server->stop();
    EXPECT_TRUE(events.empty());
    ASSERT_TRUE(pumpUntilEvent("disabled"));
    EXPECT_THAT(events, ElementsAre("clients 0", "starting", listening(), "clients 0", "disabled"));
}

TEST_F(RemoteHostServerTest, StoppingTwiceIsToldTwiceAndDoesNothingElse)
{
    ASSERT_TRUE(startListening());
    events.clear();
    server->stop();
    server->stop();
    ASSERT_TRUE(pumpUntil([this] { return events.size() == 4; }));
    EXPECT_THAT(events, ElementsAre("clients 0", "disabled", "clients 0", "disabled"));
    EXPECT_FALSE(TcpClient(port).isConnected());
}

TEST_F(RemoteHostServerTest, AKeyOfAnotherLengthFailsAndLeavesNoListener)
{
    for (const std::size_t size : { 0U, 31U, 33U }) {
        events.clear();
        server->start(std::string(size, 'k'), port);
        ASSERT_TRUE(pumpUntilEvent("failed: Could not create a valid pairing key."));
        EXPECT_THAT(events, ElementsAre("clients 0", "failed: Could not create a valid pairing key."));
        EXPECT_FALSE(TcpClient(port).isConnected());
    }
}

TEST_F(RemoteHostServerTest, AKeyOfAnotherLengthEndsWhatRan)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    server->start(std::string(31, 'k'), port);
    ASSERT_TRUE(pumpUntilEvent("failed: Could not create a valid pairing key."));
    EXPECT_TRUE(device.client.waitForEnd());
    EXPECT_FALSE(TcpClient(port).isConnected());
    EXPECT_EQ(clientCount, 0U);
}

TEST_F(RemoteHostServerTest, StartingAgainReplacesListenerAndPeersWithoutBeingOffInBetween)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    events.clear();
    ASSERT_TRUE(startListening());
    EXPECT_THAT(events, ElementsAre("clients 0", "clients 0", "starting", listening()));
    EXPECT_TRUE(device.client.waitForEnd());
    EXPECT_TRUE(delivers(connectDevice()));
}

TEST_F(RemoteHostServerTest, ThePortCanBeHadAgainAtOnceHoweverOften)
{
    for (int round = 0; round < 50; ++round) {
        events.clear();
        server->start(key, port);
        server->start(key, port);
        ASSERT_TRUE(pumpUntil([this] { return std::count(events.begin(), events.end(), listening()) == 2; })) << round;
        const RemoteDevice device(port, key);
        ASSERT_TRUE(delivers(device));
        if (round % 2 == 0) {
            server->stop();
        }
    }
}

TEST_F(RemoteHostServerTest, APortThatIsTakenFailsInWordsThatHelp)
{
    MainThread otherMainThread;
    RemoteHostServer other(otherMainThread);
    bool isListening = false;
    other.onStateChange = [&](const RemoteHostState& state) { isListening = state == RemoteHostState::listening(port); };
    other.start(key, port);
    while (!isListening) {
        ASSERT_TRUE(otherMainThread.waitAndDrain(bound));
    }
    const std::string words = "failed: Port " + std::to_string(port)
        + " is already used by another program. Quit that program, then turn the remote host off and on.";
    server->start(key, port);
    ASSERT_TRUE(pumpUntilEvent(words));
    EXPECT_THAT(events, ElementsAre("clients 0", "starting", words));
    EXPECT_TRUE(TcpClient(port).isConnected()) << "the other one goes on";
}

TEST_F(RemoteHostServerTest, AListenerThatFailsClosesAllPeersAndSaysWhy)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    events.clear();
    ASSERT_TRUE(breakListener());
    const std::string words = "failed: Invalid argument. Turn the remote host off and on.";
    ASSERT_TRUE(pumpUntilEvent(words));
    EXPECT_THAT(events, ElementsAre("clients 0", "clients 0", words));
    EXPECT_TRUE(device.client.waitForEnd());
    ASSERT_TRUE(startListening()) << "only a new start leaves it";
    EXPECT_TRUE(delivers(connectDevice()));
}

TEST_F(RemoteHostServerTest, AFailedOneListensWhenItIsStartedAgain)
{
    server->start("", port);
    ASSERT_TRUE(pumpUntilEvent("failed: Could not create a valid pairing key."));
    ASSERT_TRUE(startListening());
    EXPECT_TRUE(delivers(connectDevice()));
}

TEST_F(RemoteHostServerTest, DevicesConnectByEitherProtocolOfTheInternet)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice four = connectDevice("127.0.0.1");
    const RemoteDevice six = connectDevice(loopbackOfVersionSix());
    EXPECT_TRUE(delivers(four));
    EXPECT_TRUE(delivers(six));
}

TEST_F(RemoteHostServerTest, AConnectionCountsFromTheStartUntilItGoes)
{
    ASSERT_TRUE(startListening());
    events.clear();
    RemoteDevice first = connectDevice();
    RemoteDevice second = connectDevice();
    EXPECT_THAT(events, ElementsAre("clients 1", "clients 2"));
    first.client.close();
    ASSERT_TRUE(pumpUntilClients(1));
    second.client.reset();
    ASSERT_TRUE(pumpUntilClients(0));
    EXPECT_THAT(events, ElementsAre("clients 1", "clients 2", "clients 1", "clients 0"));
}

TEST_F(RemoteHostServerTest, StoppingClosesEachPeerAndTellsOnceMore)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice first = connectDevice();
    const RemoteDevice second = connectDevice();
    events.clear();
    server->stop();
    ASSERT_TRUE(pumpUntilEvent("disabled"));
    EXPECT_THAT(events, ElementsAre("clients 0", "clients 0", "clients 0", "disabled"));
    EXPECT_TRUE(first.client.waitForEnd());
    EXPECT_TRUE(second.client.waitForEnd());
}

TEST_F(RemoteHostServerTest, WithoutASnapshotAConnectionGetsNothingUntilThereIsOne)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    ASSERT_TRUE(delivers(device));
    EXPECT_TRUE(device.client.isSilent());
    server->update(snapshotNamed("first"));
    EXPECT_EQ(receiveSnapshot(device), "first");
}

TEST_F(RemoteHostServerTest, ALaterConnectionGetsTheLatestSnapshotUnderItsFirstId)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice early = connectDevice();
    server->update(snapshotNamed("first"));
    ASSERT_EQ(receiveSnapshot(early), "first");
    server->update(snapshotNamed("second"));
    const auto sent = early.receive();
    const RemoteDevice late = connectDevice();
    const auto replayed = late.receive();
    ASSERT_TRUE(sent && replayed);
    EXPECT_EQ((**sent->snapshot).hostName, "second");
    EXPECT_EQ(*sent, *replayed);
    ASSERT_TRUE(delivers(late));
    EXPECT_TRUE(late.client.isSilent()) << "nothing else unasked";
    EXPECT_TRUE(early.client.isSilent()) << "the replay is for the new one alone";
}

TEST_F(RemoteHostServerTest, EachSnapshotHasAnIdOfItsOwn)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    server->update(snapshotNamed("same"));
    const auto first = device.receive();
    server->update(snapshotNamed("same"));
    const auto second = device.receive();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->id, second->id);
    EXPECT_TRUE(Uuid::parse(first->id));
    EXPECT_EQ(first->type, "snapshot");
    EXPECT_EQ(first->version, 1);
}

TEST_F(RemoteHostServerTest, TheLatestSnapshotOutlivesStopRestartAndAnotherKey)
{
    server->update(snapshotNamed("kept"));
    ASSERT_TRUE(startListening());
    EXPECT_EQ(receiveSnapshot(connectDevice()), "kept");
    server->stop();
    const std::string other(RemoteCrypto::keyByteCount, 'o');
    ASSERT_TRUE(startListening(other));
    EXPECT_EQ(receiveSnapshot(RemoteDevice(port, other)), "kept");
}

TEST_F(RemoteHostServerTest, ASnapshotOfBeforeTheStartIsNotLost)
{
    server->update(snapshotNamed("early"));
    server->update(snapshotNamed("later"));
    ASSERT_TRUE(startListening());
    EXPECT_EQ(receiveSnapshot(connectDevice()), "later");
}

TEST_F(RemoteHostServerTest, EveryMessageGoesToEveryDevice)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice first = connectDevice();
    const RemoteDevice second = connectDevice(loopbackOfVersionSix());
    const RemoteEnvelope error = RemoteEnvelope::makeError("No.");
    server->send(error);
    EXPECT_EQ(first.receive(), error);
    EXPECT_EQ(second.receive(), error);
}

TEST_F(RemoteHostServerTest, OneFrameServesAllDevices)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice first = connectDevice();
    const RemoteDevice second = connectDevice();
    server->update(snapshotNamed("one"));
    server->send(RemoteEnvelope::makeError("No."));
    EXPECT_EQ(first.receiveFrame(), second.receiveFrame()) << "a second sealing would have another nonce";
    EXPECT_EQ(first.receiveFrame(), second.receiveFrame());
}

TEST_F(RemoteHostServerTest, MessagesComeInTheOrderInWhichTheyWereSent)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    std::vector<std::string> expected;
    std::vector<std::string> received;
    for (int number = 0; number < 500; ++number) {
        expected.push_back(std::to_string(number));
        server->send(RemoteEnvelope::makeError(expected.back()));
    }
    for (std::size_t number = 0; number < expected.size(); ++number) {
        received.push_back(device.receiveError());
    }
    EXPECT_EQ(received, expected);
}

TEST_F(RemoteHostServerTest, WhatWasSentBeforeADeviceCameIsNotForIt)
{
    ASSERT_TRUE(startListening());
    server->send(RemoteEnvelope::makeError("early"));
    const RemoteDevice device = connectDevice();
    server->send(RemoteEnvelope::makeError("late"));
    const auto first = device.receive();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->text, "late");
}

TEST_F(RemoteHostServerTest, WhatCanNotBeSentIsDroppedAndTheConnectionStays)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    server->update(snapshotNamed("too large", RemoteCrypto::maximumPlaintextSize));
    server->send(RemoteEnvelope::makeError(std::string(RemoteCrypto::maximumPlaintextSize, 'x')));
    RemoteSnapshot notFinite = snapshotNamed("not finite");
    notFinite.generatedAt = 1.0 / 0.0;
    server->update(notFinite);
    server->send(RemoteEnvelope::makeError("small"));
    const auto next = device.receive();
    ASSERT_TRUE(next);
    EXPECT_EQ(next->text, "small");
    EXPECT_TRUE(delivers(device));
    EXPECT_TRUE(delivers(connectDevice())) << "one that comes later gets no snapshot, and stays too";
}

TEST_F(RemoteHostServerTest, ALargestMessageArrives)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    RemoteEnvelope large = RemoteEnvelope::makeError("");
    const auto empty = RemoteEncoder().encode(large, SIZE_MAX);
    ASSERT_TRUE(empty);
    large.text = std::string(RemoteCrypto::maximumPlaintextSize - empty->size(), 'x');
    server->send(large);
    const auto frame = device.receiveFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->size(), RemoteCrypto::maximumFrameSize + 4);
    server->send(RemoteEnvelope::makeError("after"));
    EXPECT_EQ(device.receiveError(), "after");
}

TEST_F(RemoteHostServerTest, NothingIsCalledWhenTheServerIsGone)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    ASSERT_TRUE(device.send(messageOf("hello")));
    events.clear();
    server.reset();
    mainThread.drain();
    EXPECT_TRUE(events.empty());
    EXPECT_TRUE(device.client.waitForEnd()) << "it closes everything";
    EXPECT_FALSE(TcpClient(port).isConnected());
}

TEST_F(RemoteHostServerTest, NothingStaysOpenWhenTheServerIsGone)
{
    ASSERT_TRUE(startListening());
    const int before = openDescriptors();
    server.reset();
    const int without = openDescriptors();
    EXPECT_EQ(without, before - 1) << "the listener";
    server = std::make_unique<RemoteHostServer>(mainThread);
    server->start(key, port);
    for (int device = 0; device < 20; ++device) {
        while (!RemoteDevice(port, key).client.isConnected()) { }
    }
    server.reset();
    EXPECT_EQ(openDescriptors(), without);
}

TEST_F(RemoteHostServerTest, OperationsMayComeFromAnyThread)
{
    ASSERT_TRUE(startListening());
    const RemoteDevice device = connectDevice();
    std::thread([this] { server->send(RemoteEnvelope::makeError("from elsewhere")); }).join();
    EXPECT_EQ(device.receiveError(), "from elsewhere");
}

TEST_F(RemoteHostServerTest, CallbacksThatAreNotSetAreNotCalled)
{
    server->onStateChange = nullptr;
    server->onClientCountChange = nullptr;
    server->onMessage = nullptr;
    server->start(key, port);
    server->update(snapshotNamed("quiet"));
    RemoteDevice device(port, key);
    while (!device.client.isConnected()) {
        device = RemoteDevice(port, key);
    }
    ASSERT_TRUE(device.send(messageOf("hello")));
    EXPECT_EQ(receiveSnapshot(device), "quiet");
    server->stop();
    EXPECT_TRUE(device.client.waitForEnd());
    mainThread.drain();
    EXPECT_TRUE(events.empty());
}

} // namespace tessarin
