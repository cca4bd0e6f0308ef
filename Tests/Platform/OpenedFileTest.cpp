#include "Platform/OpenedFile.h"

#include "Platform/FileExtension.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tessarin
{

namespace
{

class OpenedFileTest : public testing::Test
{
protected:
    [[nodiscard]] std::string path() const { return m_folder / "file"; }
    static std::string read(const OpenedFile& file, std::uint64_t offset, std::size_t count)
    {
        std::string bytes(count, '?');
        return file.read(offset, bytes.data(), count) ? bytes : "failed";
    }

    TemporaryFolder m_folder;
};

TEST_F(OpenedFileTest, PartsAreReadInAnyOrder)
{
    writeWholeFile(path(), "abcdef");
    const auto file = OpenedFile::open(path());
    ASSERT_TRUE(file);
    EXPECT_EQ(file.value().size(), 6U);
    EXPECT_EQ(read(file.value(), 3, 3), "def");
    EXPECT_EQ(read(file.value(), 0, 2), "ab");
    EXPECT_EQ(read(file.value(), 6, 0), "");
}

TEST_F(OpenedFileTest, ReadingBeyondTheEndFails)
{
    writeWholeFile(path(), "abcdef");
    const auto file = OpenedFile::open(path());
    ASSERT_TRUE(file);
    EXPECT_EQ(read(file.value(), 4, 3), "failed");
    std::filesystem::resize_file(path(), 2);
    EXPECT_EQ(file.value().size(), 6U) << "as it was";
    EXPECT_EQ(read(file.value(), 0, 6), "failed");
    EXPECT_EQ(read(file.value(), 0, 2), "ab");
}

TEST_F(OpenedFileTest, WhatWasOpenedStaysWhenItsNameIsGivenAway)
{
    writeWholeFile(path(), "first");
    const auto file = OpenedFile::open(path());
    ASSERT_TRUE(file);
    writeWholeFile(m_folder / "other", "other");
    std::filesystem::rename(m_folder / "other", path());
    EXPECT_EQ(read(file.value(), 0, 5), "first");
}

TEST_F(OpenedFileTest, OnlyRegularFilesAreOpenedAndLinksToThem)
{
    EXPECT_EQ(OpenedFile::open(m_folder / "none").error().code, ENOENT);
    EXPECT_FALSE(OpenedFile::open(m_folder.path()));
    EXPECT_FALSE(OpenedFile::open("/dev/zero"));
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(OpenedFile::open(m_folder / "pipe"));
    writeWholeFile(path(), "x");
    std::filesystem::create_symlink(path(), m_folder / "link");
    EXPECT_TRUE(OpenedFile::open(m_folder / "link"));
}

TEST(FileExtensionTest, IsWhatStandsBehindTheLastDotInLowerCase)
{
    EXPECT_EQ(lowerCasedExtension("/a/b.PNG"), "png");
    EXPECT_EQ(lowerCasedExtension("b.tar.gz"), "gz");
    EXPECT_EQ(lowerCasedExtension("/a.png/b"), "");
    EXPECT_EQ(lowerCasedExtension("/a/b.png/"), "png");
    EXPECT_EQ(lowerCasedExtension(".png"), "");
    EXPECT_EQ(lowerCasedExtension("b."), "");
    EXPECT_EQ(lowerCasedExtension(""), "");
}

} // namespace

} // namespace tessarin
