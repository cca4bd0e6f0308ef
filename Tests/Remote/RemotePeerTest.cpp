#include "RemoteServerFixture.h"

#include <algorithm>

namespace tessarin
{

namespace
{

using namespace std::string_literals;
using testing::ElementsAre;

class RemotePeerTest : public RemoteServerFixture
{
protected:
    void SetUp() override { ASSERT_TRUE(startListening()); }

    // A frame of any plaintext under the key.
    [[nodiscard]] std::string sealed(std::string_view plaintext) const
    {
        const auto frame = RemoteCrypto::seal(plaintext, key);
        EXPECT_TRUE(frame);
        return frame ? frame.value() : "";
    }

    // Whether the connection is closed when these bytes come, and nothing else happens.
    bool isClosedBy(std::string_view bytes)
    {
        RemoteDevice bystander = connectDevice();
        const RemoteDevice device = connectDevice();
        messages.clear();
        const bool isClosed = device.client.send(bytes) && device.client.waitForEnd() && pumpUntilClients(1) && messages.empty();
        EXPECT_TRUE(delivers(bystander));
        EXPECT_TRUE(bystander.client.isSilent());
        bystander.client.close();
        return isClosed && pumpUntilClients(0);
    }
};

} // namespace

TEST_F(RemotePeerTest, AMessageArrivesAsItWasSent)
{
    const RemoteDevice device = connectDevice();
    RemoteEnvelope prompt = messageOf("prompt", "größer 😀");
    prompt.workspaceID = "W";
    prompt.threadID = "T";
    prompt.requestID = 7;
    ASSERT_TRUE(device.send(prompt));
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 1; }));
    EXPECT_EQ(messages.front(), prompt);
}

TEST_F(RemotePeerTest, TwoFramesInOneReadArriveInOrder)
{
    const RemoteDevice device = connectDevice();
    const RemoteEnvelope first = messageOf("hello");
    const RemoteEnvelope second = messageOf("refresh");
    ASSERT_TRUE(device.client.send(sealedMessage(first, key) + sealedMessage(second, key)));
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 2; }));
    EXPECT_THAT(messages, ElementsAre(first, second));
}

TEST_F(RemotePeerTest, OneFrameInManyReadsArrivesOnceItIsWhole)
{
    const RemoteDevice device = connectDevice();
    const RemoteDevice other = connectDevice();
    const RemoteEnvelope envelope = messageOf("hello");
    const std::string frame = sealedMessage(envelope, key);
    for (std::size_t place = 0; place < frame.size() - 1; place += frame.size() / 7) {
        const std::size_t length = std::min(frame.size() / 7, frame.size() - 1 - place);
        ASSERT_TRUE(device.client.send(std::string_view(frame).substr(place, length)));
        ASSERT_TRUE(delivers(other)) << "so the part has been read";
    }
    messages.clear();
    ASSERT_TRUE(device.client.send(frame.substr(frame.size() - 1)));
    ASSERT_TRUE(pumpUntil([this] { return !messages.empty(); }));
    EXPECT_THAT(messages, ElementsAre(envelope));
}

TEST_F(RemotePeerTest, ALargestMessageIsRead)
{
    const RemoteDevice device = connectDevice();
    RemoteEnvelope large = messageOf("prompt", "");
    large.text = std::string(RemoteCrypto::maximumPlaintextSize - RemoteEncoder().encode(large, SIZE_MAX)->size(), 'x');
    const RemoteEnvelope next = messageOf("hello");
    ASSERT_TRUE(device.send(large));
    ASSERT_TRUE(device.send(next));
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 2; }));
    EXPECT_EQ(messages.front(), large);
    EXPECT_EQ(messages.back(), next);
}

TEST_F(RemotePeerTest, AnImpossibleLengthClosesAtOnceBeforeAnythingFollowed)
{
    EXPECT_TRUE(isClosedBy("\0\0\0\0"s));
    EXPECT_TRUE(isClosedBy("\1\0\0\1"s));
    EXPECT_TRUE(isClosedBy("\xFF\xFF\xFF\xFF"s));
    EXPECT_TRUE(isClosedBy("GET / HTTP/1.1\r\n\r\n"));
}

TEST_F(RemotePeerTest, APayloadThatIsTooShortToBeOneCloses)
{
    EXPECT_TRUE(isClosedBy("\0\0\0\1x"s));
    EXPECT_TRUE(isClosedBy("\0\0\0\x1B"s + std::string(27, 'x')));
}

TEST_F(RemotePeerTest, AFrameOfAnotherKeyOrAlteredCloses)
{
    EXPECT_TRUE(isClosedBy(sealedMessage(messageOf("hello"), std::string(32, 'o'))));
    std::string altered = sealedMessage(messageOf("hello"), key);
    altered[20] = static_cast<char>(altered[20] ^ 1);
    EXPECT_TRUE(isClosedBy(altered));
}

TEST_F(RemotePeerTest, APlaintextThatIsNoMessageCloses)
{
    for (const char* text :
        { "", "x", "[]", "null", "{", R"({"version":1,"id":"a"})", R"({"version":1,"type":"hello"})", R"({"id":"a","type":"hello"})",
            R"({"version":"1","id":"a","type":"hello"})", R"({"version":1,"id":"a","type":"hello","text":5})" }) {
        EXPECT_TRUE(isClosedBy(sealed(text))) << text;
    }
}

TEST_F(RemotePeerTest, WhatCameBeforeABadFrameCounts)
{
    const RemoteDevice device = connectDevice();
    const RemoteEnvelope good = messageOf("hello");
    const RemoteEnvelope late = messageOf("hello");
    ASSERT_TRUE(device.client.send(sealedMessage(good, key) + sealed("{}") + sealedMessage(late, key)));
    ASSERT_TRUE(pumpUntilClients(0));
    EXPECT_TRUE(device.client.waitForEnd());
    EXPECT_THAT(messages, ElementsAre(good));
    EXPECT_EQ(events.back(), "clients 0");
}

TEST_F(RemotePeerTest, WhatCameBeforeTheEndCountsAlsoOfAHalfOpenConnection)
{
    for (int way = 0; way < 3; ++way) {
        messages.clear();
        RemoteDevice device = connectDevice();
        const RemoteEnvelope first = messageOf("prompt", std::string(1'000'000, 'x'));
        const RemoteEnvelope last = messageOf("hello");
        ASSERT_TRUE(device.send(first));
        ASSERT_TRUE(device.send(last));
        if (way == 0) {
            device.client.endWriting();
        } else if (way == 1) {
            device.client.close();
        } else {
            ASSERT_TRUE(device.client.send("\0\0"s)) << "a frame that is never finished";
            device.client.endWriting();
        }
        ASSERT_TRUE(pumpUntilClients(0));
        EXPECT_EQ(messageIDs(), (std::vector{ first.id, last.id }));
    }
}

TEST_F(RemotePeerTest, WhatADeviceSaidBeforeItWentIsReadThoughItTakesNothingMore)
{
    server->update(snapshotNamed("large", 8'000'000));
    for (int round = 0; round < 10; ++round) {
        messages.clear();
        RemoteDevice device = connectDevice();
        const RemoteEnvelope last = messageOf("prompt", std::string(20'000, 'x')); // which the system takes before anybody reads
        ASSERT_TRUE(device.send(last));
        device.client.close(); // with unread bytes, so that our writing fails
        ASSERT_TRUE(pumpUntilClients(0));
        EXPECT_EQ(messageIDs(), std::vector{ last.id });
    }
}

TEST_F(RemotePeerTest, ASilentPeerStaysAndCounts)
{
    const RemoteDevice silent = connectDevice();
    const RemoteDevice stalled = connectDevice();
    ASSERT_TRUE(stalled.client.send("\0\0"s));
    const RemoteDevice other = connectDevice();
    ASSERT_TRUE(delivers(other));
    EXPECT_EQ(clientCount, 3U);
    server->send(RemoteEnvelope::makeError("still there"));
    EXPECT_EQ(stalled.receiveError(), "still there");
    EXPECT_EQ(silent.receiveError(), "still there");
}

TEST_F(RemotePeerTest, AnotherVersionIsDroppedAndNotRemembered)
{
    const RemoteDevice device = connectDevice();
    RemoteEnvelope envelope = messageOf("hello");
    for (const std::int64_t version : { 0, 2, -1 }) {
        envelope.version = version;
        ASSERT_TRUE(device.send(envelope));
    }
    envelope.version = 1;
    ASSERT_TRUE(device.send(envelope));
    ASSERT_TRUE(pumpUntil([this] { return !messages.empty(); }));
    EXPECT_THAT(messages, ElementsAre(envelope));
    EXPECT_TRUE(delivers(device)) << "the connection stays";
}

TEST_F(RemotePeerTest, ARepeatedIdArrivesOnceFromWhomeverItComes)
{
    const RemoteDevice first = connectDevice();
    const RemoteDevice second = connectDevice();
    const RemoteEnvelope envelope = messageOf("hello");
    RemoteEnvelope sameID = messageOf("refresh");
    sameID.id = envelope.id;
    RemoteEnvelope otherCase = messageOf("hello");
    otherCase.id = "A";
    RemoteEnvelope lowerCase = otherCase;
    lowerCase.id = "a";
    ASSERT_TRUE(first.send(envelope));
    ASSERT_TRUE(first.send(envelope));
    ASSERT_TRUE(first.send(sameID));
    ASSERT_TRUE(delivers(first));
    ASSERT_TRUE(second.send(envelope));
    ASSERT_TRUE(second.send(otherCase));
    ASSERT_TRUE(second.send(lowerCase));
    ASSERT_TRUE(delivers(second));
    ASSERT_EQ(messages.size(), 5U);
    EXPECT_EQ(messages[0], envelope);
    EXPECT_EQ(messages[2], otherCase);
    EXPECT_EQ(messages[3], lowerCase) << "ids are compared byte for byte";
}

TEST_F(RemotePeerTest, IdsAreRememberedAcrossAChangeOfTheKeyAndForgottenByNumber)
{
    const RemoteEnvelope envelope = messageOf("hello");
    ASSERT_TRUE(connectDevice().send(envelope));
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 1; }));
    const std::string other(RemoteCrypto::keyByteCount, 'o');
    ASSERT_TRUE(startListening(other));
    const RemoteDevice device(port, other);
    ASSERT_TRUE(device.send(envelope));
    for (int number = 0; number < 2048; ++number) {
        RemoteEnvelope next = messageOf("hello");
        next.id = std::to_string(number);
        ASSERT_TRUE(device.send(next));
        if (number % 100 == 0) {
            mainThread.drain();
        }
    }
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 2049; })) << "the repeat is not among them";
    ASSERT_TRUE(device.send(envelope));
    ASSERT_TRUE(pumpUntil([this] { return messages.size() == 2050; }));
    EXPECT_EQ(messages.back().id, envelope.id) << "2,049 ids were known, and the oldest 1,025 are forgotten";
}

TEST_F(RemotePeerTest, UnknownTypesAndThoseOfTheHostAreHandedOn)
{
    const RemoteDevice device = connectDevice();
    for (const char* type : { "", "unheard", "snapshot", "media_chunk", "error" }) {
        ASSERT_TRUE(device.send(messageOf(type)));
        ASSERT_TRUE(pumpUntil([&] { return !messages.empty() && messages.back().type == type; })) << type;
    }
}

TEST_F(RemotePeerTest, AFrameOfTheHostSentBackOpensAndCountsOnce)
{
    const RemoteDevice device = connectDevice();
    server->send(RemoteEnvelope::makeError("mirror"));
    const auto frame = device.receiveFrame();
    ASSERT_TRUE(frame);
    ASSERT_TRUE(device.client.send(*frame + *frame));
    ASSERT_TRUE(delivers(device));
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages.front().text, "mirror");
}

TEST_F(RemotePeerTest, ADeviceWithTheOldKeyConnectsGetsWhatItCanNotOpenAndIsClosedAtItsFirstFrame)
{
    server->update(snapshotNamed("secret"));
    const std::string other(RemoteCrypto::keyByteCount, 'o');
    ASSERT_TRUE(startListening(other));
    const RemoteDevice old = connectDevice();
    const auto frame = old.receiveFrame();
    ASSERT_TRUE(frame);
    EXPECT_FALSE(RemoteCrypto::open(std::string_view(*frame).substr(4), key));
    EXPECT_TRUE(RemoteCrypto::open(std::string_view(*frame).substr(4), other));
    EXPECT_EQ(clientCount, 1U);
    ASSERT_TRUE(old.send(messageOf("hello")));
    EXPECT_TRUE(old.client.waitForEnd());
    ASSERT_TRUE(pumpUntilClients(0));
    EXPECT_TRUE(messages.empty());
}

} // namespace tessarin
