#include "Platform/Files.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <pwd.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace tessarin
{
namespace
{

struct PathRow {
    std::string_view path;
    std::string_view expected;
};

class LastPathComponentTest : public testing::TestWithParam<PathRow>
{
};

TEST_P(LastPathComponentTest, LeavesOutATrailingSlash)
{
    EXPECT_EQ(lastPathComponent(GetParam().path), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Paths, LastPathComponentTest,
    testing::Values(PathRow{ "/home/a/project", "project" }, PathRow{ "/home/a/project/", "project" },
        PathRow{ "/home/a/project//", "project" }, PathRow{ "project", "project" }, PathRow{ "/", "/" }, PathRow{ "//", "/" },
        PathRow{ "", "" }, PathRow{ "/a.b/.c", ".c" }, PathRow{ "/Über uns", "Über uns" }));

class StandardizedPathTest : public testing::TestWithParam<PathRow>
{
};

TEST_P(StandardizedPathTest, HasNoDotsNoEmptyComponentsAndNoTrailingSlash)
{
    EXPECT_EQ(standardizedPath(GetParam().path), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Paths, StandardizedPathTest,
    testing::Values(PathRow{ "/a/b", "/a/b" }, PathRow{ "/a/b/", "/a/b" }, PathRow{ "/a//b///c", "/a/b/c" }, PathRow{ "//a", "/a" },
        PathRow{ "/a/./b/.", "/a/b" }, PathRow{ "/a/../b", "/b" }, PathRow{ "/a/b/../../c/..", "/" }, PathRow{ "/..", "/" },
        PathRow{ "/../../a", "/a" }, PathRow{ "/", "/" }, PathRow{ "//", "/" }, PathRow{ "/.", "/" }, PathRow{ "/a/...", "/a/..." },
        PathRow{ "/a/..b/.c", "/a/..b/.c" }, PathRow{ "/~/a b", "/~/a b" }));

TEST(StandardizedPathTest, ARelativePathIsTakenFromTheWorkingDirectory)
{
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(standardizedPath("a/b"), folder / "a/b");
    EXPECT_EQ(standardizedPath("./a/../b/"), folder / "b");
    EXPECT_EQ(standardizedPath(""), folder.path());
    EXPECT_EQ(standardizedPath("."), folder.path());
    EXPECT_EQ(standardizedPath(".."), std::filesystem::path(folder.path()).parent_path().string());
    EXPECT_EQ(standardizedPath("~"), folder / "~");
    std::filesystem::current_path(before);
}

TEST(StandardizedPathTest, LinksAreNotResolved)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_symlink(folder / "real", folder / "link");
    EXPECT_EQ(standardizedPath(folder / "link/."), folder / "link");
    EXPECT_EQ(standardizedPath(folder / "link/.."), folder.path());
}

TEST(FileTest, ExistenceFollowsLinksAndDoesNotTellFoldersFromFiles)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "x");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");
    std::filesystem::create_symlink(folder.path(), folder / "link");
    EXPECT_TRUE(fileExists(folder.path()));
    EXPECT_TRUE(fileExists(folder / "file"));
    EXPECT_TRUE(fileExists(folder / "link"));
    EXPECT_FALSE(fileExists(folder / "dangling"));
    EXPECT_FALSE(fileExists(folder / "none"));
    EXPECT_FALSE(fileExists(""));
    EXPECT_TRUE(isDirectory(folder.path()));
    EXPECT_TRUE(isDirectory(folder / "link"));
    EXPECT_FALSE(isDirectory(folder / "file"));
    EXPECT_FALSE(isDirectory(folder / "none"));
}

TEST(FileTest, ExecutableIsWhatTheRightsSay)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "program", "");
    EXPECT_FALSE(isExecutableFile(folder / "program"));
    std::filesystem::permissions(folder / "program", std::filesystem::perms::owner_all);
    EXPECT_TRUE(isExecutableFile(folder / "program"));
    EXPECT_TRUE(isExecutableFile(folder.path()));
    EXPECT_FALSE(isExecutableFile(folder / "none"));
}

TEST(HomeTest, IsTheEnvironmentsElseTheAccounts)
{
    const std::string before = getenv("HOME") ? getenv("HOME") : "";
    setenv("HOME", "/somewhere/else", 1);
    EXPECT_EQ(homeDirectory(), "/somewhere/else");
    const std::string accounts = getpwuid(getuid())->pw_dir;
    setenv("HOME", "", 1);
    EXPECT_EQ(homeDirectory(), accounts);
    unsetenv("HOME");
    EXPECT_EQ(homeDirectory(), accounts);
    setenv("HOME", before.c_str(), 1);
}

TEST(ExpandedTildeTest, ALeadingTildeStandsForTheHomeFolder)
{
    EXPECT_EQ(expandedTilde("~", "/home/a"), "/home/a");
    EXPECT_EQ(expandedTilde("~/bin/x", "/home/a"), "/home/a/bin/x");
    EXPECT_EQ(expandedTilde("/bin/~/x", "/home/a"), "/bin/~/x");
    EXPECT_EQ(expandedTilde("~other/x", "/home/a"), "~other/x");
    EXPECT_EQ(expandedTilde("", "/home/a"), "");
}

TEST(ReadFileTest, GivesAllBytes)
{
    const TemporaryFolder folder;
    std::string bytes = std::string("a\0b\n\xFF", 5);
    for (const std::size_t size : { 0, 5, 4095, 4096, 4097, 300'000 }) {
        bytes.resize(size, 'x');
        writeWholeFile(folder / "file", bytes);
        EXPECT_EQ(readFile(folder / "file").value(), bytes) << size;
    }
}

TEST(ReadFileTest, AFileThatTellsNoSizeIsReadToItsEnd)
{
    EXPECT_EQ(readFile("/proc/self/status").value().substr(0, 5), "Name:");
}

TEST(ReadFileTest, AFileOfMoreBytesThanTheLimitIsRefused)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", std::string(10'000, 'x'));
    EXPECT_EQ(readFile(folder / "file", 10'000).value().size(), 10'000U);
    EXPECT_EQ(readFile(folder / "file", 9'999).error().code, EFBIG);
}

TEST(ReadFileTest, TheLimitHoldsAlsoForAFileThatClaimsToBeEmpty)
{
#if defined(__linux__)
    // A quarter of a terabyte, none of it on a disk; its size is said to be 0.
    EXPECT_EQ(readFile("/proc/self/pagemap", 100'000).error().description(), "File too large");
#endif
}

TEST(ReadFileTest, AFailureSaysWhatIsWrong)
{
    const TemporaryFolder folder;
    const auto missing = readFile(folder / "none");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().code, ENOENT);
    EXPECT_EQ(missing.error().description(), "No such file or directory");
    const auto directory = readFile(folder.path());
    ASSERT_FALSE(directory);
    EXPECT_EQ(directory.error().code, EISDIR);
}

TEST(ReadFileTest, RefusesWhatMayNeverEnd)
{
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const std::string& path : { folder / "pipe", std::string("/dev/zero") }) {
        const auto read = readFile(path);
        ASSERT_FALSE(read) << path;
        EXPECT_EQ(read.error().description(), "Not a regular file");
    }
}

TEST(CreateDirectoriesTest, MakesWhatIsMissing)
{
    const TemporaryFolder folder;
    ASSERT_TRUE(createDirectories(folder / "a/b/c"));
    EXPECT_TRUE(isDirectory(folder / "a/b/c"));
    EXPECT_EQ(modeOf(folder / "a"), 0700U);
    EXPECT_EQ(modeOf(folder / "a/b/c"), 0700U);
    EXPECT_TRUE(createDirectories(folder / "a/b/c"));
    EXPECT_TRUE(createDirectories(folder / "a/b/d/"));
    EXPECT_TRUE(createDirectories("/"));
}

TEST(CreateDirectoriesTest, AFileInTheWayIsAFailure)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "");
    const auto onFile = createDirectories(folder / "file");
    ASSERT_FALSE(onFile);
    EXPECT_EQ(onFile.error().code, EEXIST);
    const auto belowFile = createDirectories(folder / "file/below");
    ASSERT_FALSE(belowFile);
    EXPECT_FALSE(belowFile.error().description().empty());
}

} // namespace
} // namespace tessarin
