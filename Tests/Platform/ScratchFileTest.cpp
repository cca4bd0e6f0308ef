#include "Platform/ScratchFile.h"

#include "Platform/Uuid.h"
#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <utility>

namespace tessarin
{

namespace
{

class ScratchFileTest : public testing::Test
{
protected:
    const TemporaryFolder m_parent;
    const std::string m_folder = m_parent / "one/two";
};

TEST_F(ScratchFileTest, WhatIsAppendedIsReadInItsOrder)
{
    ScratchFile file = ScratchFile::make(m_folder).value();
    for (const char* part : { "abc", "", "def" }) {
        EXPECT_TRUE(file.append(part));
    }
    const OpenedFile opened = std::move(file).finished();
    EXPECT_EQ(opened.size(), 6U);
    std::string bytes(6, '?');
    EXPECT_TRUE(opened.read(0, bytes.data(), bytes.size()));
    EXPECT_EQ(bytes, "abcdef");
}

TEST_F(ScratchFileTest, NobodyFindsItAndNothingStaysOfIt)
{
    {
        ScratchFile file = ScratchFile::make(m_folder).value();
        EXPECT_TRUE(file.append("abc"));
        EXPECT_TRUE(namesIn(m_folder).empty()) << "while it is there";
    }
    EXPECT_TRUE(namesIn(m_folder).empty());
}

TEST_F(ScratchFileTest, WhatAKilledMakerLeftIsRemovedAndNothingElse)
{
    const auto put = [this](const std::string& name, const std::string& bytes, std::chrono::minutes age) {
        writeWholeFile(m_folder + "/" + name, bytes);
        std::filesystem::last_write_time(m_folder + "/" + name, std::filesystem::file_time_type::clock::now() - age);
    };
    std::filesystem::create_directories(m_folder);
    constexpr std::chrono::hours old{ 1 };
    const auto name = [] { return "." + Uuid::random().text(); };
    put(name(), "", old);
    const std::string fresh = name();
    put(fresh, "", std::chrono::minutes(0));
    const std::string full = name();
    put(full, "the person's", old);
    put("." + Uuid::random().text() + "x", "", old);
    put(Uuid::random().text(), "", old);
    put(".hidden", "", old);
    const std::string folder = name();
    std::filesystem::create_directory(m_folder + "/" + folder);
    ASSERT_EQ(namesIn(m_folder).size(), 7U);
    ScratchFile::removeLeftOvers(m_folder);
    EXPECT_EQ(namesIn(m_folder).size(), 6U);
    for (const std::string& kept : { fresh, full, folder }) {
        EXPECT_TRUE(std::filesystem::exists(m_folder + "/" + kept));
    }
    ScratchFile::removeLeftOvers(m_parent / "nowhere");
    ScratchFile file = ScratchFile::make(m_folder).value();
    ScratchFile::removeLeftOvers(m_folder);
    EXPECT_TRUE(file.append("abc"));
}

TEST_F(ScratchFileTest, ItsFolderIsMadeForThisAccountAlone)
{
    ASSERT_TRUE(ScratchFile::make(m_folder));
    EXPECT_EQ(modeOf(m_folder), 0700U);
}

TEST_F(ScratchFileTest, AFolderThatIsNoneIsToldWithTheReason)
{
    writeWholeFile(m_parent / "file", "");
    const auto inAFile = ScratchFile::make(m_parent / "file");
    ASSERT_FALSE(inAFile);
    EXPECT_EQ(inAFile.error().description(), "File exists");
}

TEST_F(ScratchFileTest, AFullDiskIsToldWithTheReason)
{
    ScratchFile file = ScratchFile::make(m_folder).value();
    const FileSizeLimit limit(1000);
    EXPECT_TRUE(file.append(std::string(1000, 'x')));
    const auto appended = file.append("y");
    ASSERT_FALSE(appended);
    EXPECT_EQ(appended.error().code, EFBIG);
}

} // namespace

} // namespace tessarin
