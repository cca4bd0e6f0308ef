#include "Remote/RemoteFrameReader.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <random>
#include <string>
#include <vector>

namespace tessarin
{

namespace
{

using namespace std::string_literals;

std::string frameOf(const std::string& payload)
{
    std::string header(4, '\0');
    for (std::size_t place = 0; place < 4; ++place) {
        header[place] = static_cast<char>(payload.size() >> 8 * (3 - place) & 0xFFU);
    }
    return header + payload;
}

// The frames that are whole by now; "oversized" ends the list.
std::vector<std::string> framesOf(RemoteFrameReader& reader)
{
    std::vector<std::string> frames;
    while (true) {
        const auto next = reader.next();
        if (!next) {
            frames.emplace_back(description(next.error()));
            return frames;
        }
        if (!next.value()) {
            return frames;
        }
        frames.emplace_back(*next.value());
    }
}

} // namespace

TEST(RemoteFrameReaderTest, NothingIsNoFrame)
{
    RemoteFrameReader reader;
    EXPECT_EQ(framesOf(reader), std::vector<std::string>());
    reader.append("");
    EXPECT_EQ(framesOf(reader), std::vector<std::string>());
    EXPECT_EQ(reader.heldBytes(), 0U);
}

TEST(RemoteFrameReaderTest, FramesAreTheSameHoweverTheyAreSplit)
{
    const std::vector<std::string> payloads{ "a", "bc", std::string(5000, 'd'), std::string(1, '\0'), "e" };
    std::string bytes;
    for (const std::string& payload : payloads) {
        bytes += frameOf(payload);
    }
    std::mt19937 random(1);
    for (std::size_t most : { std::size_t(1), std::size_t(2), std::size_t(3), std::size_t(7), std::size_t(1000), bytes.size() }) {
        RemoteFrameReader reader;
        std::vector<std::string> frames;
        for (std::size_t place = 0; place < bytes.size();) {
            const std::size_t length = std::uniform_int_distribution<std::size_t>(1, most)(random);
            reader.append(std::string_view(bytes).substr(place, length));
            place += length;
            for (std::string& frame : framesOf(reader)) {
                frames.push_back(std::move(frame));
            }
        }
        EXPECT_EQ(frames, payloads) << most;
        EXPECT_EQ(reader.heldBytes(), 0U);
    }
}

TEST(RemoteFrameReaderTest, PartsOfAFrameWaitForTheRest)
{
    RemoteFrameReader reader;
    reader.append("\0\0"s);
    EXPECT_EQ(framesOf(reader), std::vector<std::string>());
    EXPECT_EQ(reader.heldBytes(), 2U);
    reader.append("\0\3ab"s);
    EXPECT_EQ(framesOf(reader), std::vector<std::string>());
    EXPECT_EQ(reader.heldBytes(), 6U);
    reader.append("c\0"s);
    EXPECT_EQ(framesOf(reader), std::vector{ "abc"s });
    EXPECT_EQ(reader.heldBytes(), 1U);
}

TEST(RemoteFrameReaderTest, AnImpossibleLengthFailsBeforeAnythingFollowsAndForGood)
{
    for (const std::string& header : { "\0\0\0\0"s, "\1\0\0\1"s, "\xFF\xFF\xFF\xFF"s }) {
        RemoteFrameReader reader;
        reader.append(frameOf("good") + header.substr(0, 3));
        EXPECT_EQ(framesOf(reader), std::vector{ "good"s });
        reader.append(header.substr(3));
        const std::vector failed{ std::string(description(RemoteCryptoError::oversizedFrame)) };
        EXPECT_EQ(framesOf(reader), failed);
        EXPECT_EQ(framesOf(reader), failed);
    }
}

TEST(RemoteFrameReaderTest, ALargestFrameIsRead)
{
    RemoteFrameReader reader;
    const std::string payload(RemoteCrypto::maximumFrameSize, 'x');
    reader.append(frameOf(payload));
    EXPECT_EQ(framesOf(reader), std::vector{ payload });
}

TEST(RemoteFrameReaderTest, ALengthThatIsOnlyAnnouncedCostsNothing)
{
    std::vector<RemoteFrameReader> readers(1000);
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (RemoteFrameReader& reader : readers) {
        reader.append("\1\0\0\0"s + std::string(1000, 'x'));
        EXPECT_EQ(framesOf(reader), std::vector<std::string>());
    }
    const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd; // may be less: other threads let go of theirs
    EXPECT_LT(after, before + readers.size() * 4096) << "16 GB were announced";
}

TEST(RemoteFrameReaderTest, MemoryIsLittleMoreThanWhatIsHeldAndGoesBack)
{
    RemoteFrameReader reader;
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    reader.append("\1\0\0\0"s);
    const std::string part(65536, 'x');
    for (std::size_t held = part.size(); held < RemoteCrypto::maximumFrameSize; held += part.size()) {
        reader.append(part);
        ASSERT_EQ(framesOf(reader).size(), 0U);
        const std::size_t now = mallinfo2().uordblks + mallinfo2().hblkhd;
        ASSERT_LT(now, before + reader.heldBytes() * 13 / 10 + 100'000);
    }
    reader.append(part);
    ASSERT_TRUE(reader.next().value());
    ASSERT_FALSE(reader.next().value());
    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + 100'000);
}

} // namespace tessarin
