#include "Remote/RemoteOutbox.h"

#include <gtest/gtest.h>

#include <string>

namespace tessarin
{

namespace
{

constexpr std::size_t mebibyte = 1024 * 1024;

RemoteFrame frameOf(std::string bytes)
{
    return std::make_shared<const std::string>(std::move(bytes));
}

RemoteFrame frameOfSize(std::size_t size)
{
    return frameOf(std::string(size, 'x'));
}

class RemoteOutboxTest : public testing::Test
{
protected:
    RemoteFrame begin()
    {
        return outbox.begin([this]() -> RemoteFrame {
            ++snapshotsMade;
            return snapshot.empty() ? nullptr : frameOf(snapshot);
        });
    }

    // What is written until nothing waits, separated by blanks.
    std::string writeAll()
    {
        std::string all;
        for (RemoteFrame frame = begin(); frame; frame = begin()) {
            all += (all.empty() ? "" : " ") + *frame;
            EXPECT_TRUE(outbox.take(frame->size()));
        }
        return all;
    }

    RemoteOutbox outbox;
    std::string snapshot = "snapshot";
    int snapshotsMade = 0;
};

} // namespace

TEST_F(RemoteOutboxTest, MessagesAreWrittenInOrder)
{
    for (const char* text : { "one", "two", "three" }) {
        outbox.add(frameOf(text));
    }
    EXPECT_EQ(outbox.waitingBytes(), 11U);
    EXPECT_EQ(writeAll(), "one two three");
    EXPECT_EQ(outbox.waitingBytes(), 0U);
    EXPECT_EQ(begin(), nullptr);
}

TEST_F(RemoteOutboxTest, OneFrameIsUnderWayUntilItsLastByteIsTaken)
{
    outbox.add(frameOf("abc"));
    ASSERT_NE(begin(), nullptr);
    EXPECT_TRUE(outbox.isUnderWay());
    EXPECT_FALSE(outbox.take(2));
    EXPECT_TRUE(outbox.isUnderWay());
    EXPECT_EQ(outbox.waitingBytes(), 1U);
    EXPECT_TRUE(outbox.take(1));
    EXPECT_FALSE(outbox.isUnderWay());
}

TEST_F(RemoteOutboxTest, ASnapshotIsMadeWhenItsTurnComes)
{
    outbox.add(frameOf("one"));
    outbox.addSnapshot();
    outbox.add(frameOf("two"));
    EXPECT_EQ(snapshotsMade, 0);
    EXPECT_EQ(outbox.waitingBytes(), 6U);
    snapshot = "newest";
    EXPECT_EQ(writeAll(), "one newest two");
    EXPECT_EQ(snapshotsMade, 1);
}

TEST_F(RemoteOutboxTest, ANewerSnapshotTakesItsPlaceAtTheEnd)
{
    outbox.addSnapshot();
    outbox.add(frameOf("one"));
    outbox.addSnapshot();
    outbox.add(frameOf("two"));
    EXPECT_EQ(writeAll(), "one snapshot two");
    EXPECT_EQ(snapshotsMade, 1);
}

TEST_F(RemoteOutboxTest, ASnapshotThatIsUnderWayIsFollowedByTheNewerOne)
{
    outbox.addSnapshot();
    const RemoteFrame first = begin();
    outbox.addSnapshot();
    outbox.addSnapshot();
    ASSERT_TRUE(outbox.take(first->size()));
    EXPECT_EQ(writeAll(), "snapshot");
    EXPECT_EQ(snapshotsMade, 2);
}

TEST_F(RemoteOutboxTest, ASnapshotThatCanNotBeSentIsPassedOver)
{
    snapshot.clear();
    outbox.add(frameOf("one"));
    outbox.addSnapshot();
    outbox.add(frameOf("two"));
    EXPECT_EQ(writeAll(), "one two");
    outbox.addSnapshot();
    EXPECT_EQ(writeAll(), "");
    EXPECT_FALSE(outbox.isUnderWay());
}

TEST_F(RemoteOutboxTest, MessagesAndChunksTakeTurns)
{
    outbox.addChunk(frameOf("chunk1"));
    outbox.addChunk(frameOf("chunk2"));
    EXPECT_EQ(outbox.waitingChunks(), 2U);
    ASSERT_EQ(*begin(), "chunk1");
    EXPECT_EQ(outbox.waitingChunks(), 2U) << "the one under way counts";
    outbox.add(frameOf("message"));
    outbox.addSnapshot();
    ASSERT_TRUE(outbox.take(6));
    EXPECT_EQ(outbox.waitingChunks(), 1U);
    EXPECT_EQ(writeAll(), "message chunk2 snapshot");
    EXPECT_EQ(outbox.waitingChunks(), 0U);
}

TEST_F(RemoteOutboxTest, UpToTheFirstLimitNobodyIsGivenUp)
{
    for (int added = 0; added < 64; ++added) {
        outbox.add(frameOfSize(mebibyte));
        ASSERT_FALSE(outbox.isGivenUp()) << added;
    }
}

TEST_F(RemoteOutboxTest, WhoTakesNothingBeyondTheFirstLimitIsGivenUpAtTheNextMessage)
{
    outbox.add(frameOfSize(65 * mebibyte));
    EXPECT_FALSE(outbox.isGivenUp()) << "it had no chance yet";
    outbox.add(frameOfSize(1));
    EXPECT_TRUE(outbox.isGivenUp());
}

TEST_F(RemoteOutboxTest, WhoTakesALittleIsGivenUpBeyondTheSecondLimit)
{
    outbox.add(frameOfSize(65 * mebibyte));
    ASSERT_FALSE(outbox.isGivenUp());
    ASSERT_NE(begin(), nullptr);
    int added = 65;
    for (bool isGivenUp = false; !isGivenUp; ++added) {
        ASSERT_LT(added, 200);
        ASSERT_FALSE(outbox.take(1));
        outbox.add(frameOfSize(mebibyte));
        isGivenUp = outbox.isGivenUp();
    }
    EXPECT_EQ(added, 129);
}

TEST_F(RemoteOutboxTest, WhoHasCaughtUpHasANewChance)
{
    outbox.add(frameOfSize(65 * mebibyte));
    ASSERT_FALSE(outbox.isGivenUp());
    ASSERT_NE(begin(), nullptr);
    ASSERT_FALSE(outbox.take(2 * mebibyte));
    outbox.add(frameOfSize(1));
    ASSERT_FALSE(outbox.isGivenUp());
    outbox.add(frameOfSize(2 * mebibyte));
    EXPECT_FALSE(outbox.isGivenUp());
    outbox.add(frameOfSize(1));
    EXPECT_TRUE(outbox.isGivenUp());
}

} // namespace tessarin
