#pragma once

#include "Feeds.h"
#include "HttpsServer.h"
#include "Platform/BackgroundWork.h"
#include "Printing.h"
#include "SigningKey.h"
#include "Views/QtMainThread.h"
#include "Views/UpdateFetch.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessarin
{

// A feed with one release on a real server, and what comes of looking at it and fetching it.
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
    ~UpdateFetchTest() override
    {
        fetch.reset();
        finishBackgroundWork(); // which tells the main thread of it
    }

    void makeFetch(IncomingArchive::Write write = &ScratchFile::append)
    {
        fetch = std::make_unique<UpdateFetch>(UpdateFetch::Surroundings{
            mainThread.mainThread(), folder.filePath("updates").toStdString(), key.updateKey(), server->trust(), std::move(write) });
    }
    static void publish(const QString& name, const QByteArray& content)
    {
        QFile file(server->fileNamed(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    [[nodiscard]] std::string release(const std::string& version) const
    {
        return itemOf(
            key.signedStatement({ version, "", "linux", static_cast<std::uint64_t>(length), signature, "" }), address.toStdString());
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
        EXPECT_TRUE(isNothingOnTheDisk()) << "the file that it came in is gone";
        return told;
    }
    // That anybody can find.
    [[nodiscard]] bool isNothingOnTheDisk() const
    {
        constexpr auto all = QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden | QDir::System;
        return QDir(folder.filePath("updates")).isEmpty(all);
    }
    // Until the fetch has ended there is always another event to come.
    static void letPass(int events, const int& ends)
    {
        for (int event = 0; event < events && ends == 0; ++event) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    // Starts it again and again, lets more of it pass each time, and then takes the step, until it has ended by itself before that.
    template <class Start, class Step>
    static void atAnyMoment(Start start, const int& ends, Step step)
    {
        bool hasEnded = false;
        for (int moment = 0; !hasEnded; moment += 1 + moment / 10) {
            start();
            letPass(moment, ends);
            hasEnded = ends == 1;
            step(hasEnded);
        }
    }
    // Until it is so; false when it does not come to be so in time.
    template <class Condition>
    static bool comes(Condition condition)
    {
        return QTest::qWaitFor(condition, HttpsServer::patience);
    }
    QString findAndFetch() { return find(release("2.0")) == "2.0" ? fetchFound() : "It was not found."; }
    void noteProgress(qint64 count)
    {
        received = count;
        hasName = hasName || !isNothingOnTheDisk();
        if (cancels) {
            fetch->cancel();
        }
    }
    void wait()
    {
        QTimer::singleShot(HttpsServer::patience, &loop, &QEventLoop::quit);
        loop.exec();
    }

    inline static std::unique_ptr<HttpsServer> server;
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
    bool hasName = false; // the file that it comes in
    qint64 received = 0;
};

} // namespace tessarin
