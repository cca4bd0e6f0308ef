#include "TroubledDisk.h"
#include "UpdateFetchFixture.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <future>

namespace tessarin
{

namespace
{

// An archive that comes while its disk is slow, stuck or full.
class UpdateDiskTest : public UpdateFetchTest
{
protected:
    void SetUp() override
    {
        UpdateFetchTest::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        makeFetch([this](ScratchFile& file, std::string_view part) { return write(file, part); });
        EXPECT_EQ(find(release("2.0")), "2.0");
    }
    ~UpdateDiskTest() override
    {
        letGo();
        fetch.reset();
        finishBackgroundWork(); // which calls this
    }

    // In the background.
    Result<void, FileError> write(ScratchFile& file, std::string_view part)
    {
        isWriting = true;
        if (isStuck) {
            gone.wait();
        }
        written += static_cast<qint64>(part.size());
        return written > fullAt ? Failure{ FileError{ "No space left on device", ENOSPC } } : file.append(part);
    }
    void letGo()
    {
        if (isStuck.exchange(false)) {
            go.set_value();
        }
    }
    // Larger than all that may wait anywhere.
    void publishLarge()
    {
        const QByteArray large = QByteArray("a large release\n").repeated(2'000'000);
        publish("large", large);
        length = large.size();
        signature = key.signatureOf(large.toStdString());
        address = server->url("/files/large").toString();
        EXPECT_EQ(find(release("2.0")), "2.0");
    }
    // So many events have been handled.
    static bool turns(int count)
    {
        int turned = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&turned] { ++turned; });
        timer.start(0);
        return comes([&] { return turned >= count; });
    }

    std::atomic<bool> isStuck = false;
    std::atomic<bool> isWriting = false;
    std::atomic<qint64> written = 0;
    std::atomic<qint64> fullAt = INT64_MAX;
    std::promise<void> go;
    std::shared_future<void> gone = go.get_future().share();
};

TEST_F(UpdateDiskTest, AFullDiskIsToldAndNothingStays)
{
    const FileSizeLimit limit(100'000);
    EXPECT_EQ(fetchFound(), "The update can't be stored: File too large.");
    EXPECT_FALSE(wasCancelled);
}

TEST_F(UpdateDiskTest, ADiskThatIsFullInTheMiddleEndsTheDownload)
{
    publishLarge();
    fullAt = 5'000'000;
    EXPECT_EQ(fetchFound(), "The update can't be stored: No space left on device.");
    EXPECT_LT(received, length);
}

TEST_F(UpdateDiskTest, AStuckDiskDoesNotHoldUpTheMainThread)
{
    isStuck = true;
    startFetch();
    ASSERT_TRUE(comes([this] { return isWriting.load(); }));
    EXPECT_TRUE(turns(1000));
    EXPECT_EQ(ends, 0);
    letGo();
    wait();
    EXPECT_EQ(told, "");
    EXPECT_TRUE(archive);
}

TEST_F(UpdateDiskTest, NoMoreComesThanMayWaitForTheDisk)
{
    publishLarge();
    isStuck = true;
    constexpr auto limit = static_cast<qint64>(IncomingArchive::waitingLimit);
    startFetch();
    ASSERT_TRUE(comes([this] { return received >= limit; }));
    EXPECT_TRUE(turns(1000));
    EXPECT_EQ(received, limit);
    letGo();
    wait();
    EXPECT_EQ(told, "");
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->bytes().size(), static_cast<std::size_t>(length));
}

TEST_F(UpdateDiskTest, CancelledWhileTheDiskIsStuckItEndsAndTheNextTryIsAsGoodAsTheFirst)
{
    publishLarge();
    for (const bool isFull : { false, true }) {
        isStuck = true;
        startFetch();
        ASSERT_TRUE(comes([&] { return isFull ? received >= static_cast<qint64>(IncomingArchive::waitingLimit) : isWriting.load(); }));
        fetch->cancel();
        EXPECT_EQ(ends, 0) << "the end is told later";
        wait();
        EXPECT_EQ(told, "It was cancelled.");
        EXPECT_TRUE(wasCancelled);
        if (!isFull) {
            isStuck = false; // for what comes, while the one before is stuck still
            EXPECT_EQ(fetchFound(), "");
            received = 0;
        }
    }
    letGo();
    finishBackgroundWork();
    EXPECT_TRUE(turns(100));
    EXPECT_EQ(ends, 1);
}

TEST_F(UpdateDiskTest, DroppedWhileTheDiskIsStuckItIsSilent)
{
    isStuck = true;
    startFetch();
    ASSERT_TRUE(comes([this] { return isWriting.load(); }));
    fetch.reset();
    letGo();
    finishBackgroundWork();
    EXPECT_TRUE(turns(100));
    EXPECT_EQ(ends, 0);
    EXPECT_TRUE(isNothingOnTheDisk());
}

TEST_F(UpdateDiskTest, TheEndOfTheProgramWaitsForOnePartAtMost)
{
    publishLarge();
    isStuck = true;
    startFetch();
    ASSERT_TRUE(comes([this] { return received >= static_cast<qint64>(IncomingArchive::waitingLimit); }));
    letGo();
    endBackgroundWork();
    EXPECT_LE(written, static_cast<qint64>(IncomingArchive::waitingLimit));
    EXPECT_EQ(ends, 0);
}

} // namespace

} // namespace tessarin
