#include "UpdateFlowFixture.h"

namespace tessarin
{

namespace
{

namespace fs = std::filesystem;

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

TEST_F(UpdateFlowTest, ABuildWithoutAKeyTellsOfAReleaseAndDoesNotOfferToInstallIt)
{
    const QUrl feed = server->publishFeed("2.0");
    EXPECT_EQ(look(feed), Stage::Found);
    EXPECT_TRUE(flow->property("canInstall").toBool());
    key.reset();
    for (const bool isAppImage : { true, false }) {
        launch(isAppImage ? installation() : std::nullopt);
        EXPECT_EQ(look(feed), Stage::Found);
        EXPECT_EQ(flow->heading(), "tessarin 2.0 is available");
        EXPECT_EQ(flow->message(), "You have 1.0. This build can't verify updates, so it can't install this one.");
        EXPECT_FALSE(flow->property("canInstall").toBool());
        flow->install();
        EXPECT_EQ(flow->stage(), Stage::Found);
    }
    EXPECT_EQ(faultOfWhatIsThere(), "");
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
    launch(installation());
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

} // namespace

} // namespace tessarin
