#include "Platform/Files.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace tessarin
{
namespace
{

std::string patterned(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<char>(index * 31 % 251);
    }
    return bytes;
}

TEST(ByteRopeTest, HandsOnItsPiecesUncopied)
{
    const auto piece = ByteRope::makePiece("shared");
    ByteRope first;
    first.append(std::string("a-"));
    first.append(piece);
    ByteRope second = first;
    second.append(std::string("-z"));
    second.append(std::string());
    EXPECT_EQ(first.joined(), "a-shared");
    EXPECT_EQ(second.joined(), "a-shared-z");
    EXPECT_EQ(second.size(), 10U);
    EXPECT_EQ(second.pieces().size(), 3U);
    EXPECT_EQ(first.pieces()[1].bytes.data(), second.pieces()[1].bytes.data());
}

TEST(WriteFileTest, ReplacesTheFileWithTheWholeBytes)
{
    const TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "file", ByteRope("first")));
    EXPECT_EQ(wholeFile(folder / "file"), "first");
    ASSERT_TRUE(writeFileAtomically(folder / "file", ByteRope("2")));
    EXPECT_EQ(wholeFile(folder / "file"), "2");
    ASSERT_TRUE(writeFileAtomically(folder / "file", ByteRope()));
    EXPECT_EQ(wholeFile(folder / "file"), "");
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{ "file" });
}

TEST(WriteFileTest, WritesAnyNumberOfPiecesOfAnySize)
{
    const TemporaryFolder folder;
    ByteRope rope;
    for (std::size_t index = 0; index < 3000; ++index) {
        rope.append(patterned(index % 7 == 0 ? 5000 : index % 3));
    }
    rope.append(patterned(9'000'000));
    ASSERT_TRUE(writeFileAtomically(folder / "file", rope));
    EXPECT_EQ(wholeFile(folder / "file"), rope.joined());
}

TEST(WriteFileTest, HasTheModeThatIsGivenWhateverTheMaskOfTheProcess)
{
    const TemporaryFolder folder;
    const mode_t before = umask(0777);
    const auto isWritten
        = writeFileAtomically(folder / "private", ByteRope("x")) && writeFileAtomically(folder / "program", ByteRope("x"), 0755);
    umask(before);
    ASSERT_TRUE(isWritten);
    EXPECT_EQ(modeOf(folder / "private"), 0600U);
    EXPECT_EQ(modeOf(folder / "program"), 0755U);
}

TEST(WriteFileTest, AReaderThatHasTheEarlierFileOpenKeepsIt)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "before");
    std::ifstream reader(folder / "file");
    ASSERT_TRUE(writeFileAtomically(folder / "file", ByteRope("after")));
    std::string text;
    reader >> text;
    EXPECT_EQ(text, "before");
}

TEST(WriteFileTest, TheFolderHasToExist)
{
    const TemporaryFolder folder;
    const auto written = writeFileAtomically(folder / "none/file", ByteRope("x"));
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, ENOENT);
}

TEST(WriteFileTest, AFolderInTheWayIsAFailureThatLeavesNothingBehind)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "file/below");
    EXPECT_FALSE(writeFileAtomically(folder / "file", ByteRope("x")));
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{ "file" });
}

TEST(WriteFileTest, ATooLargeFileLeavesTheEarlierOneAndNoTemporary)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "before");
    {
        const FileSizeLimit limit(100'000);
        ByteRope rope;
        rope.append(patterned(60'000));
        rope.append(patterned(60'000));
        const auto written = writeFileAtomically(folder / "file", rope);
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error().code, EFBIG);
    }
    EXPECT_EQ(wholeFile(folder / "file"), "before");
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{ "file" });
}

TEST(WriteFileTest, AFullDiskLeavesTheEarlierFileAndNoTemporary)
{
    const TemporaryFolder folder;
    const auto findings = onADiskOf(256 * 1024, folder.path(), [&]() -> std::string {
        if (!writeFileAtomically(folder / "file", ByteRope(patterned(150'000)))) {
            return "The first write failed.";
        }
        const auto written = writeFileAtomically(folder / "file", ByteRope(patterned(200'000)));
        if (written || (written.error().code != ENOSPC && written.error().code != EFBIG)) {
            return "The disk was not full.";
        }
        if (wholeFile(folder / "file") != patterned(150'000)) {
            return "The earlier file is gone.";
        }
        if (namesIn(folder.path()) != std::vector<std::string>{ "file" }) {
            return "A temporary file is left.";
        }
        return writeFileAtomically(folder / "file", ByteRope(patterned(50'000))) ? "" : "What fits is not written afterwards.";
    });
    EXPECT_EQ(findings, "");
}

TEST(WriteFileTest, ATemporaryThatAKilledWriterLeftIsReplaced)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "elsewhere", "kept");
    writeWholeFile(folder / "file.new", patterned(1000));
    ASSERT_TRUE(writeFileAtomicallyThrough(folder / "file.new", folder / "file", ByteRope("x")));
    std::filesystem::create_symlink(folder / "elsewhere", folder / "file.new");
    ASSERT_TRUE(writeFileAtomicallyThrough(folder / "file.new", folder / "file", ByteRope("y")));
    EXPECT_EQ(wholeFile(folder / "file"), "y");
    EXPECT_EQ(wholeFile(folder / "elsewhere"), "kept");
    EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{ "elsewhere", "file" }));
}

TEST(RemoveFileTest, NothingToRemoveIsASuccess)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "x");
    EXPECT_TRUE(removeFile(folder / "file"));
    EXPECT_TRUE(removeFile(folder / "file"));
    EXPECT_FALSE(fileExists(folder / "file"));
    EXPECT_FALSE(removeFile(folder.path()));
}

TEST(KeepFileAsideTest, TheFileStaysUnderBothNamesUntilItIsReplaced)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", "bad");
    ASSERT_TRUE(keepFileAside(folder / "file", folder / "file.aside"));
    EXPECT_EQ(wholeFile(folder / "file"), "bad");
    ASSERT_TRUE(writeFileAtomically(folder / "file", ByteRope("good")));
    EXPECT_EQ(wholeFile(folder / "file"), "good");
    EXPECT_EQ(wholeFile(folder / "file.aside"), "bad");
}

TEST(KeepFileAsideTest, NeverReplacesAnEarlierOne)
{
    const TemporaryFolder folder;
    for (const char* bytes : { "first", "second", "third" }) {
        writeWholeFile(folder / "file", bytes);
        ASSERT_TRUE(keepFileAside(folder / "file", folder / "aside"));
        ASSERT_TRUE(removeFile(folder / "file"));
    }
    EXPECT_EQ(wholeFile(folder / "aside"), "first");
    EXPECT_EQ(wholeFile(folder / "aside-2"), "second");
    EXPECT_EQ(wholeFile(folder / "aside-3"), "third");
}

TEST(KeepFileAsideTest, NoFileIsNothingToKeep)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(keepFileAside(folder / "none", folder / "aside"));
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST(KeepFileAsideTest, NeedsNoSpaceOnAFullDisk)
{
    const TemporaryFolder folder;
    const auto findings = onADiskOf(256 * 1024, folder.path(), [&]() -> std::string {
        writeWholeFile(folder / "file", patterned(150'000));
        if (!keepFileAside(folder / "file", folder / "aside")) {
            return "It is not kept.";
        }
        return wholeFile(folder / "aside") == patterned(150'000) ? "" : "It is not kept whole.";
    });
    EXPECT_EQ(findings, "");
}

#if defined(__linux__)
TEST(KeepFileAsideTest, WithoutLinksItIsACopyThatReplacesNothing)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", patterned(100'000));
    writeWholeFile(folder / "aside", "earlier");
    const auto findings = onADiskWithoutLinks([&]() -> std::string {
        if (link((folder / "file").c_str(), (folder / "other").c_str()) == 0) {
            return "There are links.";
        }
        return keepFileAside(folder / "file", folder / "aside") ? "" : "It is not kept.";
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(wholeFile(folder / "aside"), "earlier");
    EXPECT_EQ(wholeFile(folder / "aside-2"), patterned(100'000));
    EXPECT_EQ(wholeFile(folder / "file"), patterned(100'000));
}

TEST(KeepFileAsideTest, WithoutLinksAndSpaceItIsRenamed)
{
    const TemporaryFolder folder;
    writeWholeFile(folder / "file", patterned(100'000));
    writeWholeFile(folder / "aside", "earlier");
    const auto findings = onADiskWithoutLinks([&]() -> std::string {
        const FileSizeLimit limit(50'000);
        return keepFileAside(folder / "file", folder / "aside") ? "" : "It is not kept.";
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(wholeFile(folder / "aside"), "earlier");
    EXPECT_EQ(wholeFile(folder / "aside-2"), patterned(100'000));
    EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{ "aside", "aside-2" }));
}
#endif

} // namespace
} // namespace tessarin
