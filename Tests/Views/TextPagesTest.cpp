#include "Views/TextPages.h"

#include "Printing.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <random>

namespace tessarin
{

namespace
{

// The blocks of a page, for good.
BlockListModel* page(TextPages& pages, int index)
{
    static QObject reader;
    return pages.takeBlocks(index, &reader);
}

QList<TextBlock> allBlocks(TextPages& pages)
{
    QList<TextBlock> blocks;
    for (int index = 0; index < pages.count(); ++index) {
        blocks += page(pages, index)->blocks();
    }
    return blocks;
}

std::string sample()
{
    std::string text
        = "# Findings\n\nTwo **bold** words and `inline`, see [here].\n\n- one\n- two\n\n  more\n\n```cpp\nint answer = 42;\n```\n\n"
          "| a | b |\n|---|---|\n| 1 | 2 |\n\n> said\n\n1. x\n\n2. y\n\n";
    for (int i = 0; i < 200; ++i) {
        text += "Paragraph number " + std::to_string(i) + " with some words in it.\n\n";
    }
    return text + "[here]: https://example.org/\n\nThe end";
}

TEST(TextPages, GrowingGivesTheSameBlocksAsTheWholeText)
{
    const std::string text = sample();
    TextPages whole(TextPages::Markdown);
    whole.setText(text);
    std::mt19937 random(1);
    for (const std::size_t most : { 3U, 40U, 3000U }) {
        TextPages grown(TextPages::Markdown);
        for (std::size_t size = 1; size < text.size(); size += 1 + random() % most) {
            grown.growText(std::string_view(text).substr(0, size));
        }
        grown.growText(text);
        EXPECT_TRUE(allBlocks(grown) == allBlocks(whole)) << most;
        EXPECT_EQ(grown.count(), whole.count());
    }
}

TEST(TextPages, ABlockThatBecomesAnotherKindIsAnotherRow)
{
    TextPages pages(TextPages::Markdown);
    pages.growText("Before.\n\n| file |");
    BlockListModel* blocks = page(pages, 0);
    ASSERT_EQ(blocks->rowCount(), 2);
    QSignalSpy removed(blocks, &BlockListModel::rowsRemoved);
    QSignalSpy inserted(blocks, &BlockListModel::rowsInserted);
    pages.growText("Before.\n\n| file |\n|---|\n| notes |");
    EXPECT_EQ(blocks->blocks().back().kind, BlockKind::Table);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][1].toInt(), 1);
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 1);
    pages.growText("Before.\n\n| file |\n|---|\n| notes |\n| more |");
    EXPECT_EQ(inserted.count(), 1);
}

TEST(TextPages, ALinkDefinedLaterIsALinkEverywhere)
{
    TextPages pages(TextPages::Markdown);
    pages.setText("see [here] now\n\nwords\n\n");
    EXPECT_EQ(allBlocks(pages)[0].content.runs.size(), 1);
    pages.growText("see [here] now\n\nwords\n\n[here]: https://example.org/\n");
    ASSERT_EQ(allBlocks(pages).size(), 2);
    EXPECT_EQ(allBlocks(pages)[0].content.runs[1].link, "https://example.org/");
}

TEST(TextPages, OnlyTheLastBlockChangesWhileTheTextGrows)
{
    std::string text = sample();
    TextPages pages(TextPages::Markdown);
    pages.setText(text);
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (int row = 0; row < pages.count(); ++row) {
        spies.push_back(std::make_unique<QSignalSpy>(page(pages, row), &QAbstractItemModel::dataChanged));
    }
    text += " grows";
    pages.growText(text);
    for (int row = 0; row + 1 < pages.count(); ++row) {
        EXPECT_EQ(spies[static_cast<std::size_t>(row)]->count(), 0) << row;
    }
    ASSERT_EQ(spies.back()->count(), 1);
    EXPECT_EQ((*spies.back())[0][0].toModelIndex().row(), page(pages, pages.count() - 1)->rowCount() - 1);
}

TEST(TextPages, ALongTextHasManyPages)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    EXPECT_GE(pages.count(), 2);
    std::string code = "```cpp\n";
    while (code.size() < 100000) {
        code += "int answer = 42;\n";
    }
    pages.setText(code + "```\n");
    EXPECT_GE(pages.count(), 10);
}

TEST(TextPages, BlocksAreThereForThePagesThatAreTakenAndGoWithTheLastTaker)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    const auto first = std::make_unique<QObject>();
    auto second = std::make_unique<QObject>();
    QPointer<BlockListModel> blocks = pages.takeBlocks(1, first.get());
    ASSERT_NE(blocks, nullptr);
    EXPECT_EQ(pages.takeBlocks(1, second.get()), blocks);
    second.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_NE(blocks, nullptr);
    pages.growText(sample() + " with more");
    EXPECT_TRUE(allBlocks(pages).back().content.plainText().endsWith("with more"));
    EXPECT_EQ(pages.takeBlocks(-1, first.get()), nullptr);
    EXPECT_EQ(pages.takeBlocks(pages.count(), first.get()), nullptr);
}

TEST(TextPages, BlocksThatNobodyHasAnyMoreAreMadeAgainWhenTheyAreTaken)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    auto taker = std::make_unique<QObject>();
    const QPointer<BlockListModel> blocks = pages.takeBlocks(1, taker.get());
    const QList<TextBlock> before = blocks->blocks();
    const int gap = blocks->index(0).data(BlockListModel::GapRole).toInt();
    taker.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(blocks, nullptr);
    EXPECT_TRUE(page(pages, 1)->blocks() == before);
    EXPECT_EQ(page(pages, 1)->index(0).data(BlockListModel::GapRole).toInt(), gap);
}

TEST(TextPages, BlocksOfATextThatBecomesShorterGoWithTheirPages)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    auto taker = std::make_unique<QObject>();
    const QPointer<BlockListModel> blocks = pages.takeBlocks(1, taker.get());
    pages.setText("short");
    EXPECT_EQ(blocks, nullptr);
    pages.setText(sample());
    const QPointer<BlockListModel> again = page(pages, 1);
    taker.reset(); // of blocks that are gone
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_NE(again, nullptr);
}

TEST(TextPages, CodeThatIsLaidOutInPiecesIsCopiedWhole)
{
    std::string code;
    while (code.size() < 50000) {
        code += "int answer = " + std::to_string(code.size()) + ";\n";
    }
    TextPages pages(TextPages::Markdown);
    pages.setText("before\n\n```cpp\n" + code + "```\n\nafter\n\n```\nother\n```\n");
    EXPECT_EQ(pages.code(0, 1).toStdString() + "\n", code);
    const QList<TextBlock> blocks = allBlocks(pages);
    EXPECT_FALSE(blocks[1].isContinued);
    EXPECT_TRUE(blocks[2].isContinued);
    EXPECT_EQ(blocks.back().content.plainText(), "other");
    EXPECT_FALSE(blocks.back().isContinued);
}

// Words without a line end.
std::string endlessLine()
{
    std::string line = "0. begins";
    for (int word = 1; line.size() < 50000; ++word) {
        line += word % 500 < 100 ? "solid" + std::to_string(word) : " " + std::to_string(word) + ". - # word";
    }
    return line;
}

TEST(TextPages, ACodeLineThatIsLaidOutInPiecesIsCopiedWhole)
{
    const std::string line = endlessLine();
    TextPages pages(TextPages::Markdown);
    pages.setText("before\n\n```cpp\n" + line + "\nnext\n```\n\nafter\n");
    EXPECT_EQ(pages.code(0, 1).toStdString(), line + "\nnext");
    const QList<TextBlock> blocks = allBlocks(pages);
    ASSERT_GT(blocks.size(), 10);
    EXPECT_FALSE(blocks[1].isContinued);
    EXPECT_TRUE(blocks[1].isEndless);
    EXPECT_TRUE(blocks[2].isContinued && blocks[2].isEndless);
    const TextBlock& next = blocks[blocks.size() - 2];
    EXPECT_EQ(next.content.plainText(), "next");
    EXPECT_TRUE(next.isContinued);
    EXPECT_FALSE(next.isEndless);
    EXPECT_EQ(next.joint, "\n");
}

TEST(TextPages, AFenceThatEndsWithALongLineLeavesNoEmptyBlock)
{
    const std::string line = endlessLine();
    TextPages pages(TextPages::Markdown);
    pages.setText("```\n" + line + "\n```\n\nafter");
    const QList<TextBlock> blocks = allBlocks(pages);
    for (const TextBlock& block : blocks) {
        EXPECT_FALSE(block.content.plainText().isEmpty());
    }
    EXPECT_EQ(blocks.back().content.plainText(), "after");
    EXPECT_FALSE(blocks.back().isContinued);
    EXPECT_EQ(pages.code(0, 0).toStdString(), line);
    pages.setText("```\n" + line + "\n\n```\n\nafter");
    EXPECT_EQ(pages.code(0, 0).toStdString(), line + "\n") << "an empty line is a line";
}

TEST(TextPages, AnEndlessParagraphIsReadAsOne)
{
    const std::string line = endlessLine();
    TextPages pages(TextPages::Markdown);
    pages.setText("before\n\n" + line);
    const QList<TextBlock> blocks = allBlocks(pages).mid(1);
    ASSERT_GT(blocks.size(), 10);
    QString whole;
    for (const TextBlock& block : blocks) {
        EXPECT_EQ(block.kind, BlockKind::Paragraph);
        EXPECT_EQ(block.isContinued, &block != &blocks.front());
        whole += (block.isContinued ? block.joint : QString()) + block.content.plainText();
    }
    // The first piece is an item, as its begin says.
    EXPECT_EQ(blocks.front().marker, "0.");
    EXPECT_EQ("0. " + whole.toStdString(), line);
}

TEST(TextPages, WhatGoesOnWithinALineStandsCloseAndIsCopiedWithoutALineEnd)
{
    TextPages pages(TextPages::Markdown);
    pages.setText("x" + endlessLine());
    ASSERT_GT(pages.count(), 3);
    for (int at = 1; at < pages.count(); ++at) {
        const QModelIndex first = page(pages, at)->index(0);
        EXPECT_EQ(first.data(BlockListModel::GapRole).toInt(), BlockGap::None);
        EXPECT_TRUE(first.data(BlockListModel::EndlessRole).toBool());
        EXPECT_FALSE(first.data(BlockListModel::SeparatorRole).toString().contains('\n'));
    }
}

TEST(TextPages, OnlyTheLastPieceOfALineChangesWhileItGrows)
{
    std::string text = "x" + endlessLine();
    TextPages pages(TextPages::Markdown);
    pages.setText(text);
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (int row = 0; row < pages.count(); ++row) {
        spies.push_back(std::make_unique<QSignalSpy>(page(pages, row), &QAbstractItemModel::dataChanged));
    }
    const int before = pages.count();
    text += " grows";
    pages.growText(text);
    ASSERT_EQ(pages.count(), before);
    for (int row = 0; row + 1 < before; ++row) {
        EXPECT_EQ(spies[static_cast<std::size_t>(row)]->count(), 0) << row;
    }
    EXPECT_EQ(spies.back()->count(), 1);
    EXPECT_LE(page(pages, before - 1)->blocks().back().content.plainText().size(), static_cast<qsizetype>(2 * TextSegments::lineByteLimit));
}

TEST(TextPages, ATextThatIsReplacedIsLaidOutAnew)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    pages.setText("something else");
    ASSERT_EQ(allBlocks(pages).size(), 1);
    EXPECT_EQ(allBlocks(pages)[0].content.plainText(), "something else");
    EXPECT_EQ(pages.count(), 1);
    pages.setText("");
    EXPECT_TRUE(allBlocks(pages).isEmpty());
}

TEST(TextPages, ATextThatIsSetAgainWithMoreOnlyGrows)
{
    const std::string text = sample();
    TextPages pages(TextPages::Plain);
    pages.setText(text);
    const QSignalSpy first(page(pages, 0), &QAbstractItemModel::dataChanged);
    pages.setText(text + text);
    EXPECT_EQ(first.count(), 0);
    QString whole;
    for (const TextBlock& block : allBlocks(pages)) {
        whole += (whole.isEmpty() ? "" : "\n") + block.content.plainText();
    }
    EXPECT_EQ(whole.toStdString(), text + text);
}

TEST(TextPages, APlainTextIsNotRead)
{
    TextPages pages(TextPages::Plain);
    pages.setText("# not a *heading*\n\n- nor a list\n");
    ASSERT_EQ(allBlocks(pages).size(), 1);
    EXPECT_EQ(allBlocks(pages)[0].content.plainText(), "# not a *heading*\n\n- nor a list");
}

TEST(BlockGap, ItemsStandCloserAndHeadingsFurther)
{
    const QList<TextBlock> blocks = [] {
        TextPages pages(TextPages::Markdown);
        pages.setText("intro\n\n# Heading\n\ntext\n\n- a\n- b\n\nend\n");
        return allBlocks(pages);
    }();
    ASSERT_EQ(blocks.size(), 6);
    EXPECT_EQ(BlockGap::above(blocks[0], nullptr), BlockGap::None);
    EXPECT_EQ(BlockGap::above(blocks[1], &blocks[0]), BlockGap::Heading);
    EXPECT_EQ(BlockGap::above(blocks[2], &blocks[1]), BlockGap::Block);
    EXPECT_EQ(BlockGap::above(blocks[3], &blocks[2]), BlockGap::Block);
    EXPECT_EQ(BlockGap::above(blocks[4], &blocks[3]), BlockGap::Item);
    EXPECT_EQ(BlockGap::above(blocks[5], &blocks[4]), BlockGap::Block);
}

TEST(BlockGap, ThePageBeforeCountsForTheFirstBlockOfTheNext)
{
    TextPages pages(TextPages::Markdown);
    pages.setText(sample());
    EXPECT_EQ(page(pages, 0)->index(0).data(BlockListModel::GapRole).toInt(), BlockGap::None);
    EXPECT_EQ(page(pages, 1)->index(0).data(BlockListModel::GapRole).toInt(), BlockGap::Block);
}

} // namespace

} // namespace tessarin
