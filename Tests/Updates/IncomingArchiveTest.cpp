#include "Updates/IncomingArchive.h"

#include "Platform/BackgroundWork.h"
#include "Platform/MainThread.h"
#include "SigningKey.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <latch>
#include <thread>
#include <vector>

namespace tessarin
{
namespace
{

constexpr std::chrono::seconds bound{ 30 };

class IncomingArchiveTest : public testing::Test
{
protected:
    ~IncomingArchiveTest() override
    {
        letGo();
        finishBackgroundWork();
    }

    void make(const std::string& inFolder)
    {
        IncomingArchive::Handlers handlers;
        handlers.onRoom = [this] { ++rooms; };
        handlers.onFailure = [this](const FileError& error) {
            ++ends;
            told = error.description();
            archive.reset(); // as an owner does
        };
        archive = std::make_unique<IncomingArchive>(
            mainThread, inFolder, std::move(handlers), [this](ScratchFile& file, std::string_view bytes) { return write(file, bytes); });
    }
    void open()
    {
        make(folder / "incoming");
        archive->open([this] { isOpen = true; });
        ASSERT_TRUE(comes([this] { return isOpen; }));
    }
    // In the background.
    Result<void, FileError> write(ScratchFile& file, std::string_view bytes)
    {
        largest = std::max(largest.load(), bytes.size());
        ++writes;
        if (isStuck) {
            stuck.count_down();
            gone.wait();
        }
        return isFull ? Failure{ FileError{ "No space left on device", ENOSPC } } : file.append(bytes);
    }
    void letGo()
    {
        if (isStuck.exchange(false)) {
            go.set_value();
        }
    }
    void verify(const std::string& bytes)
    {
        archive->verify(key.statementOf(bytes), key.updateKey(), [this](const IncomingArchive::Verified& outcome) {
            ++ends;
            told = outcome ? "" : outcome.error().description();
            verified = outcome ? outcome.value().bytes().joined() : "";
            archive.reset();
        });
    }
    template <class Condition>
    [[nodiscard]] bool comes(Condition condition)
    {
        const auto last = std::chrono::steady_clock::now() + bound;
        while (!condition() && std::chrono::steady_clock::now() < last) {
            mainThread.waitAndDrain(std::chrono::milliseconds(100));
        }
        return condition();
    }
    // Whatever is under way has come to its end.
    void settle()
    {
        finishBackgroundWork();
        mainThread.drain();
    }

    const TemporaryFolder folder;
    const SigningKey key;
    MainThread mainThread;
    std::atomic<bool> isFull = false;
    std::atomic<bool> isStuck = false;
    std::latch stuck{ 1 };
    std::promise<void> go;
    std::shared_future<void> gone = go.get_future().share();
    std::atomic<std::size_t> largest = 0;
    std::atomic<int> writes = 0;
    std::unique_ptr<IncomingArchive> archive;
    bool isOpen = false;
    int rooms = 0;
    int ends = 0;
    std::string told;
    std::string verified;
};

TEST_F(IncomingArchiveTest, WhatIsAppendedIsVerifiedInItsOrder)
{
    open();
    std::string bytes;
    for (int part = 0; part < 2000; ++part) {
        const std::string next = std::to_string(part) + '\n';
        archive->append(next);
        bytes += next;
        mainThread.drain();
    }
    verify(bytes);
    EXPECT_EQ(ends, 0) << "the end is told later";
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    EXPECT_EQ(told, "");
    EXPECT_EQ(verified, bytes);
    settle();
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(namesIn(folder / "incoming").empty());
}

TEST_F(IncomingArchiveTest, WhatDoesNotVerifyIsToldWithTheReason)
{
    open();
    archive->append("some bytes");
    verify("other byte");
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    EXPECT_EQ(told, "The update was not installed. Its signature is not valid.");
}

TEST_F(IncomingArchiveTest, NoMoreWaitsThanTheLimitAndNobodyWaitsForTheDisk)
{
    open();
    isStuck = true;
    const std::string piece(100'000, 'x');
    std::string bytes;
    while (const std::size_t room = archive->room()) {
        archive->append(piece.substr(0, room));
        bytes += piece.substr(0, room);
    }
    EXPECT_EQ(bytes.size(), IncomingArchive::waitingLimit);
    stuck.wait();
    mainThread.drain();
    EXPECT_EQ(writes, 1) << "one at a time";
    EXPECT_EQ(rooms, 0);
    letGo();
    ASSERT_TRUE(comes([this] { return rooms > 0; }));
    EXPECT_GT(archive->room(), 0U);
    EXPECT_EQ(rooms, 1);
    verify(bytes);
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    EXPECT_EQ(told, "");
    EXPECT_EQ(writes, 2) << "all that waited at once";
    EXPECT_LE(largest, IncomingArchive::waitingLimit);
}

TEST_F(IncomingArchiveTest, NothingIsVerifiedBeforeAllIsWritten)
{
    open();
    isStuck = true;
    archive->append("abc");
    archive->append("def");
    verify("abcdef");
    stuck.wait();
    mainThread.drain();
    EXPECT_EQ(ends, 0);
    letGo();
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    EXPECT_EQ(verified, "abcdef");
}

TEST_F(IncomingArchiveTest, AFullDiskIsToldOnceAndNothingAfterIt)
{
    open();
    isFull = true;
    archive->append("abc");
    archive->append("def");
    verify("abcdef");
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    settle();
    EXPECT_EQ(told, "No space left on device");
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(writes, 1);
}

TEST_F(IncomingArchiveTest, AFolderThatCannotBeMadeIsToldWithTheReason)
{
    writeWholeFile(folder / "file", "");
    make(folder / "file/incoming");
    archive->open([this] { isOpen = true; });
    EXPECT_EQ(ends, 0) << "the end is told later";
    ASSERT_TRUE(comes([this] { return ends > 0; }));
    EXPECT_EQ(told, "File exists");
    EXPECT_FALSE(isOpen);
}

TEST_F(IncomingArchiveTest, DroppedWhileTheDiskIsStuckItReturnsAtOnceAndIsSilent)
{
    open();
    isStuck = true;
    archive->append("abc");
    archive->append("def");
    stuck.wait();
    archive.reset();
    letGo();
    settle();
    EXPECT_EQ(writes, 1);
    EXPECT_EQ(ends + rooms, 0);
}

TEST_F(IncomingArchiveTest, DroppedAtAnyStepItIsSilentAndLeavesNothing)
{
    for (int step = 0; step < 3; ++step) {
        isOpen = false;
        make(folder / "incoming");
        archive->open([this] { isOpen = true; });
        if (step > 0) {
            ASSERT_TRUE(comes([this] { return isOpen; }));
            archive->append("abc");
        }
        if (step > 1) {
            verify("abc");
        }
        archive.reset();
        settle();
        EXPECT_EQ(isOpen, step > 0);
        EXPECT_EQ(ends, 0);
        EXPECT_TRUE(namesIn(folder / "incoming").empty());
    }
}

TEST_F(IncomingArchiveTest, TheEndOfTheProgramWaitsForThePartThatIsBeingWrittenAndForNoMore)
{
    open();
    isStuck = true;
    archive->append("abc");
    archive->append("def");
    stuck.wait();
    std::thread disk([this] {
        const auto last = std::chrono::steady_clock::now() + bound;
        while (!isBackgroundWorkEnding() && std::chrono::steady_clock::now() < last) {
            std::this_thread::yield();
        }
        letGo();
    });
    endBackgroundWork();
    disk.join();
    EXPECT_EQ(writes, 1);
}

} // namespace
} // namespace tessarin
