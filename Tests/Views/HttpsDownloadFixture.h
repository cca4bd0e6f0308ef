#pragma once

#include "HttpsServer.h"
#include "Printing.h"
#include "Views/HttpsDownload.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTest>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tessarin
{

// A download from a real server, by a clock that stands still until a test moves it.
class HttpsDownloadTest : public testing::Test
{
protected:
    static constexpr qint64 fileSize = 20'000;
    static constexpr qint64 stepSize = qint64{ 60 } * 1024; // of what comes in steps

    static void SetUpTestSuite() { server = std::make_unique<HttpsServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override { ASSERT_TRUE(server->isRunning()) << "the server did not start"; }

    void start(const QUrl& url)
    {
        received.clear();
        ends = 0;
        download = std::make_unique<HttpsDownload>(network, mainThread);
        HttpsDownload::Handlers handlers;
        handlers.onBytes = [this](QByteArrayView part) {
            received += part;
            room -= static_cast<std::size_t>(part.size());
        };
        handlers.room = [this] {
            wasAsked = true;
            return room;
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
        };
        HttpsDownload::Request request{ url, limit, trust };
        request.leastBytes = leastBytes;
        request.wholeLimit = wholeLimit;
        download->start(request, std::move(handlers));
    }
    void start(const QString& path) { start(server->url(path)); }
    // The reason why it failed, empty when it did not.
    QString fetch(const QUrl& url)
    {
        start(url);
        EXPECT_EQ(ends, 0) << "the end is told later";
        return end();
    }
    QString fetch(const QString& path) { return fetch(server->url(path)); }
    QString end()
    {
        EXPECT_TRUE(comes([this] { return ends > 0; }));
        EXPECT_EQ(ends, 1);
        return ends == 1 ? failure : "It did not end.";
    }
    template <class Condition>
    static bool comes(Condition condition)
    {
        return QTest::qWaitFor(condition, HttpsServer::patience);
    }
    bool receives(qint64 count)
    {
        return comes([&] { return received.size() == count; });
    }
    // Without waiting for it.
    void pass(std::chrono::milliseconds time)
    {
        clock += time;
        mainThread.drain();
        QCoreApplication::processEvents();
    }
    // Something else is fetched meanwhile: the server's answer.
    QByteArray ask(const QString& path)
    {
        HttpsDownload other(network, mainThread);
        QByteArray answer;
        bool hasEnded = false;
        HttpsDownload::Handlers handlers;
        handlers.onBytes = [&](QByteArrayView part) { answer += part; };
        handlers.done = [&](const Result<void, HttpsDownloadError>&) { hasEnded = true; };
        other.start({ server->url(path), limit, trust }, std::move(handlers));
        EXPECT_TRUE(comes([&] { return hasEnded; }));
        return answer;
    }

    inline static std::unique_ptr<HttpsServer> server;
    QNetworkAccessManager network;
    MainThread::Clock::time_point clock{};
    MainThread mainThread{ {}, [this] { return clock; } };
    qint64 limit = 1'000'000;
    QSslConfiguration trust = server->trust();
    qint64 leastBytes = HttpsDownload::Request().leastBytes;
    std::optional<std::chrono::milliseconds> wholeLimit;
    std::size_t room = SIZE_MAX;
    bool wasAsked = false; // for its room
    bool cancelsWhenItBegins = false;
    std::unique_ptr<HttpsDownload> download;
    QByteArray received;
    std::vector<qint64> counts;
    std::optional<qint64> whole;
    int ends = 0;
    bool wasCancelled = false;
    QString failure;
};

} // namespace tessarin
