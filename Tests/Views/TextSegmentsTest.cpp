#include "Views/TextSegments.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using Format = TextSegments::Format;

std::vector<std::string> pieces(std::string_view text, Format format = Format::markdown)
{
    TextSegments segments(format);
    segments.scan(text);
    std::vector<std::string> out;
    for (std::size_t i = 0; i < segments.begins().size(); ++i) {
        const std::size_t begin = segments.begins()[i];
        const std::size_t end = i + 1 < segments.begins().size() ? segments.begins()[i + 1] : text.size();
        out.emplace_back(text.substr(begin, end - begin));
    }
    return out;
}

using Pieces = std::vector<std::string>;

TEST(TextSegments, CutsBeforeALineAtTheLeftEdgeThatFollowsAnEmptyOne)
{
    EXPECT_EQ(pieces("one\ntwo\n\nthree\n\n\nfour\n"), (Pieces{ "one\ntwo\n\n", "three\n\n\n", "four\n" }));
}

TEST(TextSegments, ALineThatIsNotCompleteIsNotCutOff)
{
    EXPECT_EQ(pieces("one\n\ntw"), (Pieces{ "one\n\ntw" }));
    EXPECT_EQ(pieces("one\n\ntwo\n"), (Pieces{ "one\n\n", "two\n" }));
}

TEST(TextSegments, IndentedLinesBelongToWhatStandsBefore)
{
    EXPECT_EQ(pieces("- item\n\n  more\n\n      code\n"), (Pieces{ "- item\n\n  more\n\n      code\n" }));
}

TEST(TextSegments, DoesNotCutInAFence)
{
    EXPECT_EQ(pieces("```\na\n\nb\n~~~\n\nc\n```\n\nd\n"), (Pieces{ "```\na\n\nb\n~~~\n\nc\n```\n\n", "d\n" }));
    EXPECT_EQ(pieces("````\n```\n\nb\n````\n\nd\n"), (Pieces{ "````\n```\n\nb\n````\n\n", "d\n" }));
}

TEST(TextSegments, ACloserWithWordsBehindItClosesNothing)
{
    EXPECT_EQ(pieces("```\na\n\n``` not yet\n\nb\n"), (Pieces{ "```\na\n\n``` not yet\n\nb\n" }));
}

TEST(TextSegments, InlineCodeWithThreeTicksIsNoFence)
{
    EXPECT_EQ(pieces("``` a ``` b\n\nc\n"), (Pieces{ "``` a ``` b\n\n", "c\n" }));
}

TEST(TextSegments, AFenceOfAnItemEndsWithTheItem)
{
    EXPECT_EQ(pieces("- item\n\n  ```\n  a\n\nnext\n\nlast\n"), (Pieces{ "- item\n\n  ```\n  a\n\n", "next\n\n", "last\n" }));
}

TEST(TextSegments, AnOrderedListThatGoesOnCountingIsOneSegment)
{
    EXPECT_EQ(pieces("1. a\n\n2. b\n\n3. c\n\nend\n"), (Pieces{ "1. a\n\n2. b\n\n3. c\n\n", "end\n" }));
    EXPECT_EQ(pieces("1. a\n\n2) b\n"), (Pieces{ "1. a\n\n", "2) b\n" }));
}

TEST(TextSegments, ALongFenceIsCutBetweenLinesAndRemembersItsOpening)
{
    std::string text = "```cpp\n";
    while (text.size() < 3 * TextSegments::openByteLimit) {
        text += "int answer = 42;\n\n";
    }
    TextSegments segments(Format::markdown);
    segments.scan(text);
    ASSERT_GE(segments.begins().size(), 3U);
    for (std::size_t i = 1; i < segments.begins().size(); ++i) {
        EXPECT_EQ(segments.fenceOpening(i), "```cpp\n");
        EXPECT_EQ(text[segments.begins()[i] - 1], '\n');
    }
}

TEST(TextSegments, AnEndlessLineIsCutAtBlanksAndNeverInACharacter)
{
    std::string words;
    while (words.size() < 5 * TextSegments::openByteLimit) {
        words += "wörter ";
    }
    for (const std::string& piece : pieces(words)) {
        EXPECT_LE(piece.size(), 2 * TextSegments::lineByteLimit + 4);
    }
    EXPECT_TRUE(pieces(words).front().ends_with(' '));
    std::string solid;
    while (solid.size() < 5 * TextSegments::openByteLimit) {
        solid += "日";
    }
    for (const std::string& piece : pieces(solid)) {
        EXPECT_EQ(piece.size() % 3, 0U);
    }
}

TEST(TextSegments, ALineIsCutOnlyWhenItIsLongerThanTwoPieces)
{
    for (const Format format : { Format::markdown, Format::plain }) {
        const std::string line(2 * TextSegments::lineByteLimit - 1, 'x');
        EXPECT_EQ(pieces(line + "\n" + line, format).size(), 1U);
        EXPECT_EQ(pieces("before\n" + line + "xx\n", format).size(), 3U);
        EXPECT_EQ(pieces("before\n" + line + "xx\n", format).front(), "before\n");
    }
}

TEST(TextSegments, WhatFollowsALongLineOfAPlainTextOrOfCodeIsASegmentOfItsOwn)
{
    const std::string line(3 * TextSegments::lineByteLimit - 1, 'x');
    const Pieces plain = pieces(line + "\nafter\n", Format::plain);
    ASSERT_EQ(plain.size(), 3U);
    EXPECT_EQ(plain[2], "after\n");
    EXPECT_EQ(pieces(line + "\n", Format::plain).size(), 2U) << "there is nothing behind it";
    const Pieces code = pieces("```cpp\n" + line + "\nafter\n```\n");
    ASSERT_EQ(code.size(), 3U);
    EXPECT_TRUE(code[0].starts_with("```cpp\nx")) << "no piece is the opening alone";
    EXPECT_EQ(code[2], "after\n```\n");
}

TEST(TextSegments, APlainTextIsCutByItsSizeAlone)
{
    EXPECT_EQ(pieces("a\n\nb\n\nc\n", Format::plain).size(), 1U);
    std::string text;
    while (text.size() < 3 * TextSegments::openByteLimit) {
        text += "a line of output\n";
    }
    const Pieces cut = pieces(text, Format::plain);
    EXPECT_GE(cut.size(), 3U);
    EXPECT_TRUE(cut.front().ends_with('\n'));
}

TEST(TextSegments, TheDefinitionsOfLinksAreGathered)
{
    TextSegments segments(Format::markdown);
    segments.scan("see [a] and [b]\n\n[a]: https://example.org/a\n[b]: https://example.org/b\n```\n[c]: https://example.org/c\n```\n");
    EXPECT_EQ(segments.definitions(), "[a]: https://example.org/a\n[b]: https://example.org/b\n");
}

class SegmentsOfAFormat : public testing::TestWithParam<Format>
{
};

TEST_P(SegmentsOfAFormat, TheCutsDoNotDependOnTheStepsInWhichTheTextGrew)
{
    std::string text = "# Title\n\nwords\nmore\n\n1. a\n\n2. b\n\n```py\n";
    for (int line = 0; line < 2000; ++line) {
        text += "print(1)\n";
    }
    text += "```\n\n- x\n\n  ```\n  y\n\nend " + std::string(30000, 'z') + " of it\n\nlast";
    for (std::size_t line = 0; line < 40; ++line) {
        text += std::string(line * 641 % 20000, 'l') + "\n";
        text += line % 10 == 9 ? "```\n" : "";
    }
    for (std::size_t line = 0; line < 200; ++line) {
        text += std::string(line * 641 % 5000, 'm') + "\n";
    }
    for (const std::size_t step : { 1U, 7U, 1000U, 20000U }) {
        TextSegments grown(GetParam());
        for (std::size_t size = step; size < text.size(); size += step) {
            grown.scan(std::string_view(text).substr(0, size));
        }
        grown.scan(text);
        TextSegments whole(GetParam());
        whole.scan(text);
        ASSERT_EQ(grown.begins().size(), whole.begins().size()) << step;
        for (std::size_t i = 0; i < whole.begins().size(); ++i) {
            EXPECT_EQ(grown.begins()[i], whole.begins()[i]) << step;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(TextSegments, SegmentsOfAFormat, testing::Values(Format::markdown, Format::plain));

} // namespace

} // namespace tessarin
