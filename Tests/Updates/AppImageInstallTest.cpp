#include "Updates/AppImageInstall.h"

#include "SigningKey.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using Names = std::vector<std::string>;

std::string appImageOf(const std::string& rest, char type = 2)
{
    return std::string("\177ELF\2\1\1\0AI", 10) + type + rest;
}

class AppImageInstallTest : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::create_directory(home);
        writeWholeFile(path, oldBytes);
        fs::permissions(path, fs::perms(0755));
    }

    // As it comes out of a good signature: there is no other way to one.
    [[nodiscard]] VerifiedArchive archiveOf(const std::string& bytes) const
    {
        const std::string download = folder / "download";
        writeWholeFile(download, bytes);
        return UpdateSignature::verify(OpenedFile::open(download).value(), key.statementOf(bytes), key.updateKey()).value();
    }
    // The reason why nothing was installed, empty when it was.
    [[nodiscard]] std::string outcomeOf(const std::string& appImage, const std::string& bytes) const
    {
        const auto install = AppImageInstall::at(appImage);
        if (!install) {
            return "There is no AppImage.";
        }
        const auto installed = install->install(archiveOf(bytes));
        return installed ? "" : installed.error().description();
    }
    [[nodiscard]] std::string faultOfWhatWasThere() const
    {
        std::string fault = wholeFile(path) == oldBytes ? "" : "The program is another. ";
        fault += modeOf(path) == 0755 ? "" : "Its mode is another. ";
        return fault + (namesIn(home) == Names{ "tessarin.AppImage" } ? "" : "Something was left behind. ");
    }

    const TemporaryFolder folder;
    const std::string home = folder / "home";
    const std::string path = home + "/tessarin.AppImage";
    const std::string previous = path + ".previous";
    const SigningKey key;
    const std::string oldBytes = appImageOf("old");
    const std::string newBytes = appImageOf("new");
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

TEST_F(AppImageInstallTest, TheOldOneIsRemovedOnceTheNewOneHasStarted)
{
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    const auto started = AppImageInstall::at(path);
    ASSERT_TRUE(started);
    EXPECT_TRUE(started->removePrevious());
    EXPECT_EQ(namesIn(home), Names{ "tessarin.AppImage" });
    EXPECT_EQ(wholeFile(path), newBytes);
    EXPECT_TRUE(started->removePrevious()) << "there being none is a success";
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
        EXPECT_FALSE(AppImageInstall::at(wrong)) << wrong;
    }
    EXPECT_TRUE(AppImageInstall::at(path));
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
        const auto installed = AppImageInstall::at(path)->install(archive);
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
    writeWholeFile(previous, "proven");
    const VerifiedArchive archive = archiveOf(appImageOf(std::string(900'000, 'n')));
    const std::string found = onADiskOf(600'000, home, [&] {
        writeWholeFile(path, oldBytes);
        writeWholeFile(previous, "proven");
        const auto installed = AppImageInstall::at(path)->install(archive);
        const bool isAsBefore = wholeFile(previous) == "proven" && wholeFile(path) == oldBytes && namesIn(home).size() == 2;
        return installed || !isAsBefore ? "It is not as it was." : "";
    });
    EXPECT_EQ(found, "");
}

TEST_F(AppImageInstallTest, AFolderThatCannotBeWrittenLeavesWhatWasThere)
{
    const VerifiedArchive archive = archiveOf(newBytes);
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(home, fs::perms(0555));
    const std::string found = asABoundAccount([&] {
        const auto installed = AppImageInstall::at(path)->install(archive);
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
        const auto installed = AppImageInstall::at(path)->install(archive);
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
        return AppImageInstall::at(path)->install(archive) ? "It was installed." : "It was refused.";
    });
    EXPECT_EQ(found, " The child did not end well.");
    EXPECT_FALSE(fs::exists(previous));
    EXPECT_EQ(wholeFile(path), large);
    EXPECT_EQ(onADiskWithoutLinks([&]() -> std::string {
        const auto installed = AppImageInstall::at(path)->install(archive);
        return installed ? "" : installed.error().description();
    }),
        "");
    EXPECT_EQ(wholeFile(previous), large);
    EXPECT_EQ(namesIn(home).size(), 2U) << "nothing was left behind";
}

TEST_F(AppImageInstallTest, WhereFilesHaveNoSecondNamesThePreviousOneThatIsThereStays)
{
    writeWholeFile(previous, "proven");
    const VerifiedArchive archive = archiveOf(newBytes);
    EXPECT_EQ(onADiskWithoutLinks([&]() -> std::string {
        const auto installed = AppImageInstall::at(path)->install(archive);
        return installed ? "" : installed.error().description();
    }),
        "");
    EXPECT_EQ(wholeFile(previous), "proven");
    EXPECT_EQ(wholeFile(path), newBytes);
}
#endif

TEST_F(AppImageInstallTest, SomethingElseUnderTheNameOfThePreviousOneIsLeftAlone)
{
    fs::create_directory(previous);
    EXPECT_THAT(outcomeOf(path, newBytes), HasSubstr("Something else has the name"));
    EXPECT_EQ(wholeFile(path), oldBytes);
    EXPECT_TRUE(AppImageInstall::at(path)->removePrevious());
    EXPECT_TRUE(fs::is_directory(previous));
}

TEST_F(AppImageInstallTest, AProgramThatHasGoneMeanwhileIsNotBroughtBack)
{
    const auto install = AppImageInstall::at(path);
    ASSERT_TRUE(install);
    fs::remove(path);
    const auto installed = install->install(archiveOf(newBytes));
    ASSERT_FALSE(installed);
    EXPECT_EQ(installed.error().description(), "The update was not installed. The program is no longer at " + path + ".");
    EXPECT_TRUE(namesIn(home).empty());
}

TEST_F(AppImageInstallTest, WhatAKilledInstallLeftBehindIsReplaced)
{
    writeWholeFile(home + "/.tessarin.AppImage.update", "half of a file");
    fs::create_hard_link(path, previous);
    ASSERT_EQ(outcomeOf(path, newBytes), "");
    EXPECT_EQ(wholeFile(path), newBytes);
    EXPECT_EQ(wholeFile(previous), oldBytes);
    EXPECT_EQ(namesIn(home).size(), 2U);
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
    EXPECT_EQ(AppImageInstall::ofProgram(path, mounted, program).value().path(), path);
    EXPECT_TRUE(AppImageInstall::ofProgram(path, folder / "link", program)) << "links are followed";
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, folder / "mounted2/tessarin"));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, "/usr/bin/env"));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, "", program));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, ".", program));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, folder / "nowhere", program));
    EXPECT_FALSE(AppImageInstall::ofProgram("", mounted, program));
    EXPECT_FALSE(AppImageInstall::ofProgram(path, mounted, folder / "nowhere"));
}

} // namespace
} // namespace tessarin
