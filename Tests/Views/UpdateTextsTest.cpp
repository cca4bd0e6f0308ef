#include "Views/UpdateTexts.h"

#include <gtest/gtest.h>

#include <string>

namespace tessarin
{

namespace
{

QString versionOf(const std::string& shortVersionString)
{
    AppcastItem item;
    item.version = "200";
    item.shortVersionString = shortVersionString;
    return UpdateTexts::version(item);
}

QString notesWithLink(const std::string& link)
{
    AppcastItem item;
    item.releaseNotesLink = link;
    return UpdateTexts::notes(item);
}

TEST(UpdateTextsTest, WhatTurnsAVersionAroundOrIsInvisibleInItIsShownByItsName)
{
    EXPECT_EQ(versionOf("2.0 \u202Eatad"), "2.0 ‹U+202E›atad");
    EXPECT_EQ(versionOf("2\u200B.0"), "2‹U+200B›.0");
    EXPECT_EQ(versionOf("2.0\x1B[2J"), "2.0‹ESC›[2J");
    EXPECT_EQ(versionOf(""), "200");
}

TEST(UpdateTextsTest, AVersionIsOneLineAndNotLong)
{
    EXPECT_EQ(versionOf("2.0\nsecond"), "2.0");
    EXPECT_EQ(versionOf(std::string(5000, '2')), QString(24, '2'));
    std::string turned;
    for (int i = 0; i < 100; ++i) {
        turned += "\u202E";
    }
    EXPECT_EQ(versionOf(turned), "‹U+202E›‹U+202E›‹U+202E›") << "a name counts as long as it is";
}

TEST(UpdateTextsTest, ALinkThatIsTooLongToBeReadIsLeftOut)
{
    const std::string start = "https://example.com/";
    EXPECT_EQ(notesWithLink(start + std::string(500 - start.size(), 'x')).size(), 508);
    EXPECT_EQ(notesWithLink(start + std::string(501 - start.size(), 'x')), "");
    EXPECT_EQ(notesWithLink(start + std::string(3'500'000, 'x')), "");
    std::string encoded = start; // three times as long as it is shown
    for (int i = 0; i < 100; ++i) {
        encoded += "é";
    }
    EXPECT_EQ(notesWithLink(encoded), "");
}

TEST(UpdateTextsTest, ALinkIsShownSoThatNothingInItTurnsAround)
{
    EXPECT_EQ(notesWithLink("https://example.com/\u202Egpj"), "More at https://example.com/%E2%80%AEgpj");
    EXPECT_EQ(notesWithLink("http://example.com/"), "");
}

} // namespace

} // namespace tessarin
