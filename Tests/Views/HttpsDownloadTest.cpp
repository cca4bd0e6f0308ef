#include "Views/HttpsDownload.h"

#include "HttpsServer.h"
#include "Printing.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QTimer>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <vector>

namespace tessarin
{

namespace
{

constexpr qint64 fileSize = 20'000;

class HttpsDownloadTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { server = std::make_unique<HttpsServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override { ASSERT_TRUE(server->isRunning()) << "the server did not start"; }

    void start(const QUrl& url)
    {
        download = std::make_unique<HttpsDownload>(network);
        HttpsDownload::Handlers handlers;
        handlers.onBytes = [this](QByteArrayView part) -> Result<void, FileError> {
            if (isDiskFull) {
                return Failure{ FileError{ "No space left on device", ENOSPC } };
            }
            received += part;
            return {};
        };
        handlers.onProgress = [this](qint64 count, std::optional<qint64> all) {
            counts.push_back(count);
            whole = all;
            if (cancelsWhenItBegins) {
                download->cancel();
            }
        };
        handlers.done = [this](Result<void, HttpsDownloadError> outcome) {
            ++ends;
            wasCancelled = !outcome && outcome.error().wasCancelled;
            failure = outcome ? QString() : outcome.error().description();
            download.reset(); // as an owner does who has what it wanted
            loop.quit();
        };
        download->start({ url, limit, trust, headLimit, silenceLimit }, std::move(handlers));
    }
    // The reason why it failed, empty when it did not.
    QString fetch(const QUrl& url)
    {
        received.clear();
        ends = 0;
        start(url);
        EXPECT_EQ(ends, 0) << "the end is told later";
        QTimer::singleShot(HttpsServer::patience, &loop, &QEventLoop::quit);
        loop.exec();
        EXPECT_EQ(ends, 1);
        return ends == 1 ? failure : "It did not end.";
    }
    QString fetch(const QString& path) { return fetch(server->url(path)); }

    static std::unique_ptr<HttpsServer> server;
    QNetworkAccessManager network;
    QEventLoop loop;
    qint64 limit = 1'000'000;
    QSslConfiguration trust = server->trust();
    std::chrono::milliseconds headLimit = std::chrono::seconds(30);
    std::chrono::milliseconds silenceLimit = std::chrono::seconds(60);
    bool isDiskFull = false;
    bool cancelsWhenItBegins = false;
    std::unique_ptr<HttpsDownload> download;
    QByteArray received;
    std::vector<qint64> counts;
    std::optional<qint64> whole;
    int ends = 0;
    bool wasCancelled = false;
    QString failure;
};

std::unique_ptr<HttpsServer> HttpsDownloadTest::server;

TEST_F(HttpsDownloadTest, BringsTheWholeFileAndTellsHowFarItIs)
{
    EXPECT_EQ(fetch("/file"), "");
    EXPECT_EQ(received, QByteArray("the bytes of a file\n").repeated(1000));
    EXPECT_EQ(counts.back(), fileSize);
    EXPECT_EQ(whole, fileSize);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
}

TEST_F(HttpsDownloadTest, AFileWhoseServerDoesNotSayHowLongItIsComesWhole)
{
    EXPECT_EQ(fetch("/without-length"), "");
    EXPECT_EQ(received.size(), fileSize);
    EXPECT_EQ(whole, std::nullopt);
}

TEST_F(HttpsDownloadTest, AnEmptyFileIsAFile)
{
    EXPECT_EQ(fetch("/empty"), "");
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HttpsDownloadTest, WhatIsNotHttpsIsNotAsked)
{
    EXPECT_EQ(fetch(server->url("/file", "plain")), "Its address is not an HTTPS address.");
    EXPECT_EQ(fetch(QUrl("file:///etc/hostname")), "Its address is not an HTTPS address.");
    EXPECT_EQ(fetch(QUrl("https:///file")), "Its address is not an HTTPS address.");
    EXPECT_EQ(fetch(QUrl()), "Its address is not an HTTPS address.");
    EXPECT_EQ(fetch("/plain-requests"), "");
    EXPECT_EQ(received, "0");
}

TEST_F(HttpsDownloadTest, ACertificateThatDoesNotVerifyEndsItBeforeAnythingComes)
{
    for (const QString name : { "stranger", "expired", "otherHost" }) {
        const QString reason = fetch(server->url("/file", name));
        EXPECT_TRUE(reason.startsWith("The server could not be verified: ") && reason.endsWith('.')) << reason.toStdString();
        EXPECT_TRUE(received.isEmpty());
    }
    trust = QSslConfiguration::defaultConfiguration();
    EXPECT_TRUE(fetch("/file").startsWith("The server could not be verified: ")) << "the system does not know this authority";
}

TEST_F(HttpsDownloadTest, NoConfigurationTurnsTheVerificationOff)
{
    trust.setPeerVerifyMode(QSslSocket::VerifyNone);
    EXPECT_TRUE(fetch(server->url("/file", "stranger")).startsWith("The server could not be verified: "));
}

TEST_F(HttpsDownloadTest, ARedirectionIsFollowedToHttpsOnly)
{
    EXPECT_EQ(fetch("/to-file"), "");
    EXPECT_EQ(received.size(), fileSize);
    EXPECT_EQ(fetch("/to-plain"), "The server led to an address that is not HTTPS.");
    EXPECT_EQ(fetch("/to-plain-in-two-steps"), "The server led to an address that is not HTTPS.");
    EXPECT_TRUE(received.isEmpty());
    EXPECT_EQ(fetch("/plain-requests"), "");
    EXPECT_EQ(received, "0");
}

TEST_F(HttpsDownloadTest, ARedirectionToAServerThatDoesNotVerifyEndsIt)
{
    EXPECT_TRUE(fetch("/to-stranger").startsWith("The server could not be verified: "));
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HttpsDownloadTest, ARedirectionWithoutEndEnds)
{
    EXPECT_EQ(fetch("/to-itself"), "The server led from one address to another without end.");
}

TEST_F(HttpsDownloadTest, AFileThatEndsEarlyFails)
{
    EXPECT_EQ(fetch("/truncated"), "The connection ended before all of it had come.");
}

TEST_F(HttpsDownloadTest, NoMoreBytesThanTheLimitAreHandedOn)
{
    limit = fileSize;
    EXPECT_EQ(fetch("/file"), "");
    limit = fileSize - 1;
    EXPECT_EQ(fetch("/file"), "It is too large.");
    EXPECT_TRUE(received.isEmpty()) << "the server had said how long it is";
    EXPECT_EQ(fetch("/without-length"), "It is too large.");
    EXPECT_LE(received.size(), limit);
    EXPECT_EQ(fetch("/huge"), "It is too large.");
    EXPECT_EQ(fetch("/endless"), "It is too large.");
    EXPECT_LE(received.size(), limit);
}

TEST_F(HttpsDownloadTest, WhatIsPackedIsNotUnpacked)
{
    limit = 100'000;
    EXPECT_EQ(fetch("/packed"), "");
    EXPECT_TRUE(received.startsWith("\x1f\x8b"));
}

TEST_F(HttpsDownloadTest, AnAnswerOtherThanTheFileFailsAndItsTextIsNotTheFile)
{
    EXPECT_EQ(fetch("/nothing"), "The server answered with status 404.");
    limit = 10;
    EXPECT_EQ(fetch("/error"), "The server answered with status 503.");
    EXPECT_EQ(fetch("/no-content"), "The server answered with status 204.");
    EXPECT_EQ(fetch("/partial"), "The server answered with status 206.");
    EXPECT_EQ(fetch("/password"), "The server answered with status 401.");
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HttpsDownloadTest, NoCookieIsKept)
{
    EXPECT_EQ(fetch("/cookie"), "");
    EXPECT_EQ(fetch("/cookie-of-mine"), "");
    EXPECT_EQ(received, "none");
}

TEST_F(HttpsDownloadTest, AServerThatIsNotThereFailsWithTheReason)
{
    EXPECT_EQ(fetch(QUrl("https://127.0.0.1:1/file")), "Connection refused.");
}

TEST_F(HttpsDownloadTest, ASlowOneCanBeCancelled)
{
    cancelsWhenItBegins = true;
    EXPECT_EQ(fetch("/slow"), "It was cancelled.");
    EXPECT_TRUE(wasCancelled);
    EXPECT_EQ(received.size(), 10);
}

TEST_F(HttpsDownloadTest, AServerThatStopsSendingEndsIt)
{
    silenceLimit = std::chrono::milliseconds(200);
    EXPECT_EQ(fetch("/slow"), "The server stopped sending before all of it had come.");
    EXPECT_FALSE(wasCancelled);
    EXPECT_EQ(received.size(), 10);
}

TEST_F(HttpsDownloadTest, AServerThatSendsALittleNowAndThenIsWaitedFor)
{
    silenceLimit = std::chrono::milliseconds(1000); // of 1.5 seconds that it takes
    EXPECT_EQ(fetch("/drips"), "");
    EXPECT_EQ(received.size(), 15);
}

TEST_F(HttpsDownloadTest, AServerThatDoesNotAnswerEndsIt)
{
    headLimit = std::chrono::milliseconds(200);
    EXPECT_EQ(fetch("/silent"), "The server did not answer in time.");
    EXPECT_FALSE(wasCancelled);
}

TEST_F(HttpsDownloadTest, AHeadWithoutEndEndsThoughItIsNeverSilent)
{
    headLimit = std::chrono::milliseconds(500);
    EXPECT_EQ(fetch("/endless-head"), "The server did not answer in time.");
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HttpsDownloadTest, APageWithoutEndThatExplainsAFailureEnds)
{
    headLimit = std::chrono::milliseconds(500);
    EXPECT_EQ(fetch("/endless-failure"), "The server did not answer in time.");
}

TEST_F(HttpsDownloadTest, TheBoundsAreThoseOfTheContractUnlessAskedOtherwise)
{
    const HttpsDownload::Request request;
    EXPECT_EQ(request.headLimit, std::chrono::seconds(30));
    EXPECT_EQ(request.silenceLimit, std::chrono::seconds(60));
}

TEST_F(HttpsDownloadTest, CancellingBeforeItHasBegunIsTheOneEnd)
{
    QTimer::singleShot(0, &loop, [this] {
        if (download) {
            download->cancel();
        }
    });
    EXPECT_EQ(fetch("/slow"), "It was cancelled.");
}

TEST_F(HttpsDownloadTest, BytesThatCannotBeStoredEndIt)
{
    isDiskFull = true;
    EXPECT_EQ(fetch("/endless"), "It can't be stored: No space left on device.");
    EXPECT_FALSE(wasCancelled);
}

TEST_F(HttpsDownloadTest, ADroppedOneIsSilent)
{
    start(server->url("/endless"));
    download.reset();
    HttpsDownload other(network);
    bool hasEnded = false;
    HttpsDownload::Handlers handlers;
    handlers.onBytes = [](QByteArrayView) { return Result<void, FileError>(); };
    handlers.done = [&](const Result<void, HttpsDownloadError>&) {
        hasEnded = true;
        loop.quit();
    };
    other.start({ server->url("/file"), limit, trust }, std::move(handlers));
    QTimer::singleShot(HttpsServer::patience, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(ends, 0);
}

} // namespace

} // namespace tessarin
