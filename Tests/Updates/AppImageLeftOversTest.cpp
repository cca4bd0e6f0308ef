#include "AppImageFixture.h"

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;

// What stands beside the program when it starts: what an installation put there, and what is the person's.
class AppImageLeftOversTest : public AppImageFixture
{
protected:
    // As the next start does, of the program that is at the place now.
    void startAnew() const { EXPECT_TRUE(installation(path)->dropLeftOvers()); }
};

TEST_F(AppImageLeftOversTest, TheOldOneIsRemovedOnceTheNewOneHasStarted)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    startAnew();
    EXPECT_EQ(namesIn(home), Names{ "tessarin.AppImage" });
    EXPECT_EQ(wholeFile(path), newBytes);
    EXPECT_FALSE(fs::exists(record)) << "there is nothing to remember";
    startAnew();
    EXPECT_EQ(namesIn(home), Names{ "tessarin.AppImage" }) << "there being none is a success";
}

TEST_F(AppImageLeftOversTest, AFileThatNoInstallationMadeIsLeftAlone)
{
    writeWholeFile(previous, "mine");
    writeWholeFile(home + "/.tessarin.AppImage.update", "mine");
    startAnew();
    EXPECT_EQ(wholeFile(previous), "mine");
    EXPECT_EQ(wholeFile(home + "/.tessarin.AppImage.update"), "mine");
    EXPECT_EQ(namesIn(home).size(), 3U);
}

TEST_F(AppImageLeftOversTest, AFileOfThePersonIsNotTakenForTheOneThatHasProvenToStart)
{
    writeWholeFile(previous, "mine");
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(wholeFile(previous), "mine");
    EXPECT_EQ(wholeFile(previous + "-2"), oldBytes);
    startAnew();
    EXPECT_EQ(wholeFile(previous), "mine");
    EXPECT_EQ(namesIn(home), (Names{ "tessarin.AppImage", "tessarin.AppImage.previous" }));
}

TEST_F(AppImageLeftOversTest, AFileThatThePersonPutInThePlaceOfTheKeptOneIsLeftAlone)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    fs::remove(previous);
    writeWholeFile(previous, "mine");
    startAnew();
    EXPECT_EQ(wholeFile(previous), "mine");
    EXPECT_FALSE(fs::exists(record)) << "what was kept is no more";
}

TEST_F(AppImageLeftOversTest, WhatIsNoFileUnderTheNameOfTheKeptOneIsLeftAlone)
{
    fs::create_directory(previous);
    fs::create_symlink(path, previous + "-2");
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(wholeFile(previous + "-3"), oldBytes);
    startAnew();
    EXPECT_TRUE(fs::is_directory(previous));
    EXPECT_TRUE(fs::is_symlink(previous + "-2"));
    EXPECT_EQ(namesIn(home).size(), 3U);
}

TEST_F(AppImageLeftOversTest, AnotherProgramsTracesAreItsOwn)
{
    const std::string other = home + "/other.AppImage";
    writeWholeFile(other, oldBytes);
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_TRUE(installation(other)->dropLeftOvers());
    EXPECT_EQ(wholeFile(previous), oldBytes);
    startAnew();
    EXPECT_FALSE(fs::exists(previous));
}

// Of an account of its own, or with other stores: it has a record of its own.
TEST_F(AppImageLeftOversTest, AnotherInstanceOfTheProgramTouchesNothingThatThisOneMade)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_TRUE(AppImageInstall::at(path, folder / "others/installed.json")->dropLeftOvers());
    EXPECT_EQ(wholeFile(previous), oldBytes);
}

TEST_F(AppImageLeftOversTest, WhatThisRunHasKeptStaysUntilTheNextStart)
{
    const auto running = installation(path);
    ASSERT_TRUE(running->install(archiveOf(newBytes)));
    const AppImageInstall copy = *running;
    EXPECT_TRUE(copy.dropLeftOvers());
    EXPECT_EQ(wholeFile(previous), oldBytes) << "the new one has not started yet";
    startAnew();
    EXPECT_FALSE(fs::exists(previous));
}

#if defined(__linux__)
TEST_F(AppImageLeftOversTest, WhatAKilledInstallationLeftGoesWithTheNextStart)
{
    ASSERT_TRUE(isKilledBeyond(100'000, archiveOf(appImageOf(std::string(900'000, 'n')))));
    EXPECT_EQ(namesIn(home).size(), 3U) << "the kept one and a part of the new one";
    startAnew();
    EXPECT_EQ(faultOfWhatWasThere(), "");
    EXPECT_FALSE(fs::exists(record));
}

TEST_F(AppImageLeftOversTest, WhatAKilledInstallationLeftGoesWithTheNextOneToo)
{
    const VerifiedArchive archive = archiveOf(appImageOf(std::string(900'000, 'n')));
    ASSERT_TRUE(isKilledBeyond(100'000, archive));
    ASSERT_TRUE(isKilledBeyond(200'000, archive));
    EXPECT_EQ(namesIn(home).size(), 3U) << "they do not pile up";
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(wholeFile(previous), oldBytes);
    EXPECT_EQ(namesIn(home).size(), 2U);
}

TEST_F(AppImageLeftOversTest, WhereFilesHaveNoSecondNamesTheCopyThatWasKeptIsKnown)
{
    const VerifiedArchive archive = archiveOf(newBytes);
    EXPECT_EQ(onADiskWithoutLinks([&] { return outcomeOf(path, archive); }), "");
    EXPECT_EQ(wholeFile(previous), oldBytes);
    startAnew();
    EXPECT_EQ(namesIn(home), Names{ "tessarin.AppImage" });
}
#endif

TEST_F(AppImageLeftOversTest, NothingIsPutBesideTheProgramThatCannotBeNoted)
{
    writeWholeFile(folder / "record", "a file");
    EXPECT_EQ(outcomeOf(path, newBytes), "The update was not installed. The program can't be kept beside it: File exists.");
    EXPECT_EQ(faultOfWhatWasThere(), "");
}

TEST_F(AppImageLeftOversTest, WhatCannotBeRemovedIsToldAndTriedAgain)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    fs::permissions(folder / "record", fs::perms(0777));
    fs::permissions(record, fs::perms(0666));
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(home, fs::perms(0555));
    const std::string told = asABoundAccount([&]() -> std::string {
        const auto dropped = installation(path)->dropLeftOvers();
        return dropped ? "It was dropped." : dropped.error().description();
    });
    EXPECT_EQ(told, "What an update has left can't be removed: Permission denied.");
    EXPECT_EQ(wholeFile(previous), oldBytes);
    fs::permissions(home, fs::perms(0755));
    startAnew();
    EXPECT_FALSE(fs::exists(previous));
}

} // namespace
} // namespace tessarin
