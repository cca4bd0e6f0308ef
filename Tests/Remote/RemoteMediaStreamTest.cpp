#include "Remote/RemoteMediaStream.h"

#include "Platform/FreedMemory.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tessarin
{

namespace
{

const std::string key(RemoteCrypto::keyByteCount, 'k');
constexpr const char* mediaID = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";

std::string contentOf(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t place = 0; place < size; ++place) {
        bytes[place] = static_cast<char>((place * 2'654'435'761U) >> 11U);
    }
    return bytes;
}

class RemoteMediaStreamTest : public testing::Test
{
protected:
    [[nodiscard]] std::string path(const std::string& name = "made.png") const { return m_folder / name; }

    [[nodiscard]] std::shared_ptr<RemoteMediaStream> stream(const std::string& name = "made.png", const std::string& keyData = key) const
    {
        return RemoteMediaStream::open({ .id = mediaID, .kind = "image", .path = path(name), .fileName = name }, keyData);
    }
    [[nodiscard]] std::shared_ptr<RemoteMediaStream> streamOf(const std::string& content) const
    {
        writeWholeFile(path(), content);
        return stream();
    }

    static std::string jsonOf(const std::shared_ptr<const std::string>& frame)
    {
        if (!frame || frame->size() < 4) {
            ADD_FAILURE() << "there is no frame";
            return {};
        }
        EXPECT_EQ(RemoteCrypto::frameLength(frame->substr(0, 4)).value(), frame->size() - 4);
        const auto json = RemoteCrypto::open(frame->substr(4), key);
        EXPECT_TRUE(json);
        return json ? json.value() : std::string();
    }
    static RemoteEnvelope chunk(const std::shared_ptr<const std::string>& frame)
    {
        const auto envelope = decodeRemoteEnvelope(jsonOf(frame));
        EXPECT_TRUE(envelope);
        return envelope.value_or(RemoteEnvelope());
    }
    static std::string dataOf(const RemoteEnvelope& chunk)
    {
        EXPECT_TRUE(chunk.data);
        return RemoteCrypto::dataFromBase64URL(chunk.data.value_or("?")).value_or("?");
    }
    static std::string assembled(RemoteMediaStream& stream)
    {
        std::string content;
        for (std::size_t index = 0; index < stream.chunkCount(); ++index) {
            content += dataOf(chunk(stream.frame(index)));
        }
        return content;
    }

private:
    TemporaryFolder m_folder;
};

TEST_F(RemoteMediaStreamTest, AFileOfExactlyOneChunkIsOneChunk)
{
    const std::string content = contentOf(196'608);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->chunkCount(), 1U);
    const RemoteEnvelope only = chunk(stream->frame(0));
    EXPECT_EQ(only.data.value_or("").size(), 262'144U);
    EXPECT_EQ(only.chunkCount, 1);
    EXPECT_TRUE(dataOf(only) == content);
}

TEST_F(RemoteMediaStreamTest, OneByteMoreIsASecondChunkWithThatByte)
{
    const std::string content = contentOf(196'609);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->chunkCount(), 2U);
    const RemoteEnvelope second = chunk(stream->frame(1));
    EXPECT_EQ(second.chunkIndex, 1);
    EXPECT_EQ(second.chunkCount, 2);
    EXPECT_EQ(dataOf(second), content.substr(196'608));
    EXPECT_TRUE(assembled(*stream) == content);
}

TEST_F(RemoteMediaStreamTest, AnEmptyFileIsOneChunkWithEmptyData)
{
    const auto stream = streamOf("");
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->chunkCount(), 1U);
    const RemoteEnvelope only = chunk(stream->frame(0));
    EXPECT_EQ(only.data, "");
    EXPECT_EQ(only.chunkIndex, 0);
    EXPECT_EQ(only.chunkCount, 1);
}

TEST_F(RemoteMediaStreamTest, FilesOfEveryRestOfAChunkComeWhole)
{
    for (const std::size_t size : { 1U, 2U, 3U, 4U, 196'606U, 196'607U, 393'216U, 393'217U, 1'000'003U }) {
        const std::string content = contentOf(size);
        const auto stream = streamOf(content);
        ASSERT_TRUE(stream);
        EXPECT_EQ(stream->chunkCount(), (size + 196'607) / 196'608);
        EXPECT_TRUE(assembled(*stream) == content) << size;
    }
}

TEST_F(RemoteMediaStreamTest, AChunkIsTheMessageThatAnEncoderWrites)
{
    const std::string name = "a \"quoted\" name/with \\ and \xC3\xBC\n.MP4";
    writeWholeFile(path("made.MP4"), contentOf(200'000));
    const auto stream = RemoteMediaStream::open({ .id = mediaID, .kind = "video", .path = path("made.MP4"), .fileName = name }, key);
    ASSERT_TRUE(stream);
    for (std::size_t index = 0; index < 2; ++index) {
        const std::string json = jsonOf(stream->frame(index));
        const auto chunk = decodeRemoteEnvelope(json);
        ASSERT_TRUE(chunk);
        RemoteEnvelope expected;
        expected.id = chunk->id;
        expected.type = "media_chunk";
        expected.mediaID = mediaID;
        expected.mediaKind = "video";
        expected.mimeType = "video/mp4";
        expected.fileName = name;
        expected.chunkIndex = index;
        expected.chunkCount = 2;
        expected.data = chunk->data;
        EXPECT_EQ(*chunk, expected);
        RemoteEncoder encoder;
        const auto written = encoder.encode(expected, RemoteCrypto::maximumFrameSize);
        ASSERT_TRUE(written);
        EXPECT_TRUE(written->joined() == json) << index;
    }
}

TEST_F(RemoteMediaStreamTest, ADeletedFileGivesNoStream)
{
    EXPECT_EQ(stream("never-there.png"), nullptr);
    writeWholeFile(path(), "x");
    std::filesystem::remove(path());
    EXPECT_EQ(stream(), nullptr);
}

TEST_F(RemoteMediaStreamTest, WhatIsNoRegularFileGivesNoStream)
{
    std::filesystem::create_directory(path("folder.png"));
    EXPECT_EQ(stream("folder.png"), nullptr);
    ASSERT_EQ(::mkfifo(path("pipe.png").c_str(), 0600), 0);
    EXPECT_EQ(stream("pipe.png"), nullptr) << "nobody writes: opening it must not wait either";
    std::filesystem::create_symlink("/dev/zero", path("device.png"));
    EXPECT_EQ(stream("device.png"), nullptr);
}

TEST_F(RemoteMediaStreamTest, AFileThatIsDeletedMeanwhileComesWhole)
{
    const std::string content = contentOf(500'000);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    std::filesystem::remove(path());
    EXPECT_TRUE(assembled(*stream) == content);
}

TEST_F(RemoteMediaStreamTest, AFileThatIsReplacedMeanwhileComesAsItWas)
{
    const std::string content = contentOf(500'000);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    writeWholeFile(path("new"), std::string(500'000, 'n'));
    std::filesystem::rename(path("new"), path());
    EXPECT_TRUE(assembled(*stream) == content);
}

TEST_F(RemoteMediaStreamTest, AFileThatHasBecomeShorterEndsTheStream)
{
    const auto stream = streamOf(contentOf(500'000));
    ASSERT_TRUE(stream);
    std::filesystem::resize_file(path(), 300'000);
    EXPECT_NE(stream->frame(0), nullptr);
    EXPECT_EQ(stream->frame(1), nullptr);
    EXPECT_EQ(stream->frame(2), nullptr);
    EXPECT_EQ(stream->chunkCount(), 3U);
}

TEST_F(RemoteMediaStreamTest, AFileThatHasGrownEndsWhereItEnded)
{
    const std::string content = contentOf(200'000);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    std::ofstream(path(), std::ios::app) << std::string(400'000, 'm');
    EXPECT_EQ(stream->chunkCount(), 2U);
    EXPECT_TRUE(assembled(*stream) == content);
}

TEST_F(RemoteMediaStreamTest, AKeyThatIsNoneGivesNoFrame)
{
    writeWholeFile(path(), "x");
    const auto stream = this->stream("made.png", "short");
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->frame(0), nullptr);
}

TEST_F(RemoteMediaStreamTest, AFrameBeyondTheLimitIsNone)
{
    writeWholeFile(path(), "x");
    const std::string name(RemoteCrypto::maximumFrameSize, 'n');
    const auto stream = RemoteMediaStream::open({ .id = mediaID, .kind = "image", .path = path(), .fileName = name }, key);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->frame(0), nullptr);
}

TEST_F(RemoteMediaStreamTest, AFrameThatSomebodyHoldsIsGivenAgain)
{
    const auto stream = streamOf(contentOf(500'000));
    ASSERT_TRUE(stream);
    auto first = stream->frame(0);
    const auto second = stream->frame(1);
    EXPECT_EQ(stream->frame(0), first);
    EXPECT_EQ(stream->frame(1), second);
    const std::string id = chunk(first).id;
    first.reset();
    EXPECT_NE(chunk(stream->frame(0)).id, id) << "nobody held it, so it was made again";
}

TEST_F(RemoteMediaStreamTest, EveryChunkHasAMessageIdOfItsOwn)
{
    const auto stream = streamOf(contentOf(10 * RemoteMedia::chunkSize));
    ASSERT_TRUE(stream);
    std::set<std::string> ids;
    for (std::size_t index = 0; index < 10; ++index) {
        const std::string id = chunk(stream->frame(index)).id;
        EXPECT_EQ(Uuid::parse(id).value_or(Uuid()).text(), id);
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), 10U);
}

TEST_F(RemoteMediaStreamTest, SeveralThreadsGetTheSameFrames)
{
    constexpr std::size_t chunkCount = 40;
    const std::string content = contentOf(chunkCount * RemoteMedia::chunkSize);
    const auto stream = streamOf(content);
    ASSERT_TRUE(stream);
    using Frames = std::vector<std::shared_ptr<const std::string>>;
    std::array<Frames, 4> taken;
    std::vector<std::thread> threads;
    threads.reserve(taken.size());
    for (Frames& frames : taken) {
        threads.emplace_back([&frames, &stream] {
            for (std::size_t index = 0; index < chunkCount; ++index) {
                frames.push_back(stream->frame(index));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string whole;
    for (std::size_t index = 0; index < chunkCount; ++index) {
        for (const Frames& frames : taken) {
            EXPECT_EQ(frames[index], taken.front()[index]);
        }
        whole += dataOf(chunk(taken.front()[index]));
    }
    EXPECT_TRUE(whole == content);
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
std::size_t residentBytes()
{
    std::size_t whole = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST_F(RemoteMediaStreamTest, ALongFilmTakesNoMemory)
{
    constexpr std::size_t size = 300'000'000;
    writeWholeFile(path("film.mov"), "");
    std::filesystem::resize_file(path("film.mov"), size);
    const auto stream = this->stream("film.mov");
    ASSERT_TRUE(stream);
    ASSERT_EQ(stream->chunkCount(), (size + 196'607) / 196'608);
    const auto first = stream->frame(0);
    giveBackFreedMemory();
    const std::size_t before = residentBytes();
    std::size_t most = before;
    std::size_t wire = 0;
    for (std::size_t index = 0; index < stream->chunkCount(); ++index) {
        const auto frame = stream->frame(index);
        ASSERT_TRUE(frame);
        wire += frame->size();
        most = std::max(most, residentBytes());
    }
    EXPECT_GT(wire, size / 3 * 4);
    EXPECT_LT(most - before, 8U * 1024 * 1024);
}
#endif

struct Type {
    const char* path;
    const char* mimeType;
};

class MimeType : public testing::TestWithParam<Type>
{
};

TEST_P(MimeType, FollowsTheExtension)
{
    EXPECT_EQ(mimeType(GetParam().path), GetParam().mimeType);
}

INSTANTIATE_TEST_SUITE_P(Rows, MimeType,
    testing::Values(Type{ "/a/b.png", "image/png" }, Type{ "b.webp", "image/webp" }, Type{ "b.gif", "image/gif" },
        Type{ "b.mp4", "video/mp4" }, Type{ "b.m4v", "video/mp4" }, Type{ "b.mov", "video/quicktime" }, Type{ "b.jpg", "image/jpeg" },
        Type{ "b.jpeg", "image/jpeg" }, Type{ "b.PNG", "image/png" }, Type{ "b.MoV", "video/quicktime" }, Type{ "b.webm", "image/jpeg" },
        Type{ "b.txt", "image/jpeg" }, Type{ "b", "image/jpeg" }, Type{ "", "image/jpeg" }, Type{ "b.", "image/jpeg" },
        Type{ "b.png.gif", "image/gif" }, Type{ "/a.png/b", "image/jpeg" }, Type{ "/a/.png", "image/jpeg" }, Type{ "b.png ", "image/jpeg" },
        Type{ "b.pngx", "image/jpeg" }));

} // namespace

} // namespace tessarin
