#include "UpdateFlowFixture.h"

namespace tessarin
{

namespace
{

namespace fs = std::filesystem;

// What becomes of a release that is on offer, from the button to its end.
class UpdateInstallTest : public UpdateFlowTest
{
};

TEST_F(UpdateInstallTest, TheVerifiedBytesReplaceTheAppImageAndTheOldOneIsKeptUntilTheNextStart)
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

    launch(installation());
    flow->dropLeftOvers();
    finishBackgroundWork();
    EXPECT_EQ(namesIn(folder / "bin"), Names{ "tessarin.AppImage" });
}

TEST_F(UpdateInstallTest, WhatDoesNotVerifyIsNeitherInstalledNorKeptNorShown)
{
    const std::string good = server->signature;
    for (const bool isAppImage : { true, false }) {
        launch(isAppImage ? installation() : std::nullopt);
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
        server->otherStatement = server->key.statementOf(server->archive, "0.9");
        EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. Its signature is not valid.");
        server->otherStatement.reset();
        finishBackgroundWork();
        EXPECT_EQ(faultOfWhatIsThere(), "");
    }
}

TEST_F(UpdateInstallTest, AFileOfThePersonBesideTheProgramIsNotTakenForTheOldOne)
{
    writeWholeFile(program + ".previous", "mine");
    flow->dropLeftOvers();
    finishBackgroundWork();
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Installed));
    EXPECT_EQ(wholeFile(program + ".previous-2"), appImageOf("old"));
    launch(installation());
    flow->dropLeftOvers();
    finishBackgroundWork();
    EXPECT_EQ(wholeFile(program + ".previous"), "mine");
    EXPECT_EQ(namesIn(folder / "bin").size(), 2U);
}

TEST_F(UpdateInstallTest, WhatAnInterruptedFetchLeftGoesWithTheNextStart)
{
    fs::create_directory(folder / "incoming");
    const std::string left = folder / "incoming/.0F8FAD5B-D9CB-469F-A165-70867728950E";
    writeWholeFile(left, "");
    fs::last_write_time(left, fs::file_time_type::clock::now() - std::chrono::hours(1));
    writeWholeFile(folder / "incoming/mine", "");
    flow->dropLeftOvers();
    finishBackgroundWork();
    EXPECT_EQ(namesIn(folder / "incoming"), Names{ "mine" });
}

TEST_F(UpdateInstallTest, WhatIsSignedAndNoAppImageDoesNotReplaceOne)
{
    server->publishArchive("tessarin.deb", "!<arch>\n");
    EXPECT_EQ(refusal(server->publishFeed("2.0")), "The update was not installed. It is no AppImage.");
    EXPECT_EQ(faultOfWhatIsThere(), "");
}

TEST_F(UpdateInstallTest, WithoutAnAppImageTheVerifiedArchiveIsPutIntoTheDownloadsAndShown)
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

TEST_F(UpdateInstallTest, WithoutAFolderForDownloadsTheArchiveGoesToTheFolderOfTheProgram)
{
    launch(std::nullopt);
    fs::remove(downloads);
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(comesTo(Stage::Kept));
    EXPECT_EQ(wholeFile(folder / "own/tessarin-2.0.AppImage"), server->archive);
}

TEST_F(UpdateInstallTest, AnArchiveThatCanNotBeStoredIsToldWithTheReason)
{
    launch(std::nullopt);
    fs::remove(downloads);
    writeWholeFile(folder / "own", "a file");
    EXPECT_EQ(refusal(server->publishFeed("2.0")), "The verified archive can't be stored: File exists.");
    EXPECT_TRUE(desktop.revealed.empty());
}

TEST_F(UpdateInstallTest, AnArchiveOnItsWayIsCancelledByClosingAndLeavesNothing)
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

TEST_F(UpdateInstallTest, WhatIsBeingInstalledCanNotBeClosed)
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

TEST_F(UpdateInstallTest, AfterAnInstallOnlyWhatIsNewerStillIsOffered)
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

TEST_F(UpdateInstallTest, WhatIsInstalledIsToldOfThoughALaterReleaseWasOnOffer)
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

TEST_F(UpdateInstallTest, DroppedAtAnyStageItIsSilent)
{
    flow->lookForPerson(server->publishFeed("2.0"));
    launch(installation());
    EXPECT_EQ(look(server->publishFeed("2.0")), Stage::Found);
    flow->install();
    ASSERT_TRUE(QTest::qWaitFor([&] { return flow->stage() == Stage::Installing; }, HttpsServer::patience));
    launch(installation());
    finishBackgroundWork();
    EXPECT_EQ(look(server->publishFeed("1.0")), Stage::UpToDate) << "the loop has run on";
    EXPECT_EQ(wholeFile(program), server->archive) << "what was begun is brought to its end";
}

} // namespace

} // namespace tessarin
