#include "Platform/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace tessarin
{
namespace
{

TEST(TrimmedTest, TakesWhiteSpaceAndNewlinesOffBothEnds)
{
    EXPECT_EQ(trimmed("  a b \n"), "a b");
    EXPECT_EQ(trimmed("\t\r\n\v\fa\r\n"), "a");
    EXPECT_EQ(trimmed("a"), "a");
}

TEST(TrimmedTest, LeavesNothingOfBlanksAlone)
{
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed(" \n\t "), "");
    EXPECT_EQ(trimmed("\u3000\u00A0"), "");
}

TEST(TrimmedTest, KnowsTheWhiteSpaceOfUnicode)
{
    for (const char* blank : { "\u0085", "\u00A0", "\u1680", "\u2000", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000" }) {
        EXPECT_EQ(trimmed(std::string(blank) + "a" + blank + blank), "a") << blank;
    }
}

TEST(TrimmedTest, KeepsWhatIsNoWhiteSpace)
{
    for (const char* kept : { "é", "\u200D", "\uFEFF", "日", "😀", "\x01", "\xFF", "\x80" }) {
        EXPECT_EQ(trimmed(std::string(" ") + kept + "\n"), kept);
    }
    EXPECT_EQ(trimmed(std::string_view(" \0 ", 3)), std::string_view("\0", 1));
}

TEST(TrimmedTest, DoesNotTakeTheEndOfACharacterForABlank)
{
    // U+00C5 ends in the byte 85, U+0420 in A0: alone both are blanks in other encodings.
    EXPECT_EQ(trimmed("\u00C5"), "\u00C5");
    EXPECT_EQ(trimmed("\u0420 "), "\u0420");
}

TEST(LowerCasedTest, LowersCharacterByCharacter)
{
    EXPECT_EQ(lowerCased("Usage LIMIT 42"), "usage limit 42");
    EXPECT_EQ(lowerCased("ÄÖÜ Σ Я İ"), "äöü σ я i");
    EXPECT_EQ(lowerCased("日本 😀"), "日本 😀");
    EXPECT_EQ(lowerCased("A\xFF\xC3Z"), "a\xFF\xC3z");
    EXPECT_EQ(lowerCased(""), "");
}

TEST(FirstLineTest, EndsBeforeAnyNewlineCharacter)
{
    for (const char* newline : { "\n", "\r", "\r\n", "\v", "\f", "\u0085", "\u2028", "\u2029" }) {
        EXPECT_EQ(firstLine(std::string("a b") + newline + "c" + newline), "a b") << newline;
    }
    EXPECT_EQ(firstLine("no newline"), "no newline");
    EXPECT_EQ(firstLine("\nsecond"), "");
    EXPECT_EQ(firstLine(""), "");
}

TEST(FirstLineTest, DoesNotEndInsideACharacter)
{
    EXPECT_EQ(firstLine("\u2027\u202A\u00C2x"), "\u2027\u202A\u00C2x");
}

TEST(ValidUtf8Test, AcceptsWellFormedTextOnly)
{
    for (const char* valid : { "", "ascii", "é", "\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\uFFFF", "\U00010000", "\U0010FFFF" }) {
        EXPECT_TRUE(isValidUtf8(valid)) << valid;
    }
    for (const char* invalid : { "\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xE2\x82",
             "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
             "\xFE", "\xFF", "ok\xC3" }) {
        EXPECT_FALSE(isValidUtf8(invalid)) << testing::PrintToString(invalid);
    }
}

TEST(ContainsTest, FindsAPartAnywhere)
{
    EXPECT_TRUE(contains("rate limit", "limit"));
    EXPECT_TRUE(contains("a", ""));
    EXPECT_FALSE(contains("rate", "Rate"));
}

TEST(JoinedTest, PutsTheSeparatorBetweenParts)
{
    EXPECT_EQ(joined({}, ", "), "");
    EXPECT_EQ(joined({ "a" }, ", "), "a");
    EXPECT_EQ(joined({ "a", "", "c" }, ", "), "a, , c");
}

} // namespace
} // namespace tessarin
