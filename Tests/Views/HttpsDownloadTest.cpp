#include "HttpsDownloadFixture.h"

#include <algorithm>

namespace tessarin
{

namespace
{

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

// The library takes whatever comes over it, whether somebody reads it or not.
TEST_F(HttpsDownloadTest, ItDoesNotSpeakTheSecondVersion)
{
    EXPECT_EQ(fetch("/protocol"), "");
    EXPECT_NE(received, "h2");
}

TEST_F(HttpsDownloadTest, CancellingBeforeItHasBegunIsTheOneEnd)
{
    start("/slow");
    download->cancel();
    EXPECT_EQ(end(), "It was cancelled.");
}

TEST_F(HttpsDownloadTest, ADroppedOneIsSilent)
{
    start("/endless");
    download.reset();
    EXPECT_EQ(ask("/file").size(), fileSize);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(mainThread.nextDue(), std::nullopt);
}

} // namespace

} // namespace tessarin
