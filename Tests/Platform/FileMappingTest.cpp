#include "Platform/FileMapping.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

class FileMappingTest : public testing::Test
{
protected:
    FileMappingTest() { writeWholeFile(path, bytes); }

    const TemporaryFolder folder;
    const std::string path = folder / "file";
    const std::string bytes = std::string(100'000, 'x') + "end";
};

TEST_F(FileMappingTest, HoldsTheBytesOfTheFileAlsoAfterTheirMemoryWasGivenBack)
{
    const auto mapping = FileMapping::ofSameBytes(path, bytes);
    ASSERT_NE(mapping, nullptr);
    EXPECT_EQ(mapping->bytes(), bytes);
    mapping->release();
    EXPECT_EQ(mapping->bytes(), bytes);
    EXPECT_TRUE(mapping->isUnchanged());
}

TEST_F(FileMappingTest, OutlivesTheNameOfTheFile)
{
    const auto mapping = FileMapping::ofSameBytes(path, bytes);
    ASSERT_NE(mapping, nullptr);
    writeWholeFile(folder / "other", "other");
    std::filesystem::rename(folder / "other", path);
    EXPECT_TRUE(mapping->isUnchanged());
    EXPECT_EQ(mapping->bytes(), bytes);
}

TEST_F(FileMappingTest, KnowsThatTheFileWasWrittenInto)
{
    const auto mapping = FileMapping::ofSameBytes(path, bytes);
    ASSERT_NE(mapping, nullptr);
    writeWholeFile(path, bytes + "more");
    EXPECT_FALSE(mapping->isUnchanged());
}

TEST_F(FileMappingTest, IsOfTheSameBytesOrOfNone)
{
    EXPECT_EQ(FileMapping::ofSameBytes(path, bytes + "x"), nullptr);
    EXPECT_EQ(FileMapping::ofSameBytes(path, std::string(bytes.size(), 'x')), nullptr);
    EXPECT_EQ(FileMapping::ofSameBytes(path, ""), nullptr);
    EXPECT_EQ(FileMapping::ofSameBytes(folder / "none", bytes), nullptr);
    EXPECT_EQ(FileMapping::ofSameBytes(folder.path(), bytes), nullptr);
    EXPECT_EQ(FileMapping::ofSameBytes("/dev/zero", std::string(10, '\0')), nullptr);
}

} // namespace
} // namespace tessarin
