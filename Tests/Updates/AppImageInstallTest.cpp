#include "AppImageFixture.h"

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

class AppImageInstallTest : public AppImageFixture
{
};

TEST_F(AppImageInstallTest, TheNewOneStandsInThePlaceOfTheOldWhichIsKept)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(wholeFile(path), newBytes);
    EXPECT_EQ(wholeFile(previous), oldBytes);
    EXPECT_EQ(namesIn(home), (Names{ "tessarin.AppImage", "tessarin.AppImage.previous" }));
}

TEST_F(AppImageInstallTest, WhatRunsKeepsItsFile)
{
    std::ifstream running(path, std::ios::binary);
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(running), {}), oldBytes);
}

TEST_F(AppImageInstallTest, TheNewOneHasTheAccessRightsOfTheOldAndCanBeRun)
{
    fs::permissions(path, fs::perms(0750));
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(modeOf(path), 0750U);
    fs::permissions(path, fs::perms(0644));
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(modeOf(path), 0744U);
}

TEST_F(AppImageInstallTest, ASecondUpdateBeforeTheNextStartKeepsTheOneThatHasStarted)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    ASSERT_EQ(outcomeOf(path, appImageOf("newer")), "");
    EXPECT_EQ(wholeFile(path), appImageOf("newer"));
    EXPECT_EQ(wholeFile(previous), oldBytes);
}

TEST_F(AppImageInstallTest, ALinkStaysAndWhatItLeadsToIsReplaced)
{
    fs::create_directory(folder / "bin");
    const std::string link = folder / "bin/tessarin";
    fs::create_symlink(path, link);
    ASSERT_EQ(outcomeOf(link, newBytes), "");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(wholeFile(path), newBytes);
    EXPECT_EQ(wholeFile(previous), oldBytes);
    EXPECT_EQ(namesIn(folder / "bin"), Names{ "tessarin" });
}

TEST_F(AppImageInstallTest, OnlyAnAbsolutePathOfARegularFileIsAnAppImageThatRuns)
{
    fs::create_symlink(folder / "nowhere", folder / "dangling");
    for (const std::string& wrong : { std::string(), std::string("tessarin.AppImage"), home, folder / "nothing", folder / "dangling" }) {
        EXPECT_FALSE(installation(wrong)) << wrong;
    }
    EXPECT_TRUE(installation(path));
}

TEST_F(AppImageInstallTest, AnArchiveThatIsNoAppImageIsRefusedThoughItIsVerified)
{
    const std::vector<std::string> wrong{ "PK\3\4 an archive", std::string("\177ELF\2\1\1\0\0\0\0\0\0", 13),
        std::string("\177ELF\2\1\1\0AI", 10), "AI\2", appImageOf("", 3), "xELF" + newBytes.substr(4) };
    for (const std::string& bytes : wrong) {
        EXPECT_EQ(outcomeOf(path, bytes), "The update was not installed. It is no AppImage.");
        EXPECT_EQ(faultOfWhatWasThere(), "");
    }
    EXPECT_EQ(outcomeOf(path, appImageOf("older kind", 1)), "");
}

TEST_F(AppImageInstallTest, AFullDiskLeavesWhatWasThere)
{
    const VerifiedArchive archive = archiveOf(appImageOf(std::string(900'000, 'n')));
    const std::string found = onADiskOf(600'000, home, [&] {
        writeWholeFile(path, oldBytes);
        fs::permissions(path, fs::perms(0755));
        const auto installed = installation(path)->install(archive);
        return (installed ? "It was installed. " : "") + faultOfWhatWasThere()
            + (installed || installed.error().description() == "The update was not installed. No space left on device."
                        || installed.error().description() == "The update was not installed. File too large."
                    ? ""
                    : installed.error().description());
    });
    EXPECT_EQ(found, "");
}

TEST_F(AppImageInstallTest, AFullDiskDoesNotLoseThePreviousOneThatWasThere)
{
    const VerifiedArchive first = archiveOf(newBytes);
    const VerifiedArchive archive = archiveOf(appImageOf(std::string(900'000, 'n')));
    const std::string found = onADiskOf(600'000, home, [&]() -> std::string {
        writeWholeFile(path, oldBytes);
        if (const std::string told = outcomeOf(path, first); !told.empty()) {
            return told;
        }
        const auto installed = installation(path)->install(archive);
        const bool isAsBefore = wholeFile(previous) == oldBytes && wholeFile(path) == newBytes && namesIn(home).size() == 2;
        return installed || !isAsBefore ? "It is not as it was." : "";
    });
    EXPECT_EQ(found, "");
}

TEST_F(AppImageInstallTest, AFolderThatCannotBeWrittenLeavesWhatWasThere)
{
    const VerifiedArchive archive = archiveOf(newBytes);
    fs::permissions(folder.path(), fs::perms(0755));
    fs::create_directory(folder / "record");
    fs::permissions(folder / "record", fs::perms(0777));
    fs::permissions(home, fs::perms(0555));
    const std::string found = asABoundAccount([&] {
        const auto installed = installation(path)->install(archive);
        return (installed ? "It was installed. " : installed.error().description()) + faultOfWhatWasThere();
    });
    EXPECT_EQ(found, "The update was not installed. The program can't be kept beside it: Permission denied.");
    fs::permissions(home, fs::perms(0755));
}

#if defined(__linux__)
TEST_F(AppImageInstallTest, WhereFilesHaveNoSecondNamesTheOldOneIsCopied)
{
    const VerifiedArchive archive = archiveOf(newBytes);
    const std::string found = onADiskWithoutLinks([&]() -> std::string {
        const auto installed = installation(path)->install(archive);
        if (!installed) {
            return installed.error().description();
        }
        return wholeFile(path) == newBytes && wholeFile(previous) == oldBytes && modeOf(previous) == 0755 ? ""
                                                                                                          : "It is not as it should be.";
    });
    EXPECT_EQ(found, "");
}

// Half of it would stay for good: what has the name of the previous one is taken for what has proven to start.
TEST_F(AppImageInstallTest, ACopyThatIsNotBroughtToItsEndDoesNotHaveTheNameOfThePreviousOne)
{
    const VerifiedArchive archive = archiveOf(newBytes);
    const std::string large = appImageOf(std::string(900'000, 'o'));
    writeWholeFile(path, large);
    const std::string found = onADiskWithoutLinks([&]() -> std::string {
        const rlimit none{ 0, 0 };
        const rlimit little{ 100'000, 100'000 };
        setrlimit(RLIMIT_CORE, &none);
        std::signal(SIGXFSZ, SIG_DFL); // which ends this process in the middle of the copy
        setrlimit(RLIMIT_FSIZE, &little);
        return installation(path)->install(archive) ? "It was installed." : "It was refused.";
    });
    EXPECT_EQ(found, " The child did not end well.");
    EXPECT_FALSE(fs::exists(previous));
    EXPECT_EQ(wholeFile(path), large);
    EXPECT_EQ(onADiskWithoutLinks([&]() -> std::string {
        const auto installed = installation(path)->install(archive);
        return installed ? "" : installed.error().description();
    }),
        "");
    EXPECT_EQ(wholeFile(previous), large);
    EXPECT_EQ(namesIn(home).size(), 2U) << "nothing was left behind";
}

TEST_F(AppImageInstallTest, WhereFilesHaveNoSecondNamesThePreviousOneThatIsThereStays)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    const VerifiedArchive archive = archiveOf(appImageOf("newer"));
    EXPECT_EQ(onADiskWithoutLinks([&] { return outcomeOf(path, archive); }), "");
    EXPECT_EQ(wholeFile(previous), oldBytes);
    EXPECT_EQ(wholeFile(path), appImageOf("newer"));
    EXPECT_EQ(namesIn(home).size(), 2U);
}
#endif

TEST_F(AppImageInstallTest, AProgramThatHasGoneMeanwhileIsNotBroughtBack)
{
    const auto install = installation(path);
    ASSERT_TRUE(install);
    fs::remove(path);
    const auto installed = install->install(archiveOf(newBytes));
    ASSERT_FALSE(installed);
    EXPECT_EQ(installed.error().description(), "The update was not installed. The program is no longer at " + path + ".");
    EXPECT_TRUE(namesIn(home).empty());
}

// $APPIMAGE and $APPDIR are inherited by whatever an AppImage starts: a terminal of that kind starts this program too.
TEST_F(AppImageInstallTest, AnAppImageFromWhichThisProgramDoesNotRunIsNotItsOwn)
{
    const std::string mounted = folder / "mounted";
    fs::create_directories(mounted + "/usr/bin");
    fs::create_directories(folder / "mounted2");
    const std::string program = mounted + "/usr/bin/tessarin";
    writeWholeFile(program, "program");
    writeWholeFile(folder / "mounted2/tessarin", "program");
    fs::create_symlink(mounted, folder / "link");
    EXPECT_EQ(AppImageInstall::ofProgram(path, mounted, program, record).value().path(), path);
    EXPECT_TRUE(AppImageInstall::ofProgram(path, folder / "link", program, record)) << "links are followed";
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, folder / "mounted2/tessarin", record));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, "/usr/bin/env", record));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, "", program, record));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, ".", program, record));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, folder / "nowhere", program, record));
    EXPECT_FALSE(AppImageInstall::ofProgram("", mounted, program, record));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, folder / "nowhere", record));
}

} // namespace
} // namespace tessarin
