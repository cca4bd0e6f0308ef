#include "Views/OutputPages.h"

#include "Views/EntryListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class OutputPagesTest : public testing::Test
{
protected:
    OutputPagesTest() : model([this]() -> const std::vector<ChatEntry>& { return entries; }) { }

    void print(std::string text)
    {
        entries = { ChatEntry::make(ChatEntryKind::tool, std::move(text)) };
        model.noteReset();
        pages.setProperty("entries", QVariant::fromValue(&model));
        pages.setProperty("row", 0);
        pages.componentComplete();
    }
    void replace(std::string text)
    {
        entries[0].text = std::move(text);
        model.noteChanged(0);
        model.flush();
    }
    [[nodiscard]] std::string pageText(int row) const
    {
        return pages.index(row).data(OutputPages::ContentRole).value<StyledRuns>().plainText().toStdString();
    }
    [[nodiscard]] bool isContinued(int row) const { return pages.index(row).data(OutputPages::ContinuedRole).toBool(); }
    // All pages as they are read one below the other.
    [[nodiscard]] std::string joined() const
    {
        std::string text;
        for (int row = 0; row < pages.rowCount(); ++row) {
            text += (row == 0 || isContinued(row) ? "" : "\n") + pageText(row);
        }
        return text;
    }
    [[nodiscard]] static std::string lines(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "line " + std::to_string(i) + "\n";
        }
        return text;
    }

    std::vector<ChatEntry> entries;
    EntryListModel model;
    OutputPages pages;
    const QAbstractItemModelTester tester{ &pages, QAbstractItemModelTester::FailureReportingMode::Fatal };
};

TEST_F(OutputPagesTest, AShortOutputIsOnePage)
{
    print("one\ntwo\n");
    EXPECT_EQ(pages.rowCount(), 1);
    EXPECT_EQ(pageText(0), "one\ntwo");
    EXPECT_EQ(pages.lineCount(), 2);
}

TEST_F(OutputPagesTest, PagesTogetherAreTheWholeOutput)
{
    const std::string text = lines(5000) + "the end";
    print(text);
    EXPECT_GT(pages.rowCount(), 3);
    EXPECT_EQ(joined(), text);
    EXPECT_EQ(pages.wholeText().toStdString(), text);
    EXPECT_EQ(pages.lineCount(), OutputPages::mostCountedLines);
}

TEST_F(OutputPagesTest, AnEndlessLineGoesOnFromPageToPage)
{
    const std::string text(100'000, 'x');
    print(text);
    EXPECT_GT(pages.rowCount(), 3);
    EXPECT_FALSE(isContinued(0));
    EXPECT_TRUE(isContinued(1));
    EXPECT_TRUE(pages.isEndless(0) && pages.isEndless(1) && pages.isEndless(pages.rowCount() - 1));
    EXPECT_EQ(joined(), text);
    EXPECT_EQ(pages.lineCount(), OutputPages::mostCountedLines) << "it is wrapped";
}

TEST_F(OutputPagesTest, OnlyTheLineThatIsTooLongIsWrapped)
{
    const std::string lineThatFits(2 * TextSegments::lineByteLimit - 1, 'x');
    print(lineThatFits + "\nbefore\n" + std::string(100'000, 'y') + "\n" + lineThatFits + "\nafter\n");
    const int last = pages.rowCount() - 1;
    ASSERT_GT(last, 10);
    EXPECT_FALSE(pages.isEndless(0));
    EXPECT_EQ(pageText(0), lineThatFits + "\nbefore");
    for (int page = 1; page < last; ++page) {
        EXPECT_TRUE(pages.isEndless(page)) << page;
        EXPECT_LE(pageText(page).size(), 2 * TextSegments::lineByteLimit);
        EXPECT_TRUE(pages.index(page).data(OutputPages::EndlessRole).toBool());
    }
    EXPECT_FALSE(pages.isEndless(last));
    EXPECT_EQ(pageText(last), lineThatFits + "\nafter");
}

TEST_F(OutputPagesTest, OutputThatIsReplacedByMoreOrLessIsReadAnew)
{
    print(lines(3000));
    const int before = pages.rowCount();
    const QSignalSpy resets(&pages, &QAbstractItemModel::modelReset);
    replace(lines(9000));
    EXPECT_GT(pages.rowCount(), before);
    EXPECT_EQ(joined() + "\n", lines(9000));
    replace("short");
    EXPECT_TRUE(QTest::qWaitFor([this] { return pages.rowCount() == 1; }));
    EXPECT_EQ(joined(), "short");
    EXPECT_EQ(pages.lineCount(), 1);
    EXPECT_TRUE(resets.isEmpty());
}

TEST_F(OutputPagesTest, ALongOutputThatIsReplacedAgainAndAgainIsReadNoOftenerThanItCanBe)
{
    print(lines(3000));
    QSignalSpy changes(&pages, &QAbstractItemModel::dataChanged);
    for (int time = 0; time < 20; ++time) {
        replace("time " + std::to_string(time) + "\n" + lines(3000));
    }
    EXPECT_EQ(changes.size(), 1) << "the first at once";
    EXPECT_TRUE(pageText(0).starts_with("time 19")) << "what is asked for is as it is now";
    ASSERT_TRUE(changes.wait());
    EXPECT_EQ(changes.size(), 2);
    EXPECT_EQ(joined() + "\n", "time 19\n" + lines(3000));
    EXPECT_FALSE(changes.wait(2 * OutputPages::pauseMilliseconds)) << "nothing has come since";
}

TEST_F(OutputPagesTest, AShortOutputThatIsReplacedIsReadAtOnce)
{
    print("begin");
    for (int time = 0; time < 20; ++time) {
        replace("time " + std::to_string(time));
        EXPECT_EQ(pageText(0), "time " + std::to_string(time));
    }
    replace("one\ntwo\nthree");
    EXPECT_EQ(pages.lineCount(), 3);
}

TEST_F(OutputPagesTest, OnlyTheOpenPageChangesWhileTheOutputGrows)
{
    print(lines(3000));
    const int before = pages.rowCount();
    QSignalSpy changes(&pages, &QAbstractItemModel::dataChanged);
    entries[0].text += lines(3000);
    model.noteTextAppended(0);
    model.flush();
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), before - 1);
    EXPECT_EQ(joined() + "\n", lines(3000) + lines(3000));
}

TEST_F(OutputPagesTest, APageIsReadWhenItIsAskedForAlsoWhenTheTextHasJustBecomeShorter)
{
    print(lines(5000));
    entries[0].text = "short";
    EXPECT_EQ(pageText(pages.rowCount() - 1), "");
    EXPECT_EQ(pageText(0), "short");
}

} // namespace

} // namespace tessarin
