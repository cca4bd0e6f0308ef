#include "Platform/FileMoving.h"

#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

bool areOnOneFileSystem(const std::string& first, const std::string& second)
{
    struct stat firstStatus {
    };
    struct stat secondStatus {
    };
    return ::stat(first.c_str(), &firstStatus) == 0 && ::stat(second.c_str(), &secondStatus) == 0
        && firstStatus.st_dev == secondStatus.st_dev;
}

void makeLibrary(const std::string& path)
{
    fs::create_directories(path + "/inner");
    writeWholeFile(path + "/inner/file", "bytes");
    fs::create_symlink("inner/file", path + "/link");
}

std::string faultOfLibrary(const std::string& path)
{
    if (wholeFile(path + "/inner/file") != "bytes") {
        return "The file is not there. ";
    }
    return fs::is_symlink(path + "/link") && fs::read_symlink(path + "/link") == "inner/file" ? "" : "The link is none any more. ";
}

TEST(FileMovingTest, TheParentIsWhatTheLastComponentStandsIn)
{
    EXPECT_EQ(parentPath("/a/b/c"), "/a/b");
    EXPECT_EQ(parentPath("/a"), "/");
    EXPECT_EQ(parentPath("a"), ".");
}

TEST(FileMovingTest, ANewFileHasItsBytesAndMode)
{
    const TemporaryFolder folder;
    ASSERT_TRUE(writeNewFile(folder / "file", ByteRope("bytes"), 0640));
    EXPECT_EQ(wholeFile(folder / "file"), "bytes");
    EXPECT_EQ(modeOf(folder / "file"), 0640U);
}

TEST(FileMovingTest, ANewFileReplacesNone)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "earlier");
    const auto written = writeNewFile(folder / "file", ByteRope("bytes"));
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, EEXIST);
    EXPECT_EQ(wholeFile(folder / "file"), "earlier");
}

TEST(FileMovingTest, ANewFileThatDoesNotFitIsNotThere)
{
    const TemporaryFolder folder;
    const FileSizeLimit limit(50'000);
    ASSERT_FALSE(writeNewFile(folder / "file", ByteRope(std::string(100'000, 'x'))));
    EXPECT_EQ(namesIn(folder.path()), Names{});
}

TEST(FileMovingTest, ACopyHasTheBytesOfALargeFile)
{
    const TemporaryFolder folder;
    std::string bytes(3'000'001, '\0');
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<char>(index * index >> 7);
    }
    writeWholeFile(folder / "from", bytes);
    ASSERT_TRUE(copyFile(folder / "from", folder / "to"));
    EXPECT_EQ(wholeFile(folder / "to"), bytes);
    EXPECT_EQ(wholeFile(folder / "from"), bytes);
    EXPECT_EQ(modeOf(folder / "to"), 0600U);
}

TEST(FileMovingTest, ACopyOfALinkIsAFile)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "bytes");
    fs::create_symlink("file", folder / "link");
    ASSERT_TRUE(copyFile(folder / "link", folder / "to"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder / "to")));
    EXPECT_EQ(wholeFile(folder / "to"), "bytes");
}

TEST(FileMovingTest, ACopyReplacesNothing)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "from", "bytes");
    writeWholeFile(folder / "to", "earlier");
    ASSERT_FALSE(copyFile(folder / "from", folder / "to"));
    EXPECT_EQ(wholeFile(folder / "to"), "earlier");
    // A link that leads nowhere isn't followed to a file of another's choice.
    fs::create_symlink(folder / "elsewhere", folder / "trap");
    ASSERT_FALSE(copyFile(folder / "from", folder / "trap"));
    EXPECT_FALSE(fs::exists(folder / "elsewhere"));
}

TEST(FileMovingTest, PipesDevicesAndFoldersAreNotCopied)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const std::string& path : { folder / "pipe", std::string("/dev/zero"), folder.path() }) {
        EXPECT_FALSE(copyFile(path, folder / "to")) << path;
    }
    EXPECT_EQ(namesIn(folder.path()), Names{ "pipe" });
}

TEST(FileMovingTest, OfAFileThatGrowsTheBytesOfTheBeginningAreCopied)
{
    const TemporaryFolder folder;
    const std::string bytes(600'000, 'x');
    writeWholeFile(folder / "from", bytes);
    std::ofstream growing(folder / "from", std::ios::binary | std::ios::app);
    int asked = 0;
    const auto grow = [&](std::uint64_t) {
        growing << bytes << std::flush;
        return ++asked > 100; // a copy to the end of the file would never come to it
    };
    ASSERT_TRUE(copyFile(folder / "from", folder / "to", 0600, grow));
    EXPECT_EQ(wholeFile(folder / "to"), bytes);
    EXPECT_GT(asked, 1) << "it grew while it was copied";
}

TEST(FileMovingTest, OfAFileThatBecomesShorterWhatIsThereIsCopied)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "from", std::string(600'000, 'x'));
    const auto shorten = [&](std::uint64_t) {
        fs::resize_file(folder / "from", 10);
        return false;
    };
    ASSERT_TRUE(copyFile(folder / "from", folder / "to", 0600, shorten));
    EXPECT_EQ(wholeFile(folder / "to"), std::string(10, 'x'));
}

TEST(FileMovingTest, ACopyThatIsEndedIsNotThere)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "from", std::string(600'000, 'x'));
    std::vector<std::uint64_t> missing;
    const auto copied = copyFile(folder / "from", folder / "to", 0600, [&](std::uint64_t bytes) {
        missing.push_back(bytes);
        return missing.size() == 2;
    });
    ASSERT_FALSE(copied);
    EXPECT_EQ(copied.error().code, ECANCELED);
    EXPECT_EQ(namesIn(folder.path()), Names{ "from" });
    ASSERT_EQ(missing.size(), 2U);
    EXPECT_EQ(missing[0], 600'000U);
    EXPECT_LT(missing[1], missing[0]);
    EXPECT_GT(missing[1], 0U);
}

TEST(FileMovingTest, ACopyThatDoesNotFitIsNotThere)
{
    const TemporaryFolder folder;
    const TemporaryFolder small;
    writeWholeFile(folder / "from", std::string(300'000, 'x'));
    const auto findings = onADiskOf(128 * 1024, small.path(), [&]() -> std::string {
        const auto copied = copyFile(folder / "from", small / "to");
        if (copied || (copied.error().code != ENOSPC && copied.error().code != EFBIG)) {
            return "The disk was not full.";
        }
        return namesIn(small.path()).empty() ? "" : "A part is left.";
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(wholeFile(folder / "from").size(), 300'000U);
}

TEST(FileMovingTest, MovesAFolderWithAllThatIsInIt)
{
    const TemporaryFolder folder;
    makeLibrary(folder / "from");
    ASSERT_TRUE(moveItem(folder / "from", folder / "to"));
    EXPECT_EQ(faultOfLibrary(folder / "to"), "");
    EXPECT_EQ(namesIn(folder.path()), Names{ "to" });
}

TEST(FileMovingTest, MovesAFolderToAnotherFileSystem)
{
    const TemporaryFolder folder;
    const TemporaryFolder other;
    makeLibrary(folder / "from");
    const auto findings = onADiskOf(1024 * 1024, other.path(), [&]() -> std::string {
        // Where no test may mount, both are on one, and this is an ordinary move.
        const std::string place = areOnOneFileSystem(folder.path(), other.path()) ? "here: " : "across: ";
        if (!moveItem(folder / "from", other / "to")) {
            return place + "It is not moved.";
        }
        const std::string fault = faultOfLibrary(other / "to");
        if (!fault.empty() || namesIn(other.path()) != Names{ "to" }) {
            return place + fault + "Something is left beside it.";
        }
        return fs::exists(folder / "from") ? place + "It is still at its old place." : "";
    });
    EXPECT_EQ(findings, "");
}

TEST(FileMovingTest, WhatDoesNotFitOnTheOtherFileSystemStaysWhereItIs)
{
    const TemporaryFolder folder;
    const TemporaryFolder other;
    makeLibrary(folder / "from");
    writeWholeFile(folder / "from/large", std::string(300'000, 'x'));
    const auto findings = onADiskOf(128 * 1024, other.path(), [&]() -> std::string {
        if (areOnOneFileSystem(folder.path(), other.path())) {
            return "";
        }
        if (moveItem(folder / "from", other / "to")) {
            return "The disk was not full.";
        }
        return namesIn(other.path()).empty() ? "" : "A part is left.";
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(faultOfLibrary(folder / "from"), "");
    EXPECT_EQ(wholeFile(folder / "from/large").size(), 300'000U);
}

TEST(FileMovingTest, WhatIsNotThereIsNotMoved)
{
    const TemporaryFolder folder;
    const auto moved = moveItem(folder / "from", folder / "to");
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, ENOENT);
}

} // namespace
} // namespace tessarin
