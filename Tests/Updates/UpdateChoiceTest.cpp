#include "Updates/UpdateChoice.h"

#include "Feeds.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

const UpdateSystem debian{ "linux", "6.1.0-18-amd64" };

// The version and the address of what is chosen, "none" for nothing.
std::string chosenOf(const std::string& items, const std::string& running = "1.0", const UpdateSystem& system = debian)
{
    const auto feed = Appcast::parse(feedOf(items));
    if (!feed) {
        return feed.error().description();
    }
    const auto chosen = UpdateChoice::newest(feed.value(), running, system);
    return chosen ? chosen->item.version + " " + chosen->enclosure.url : "none";
}

TEST(UpdateChoiceTest, TheNewestIsChosenWhereverItStands)
{
    EXPECT_EQ(chosenOf(itemOf("1.9") + itemOf("1.10") + itemOf("1.2")), "1.10 https://example.com/1.10");
}

TEST(UpdateChoiceTest, WhatRunsAndWhatIsOlderIsNeverChosen)
{
    EXPECT_EQ(chosenOf(itemOf("1.0")), "none");
    EXPECT_EQ(chosenOf(itemOf("1.0.0")), "none");
    EXPECT_EQ(chosenOf(itemOf("0.9") + itemOf("1.0b1")), "none");
    EXPECT_EQ(chosenOf(""), "none");
}

TEST(UpdateChoiceTest, OfTwoEqualOnesTheFirstIsChosen)
{
    EXPECT_EQ(chosenOf(itemOf("2.0") + itemOf("2.0.0")), "2.0 https://example.com/2.0");
}

TEST(UpdateChoiceTest, OnlyTheDefaultChannelCounts)
{
    EXPECT_EQ(chosenOf(itemOf("3", "<sparkle:channel>beta</sparkle:channel>") + itemOf("2")), "2 https://example.com/2");
}

TEST(UpdateChoiceTest, AnItemForAnotherSystemDoesNotCount)
{
    EXPECT_EQ(
        chosenOf(itemOf("3", "<sparkle:os>macos</sparkle:os>") + itemOf("2", "<sparkle:os>Linux</sparkle:os>")), "2 https://example.com/2");
}

TEST(UpdateChoiceTest, WhatNamesNoSystemIsForMacOS)
{
    const std::string item = "<item><sparkle:version>2</sparkle:version><enclosure url='u'/></item>";
    EXPECT_EQ(chosenOf(item), "none");
    EXPECT_EQ(chosenOf(item, "1.0", { "macos", "14.0" }), "2 u");
    EXPECT_EQ(chosenOf(itemOf("2"), "1.0", { "macos", "14.0" }), "none");
}

TEST(UpdateChoiceTest, AFileThatNamesNoSystemIsForThatOfItsItem)
{
    const auto itemFor = [](const std::string& os, const std::string& file) {
        return "<item><sparkle:version>2</sparkle:version><sparkle:os>" + os + "</sparkle:os><enclosure url='u'" + file + "/></item>";
    };
    EXPECT_EQ(chosenOf(itemFor("linux", "")), "2 u");
    EXPECT_EQ(chosenOf(itemFor("linux", ""), "1.0", { "macos", "14.0" }), "none");
    EXPECT_EQ(chosenOf(itemFor("linux", " sparkle:os='windows'")), "none");
    EXPECT_EQ(chosenOf(itemFor("windows", " sparkle:os='linux'")), "none");
}

TEST(UpdateChoiceTest, AFileThatNamesThisSystemComesBeforeOneThatNamesNone)
{
    const std::string files
        = "<enclosure url='windows' sparkle:os='windows'/><enclosure url='any'/><enclosure url='first' sparkle:os='linux'/>"
          "<enclosure url='second' sparkle:os='linux'/>";
    EXPECT_EQ(chosenOf("<item><sparkle:version>2</sparkle:version><sparkle:os>linux</sparkle:os>" + files + "</item>"), "2 first");
}

TEST(UpdateChoiceTest, TheStatementHoldsWhatTheFeedSaysAndTheSystemThatItIsFor)
{
    const auto feed
        = Appcast::parse(feedOf("<item><sparkle:version>2</sparkle:version><sparkle:shortVersionString>two</"
                                "sparkle:shortVersionString><enclosure url='u' length='5'"
                                " sparkle:os='LINUX' sparkle:edSignature='archive' tessarin:releaseSignature='release'/></item>"));
    const auto chosen = UpdateChoice::newest(feed.value(), "1.0", debian);
    ASSERT_TRUE(chosen);
    EXPECT_EQ(chosen->statement(), (ReleaseStatement{ "2", "two", "linux", 5, "archive", "release" }));
}

TEST(UpdateChoiceTest, AnItemWithFilesForOtherSystemsOnlyDoesNotCount)
{
    EXPECT_EQ(chosenOf("<item><sparkle:version>2</sparkle:version><enclosure url='u' sparkle:os='windows'/></item>"), "none");
    EXPECT_EQ(chosenOf("<item><sparkle:version>2</sparkle:version><enclosure url=''/></item>"), "none");
}

TEST(UpdateChoiceTest, TheMinimumOfTheSystemIsKept)
{
    const auto minimum
        = [](const std::string& version) { return "<sparkle:minimumSystemVersion>" + version + "</sparkle:minimumSystemVersion>"; };
    EXPECT_EQ(chosenOf(itemOf("3", minimum("6.2")) + itemOf("2", minimum("6.1"))), "2 https://example.com/2");
    EXPECT_EQ(chosenOf(itemOf("3", minimum("6.1")) + itemOf("2"), "1.0", { "linux", "" }), "2 https://example.com/2");
}

TEST(UpdateChoiceTest, ThisSystemHasANameAndAVersion)
{
    const UpdateSystem system = UpdateSystem::current();
#if defined(__APPLE__)
    EXPECT_EQ(system.os, "macos");
#else
    EXPECT_EQ(system.os, "linux");
    EXPECT_FALSE(system.version.empty());
#endif
}

} // namespace
} // namespace tessarin
