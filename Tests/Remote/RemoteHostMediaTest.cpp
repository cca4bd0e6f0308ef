#include "../Platform/TemporaryFolder.h"
#include "Platform/BackgroundWork.h"
#include "RemoteServerFixture.h"

#include <string>
#include <unistd.h>
#include <vector>

namespace tessarin
{

namespace
{

std::string patternOf(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t place = 0; place < size; ++place) {
        bytes[place] = static_cast<char>((place * 31 + place / 251) & 0xFFU);
    }
    return bytes;
}

class RemoteHostMediaTest : public RemoteServerFixture
{
protected:
    void SetUp() override { ASSERT_TRUE(startListening()); }

    RemoteMedia writeMedia(const std::string& name, const std::string& bytes)
    {
        RemoteMedia media{ "ID-" + name, "video", folder / name, name };
        writeWholeFile(media.path, bytes);
        return media;
    }

    // A file that is all zero, and takes no room.
    RemoteMedia writeSparseMedia(const std::string& name, off_t size)
    {
        RemoteMedia media = writeMedia(name, "");
        EXPECT_EQ(truncate(media.path.c_str(), size), 0);
        return media;
    }

    // What a device makes of the chunks that come next; "broken" when they are not those of one file in order.
    static std::string receiveFile(const RemoteDevice& device, std::string* name = nullptr)
    {
        std::string bytes;
        for (std::int64_t index = 0, count = 1; index < count; ++index) {
            const auto chunk = device.receive();
            if (!chunk || chunk->type != RemoteMessageType::mediaChunk || chunk->chunkIndex != index || !chunk->data) {
                return "broken";
            }
            count = chunk->chunkCount.value_or(0);
            bytes += decoded(*chunk->data);
            if (name != nullptr) {
                *name = chunk->fileName.value_or("");
            }
        }
        return bytes;
    }
    static std::string decoded(std::string text)
    {
        std::erase(text, '=');
        return RemoteCrypto::dataFromBase64URL(text).value_or("broken");
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(RemoteHostMediaTest, AFileComesWholeAndInOrder)
{
    const RemoteDevice device = connectDevice();
    for (const std::size_t size : { 0U, 1U, 196'607U, 196'608U, 196'609U, 3'000'001U }) {
        const std::string bytes = patternOf(size);
        server->sendMedia(writeMedia("a.mp4", bytes));
        EXPECT_TRUE(receiveFile(device) == bytes) << size;
    }
}

TEST_F(RemoteHostMediaTest, AChunkSaysWhatItBelongsTo)
{
    const RemoteDevice device = connectDevice();
    server->sendMedia(writeMedia("a.png", patternOf(196'609)));
    const auto first = device.receive();
    const auto second = device.receive();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->id, second->id);
    EXPECT_EQ(first->mediaID, "ID-a.png");
    EXPECT_EQ(first->mediaKind, "video");
    EXPECT_EQ(first->mimeType, "image/png");
    EXPECT_EQ(first->fileName, "a.png");
    EXPECT_EQ(first->chunkCount, 2);
    EXPECT_EQ(second->chunkIndex, 1);
    EXPECT_EQ(first->data->size(), 262'144U);
    EXPECT_EQ(second->data->size(), 4U);
}

TEST_F(RemoteHostMediaTest, EveryDeviceGetsTheFileAndTheFramesAreShared)
{
    const RemoteDevice first = connectDevice();
    const RemoteDevice second = connectDevice();
    server->sendMedia(writeMedia("a.mp4", "short"));
    const auto frame = first.receiveFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame, second.receiveFrame());
}

TEST_F(RemoteHostMediaTest, FilesComeOneAfterAnother)
{
    const RemoteDevice device = connectDevice();
    const std::string one = patternOf(1'000'000);
    server->sendMedia(writeMedia("one.mp4", one));
    server->sendMedia(writeMedia("two.mp4", "two"));
    server->sendMedia(writeMedia("three.mp4", "three"));
    std::string name;
    EXPECT_TRUE(receiveFile(device, &name) == one);
    EXPECT_EQ(name, "one.mp4");
    EXPECT_EQ(receiveFile(device), "two");
    EXPECT_EQ(receiveFile(device), "three");
}

TEST_F(RemoteHostMediaTest, WhatCanNotBeReadSendsNothingAndTheNextFileComes)
{
    const RemoteDevice device = connectDevice();
    server->sendMedia({ "gone", "image", folder / "gone.png", "gone.png" });
    server->sendMedia({ "folder", "image", folder.path(), "folder.png" });
    server->sendMedia(writeMedia("there.mp4", "there"));
    EXPECT_EQ(receiveFile(device), "there");
    server->sendMedia({ "gone", "image", folder / "gone.png", "gone.png" });
    finishBackgroundWork();
    server->send(RemoteEnvelope::makeError("after"));
    const auto next = device.receive();
    ASSERT_TRUE(next);
    EXPECT_EQ(next->text, "after");
}

TEST_F(RemoteHostMediaTest, AFileThatBecomesShorterEndsThere)
{
    const RemoteDevice device(port, key, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(pumpUntilClients(1));
    const RemoteMedia media = writeMedia("a.mp4", patternOf(20'000'000));
    server->sendMedia(media);
    ASSERT_TRUE(device.receive());
    ASSERT_EQ(truncate(media.path.c_str(), 1000), 0);
    server->sendMedia(writeMedia("next.mp4", "next"));
    std::int64_t index = 0;
    auto chunk = device.receive();
    for (; chunk && chunk->fileName == "a.mp4"; chunk = device.receive()) {
        EXPECT_EQ(chunk->chunkIndex, ++index);
    }
    EXPECT_LT(index, 100);
    ASSERT_TRUE(chunk);
    EXPECT_EQ(chunk->fileName, "next.mp4");
}

TEST_F(RemoteHostMediaTest, ADeletedFileThatIsOnItsWayComesWhole)
{
    const RemoteDevice device(port, key, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(pumpUntilClients(1));
    const std::string bytes = patternOf(5'000'000);
    const RemoteMedia media = writeMedia("a.mp4", bytes);
    server->sendMedia(media);
    const auto first = device.receive();
    ASSERT_TRUE(first);
    ASSERT_EQ(unlink(media.path.c_str()), 0);
    std::string received = decoded(*first->data);
    for (std::int64_t index = 1; index < first->chunkCount; ++index) {
        const auto chunk = device.receive();
        ASSERT_TRUE(chunk);
        received += decoded(*chunk->data);
    }
    EXPECT_TRUE(received == bytes);
}

TEST_F(RemoteHostMediaTest, MessagesOvertakeWhatHasNotBeenRead)
{
    const RemoteDevice device(port, key, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(pumpUntilClients(1));
    server->sendMedia(writeSparseMedia("large.mp4", 200'000'000));
    ASSERT_TRUE(device.receive());
    server->update(snapshotNamed("meanwhile"));
    server->send(RemoteEnvelope::makeError("and this"));
    std::vector<std::string> others;
    std::int64_t chunks = 1;
    while (others.size() < 2) {
        const auto next = device.receive();
        ASSERT_TRUE(next);
        if (next->type == RemoteMessageType::mediaChunk) {
            EXPECT_EQ(next->chunkIndex, chunks++) << "the file goes on where it was";
        } else {
            others.push_back(next->type);
        }
    }
    EXPECT_LT(chunks, 100) << "of more than 1,000";
    EXPECT_EQ(others, (std::vector<std::string>{ "snapshot", "error" }));
}

TEST_F(RemoteHostMediaTest, AFileThatWaitsIsNotQueuedTwice)
{
    const RemoteDevice device(port, key, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(pumpUntilClients(1));
    server->sendMedia(writeMedia("first.mp4", patternOf(2'000'000)));
    ASSERT_TRUE(device.receive());
    const RemoteMedia twice = writeMedia("twice.mp4", "twice");
    server->sendMedia(twice);
    server->sendMedia(twice);
    server->sendMedia(writeMedia("last.mp4", "last"));
    auto chunk = device.receive();
    while (chunk && chunk->fileName == "first.mp4") {
        chunk = device.receive();
    }
    ASSERT_TRUE(chunk);
    EXPECT_EQ(chunk->fileName, "twice.mp4");
    EXPECT_EQ(receiveFile(device), "last");
    server->sendMedia(twice);
    EXPECT_EQ(receiveFile(device), "twice") << "asked for again, it comes again";
}

TEST_F(RemoteHostMediaTest, AFileAskedForAgainHasIdsOfItsOwn)
{
    const RemoteDevice device = connectDevice();
    const RemoteDevice neverReading = connectDevice();
    const RemoteMedia media = writeMedia("a.mp4", "again");
    server->sendMedia(media);
    const auto first = device.receive();
    server->sendMedia(media);
    const auto second = device.receive();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->id, second->id) << "a device may drop repeats";
    EXPECT_EQ(first->data, second->data);
}

TEST_F(RemoteHostMediaTest, OnlyThoseThatAreConnectedNowGetAFile)
{
    const RemoteDevice early = connectDevice();
    server->sendMedia(writeMedia("a.mp4", "for the early"));
    ASSERT_TRUE(delivers(early)) << "so the queue has come to it";
    const RemoteDevice late = connectDevice();
    EXPECT_EQ(receiveFile(early), "for the early");
    ASSERT_TRUE(delivers(late));
    EXPECT_TRUE(late.client.isSilent());
}

TEST_F(RemoteHostMediaTest, NoFileStaysOpenWithoutADeviceThatReadsIt)
{
    const int before = openDescriptors();
    {
        RemoteDevice stalled(port, key, "127.0.0.1", 16 * 1024);
        ASSERT_TRUE(pumpUntilClients(1));
        for (int number = 0; number < 20; ++number) {
            server->sendMedia(writeSparseMedia(std::to_string(number) + ".mp4", 50'000'000));
        }
        ASSERT_TRUE(stalled.receive());
        ASSERT_TRUE(delivers(stalled));
        EXPECT_LE(openDescriptors(), before + 3) << "the connection, its other end, and the one file that it has begun";
        stalled.client.close();
    }
    ASSERT_TRUE(pumpUntilClients(0));
    finishBackgroundWork();
    const RemoteDevice next = connectDevice();
    ASSERT_TRUE(delivers(next)) << "so the queue has come round";
    EXPECT_LE(openDescriptors(), before + 2);
}

TEST_F(RemoteHostMediaTest, AFileThatHasComeIsClosed)
{
    const RemoteDevice device = connectDevice();
    const int before = openDescriptors();
    for (int number = 0; number < 20; ++number) {
        server->sendMedia(writeMedia(std::to_string(number) + ".mp4", patternOf(300'000)));
        EXPECT_EQ(receiveFile(device).size(), 300'000U);
    }
    finishBackgroundWork();
    ASSERT_TRUE(delivers(device));
    EXPECT_LE(openDescriptors(), before);
}

TEST_F(RemoteHostMediaTest, StoppingInTheMiddleEndsIt)
{
    const RemoteDevice device(port, key, "127.0.0.1", 16 * 1024);
    ASSERT_TRUE(pumpUntilClients(1));
    const int before = openDescriptors();
    server->sendMedia(writeSparseMedia("large.mp4", 1'000'000'000));
    ASSERT_TRUE(device.receive());
    server->stop();
    ASSERT_TRUE(pumpUntilEvent("disabled"));
    EXPECT_TRUE(device.client.waitForEnd());
    finishBackgroundWork();
    server.reset();
    EXPECT_LE(openDescriptors(), before - 2) << "neither the listener, the connection nor the file";
}

} // namespace tessarin
