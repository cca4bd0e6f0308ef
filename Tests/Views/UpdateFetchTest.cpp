#include "Views/UpdateFetch.h"

#include "Feeds.h"
#include "HttpsServer.h"
#include "Platform/BackgroundWork.h"
#include "Printing.h"
#include "SigningKey.h"
#include "Views/QtMainThread.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QTimer>
#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace tessarin
{

namespace
{

class UpdateFetchTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { server = std::make_unique<HttpsServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override
    {
        ASSERT_TRUE(server->isRunning()) << "the server did not start";
        publish("archive", bytes);
        length = bytes.size();
        signature = key.signatureOf(bytes.toStdString());
        address = server->url("/files/archive").toString();
        makeFetch();
    }

    void makeFetch()
    {
        fetch = std::make_unique<UpdateFetch>(UpdateFetch::Surroundings{
            mainThread.mainThread(), folder.filePath("updates").toStdString(), key.updateKey(), server->trust() });
    }
    static void publish(const QString& name, const QByteArray& content)
    {
        QFile file(server->fileNamed(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    [[nodiscard]] std::string release(const std::string& version) const
    {
        return "<item><sparkle:version>" + version + "</sparkle:version><enclosure url=\"" + address.toStdString() + "\" length=\""
            + std::to_string(length) + "\" sparkle:edSignature=\"" + signature + "\"/></item>";
    }

    // What a person would be told of the feed: the version, "none" for no newer one, or the reason of a failure.
    void startFind(const QUrl& url, const std::string& running = "1.0")
    {
        looks = 0;
        seen = "It did not end.";
        fetch->findNewest(url, running, { "linux", "6.1" }, [this](const UpdateFetch::Found& found) {
            ++looks;
            update = found ? found.value() : std::nullopt;
            seen = !found ? found.error().description() : update ? QString::fromStdString(update->item.version) : "none";
            loop.quit();
        });
    }
    QString find(const QUrl& url, const std::string& running = "1.0")
    {
        startFind(url, running);
        EXPECT_EQ(looks, 0) << "the end is told later";
        wait();
        return seen;
    }
    QString find(const std::string& items, const std::string& running = "1.0")
    {
        publish("appcast.xml", QByteArray::fromStdString(feedOf(items)));
        return find(server->url("/files/appcast.xml"), running);
    }
    // The reason why the release that was found is not installed, empty when it has been verified, goes to `told`.
    void startFetch()
    {
        ends = 0;
        told = "It did not end.";
        fetch->fetchArchive(
            update.value(), [this](qint64 count, std::optional<qint64>) { noteProgress(count); },
            [this](const UpdateFetch::Fetched& fetched) {
                ++ends;
                told = fetched ? "" : fetched.error().description();
                wasCancelled = !fetched && fetched.error().wasCancelled;
                archive = fetched ? std::optional(fetched.value()) : std::nullopt;
                loop.quit();
            });
    }
    QString fetchFound()
    {
        startFetch();
        EXPECT_EQ(ends, 0) << "the end is told later";
        wait();
        EXPECT_TRUE(QDir(folder.filePath("updates")).isEmpty()) << "the file that it came in is gone";
        return told;
    }
    // Until the fetch has ended there is always another event to come.
    static void letPass(int events, const int& ends)
    {
        for (int event = 0; event < events && ends == 0; ++event) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    QString findAndFetch() { return find(release("2.0")) == "2.0" ? fetchFound() : "It was not found."; }
    void noteProgress(qint64 count)
    {
        received = count;
        const QFileInfo file(folder.filePath("updates/update.archive"));
        isPrivate = file.permissions() == (QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        if (cancels) {
            fetch->cancel();
        }
    }
    void wait()
    {
        QTimer::singleShot(HttpsServer::patience, &loop, &QEventLoop::quit);
        loop.exec();
    }

    static std::unique_ptr<HttpsServer> server;
    QTemporaryDir folder;
    QtMainThread mainThread;
    QEventLoop loop;
    const SigningKey key;
    const QByteArray bytes = QByteArray("release ").repeated(100'000);
    qsizetype length = 0;
    std::string signature;
    QString address;
    bool cancels = false;
    std::unique_ptr<UpdateFetch> fetch;
    std::optional<AvailableUpdate> update;
    std::optional<VerifiedArchive> archive;
    QString seen; // in the feed
    int looks = 0; // that have ended
    QString told;
    int ends = 0;
    bool wasCancelled = false;
    bool isPrivate = false;
    qint64 received = 0;
};

std::unique_ptr<HttpsServer> UpdateFetchTest::server;

TEST_F(UpdateFetchTest, ASignedReleaseComesVerified)
{
    EXPECT_EQ(findAndFetch(), "");
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->bytes().joined(), bytes.toStdString());
    EXPECT_EQ(received, bytes.size());
    EXPECT_TRUE(isPrivate) << "nobody else reads or writes it meanwhile";
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
    std::string items = "<item><sparkle:version>" + version + "</sparkle:version><enclosure url='u'/></item>";
    for (int item = 0; item < 9'990; ++item) {
        items += "<item><sparkle:version>1</sparkle:version><enclosure url='u'/></item>";
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
    const QUrl url = server->url("/files/appcast.xml");
    bool hasEndedBefore = false;
    for (int moment = 0; !hasEndedBefore; moment += 1 + moment / 10) {
        startFind(url);
        letPass(moment, looks);
        hasEndedBefore = looks == 1;
        fetch->cancel();
        if (looks == 0) {
            wait();
        }
        finishBackgroundWork();
        QCoreApplication::processEvents();
        EXPECT_TRUE(seen == "2.0" || seen == "It was cancelled.") << seen.toStdString();
        EXPECT_EQ(looks, 1);
    }
}

TEST_F(UpdateFetchTest, ALookThatIsDroppedAtAnyMomentIsSilent)
{
    publish("appcast.xml", QByteArray::fromStdString(feedOf(release("2.0"))));
    const QUrl url = server->url("/files/appcast.xml");
    bool hasEndedBefore = false;
    for (int moment = 0; !hasEndedBefore; moment += 1 + moment / 10) {
        startFind(url);
        letPass(moment, looks);
        hasEndedBefore = looks == 1;
        makeFetch();
        finishBackgroundWork();
        QCoreApplication::processEvents();
        EXPECT_EQ(looks, hasEndedBefore ? 1 : 0);
    }
}

// While it connects, while bytes come, while they are verified, when the end is on its way.
TEST_F(UpdateFetchTest, CancelledAtAnyMomentItHasOneEnd)
{
    ASSERT_EQ(find(release("2.0")), "2.0");
    bool hasEndedBefore = false;
    for (int moment = 0; !hasEndedBefore; moment += 1 + moment / 10) {
        startFetch();
        letPass(moment, ends);
        hasEndedBefore = ends == 1;
        fetch->cancel();
        if (ends == 0) {
            wait();
        }
        finishBackgroundWork();
        EXPECT_TRUE(told == "" || told == "It was cancelled.") << told.toStdString();
        EXPECT_EQ(find(release("2.0")), "2.0") << "the loop has run on";
        EXPECT_EQ(ends, 1);
        EXPECT_TRUE(QDir(folder.filePath("updates")).isEmpty());
    }
}

TEST_F(UpdateFetchTest, DroppedAtAnyMomentItIsSilentAndLeavesNoFile)
{
    ASSERT_EQ(find(release("2.0")), "2.0");
    bool hasEndedBefore = false;
    for (int moment = 0; !hasEndedBefore; moment += 1 + moment / 10) {
        startFetch();
        letPass(moment, ends);
        hasEndedBefore = ends == 1;
        makeFetch();
        finishBackgroundWork();
        EXPECT_EQ(find(release("2.0")), "2.0") << "the loop has run on";
        EXPECT_EQ(ends, hasEndedBefore ? 1 : 0);
        EXPECT_TRUE(QDir(folder.filePath("updates")).isEmpty());
    }
}

TEST_F(UpdateFetchTest, AFolderThatCannotBeMadeIsToldAndNothingIsFetched)
{
    QFile file(folder.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    fetch = std::make_unique<UpdateFetch>(UpdateFetch::Surroundings{
        mainThread.mainThread(), folder.filePath("file/updates").toStdString(), key.updateKey(), server->trust() });
    EXPECT_EQ(findAndFetch(), "The update can't be stored: File exists.");
    EXPECT_EQ(received, 0);
}

TEST_F(UpdateFetchTest, WhatAKilledProgramLeftBehindIsReplaced)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir("updates"));
    QFile file(folder.filePath("updates/update.archive"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("half of a file") > 0);
    file.close();
    EXPECT_EQ(findAndFetch(), "");
    EXPECT_TRUE(archive);
}

} // namespace

} // namespace tessarin
