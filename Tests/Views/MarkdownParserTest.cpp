#include "Views/MarkdownParser.h"

#include "Printing.h"

#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

TextBlock only(std::string_view text)
{
    const QList<TextBlock> blocks = parseMarkdown(text);
    EXPECT_EQ(blocks.size(), 1);
    return blocks.value(0);
}

TextRun run(const char* text)
{
    TextRun plain;
    plain.text = QString::fromUtf8(text);
    return plain;
}

TEST(MarkdownParser, AParagraphKeepsItsStyles)
{
    TextRun strong = run("bold ");
    strong.isStrong = true;
    TextRun both = run("both");
    both.isStrong = true;
    both.isEmphasis = true;
    TextRun code = run("x < y");
    code.isCode = true;
    TextRun struck = run("gone");
    struck.isStruck = true;
    TextRun link = run("there");
    link.link = "https://example.org/";
    const TextBlock block = only("A **bold *both*** `x < y` ~~gone~~ [there](https://example.org/).");
    EXPECT_EQ(block.kind, BlockKind::Paragraph);
    EXPECT_EQ(block.content.runs, (QList<TextRun>{ run("A "), strong, both, run(" "), code, run(" "), struck, run(" "), link, run(".") }));
}

TEST(MarkdownParser, LinesOfAParagraphAreJoinedAndAHardBreakIsKept)
{
    EXPECT_EQ(only("one\ntwo").content.plainText(), "one two");
    EXPECT_EQ(only("one  \ntwo").content.plainText(), QString("one") + QChar(QChar::LineSeparator) + "two");
}

TEST(MarkdownParser, HeadingsHaveTheirLevel)
{
    EXPECT_EQ(only("### Third").kind, BlockKind::Heading);
    EXPECT_EQ(only("### Third").level, 3);
    EXPECT_EQ(only("First\n===").level, 1);
}

TEST(MarkdownParser, RawHtmlIsText)
{
    EXPECT_EQ(only("<b>bold</b> <script>alert(1)</script>").content.plainText(), "<b>bold</b> <script>alert(1)</script>");
    EXPECT_EQ(only("<div>\nblock\n</div>").content.plainText(), "<div> block </div>");
}

TEST(MarkdownParser, AnImageIsALinkWithItsText)
{
    const TextBlock block = only("![a chart](https://example.org/chart.png)");
    ASSERT_EQ(block.content.runs.size(), 1);
    EXPECT_EQ(block.content.runs[0].text, "a chart");
    EXPECT_EQ(block.content.runs[0].link, "https://example.org/chart.png");
}

TEST(MarkdownParser, AnImageWithinALinkLeadsWhereTheLinkLeads)
{
    const TextBlock block = only("[![badge](https://img.example/a.svg) ok](https://example.org/)");
    for (const TextRun& part : block.content.runs) {
        EXPECT_EQ(part.link, "https://example.org/");
    }
}

TEST(MarkdownParser, ListsAreFlatAndKnowTheirDepth)
{
    const QList<TextBlock> blocks = parseMarkdown("- one\n- two\n  1. first\n  2. second\n\n     more\n- three\n");
    ASSERT_EQ(blocks.size(), 6);
    const QList<QString> markers{ "•", "•", "1.", "2.", "", "•" };
    const QList<int> depths{ 1, 1, 2, 2, 2, 1 };
    for (int i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i].marker, markers[i]) << i;
        EXPECT_EQ(blocks[i].listDepth, depths[i]) << i;
    }
    EXPECT_EQ(blocks[4].content.plainText(), "more");
}

TEST(MarkdownParser, OrderedListsBeginWhereTheySay)
{
    const QList<TextBlock> blocks = parseMarkdown("7) seven\n8) eight\n");
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_EQ(blocks[0].marker, "7)");
    EXPECT_EQ(blocks[1].marker, "8)");
}

TEST(MarkdownParser, TasksHaveBoxes)
{
    const QList<TextBlock> blocks = parseMarkdown("- [ ] open\n- [x] done\n");
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_EQ(blocks[0].marker, "☐");
    EXPECT_EQ(blocks[1].marker, "☑");
}

TEST(MarkdownParser, AnItemWithoutContentKeepsItsMark)
{
    const QList<TextBlock> blocks = parseMarkdown("- \n- b\n");
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_EQ(blocks[0].marker, "•");
    EXPECT_EQ(blocks[1].content.plainText(), "b");
}

TEST(MarkdownParser, QuotesKnowTheirDepthAndHoldOtherBlocks)
{
    const QList<TextBlock> blocks = parseMarkdown("> said\n>\n> > twice\n>\n> ```py\n> x = 1\n> ```\n");
    ASSERT_EQ(blocks.size(), 3);
    EXPECT_EQ(blocks[0].quoteDepth, 1);
    EXPECT_EQ(blocks[1].quoteDepth, 2);
    EXPECT_EQ(blocks[2].kind, BlockKind::Code);
    EXPECT_EQ(blocks[2].quoteDepth, 1);
}

TEST(MarkdownParser, CodeKeepsItsLinesAndItsLanguage)
{
    const TextBlock block = only("```text\n  a **b**\n\n<c>\n```\n");
    EXPECT_EQ(block.kind, BlockKind::Code);
    EXPECT_EQ(block.language, "text");
    EXPECT_EQ(block.content.plainText(), "  a **b**\n\n<c>");
}

TEST(MarkdownParser, TablesHaveTheirCellsAndAlignments)
{
    const TextBlock block = only("| a | b |\n|:--|--:|\n| 1 | `2` |\n");
    ASSERT_EQ(block.kind, BlockKind::Table);
    EXPECT_EQ(block.table.columns, 2);
    ASSERT_EQ(block.table.count(), 4);
    EXPECT_EQ(block.table.cell(3).plainText(), "2");
    EXPECT_TRUE(block.table.cell(3).runs[0].isCode);
    EXPECT_EQ(block.table.alignment(0), Qt::AlignLeft);
    EXPECT_EQ(block.table.alignment(1), Qt::AlignRight);
    EXPECT_EQ(block.table.cell(4), StyledRuns());
    EXPECT_EQ(only("| a |\n|---|\n").table.alignment(0), 0) << "the text decides";
}

TEST(MarkdownParser, EntitiesAreTheirCharacters)
{
    EXPECT_EQ(only("&lt;a&gt; &amp; &#233; &#x2192; &nosuchthing; &#0; &#xD800; &#99999999;").content.plainText(),
        QString::fromUtf8("<a> & é → &nosuchthing; \uFFFD \uFFFD &#99999999;"));
}

TEST(MarkdownParser, BareAddressesAreLinks)
{
    const TextBlock block = only("see https://example.org/x.");
    ASSERT_EQ(block.content.runs.size(), 3);
    EXPECT_EQ(block.content.runs[1].link, "https://example.org/x");
}

TEST(MarkdownParser, TextThatIsNoMarkdownIsShownAsItStands)
{
    for (const char* text : { "a * b_c ] [ ) `", "**never closed", "[no](target", "\\", "| a |", "&", "<" }) {
        EXPECT_EQ(only(text).content.plainText(), text) << text;
    }
}

TEST(MarkdownParser, NoInputBreaksIt)
{
    EXPECT_TRUE(parseMarkdown("").isEmpty());
    EXPECT_TRUE(parseMarkdown("\n\n \t\n").isEmpty());
    EXPECT_EQ(only(std::string_view("a\0b", 3)).content.plainText(), QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(only("\xff\xfe broken").content.plainText().right(7), " broken");
    EXPECT_FALSE(parseMarkdown(std::string(10000, '>') + "x").isEmpty());
    EXPECT_FALSE(parseMarkdown(std::string(10000, '[')).isEmpty());
    std::string nested;
    for (int depth = 0; depth < 500; ++depth) {
        nested += std::string(static_cast<std::size_t>(depth) * 2, ' ') + "- item\n";
    }
    EXPECT_FALSE(parseMarkdown(nested).isEmpty());
}

TEST(MarkdownParser, APlainBlockIsTheTextItself)
{
    EXPECT_EQ(plainBlock("a **b**\nc").content.plainText(), "a **b**\nc");
    EXPECT_EQ(plainBlock("").content, StyledRuns());
}

} // namespace

} // namespace tessarin
