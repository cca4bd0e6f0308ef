#include "Updates/InstallRecord.h"

#include "TemporaryFolder.h"
#include "TroubledDisk.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;

class InstallRecordTest : public testing::Test
{
protected:
    const TemporaryFolder folder;
    const std::string path = folder / "updates/installed.json";
    const InstallRecord record{ path };
    const InstallTraces traces{ InstallTraces::Previous{ 2, { 1234, -56'789'012'345 } }, Uuid::random() };
};

TEST_F(InstallRecordTest, WhatIsNotedIsThereForTheNextStart)
{
    ASSERT_TRUE(record.setTraces("/a", traces));
    EXPECT_EQ(InstallRecord(path).traces("/a"), traces);
    EXPECT_EQ(modeOf(path), 0600U);
    const InstallTraces less{ std::nullopt, traces.unfinished };
    ASSERT_TRUE(record.setTraces("/a", less));
    EXPECT_EQ(record.traces("/a"), less);
}

TEST_F(InstallRecordTest, EachProgramHasItsOwnWhateverItsPathIs)
{
    const std::string odd = "/\xFF\"\n%41";
    ASSERT_TRUE(record.setTraces(odd, traces));
    ASSERT_TRUE(record.setTraces("/\xFF\"\nA", { std::nullopt, Uuid() }));
    EXPECT_EQ(record.traces(odd), traces);
    EXPECT_EQ(record.traces("/other"), InstallTraces());
    ASSERT_TRUE(record.setTraces("/\xFF\"\nA", {}));
    EXPECT_EQ(record.traces(odd), traces);
}

TEST_F(InstallRecordTest, WithNothingToNoteThereIsNoFile)
{
    ASSERT_TRUE(record.setTraces("/a", {}));
    ASSERT_TRUE(record.setTraces("/a", traces));
    ASSERT_TRUE(record.setTraces("/a", {}));
    EXPECT_TRUE(namesIn(folder / "updates").empty());
}

TEST_F(InstallRecordTest, WhatCannotBeReadCountsAsNothingAndIsReplaced)
{
    fs::create_directory(folder / "updates");
    for (const char* text : { "", "[]", "{\"/a\":1}", "{\"/a\":{\"previous\":1,\"unfinished\":\"../x\"}}",
             "{\"/a\":{\"previous\":{\"number\":0,\"size\":1,\"modified\":1}}}",
             "{\"/a\":{\"previous\":{\"number\":1,\"size\":-1,\"modified\":1}}}", "{\"/a\":{\"previous\":{\"number\":1,\"size\":1}}}",
             "{\"/a\":{\"previous\":{\"number\":4294967297,\"size\":1,\"modified\":1}}}" }) {
        writeWholeFile(path, text);
        EXPECT_EQ(record.traces("/a"), InstallTraces()) << text;
    }
    ASSERT_TRUE(record.setTraces("/a", traces));
    EXPECT_EQ(record.traces("/a"), traces);
}

TEST_F(InstallRecordTest, WhatCannotBeNotedIsToldWithTheReason)
{
    writeWholeFile(folder / "updates", "a file");
    const auto noted = record.setTraces("/a", traces);
    ASSERT_FALSE(noted);
    EXPECT_EQ(noted.error().description(), "File exists");
}

TEST_F(InstallRecordTest, AFileIsKnownByItsSizeAndItsTime)
{
    const std::string file = folder / "file";
    EXPECT_FALSE(NotedFile::at(file));
    writeWholeFile(file, "abc");
    const auto noted = NotedFile::at(file);
    ASSERT_TRUE(noted);
    EXPECT_EQ(noted->size, 3U);
    fs::create_hard_link(file, folder / "link");
    EXPECT_EQ(NotedFile::at(folder / "link"), noted);
    fs::last_write_time(file, fs::last_write_time(file) + std::chrono::seconds(2));
    EXPECT_NE(NotedFile::at(file), noted);
}

TEST_F(InstallRecordTest, WhatIsNoRegularFileIsNotKnown)
{
    writeWholeFile(folder / "file", "abc");
    fs::create_symlink(folder / "file", folder / "link");
    EXPECT_FALSE(NotedFile::at(folder / "link"));
    EXPECT_FALSE(NotedFile::at(folder.path()));
}

} // namespace
} // namespace tessarin
