#include "Views/AppcastUpdater.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Preferences.h"
#include "RecordingDesktop.h"
#include "ReleaseServer.h"
#include "TemporaryFolder.h"
#include "Views/QtMainThread.h"
#include "Views/UpdateFlow.h"

#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace tessarin
{

namespace
{

using namespace std::chrono_literals;

// At an address where nobody answers: what counts is when a look begins.
class AppcastUpdaterTest : public ::testing::Test, public SoftwareUpdaterDelegate
{
protected:
    AppcastUpdaterTest() { launch(); }

    void launch()
    {
        updater.reset();
        flow = std::make_unique<UpdateFlow>(UpdateFlow::Surroundings{ preferences, desktop, mainThread,
            [this] {
                return UpdateFetch::Surroundings{ downloads.mainThread(), folder / "incoming", UpdateKey::builtIn(), tls };
            },
            "1.0", { "linux", "6.1" }, std::nullopt, { folder / "own" }, folder / "incoming" });
        updater = std::make_unique<AppcastUpdater>(
            *this, AppcastUpdater::Surroundings{ preferences, mainThread, *flow, [this] { return clock; } });
    }
    // The computer and its clock go on.
    void pass(std::chrono::milliseconds time)
    {
        clock.secondsSince2001 += std::chrono::duration<double>(time).count();
        wake(time);
    }
    // What waits goes on, whatever the clock of the person says.
    void wake(std::chrono::milliseconds time)
    {
        steady += time;
        mainThread.drain();
    }
    [[nodiscard]] bool hasLooked() const { return flow->stage() != UpdateFlow::Idle; }
    [[nodiscard]] std::optional<std::chrono::milliseconds> wait() const
    {
        const auto due = mainThread.nextDue();
        return due ? std::optional(std::chrono::duration_cast<std::chrono::milliseconds>(*due - steady)) : std::nullopt;
    }
    void turnOn() { updater->setAutomaticallyChecksForUpdates(true); }

    const TemporaryFolder folder;
    Preferences preferences{ { folder / "configuration", folder / "data" } };
    MainThread::Clock::time_point steady{};
    MainThread mainThread{ {}, [this] { return steady; } };
    QtMainThread downloads; // by another clock, so that what waits here is what the updater waits for
    Instant clock{ 800'000'000 };
    testing::RecordingDesktop desktop;
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    std::optional<std::string> address = "https://127.0.0.1:1/appcast.xml";
    std::unique_ptr<UpdateFlow> flow;
    std::unique_ptr<AppcastUpdater> updater;

private:
    std::optional<std::string> feedURLString(const SoftwareUpdater&) override { return address; }
};

TEST_F(AppcastUpdaterTest, UntilAPersonTurnsItOnItLooksNeverAndWakesNever)
{
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());
    updater->startUpdater();
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_EQ(wait(), std::nullopt);
}

TEST_F(AppcastUpdaterTest, TurnedOnItLooksSoonAndThenOnceADay)
{
    updater->startUpdater();
    turnOn();
    EXPECT_EQ(wait(), 2s);
    pass(2s);
    EXPECT_TRUE(hasLooked());
    EXPECT_FALSE(flow->isShown()) << "it is silent";
    EXPECT_EQ(preferences.text("lastUpdateLook.v1"), "800000002");
    EXPECT_EQ(wait(), 24h);
    flow->close();
    pass(24h - 1ms);
    EXPECT_FALSE(hasLooked());
    pass(1ms);
    EXPECT_TRUE(hasLooked());
    EXPECT_EQ(wait(), 24h);
}

TEST_F(AppcastUpdaterTest, TheSwitchIsStoredAndTurnedOffNothingWaits)
{
    updater->startUpdater();
    turnOn();
    EXPECT_EQ(preferences.boolean("automaticallyChecksForUpdates"), true);
    launch();
    EXPECT_TRUE(updater->automaticallyChecksForUpdates());
    updater->startUpdater();
    updater->setAutomaticallyChecksForUpdates(false);
    EXPECT_EQ(wait(), std::nullopt);
    EXPECT_EQ(preferences.boolean("automaticallyChecksForUpdates"), false);
}

TEST_F(AppcastUpdaterTest, BeforeItIsStartedNothingWaits)
{
    turnOn();
    EXPECT_EQ(wait(), std::nullopt);
}

TEST_F(AppcastUpdaterTest, AStartLooksSoonOnlyWhenTheLastLookIsADayAgo)
{
    turnOn();
    preferences.setText("lastUpdateLook.v1", "799996400"); // an hour ago
    updater->startUpdater();
    EXPECT_EQ(wait(), 23h);
    launch();
    preferences.setText("lastUpdateLook.v1", "799900000");
    updater->startUpdater();
    EXPECT_EQ(wait(), 2s);
}

TEST_F(AppcastUpdaterTest, EachChangeOfTheAddressBeginsTheDelayAnew)
{
    updater->startUpdater();
    turnOn();
    for (int letter = 0; letter < 5; ++letter) {
        pass(1500ms);
        EXPECT_FALSE(hasLooked());
        updater->resetUpdateCycleAfterShortDelay();
    }
    pass(2s);
    EXPECT_TRUE(hasLooked());
}

TEST_F(AppcastUpdaterTest, WithoutAnAddressNothingWaitsUntilThereIsOne)
{
    address.reset();
    updater->startUpdater();
    turnOn();
    EXPECT_EQ(wait(), std::nullopt);
    updater->checkForUpdates();
    EXPECT_FALSE(hasLooked());
    EXPECT_EQ(preferences.text("lastUpdateLook.v1"), std::nullopt);
    address = "https://127.0.0.1:1/appcast.xml";
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_EQ(wait(), 2s);
}

TEST_F(AppcastUpdaterTest, AnAddressThatIsGoneWhenALookIsDueIsNotReached)
{
    updater->startUpdater();
    turnOn();
    address.reset();
    pass(2s);
    EXPECT_FALSE(hasLooked());
    EXPECT_EQ(preferences.text("lastUpdateLook.v1"), std::nullopt);
}

TEST_F(AppcastUpdaterTest, ALookOfAPersonIsShownAndCountsAsTheLast)
{
    updater->startUpdater();
    turnOn();
    updater->checkForUpdates();
    EXPECT_TRUE(flow->isShown());
    EXPECT_EQ(preferences.text("lastUpdateLook.v1"), "800000000");
    EXPECT_EQ(wait(), 24h);
}

TEST_F(AppcastUpdaterTest, WhatIsShownHoldsUpTheLookOfTheDayUntilItIsClosed)
{
    updater->startUpdater();
    turnOn();
    updater->checkForUpdates();
    pass(24h);
    EXPECT_EQ(preferences.text("lastUpdateLook.v1"), "800000000") << "what did not take place does not count";
    EXPECT_EQ(wait(), std::nullopt) << "nothing wakes while the window is open";
    pass(5h);
    flow->close();
    EXPECT_EQ(wait(), 2s);
    pass(2s);
    EXPECT_TRUE(hasLooked());
    EXPECT_FALSE(flow->isShown());
    EXPECT_EQ(wait(), 24h);
}

TEST_F(AppcastUpdaterTest, ClosingAWindowBringsNoLookThatIsNotDue)
{
    updater->startUpdater();
    turnOn();
    updater->checkForUpdates();
    pass(1h);
    flow->close();
    EXPECT_EQ(wait(), 23h);
    updater->setAutomaticallyChecksForUpdates(false);
    updater->checkForUpdates();
    flow->close();
    EXPECT_EQ(wait(), std::nullopt);
}

TEST_F(AppcastUpdaterTest, ASilentLookAtAnAddressThatIsNoLongerTheFeedIsDroppedAndTheNewOneLookedAtSoon)
{
    updater->startUpdater();
    turnOn();
    pass(2s);
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_TRUE(hasLooked()) << "the address is the same";
    EXPECT_EQ(wait(), 24h);
    address = "https://127.0.0.1:2/appcast.xml";
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_FALSE(hasLooked());
    EXPECT_EQ(wait(), 2s) << "the look that was dropped does not count";
    pass(2s);
    EXPECT_TRUE(hasLooked());
    EXPECT_EQ(wait(), 24h);
}

TEST_F(AppcastUpdaterTest, ASilentLookIsDroppedWhenItsAddressBecomesUnusable)
{
    updater->startUpdater();
    turnOn();
    pass(2s);
    address.reset();
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_FALSE(hasLooked());
    EXPECT_EQ(wait(), std::nullopt);
}

TEST_F(AppcastUpdaterTest, WhatAPersonSeesIsNotDroppedWhenTheAddressChanges)
{
    updater->startUpdater();
    updater->checkForUpdates();
    address.reset();
    updater->resetUpdateCycleAfterShortDelay();
    EXPECT_TRUE(flow->isShown());
}

TEST_F(AppcastUpdaterTest, WhatIsDueIsSaidByTheClockAndNotByTheWaiting)
{
    updater->startUpdater();
    turnOn();
    pass(2s);
    flow->close();
    clock.secondsSince2001 -= 3600; // set back: the last look lies ahead
    wake(24h);
    EXPECT_TRUE(hasLooked()) << "a look that lies ahead does not count";
    flow->close();
    clock.secondsSince2001 += 7200; // as after an hour less than it has waited
    wake(24h);
    EXPECT_FALSE(hasLooked());
    EXPECT_EQ(wait(), 22h);
}

TEST_F(AppcastUpdaterTest, DroppedItLeavesNothingThatWaits)
{
    updater->startUpdater();
    turnOn();
    updater.reset();
    flow->lookForPerson(QUrl("https://127.0.0.1:1/appcast.xml"));
    flow->close();
    EXPECT_EQ(wait(), std::nullopt);
}

// At a server whose first address never answers to its end, and whose second has a release.
TEST_F(AppcastUpdaterTest, WhoAsksAfterTheAddressHasChangedIsToldOfTheNewOneThoughALookAtTheOldIsUnderWay)
{
    ReleaseServer server;
    ASSERT_TRUE(server.https.isRunning()) << "the server did not start";
    server.publishArchive("tessarin-2.0.AppImage", "new");
    tls = server.https.trust();
    const auto comesToAnOffer
        = [this] { return QTest::qWaitFor([this] { return flow->stage() == UpdateFlow::Found; }, HttpsServer::patience); };
    updater->startUpdater();
    for (const bool isSilent : { true, false }) {
        address = server.https.url("/slow").toString().toStdString();
        if (isSilent) {
            turnOn();
            pass(2s);
        } else {
            updater->checkForUpdates();
        }
        EXPECT_EQ(flow->stage(), UpdateFlow::Checking);
        address = server.publishFeed("2.0").toString().toStdString();
        updater->checkForUpdates();
        EXPECT_TRUE(flow->isShown());
        EXPECT_TRUE(comesToAnOffer()) << isSilent;
        flow->close();
    }
    finishBackgroundWork();
}

} // namespace

} // namespace tessarin
