#include "Views/UpdateFlow.h"

#include "Platform/BackgroundWork.h"
#include "Platform/Preferences.h"
#include "RecordingDesktop.h"
#include "ReleaseServer.h"
#include "TemporaryFolder.h"
#include "Views/QtMainThread.h"

#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace tessarin
{

namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Stage = UpdateFlow::Stage;

std::string appImageOf(const std::string& rest)
{
    return std::string("\177ELF\2\1\1\0AI\2", 11) + rest;
}

class UpdateFlowTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { server = std::make_unique<ReleaseServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override
    {
        ASSERT_TRUE(server->https.isRunning()) << "the server did not start";
        fs::create_directory(downloads);
        fs::create_directory(folder / "bin");
        writeWholeFile(program, appImageOf("old"));
        server->publishArchive("tessarin-2.0.AppImage", appImageOf("new"));
        launch(AppImageInstall::at(program));
    }
    ~UpdateFlowTest() override { finishBackgroundWork(); }

    // As at a start from this AppImage, or from none.
    void launch(std::optional<AppImageInstall> appImage)
    {
        flow = std::make_unique<UpdateFlow>(UpdateFlow::Surroundings{ preferences, desktop, mainThread.mainThread(),
            [this] {
                return UpdateFetch::Surroundings{ mainThread.mainThread(), folder / "incoming", key, server->https.trust() };
            },
            "1.0", { "linux", "6.1" }, std::move(appImage), { downloads, folder / "own" } });
        wasShown = false;
        QObject::connect(flow.get(), &UpdateFlow::changed, [this] { wasShown = wasShown || flow->isShown(); });
    }
    [[nodiscard]] bool comesTo(Stage stage) const
    {
        return QTest::qWaitFor([&] { return flow->stage() == stage; }, HttpsServer::patience);
    }
    // The stage in which the look of a person ends.
    Stage look(const QUrl& feed)
    {
        flow->lookForPerson(feed);
        EXPECT_EQ(flow->stage(), Stage::Checking);
        EXPECT_TRUE(QTest::qWaitFor([&] { return flow->stage() != Stage::Checking; }, HttpsServer::patience));
        return flow->stage();
    }
    void lookByItself(const QUrl& feed)
    {
        flow->lookByItself(feed);
        EXPECT_TRUE(QTest::qWaitFor([&] { return flow->stage() != Stage::Checking; }, HttpsServer::patience));
    }
    // The reason why the release that is on offer was refused.
    std::string refusal(const QUrl& feed)
    {
        EXPECT_EQ(look(feed), Stage::Found);
        flow->install();
        EXPECT_TRUE(comesTo(Stage::Failed));
        return flow->message().toStdString();
    }
    // What may never have been touched by what does not verify.
    [[nodiscard]] std::string faultOfWhatIsThere() const
    {
        std::string fault = wholeFile(program) == appImageOf("old") ? "" : "The program is another. ";
        fault += namesIn(folder / "bin") == Names{ "tessarin.AppImage" } ? "" : "Something stands beside the program. ";
        fault += namesIn(downloads).empty() ? "" : "Something stands in the downloads. ";
        fault += !fs::exists(folder / "own") ? "" : "Something stands in the folder of the program. ";
        fault += desktop.revealed.empty() ? "" : "Something was shown. ";
        return fault + (!fs::exists(folder / "incoming") || namesIn(folder / "incoming").empty() ? "" : "What came has stayed. ");
    }

    static std::unique_ptr<ReleaseServer> server;
    const TemporaryFolder folder;
    const std::string downloads = folder / "downloads";
    const std::string program = folder / "bin/tessarin.AppImage";
    std::optional<UpdateKey> key = server->key.updateKey();
    QtMainThread mainThread;
    Preferences preferences{ { folder / "configuration", folder / "data" } };
    testing::RecordingDesktop desktop;
    std::unique_ptr<UpdateFlow> flow;
    bool wasShown = false;
};

std::unique_ptr<ReleaseServer> UpdateFlowTest::server;

TEST_F(UpdateFlowTest, ANewerReleaseIsOfferedWithItsVersionAndItsNotesAsPlainText)
{
    EXPECT_FALSE(flow->isShown());
    const QUrl feed = server->publishFeed("200",
        "<sparkle:shortVersionString>2.0</sparkle:shortVersionString>"
        "<description><![CDATA[<h2>New</h2><p>Faster.<img src='https://example.com/pixel'></p>]]></description>"
        "<sparkle:releaseNotesLink>https://example.com/2.0</sparkle:releaseNotesLink>");
    flow->lookForPerson(feed);
    EXPECT_TRUE(flow->isShown());
    EXPECT_EQ(flow->heading(), "Checking for updates…");
    ASSERT_TRUE(comesTo(Stage::Found));
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is available");
    EXPECT_EQ(flow->message(), "You have 1.0. It is fetched, verified and installed when you say so.");
    EXPECT_EQ(flow->property("notes").value<StyledRuns>().plainText(), "New\n\nFaster.\n\nMore at https://example.com/2.0");
    EXPECT_EQ(flow->installTitle(), "Install");
    EXPECT_FALSE(fs::exists(folder / "incoming")) << "nothing is fetched before the person says so";
    EXPECT_EQ(faultOfWhatIsThere(), "");
}

TEST_F(UpdateFlowTest, AReleaseWithoutNotesHasNone)
{
    const QUrl feed = server->publishFeed("2.0", "<sparkle:releaseNotesLink>javascript:alert(1)</sparkle:releaseNotesLink>");
    EXPECT_EQ(look(feed), Stage::Found);
    EXPECT_FALSE(flow->hasNotes());
}

TEST_F(UpdateFlowTest, AVersionThatIsVeryLongOrOfSeveralLinesIsShownInItsBeginning)
{
    EXPECT_EQ(look(server->publishFeed(
                  "2.0", "<sparkle:shortVersionString>2.0\nsecond" + std::string(100, 'x') + "</sparkle:shortVersionString>")),
        Stage::Found);
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is available");
    flow->close();
    EXPECT_EQ(look(server->publishFeed("2" + std::string(150, '0'))), Stage::Found);
    EXPECT_LT(flow->heading().size(), 60);
}

TEST_F(UpdateFlowTest, NothingNewerIsToldWithTheVersionThatRuns)
{
    for (const char* version : { "1.0", "0.9" }) {
        EXPECT_EQ(look(server->publishFeed(version)), Stage::UpToDate) << version;
        EXPECT_EQ(flow->heading(), "You're up to date");
        EXPECT_EQ(flow->message(), "tessarin 1.0 is the newest version.");
    }
}

TEST_F(UpdateFlowTest, AFailureOfALookIsToldWithItsReasonAndTheNextLookIsAsGoodAsTheFirst)
{
    EXPECT_EQ(look(server->https.url("/files/nothing")), Stage::Failed);
    EXPECT_EQ(flow->heading(), "The update failed");
    EXPECT_EQ(flow->message(), "The update feed can't be fetched. The server answered with status 404.");
    EXPECT_EQ(look(server->https.url("/to-plain")), Stage::Failed);
    EXPECT_EQ(flow->message(), "The update feed can't be fetched. The server led to an address that is not HTTPS.");
    EXPECT_EQ(look(server->https.url("/file")), Stage::Failed);
    EXPECT_EQ(flow->message(), "The update feed can't be read. Line 1: syntax error.");
    EXPECT_EQ(look(server->publishFeed("1.0")), Stage::UpToDate);
}

TEST_F(UpdateFlowTest, TheVerifiedBytesReplaceTheAppImageAndTheOldOneIsKeptUntilTheNextStart)
{
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    EXPECT_EQ(flow->heading(), "Fetching tessarin 2.0…");
    ASSERT_TRUE(comesTo(Stage::Installed));
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is installed");
    EXPECT_EQ(flow->message(), "It starts with the next launch. The version that runs now is kept until then.");
    EXPECT_EQ(wholeFile(program), server->archive);
    EXPECT_EQ(wholeFile(program + ".previous"), appImageOf("old"));
    EXPECT_TRUE(namesIn(downloads).empty());
    EXPECT_TRUE(namesIn(folder / "incoming").empty());

    launch(AppImageInstall::at(program));
    flow->dropPreviousVersion();
    finishBackgroundWork();
    EXPECT_EQ(namesIn(folder / "bin"), Names{ "tessarin.AppImage" });
}

TEST_F(UpdateFlowTest, ABuildWithoutAKeyTellsOfAReleaseAndDoesNotOfferToInstallIt)
{
    const QUrl feed = server->publishFeed("2.0");
    EXPECT_EQ(look(feed), Stage::Found);
    EXPECT_TRUE(flow->property("canInstall").toBool());
    key.reset();
    for (const bool isAppImage : { true, false }) {
        launch(isAppImage ? AppImageInstall::at(program) : std::nullopt);
        EXPECT_EQ(look(feed), Stage::Found);
        EXPECT_EQ(flow->heading(), "tessarin 2.0 is available");
        EXPECT_EQ(flow->message(), "You have 1.0. This build can't verify updates, so it can't install this one.");
        EXPECT_FALSE(flow->property("canInstall").toBool());
        flow->install();
        EXPECT_EQ(flow->stage(), Stage::Found);
    }
    EXPECT_EQ(faultOfWhatIsThere(), "");
}

TEST_F(UpdateFlowTest, WhatDoesNotVerifyIsNeitherInstalledNorKeptNorShown)
{
    const std::string good = server->signature;
    for (const bool isAppImage : { true, false }) {
        launch(isAppImage ? AppImageInstall::at(program) : std::nullopt);
        server->signature = SigningKey().signatureOf(server->archive);
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. Its signature is not valid.");
        server->signature = server->key.signatureOf("other bytes");
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. Its signature is not valid.");
        server->signature = good.substr(0, 60);
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. Its signature is not valid.");
        server->signature = "";
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. It is not signed.");
        server->signature = good;
        ++server->length;
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. It is not as large as its feed says.");
        server->length = server->archive.size();
        finishBackgroundWork();
        EXPECT_EQ(faultOfWhatIsThere(), "");
    }
}

TEST_F(UpdateFlowTest, WhatIsSignedAndNoAppImageDoesNotReplaceOne)
{
    server->publishArchive("tessarin.deb", "!<arch>\n");
    EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. It is no AppImage.");
    EXPECT_EQ(faultOfWhatIsThere(), "");
}

TEST_F(UpdateFlowTest, WithoutAnAppImageTheVerifiedArchiveIsPutIntoTheDownloadsAndShown)
{
    launch(std::nullopt);
    writeWholeFile(downloads + "/tessarin-2.0.AppImage", "mine");
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    EXPECT_EQ(flow->message(), "You have 1.0. It is fetched and verified when you say so, and shown in the file manager.");
    EXPECT_EQ(flow->installTitle(), "Download");
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Kept));
    const std::string kept = downloads + "/tessarin-2.0-2.AppImage";
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is verified");
    EXPECT_EQ(
        flow->message().toStdString(), "The verified archive is “tessarin-2.0-2.AppImage” in “" + downloads + "”. Install it from there.");
    EXPECT_EQ(wholeFile(kept), server->archive);
    EXPECT_EQ(wholeFile(downloads + "/tessarin-2.0.AppImage"), "mine") << "no file is ever replaced";
    EXPECT_EQ(desktop.revealed, Names{ kept });
    flow->showKept();
    EXPECT_EQ(desktop.revealed, (Names{ kept, kept }));
}

TEST_F(UpdateFlowTest, WithoutAFolderForDownloadsTheArchiveGoesToTheFolderOfTheProgram)
{
    launch(std::nullopt);
    fs::remove(downloads);
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Kept));
    EXPECT_EQ(wholeFile(folder / "own/tessarin-2.0.AppImage"), server->archive);
}

TEST_F(UpdateFlowTest, AnArchiveThatCanNotBeStoredIsToldWithTheReason)
{
    launch(std::nullopt);
    fs::remove(downloads);
    writeWholeFile(folder / "own", "a file");
    EXPECT_EQ(refusal(server->publishFeed("2.0")), "The verified archive can't be stored: File exists.");
    EXPECT_TRUE(desktop.revealed.empty());
}

TEST_F(UpdateFlowTest, ALookByItselfShowsNothingUnlessThereIsARelease)
{
    lookByItself(server->publishFeed("1.0"));
    EXPECT_EQ(flow->stage(), Stage::Idle);
    lookByItself(server->https.url("/files/nothing"));
    EXPECT_EQ(flow->stage(), Stage::Idle);
    EXPECT_FALSE(wasShown);
    lookByItself(server->publishFeed("2.0"));
    EXPECT_EQ(flow->stage(), Stage::Found);
    EXPECT_TRUE(flow->isShown());
    EXPECT_TRUE(flow->property("isAutomatic").toBool());
    EXPECT_FALSE(fs::exists(folder / "incoming")) << "nothing is fetched before the person says so";
}

TEST_F(UpdateFlowTest, ASkippedVersionIsOfferedToWhoAsksOnly)
{
    const QUrl feed = server->publishFeed("2.0");
    lookByItself(feed);
    flow->skip();
    EXPECT_EQ(flow->stage(), Stage::Idle);
    launch(AppImageInstall::at(program));
    lookByItself(feed);
    EXPECT_EQ(flow->stage(), Stage::Idle);
    EXPECT_FALSE(wasShown);
    EXPECT_EQ(look(feed), Stage::Found);
    flow->close();
    lookByItself(server->publishFeed("2.1"));
    EXPECT_EQ(flow->heading(), "tessarin 2.1 is available") << "a later one was not skipped";
}

TEST_F(UpdateFlowTest, NotNowEndsAndTheNextLookOffersItAgain)
{
    const QUrl feed = server->publishFeed("2.0");
    lookByItself(feed);
    flow->close();
    EXPECT_FALSE(flow->isShown());
    lookByItself(feed);
    EXPECT_EQ(flow->stage(), Stage::Found);
}

TEST_F(UpdateFlowTest, WhoAsksDuringALookByItselfSeesItAndItsOutcome)
{
    flow->lookByItself(server->publishFeed("1.0"));
    EXPECT_FALSE(flow->isShown());
    flow->lookForPerson(server->publishFeed("1.0"));
    EXPECT_TRUE(flow->isShown());
    EXPECT_FALSE(flow->property("isAutomatic").toBool());
    ASSERT_TRUE(comesTo(Stage::UpToDate));
}

TEST_F(UpdateFlowTest, WhoAsksForAnOfferThatCameByItselfMakesItTheirOwn)
{
    lookByItself(server->publishFeed("2.0"));
    std::vector<bool> told;
    QObject::connect(flow.get(), &UpdateFlow::changed, [&] { told.push_back(flow->property("isAutomatic").toBool()); });
    EXPECT_FALSE(flow->lookForPerson(server->publishFeed("2.0"))) << "the offer is shown, and nothing is looked at";
    EXPECT_EQ(told, std::vector<bool>{ false }) << "the window hears of it";
}

TEST_F(UpdateFlowTest, ASilentLookThatDoesNotEndIsDroppedForTheNext)
{
    EXPECT_TRUE(flow->lookByItself(server->https.url("/slow")));
    lookByItself(server->https.url("/truncated"));
    EXPECT_EQ(flow->stage(), Stage::Idle) << "one that ends for nothing leaves nothing";
    EXPECT_TRUE(flow->lookByItself(server->https.url("/slow")));
    lookByItself(server->publishFeed("2.0"));
    EXPECT_EQ(flow->stage(), Stage::Found);
}

TEST_F(UpdateFlowTest, WhileAPersonSeesSomethingNoLookBeginsByItself)
{
    EXPECT_EQ(look(server->publishFeed("1.0")), Stage::UpToDate);
    EXPECT_FALSE(flow->lookByItself(server->publishFeed("2.0")));
    EXPECT_EQ(flow->stage(), Stage::UpToDate);
    EXPECT_TRUE(flow->isShown());
}

TEST_F(UpdateFlowTest, AskedAgainWhatIsOnOfferIsBroughtForward)
{
    int forward = 0;
    QObject::connect(flow.get(), &UpdateFlow::broughtForward, [&] { ++forward; });
    lookByItself(server->publishFeed("2.0"));
    EXPECT_EQ(forward, 0) << "what nobody asked for stays where it is";
    flow->lookForPerson(server->publishFeed("3.0"));
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is available");
    EXPECT_EQ(forward, 1);
}

TEST_F(UpdateFlowTest, ASlowFeedIsCancelledByClosingAndNothingComesLate)
{
    flow->lookForPerson(server->https.url("/slow"));
    flow->close();
    EXPECT_EQ(flow->stage(), Stage::Idle);
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
}

TEST_F(UpdateFlowTest, AnArchiveOnItsWayIsCancelledByClosingAndLeavesNothing)
{
    server->length = 20000;
    server->address = server->https.url("/slow").toString().toStdString();
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    int steps = 0;
    QObject::connect(flow.get(), &UpdateFlow::progressChanged, [&] { ++steps; });
    flow->install();
    ASSERT_TRUE(QTest::qWaitFor([&] { return steps > 1; }, HttpsServer::patience));
    EXPECT_EQ(flow->progressText(), "10 bytes of 20.0 kB");
    EXPECT_GT(flow->progress(), 0.0);
    EXPECT_LT(flow->progress(), 0.01);
    flow->close();
    EXPECT_FALSE(flow->isShown());
    EXPECT_EQ(look(server->https.url("/files/nothing")), Stage::Failed) << "the loop has run on";
    EXPECT_EQ(faultOfWhatIsThere(), "");
}

TEST_F(UpdateFlowTest, WhatIsBeingInstalledCanNotBeClosed)
{
    bool wasInstalling = false;
    QObject::connect(flow.get(), &UpdateFlow::changed, [&] {
        if (flow->stage() == Stage::Installing && !wasInstalling) {
            wasInstalling = true;
            flow->close();
        }
    });
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Installed));
    EXPECT_TRUE(wasInstalling);
}

TEST_F(UpdateFlowTest, AfterAnInstallOnlyWhatIsNewerStillIsOffered)
{
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Installed));
    flow->close();
    lookByItself(server->publishFeed("2.0"));
    EXPECT_EQ(flow->stage(), Stage::Idle);
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Installed) << "it is told that it waits for the next start";
    flow->close();
    EXPECT_EQ(look(server->publishFeed("2.1")), Stage::Found);
}

TEST_F(UpdateFlowTest, WhatIsInstalledIsToldOfThoughALaterReleaseWasOnOffer)
{
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Installed));
    flow->close();
    EXPECT_EQ(look(server->publishFeed("2.1")), Stage::Found);
    flow->close();
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Installed) << "the later one was withdrawn";
    EXPECT_EQ(flow->heading(), "tessarin 2.0 is installed");
}

TEST_F(UpdateFlowTest, DroppedAtAnyStageItIsSilent)
{
    flow->lookForPerson(server->publishFeed("2.0"));
    launch(AppImageInstall::at(program));
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(QTest::qWaitFor([&] { return flow->stage() == Stage::Installing; }, HttpsServer::patience));
    launch(AppImageInstall::at(program));
    finishBackgroundWork();
    EXPECT_EQ(look(server->publishFeed("1.0")), Stage::UpToDate) << "the loop has run on";
    EXPECT_EQ(wholeFile(program), server->archive) << "what was begun is brought to its end";
}

} // namespace

} // namespace tessarin
