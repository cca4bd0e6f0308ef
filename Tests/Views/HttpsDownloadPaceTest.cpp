#include "HttpsDownloadFixture.h"

namespace tessarin
{

namespace
{

using namespace std::chrono_literals;

// How long a server is waited for, and how long it waits.
class HttpsDownloadPaceTest : public HttpsDownloadTest
{
protected:
    // With that text, and no earlier.
    void endsAfter(std::chrono::milliseconds span, const char* reason)
    {
        pass(span - 1ms);
        EXPECT_EQ(ends, 0);
        pass(1ms);
        EXPECT_EQ(end(), reason);
    }
};

TEST_F(HttpsDownloadPaceTest, AServerThatStopsSendingEndsIt)
{
    start("/slow");
    ASSERT_TRUE(receives(10));
    endsAfter(60s, "The server stopped sending before all of it had come.");
    EXPECT_FALSE(wasCancelled);
}

TEST_F(HttpsDownloadPaceTest, AServerThatSendsEnoughInEachSpanIsWaitedFor)
{
    start("/stepwise");
    for (const int step : { 1, 2 }) {
        ASSERT_TRUE(receives(step * stepSize));
        pass(60s);
        EXPECT_EQ(ends, 0);
        ask("/step");
    }
    EXPECT_EQ(end(), "");
    EXPECT_EQ(received.size(), 3 * stepSize);
    EXPECT_EQ(mainThread.nextDue(), std::nullopt) << "nothing wakes afterwards";
}

TEST_F(HttpsDownloadPaceTest, AServerThatSendsNextToNothingEndsIt)
{
    leastBytes = stepSize + 1;
    start("/stepwise");
    ASSERT_TRUE(receives(stepSize));
    endsAfter(60s, "The server stopped sending before all of it had come.");
}

TEST_F(HttpsDownloadPaceTest, WhatIsSmallMayHaveABoundOfTimeForAllOfIt)
{
    wholeLimit = 100s;
    start("/stepwise");
    ASSERT_TRUE(receives(stepSize));
    pass(60s);
    ask("/step");
    ASSERT_TRUE(receives(2 * stepSize));
    endsAfter(40s, "The server took too long.");
    EXPECT_EQ(mainThread.nextDue(), std::nullopt);
}

TEST_F(HttpsDownloadPaceTest, AServerThatDoesNotAnswerEndsIt)
{
    start("/silent");
    endsAfter(30s, "The server did not answer in time.");
    EXPECT_FALSE(wasCancelled);
}

TEST_F(HttpsDownloadPaceTest, AHeadWithoutEndEndsThoughItIsNeverSilent)
{
    start("/endless-head");
    EXPECT_FALSE(ask("/file").isEmpty()) << "time for it to begin";
    EXPECT_EQ(ends, 0);
    pass(30s);
    EXPECT_EQ(end(), "The server did not answer in time.");
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HttpsDownloadPaceTest, APageWithoutEndThatExplainsAFailureEnds)
{
    start("/endless-failure");
    EXPECT_TRUE(comes([this] { return wasAsked; }));
    pass(30s);
    EXPECT_EQ(end(), "The server did not answer in time.");
}

TEST_F(HttpsDownloadPaceTest, TheBoundsAreThoseOfTheContractUnlessAskedOtherwise)
{
    const HttpsDownload::Request request;
    EXPECT_EQ(request.headLimit, 30s);
    EXPECT_EQ(request.span, 60s);
    EXPECT_EQ(request.leastBytes, stepSize);
    EXPECT_EQ(request.wholeLimit, std::nullopt);
}

TEST_F(HttpsDownloadPaceTest, NoMoreIsHandedOnThanThereIsRoomForAndAllOfItComesInTheEnd)
{
    for (const QString path : { "/file", "/without-length", "/truncated" }) {
        room = 0;
        start(path);
        for (qint64 count = 0; count < fileSize; count += 1000) {
            ASSERT_TRUE(comes([this] { return std::exchange(wasAsked, false); }));
            EXPECT_EQ(ends, 0);
            EXPECT_EQ(received.size(), count);
            room = 1000;
            download->resume();
            ASSERT_TRUE(receives(count + 1000));
        }
        room = SIZE_MAX;
        if (download) {
            download->resume();
        }
        EXPECT_EQ(end(), path == "/truncated" ? "The connection ended before all of it had come." : "");
        EXPECT_EQ(received, QByteArray("the bytes of a file\n").repeated(1000));
    }
}

TEST_F(HttpsDownloadPaceTest, WhileWhatComesIsHeldBackNoTimeCounts)
{
    room = 0;
    start("/file");
    ASSERT_TRUE(comes([this] { return wasAsked; }));
    pass(1h);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(mainThread.nextDue(), std::nullopt);
    room = SIZE_MAX;
    download->resume();
    EXPECT_EQ(end(), "");
    EXPECT_EQ(received.size(), fileSize);
}

TEST_F(HttpsDownloadPaceTest, OnceItGoesOnTimeCountsAgain)
{
    room = 0;
    start("/slow");
    ASSERT_TRUE(comes([this] { return wasAsked; }));
    pass(1h);
    room = SIZE_MAX;
    download->resume();
    ASSERT_TRUE(receives(10));
    pass(60s);
    EXPECT_EQ(end(), "The server stopped sending before all of it had come.");
}

TEST_F(HttpsDownloadPaceTest, WhileWhatComesIsHeldBackTheServerWaitsToo)
{
    limit = qint64{ 1 } << 40;
    room = 0;
    start("/endless");
    ASSERT_TRUE(comes([this] { return wasAsked; }));
    QByteArray before;
    QByteArray sent = ask("/sent");
    for (int time = 0; time < 1000 && sent != before; ++time) {
        before = std::exchange(sent, ask("/sent"));
    }
    EXPECT_EQ(sent, before) << "it goes on sending";
    EXPECT_LT(sent.toLongLong(), 64'000'000) << "more than the system holds for a connection";
    EXPECT_EQ(ends, 0);
}

TEST_F(HttpsDownloadPaceTest, AHeldBackOneCanBeCancelled)
{
    room = 0;
    start("/file");
    ASSERT_TRUE(comes([this] { return wasAsked; }));
    download->cancel();
    EXPECT_EQ(end(), "It was cancelled.");
    EXPECT_TRUE(received.isEmpty());
}

} // namespace

} // namespace tessarin
