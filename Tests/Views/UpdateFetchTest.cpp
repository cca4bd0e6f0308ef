#include "UpdateFetchFixture.h"

#include <future>

namespace tessarin
{

namespace
{

TEST_F(UpdateFetchTest, ASignedReleaseComesVerified)
{
    EXPECT_EQ(findAndFetch(), "");
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->bytes().joined(), bytes.toStdString());
    EXPECT_EQ(received, bytes.size());
    EXPECT_FALSE(hasName) << "nobody else reads or writes it meanwhile";
}

TEST_F(UpdateFetchTest, WhatRunsAndWhatIsOlderIsNoUpdate)
{
    EXPECT_EQ(find(release("1.0")), "none");
    EXPECT_EQ(find(release("1.9"), "2.0"), "none");
    EXPECT_EQ(find(release("1.9") + release("2.1"), "2.0"), "2.1");
}

TEST_F(UpdateFetchTest, AWrongSignatureIsRefused)
{
    signature = key.signatureOf("something else");
    EXPECT_EQ(findAndFetch(), "The update was not installed. Its signature is not valid.");
    signature = SigningKey().signatureOf(bytes.toStdString());
    EXPECT_EQ(findAndFetch(), "The update was not installed. Its signature is not valid.");
    EXPECT_GT(received, 0);
}

TEST_F(UpdateFetchTest, AMissingOrTruncatedSignatureIsRefusedBeforeAnythingIsFetched)
{
    signature = signature.substr(0, 60);
    EXPECT_EQ(findAndFetch(), "The update was not installed. Its signature is not valid.");
    signature.clear();
    EXPECT_EQ(findAndFetch(), "The update was not installed. It is not signed.");
    EXPECT_EQ(received, 0);
}

TEST_F(UpdateFetchTest, AnOldArchiveUnderANewVersionIsRefusedBeforeAnythingIsFetched)
{
    ReleaseStatement stated = key.statementOf(bytes.toStdString(), "0.5");
    EXPECT_EQ(find(itemOf(stated, address.toStdString())), "none");
    stated.version = "99.0";
    EXPECT_EQ(find(itemOf(stated, address.toStdString())), "99.0");
    EXPECT_EQ(fetchFound(), "The update was not installed. Its signature is not valid.");
    stated.signature.clear();
    EXPECT_EQ(find(itemOf(stated, address.toStdString())), "99.0");
    EXPECT_EQ(fetchFound(), "The update was not installed. It is not signed.");
    EXPECT_EQ(received, 0);
}

TEST_F(UpdateFetchTest, WithoutAKeyNothingIsFetched)
{
    fetch = std::make_unique<UpdateFetch>(
        UpdateFetch::Surroundings{ mainThread.mainThread(), folder.filePath("updates").toStdString(), std::nullopt, server->trust() });
    EXPECT_EQ(findAndFetch(), "The update was not installed. This build of tessarin has no key to verify updates with.");
    EXPECT_EQ(received, 0);
}

TEST_F(UpdateFetchTest, AnArchiveOfAnotherLengthThanStatedIsRefused)
{
    length = bytes.size() - 1;
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. It is too large.");
    length = bytes.size() + 1;
    EXPECT_EQ(findAndFetch(), "The update was not installed. It is not as large as its feed says.");
}

TEST_F(UpdateFetchTest, AnArchiveThatIsNotReachedByHttpsAloneIsRefused)
{
    address = server->url("/file", "plain").toString();
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. Its address is not an HTTPS address.");
    address = server->url("/to-plain").toString();
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. The server led to an address that is not HTTPS.");
    address = server->url("/files/archive", "stranger").toString();
    EXPECT_TRUE(findAndFetch().startsWith("The update can't be fetched. The server could not be verified: "));
    address = "file:///etc/hostname";
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. Its address is not an HTTPS address.");
}

TEST_F(UpdateFetchTest, AnArchiveThatEndsEarlyOrHasNoEndIsRefused)
{
    address = server->url("/truncated").toString();
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. The connection ended before all of it had come.");
    address = server->url("/endless").toString();
    EXPECT_EQ(findAndFetch(), "The update can't be fetched. It is too large.");
}

TEST_F(UpdateFetchTest, ASlowArchiveCanBeCancelled)
{
    address = server->url("/slow").toString();
    cancels = true;
    EXPECT_EQ(findAndFetch(), "It was cancelled.");
    EXPECT_TRUE(wasCancelled);
}

TEST_F(UpdateFetchTest, AfterAFailureTheNextTryIsAsGoodAsTheFirst)
{
    cancels = true;
    EXPECT_EQ(findAndFetch(), "It was cancelled.");
    cancels = false;
    EXPECT_EQ(findAndFetch(), "");
    EXPECT_TRUE(archive);
}

TEST_F(UpdateFetchTest, AFeedThatIsNotReachedByHttpsAloneIsRefused)
{
    EXPECT_EQ(find(server->url("/file", "plain")), "The update feed can't be fetched. Its address is not an HTTPS address.");
    EXPECT_EQ(find(server->url("/to-plain")), "The update feed can't be fetched. The server led to an address that is not HTTPS.");
    EXPECT_TRUE(find(server->url("/file", "expired")).startsWith("The update feed can't be fetched. The server could not be verified: "));
}

TEST_F(UpdateFetchTest, AFeedThatIsMalformedMissingOrTooLargeIsToldWithItsReason)
{
    EXPECT_EQ(find("<item>"), "The update feed can't be read. Line 2: mismatched tag.");
    EXPECT_EQ(find(server->url("/file")), "The update feed can't be read. Line 1: syntax error.");
    EXPECT_EQ(find(server->url("/files/nothing")), "The update feed can't be fetched. The server answered with status 404.");
    EXPECT_EQ(find(server->url("/endless")), "The update feed can't be fetched. It is too large.");
    EXPECT_EQ(find(server->url("/truncated")), "The update feed can't be fetched. The connection ended before all of it had come.");
}

TEST_F(UpdateFetchTest, ASlowFeedCanBeCancelled)
{
    QTimer::singleShot(0, &loop, [this] { fetch->cancel(); });
    EXPECT_EQ(find(server->url("/slow")), "It was cancelled.");
}

// Each of its versions would be compared with one of two million bytes.
TEST_F(UpdateFetchTest, AFeedOfLongVersionsIsReadAtOnce)
{
    std::string version = "99";
    while (version.size() < 2'000'000) {
        version += ".1";
    }
    std::string items = "<item><sparkle:version>" + version + "</sparkle:version><enclosure url='u' sparkle:os='linux'/></item>";
    for (int item = 0; item < 9'990; ++item) {
        items += "<item><sparkle:version>1</sparkle:version><enclosure url='u' sparkle:os='linux'/></item>";
    }
    EXPECT_EQ(find(items), "none");
}

TEST_F(UpdateFetchTest, AFeedIsReadInTheBackground)
{
    std::promise<void> go;
    const std::shared_future<void> gone = go.get_future().share();
    for (int thread = 0; thread < 2; ++thread) { // all that there are
        runInBackground([gone] { gone.wait(); });
    }
    bool isOpen = false;
    QTimer::singleShot(500, &loop, [&] {
        isOpen = true;
        go.set_value();
    });
    EXPECT_EQ(find(release("2.0")), "2.0");
    EXPECT_TRUE(isOpen) << "it waited for its turn";
    if (!isOpen) {
        go.set_value();
    }
}

// While it connects, while bytes come, while the feed is read, when the end is on its way.
TEST_F(UpdateFetchTest, ALookThatIsCancelledAtAnyMomentHasOneEnd)
{
    publish("appcast.xml", QByteArray::fromStdString(feedOf(release("2.0"))));
    const auto start = [this] { startFind(server->url("/files/appcast.xml")); };
    atAnyMoment(start, looks, [this](bool) {
        fetch->cancel();
        if (looks == 0) {
            wait();
        }
        finishBackgroundWork();
        QCoreApplication::processEvents();
        EXPECT_TRUE(seen == "2.0" || seen == "It was cancelled.") << seen.toStdString();
        EXPECT_EQ(looks, 1);
    });
}

TEST_F(UpdateFetchTest, ALookThatIsDroppedAtAnyMomentIsSilent)
{
    publish("appcast.xml", QByteArray::fromStdString(feedOf(release("2.0"))));
    const auto start = [this] { startFind(server->url("/files/appcast.xml")); };
    atAnyMoment(start, looks, [this](bool hasEnded) {
        makeFetch();
        finishBackgroundWork();
        QCoreApplication::processEvents();
        EXPECT_EQ(looks, hasEnded ? 1 : 0);
    });
}

// While it connects, while bytes come, while they are verified, when the end is on its way.
TEST_F(UpdateFetchTest, CancelledAtAnyMomentItHasOneEnd)
{
    ASSERT_EQ(find(release("2.0")), "2.0");
    const auto start = [this] { startFetch(); };
    atAnyMoment(start, ends, [this](bool) {
        fetch->cancel();
        if (ends == 0) {
            wait();
        }
        finishBackgroundWork();
        EXPECT_TRUE(told == "" || told == "It was cancelled.") << told.toStdString();
        EXPECT_EQ(find(release("2.0")), "2.0") << "the loop has run on";
        EXPECT_EQ(ends, 1);
        EXPECT_TRUE(isNothingOnTheDisk());
    });
}

TEST_F(UpdateFetchTest, DroppedAtAnyMomentItIsSilentAndLeavesNoFile)
{
    ASSERT_EQ(find(release("2.0")), "2.0");
    const auto start = [this] { startFetch(); };
    atAnyMoment(start, ends, [this](bool hasEnded) {
        makeFetch();
        finishBackgroundWork();
        EXPECT_EQ(find(release("2.0")), "2.0") << "the loop has run on";
        EXPECT_EQ(ends, hasEnded ? 1 : 0);
        EXPECT_TRUE(isNothingOnTheDisk());
    });
}

TEST_F(UpdateFetchTest, AFolderThatCannotBeMadeIsToldAndNothingIsFetched)
{
    QFile file(folder.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    fetch = std::make_unique<UpdateFetch>(UpdateFetch::Surroundings{
        mainThread.mainThread(), folder.filePath("file/updates").toStdString(), key.updateKey(), server->trust() });
    EXPECT_EQ(find(release("2.0")), "2.0");
    startFetch();
    wait();
    EXPECT_EQ(told, "The update can't be stored: File exists.");
    EXPECT_EQ(received, 0);
}

TEST_F(UpdateFetchTest, AFeedThatTakesTooLongIsGivenUp)
{
    MainThread::Clock::time_point clock{};
    MainThread slow({}, [&clock] { return clock; });
    fetch = std::make_unique<UpdateFetch>(
        UpdateFetch::Surroundings{ slow, folder.filePath("updates").toStdString(), key.updateKey(), server->trust() });
    startFind(server->url("/slow"));
    clock += std::chrono::seconds(60);
    slow.drain();
    EXPECT_EQ(looks, 1);
    EXPECT_EQ(seen, "The update feed can't be fetched. The server took too long.");
    fetch.reset();
}

} // namespace

} // namespace tessarin
