#include "Views/ImagineListModel.h"

#include "Printing.h"
#include "Views/ImagineFormat.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class ImagineListModelTest : public testing::Test
{
protected:
    ImagineListModelTest() : model([this] { return now; })
    {
        items = { item("Newest", -60), item("Middle", -7200), item("Oldest", -90000) };
        items[1].kind = ImagineKind::video;
        model.setItems(items);
        forget();
    }

    ImagineItem item(const std::string& prompt, double secondsFromNow) const
    {
        ImagineItem made = ImagineItem::make(ImagineKind::image, prompt, "/library/" + prompt + ".png", prompt + ".png");
        made.createdAt = { now.secondsSince2001 + secondsFromNow };
        return made;
    }
    void forget()
    {
        for (QSignalSpy* spy : { &changed, &inserted, &removed, &moved, &reset, &counted }) {
            spy->clear();
        }
    }
    QStringList prompts() const
    {
        QStringList out;
        for (int row = 0; row < model.rowCount(); ++row) {
            out.append(model.index(row).data(ImagineListModel::PromptRole).toString());
        }
        return out;
    }
    QVariant data(int row, int role) const { return model.index(row).data(role); }

    Instant now{ 800000000 };
    std::vector<ImagineItem> items;
    ImagineListModel model;
    QAbstractItemModelTester tester{ &model, QAbstractItemModelTester::FailureReportingMode::Fatal };
    QSignalSpy changed{ &model, &QAbstractItemModel::dataChanged };
    QSignalSpy inserted{ &model, &QAbstractItemModel::rowsInserted };
    QSignalSpy removed{ &model, &QAbstractItemModel::rowsRemoved };
    QSignalSpy moved{ &model, &QAbstractItemModel::rowsMoved };
    QSignalSpy reset{ &model, &QAbstractItemModel::modelReset };
    QSignalSpy counted{ &model, &ImagineListModel::countChanged };
};

TEST_F(ImagineListModelTest, TheCreationsStandInTheOrderOfTheLibrary)
{
    EXPECT_EQ(prompts(), (QStringList{ "Newest", "Middle", "Oldest" }));
    EXPECT_EQ(model.count(), 3);
}

TEST_F(ImagineListModelTest, ARowTellsWhatItsCardShows)
{
    EXPECT_EQ(data(0, ImagineListModel::IdRole).toString().toStdString(), items[0].id.text());
    EXPECT_EQ(data(0, ImagineListModel::CreatedRole).toString(), "1 minute ago");
    EXPECT_EQ(data(0, ImagineListModel::FormatRole).toInt(), ImagineFormat::Image);
    EXPECT_EQ(data(0, ImagineListModel::PicturePathRole).toString(), "/library/Newest.png");
    EXPECT_EQ(data(1, ImagineListModel::CreatedRole).toString(), "2 hours ago");
    EXPECT_EQ(data(1, ImagineListModel::FormatRole).toInt(), ImagineFormat::Video);
    EXPECT_EQ(data(1, ImagineListModel::PicturePathRole).toString(), "") << "no frame of a film is read";
    EXPECT_EQ(data(0, Qt::DisplayRole), QVariant());
    EXPECT_EQ(model.data(model.index(3), ImagineListModel::PromptRole), QVariant());
}

TEST_F(ImagineListModelTest, ANewCreationIsOneNewRow)
{
    items.insert(items.begin(), item("Brand new", 0));
    model.setItems(items);
    EXPECT_EQ(prompts(), (QStringList{ "Brand new", "Newest", "Middle", "Oldest" }));
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 0);
    EXPECT_EQ(inserted[0][2].toInt(), 0);
    EXPECT_EQ(removed.size() + moved.size() + reset.size() + changed.size(), 0);
    EXPECT_EQ(counted.size(), 1);
}

TEST_F(ImagineListModelTest, ACreationThatWentIsOneRowLess)
{
    items.erase(items.begin() + 1);
    model.setItems(items);
    EXPECT_EQ(prompts(), (QStringList{ "Newest", "Oldest" }));
    ASSERT_EQ(removed.size(), 1);
    EXPECT_EQ(removed[0][1].toInt(), 1);
    EXPECT_EQ(inserted.size() + moved.size() + reset.size() + changed.size(), 0);
    EXPECT_EQ(counted.size(), 1);
}

TEST_F(ImagineListModelTest, ALibraryThatIsLoadedComesAsOne)
{
    ImagineListModel fresh([this] { return now; });
    QSignalSpy rows(&fresh, &QAbstractItemModel::rowsInserted);
    fresh.setItems(items);
    EXPECT_EQ(rows.size(), 1);
    EXPECT_EQ(fresh.count(), 3);
}

TEST_F(ImagineListModelTest, AnotherOrderMovesRows)
{
    std::swap(items[0], items[2]);
    model.setItems(items);
    EXPECT_EQ(prompts(), (QStringList{ "Oldest", "Middle", "Newest" }));
    EXPECT_EQ(inserted.size() + removed.size() + reset.size(), 0);
    EXPECT_EQ(counted.size(), 0);
}

TEST_F(ImagineListModelTest, TheSameLibraryAgainTellsNothing)
{
    model.setItems(items);
    EXPECT_EQ(inserted.size() + removed.size() + moved.size() + reset.size() + changed.size() + counted.size(), 0);
}

TEST_F(ImagineListModelTest, AHistoryThatTellsAnIdTwiceKeepsItsRowsRight)
{
    ImagineItem twin = items[1];
    twin.prompt = "Twin";
    const std::vector<std::vector<ImagineItem>> libraries{ { items[0], items[1], twin, items[2] }, { items[0], twin, items[1] },
        { items[1], items[1] }, { twin }, { items[0], items[1], items[1], twin }, {} };
    for (const std::vector<ImagineItem>& library : libraries) {
        model.setItems(library);
        QStringList expected;
        for (const ImagineItem& one : library) {
            expected.append(QString::fromStdString(one.prompt));
        }
        EXPECT_EQ(prompts(), expected);
    }
}

TEST_F(ImagineListModelTest, TimesStayTrueWhileAPersonIsThere)
{
    now.secondsSince2001 += 240;
    model.refreshTimes();
    EXPECT_EQ(data(0, ImagineListModel::CreatedRole).toString(), "5 minutes ago");
    ASSERT_EQ(changed.size(), 1) << "all rows in one";
    EXPECT_EQ(changed[0][2].value<QList<int>>(), QList<int>{ ImagineListModel::CreatedRole });
    now.secondsSince2001 += 4;
    model.refreshTimes();
    EXPECT_EQ(changed.size(), 1) << "within a few seconds nothing is read again";
    now.secondsSince2001 -= 3600; // the clock was set back
    model.refreshTimes();
    EXPECT_EQ(data(0, ImagineListModel::CreatedRole).toString(), "just now");
}

TEST_F(ImagineListModelTest, AnItemIsFoundByItsId)
{
    ASSERT_NE(model.itemWithID(items[2].id), nullptr);
    EXPECT_EQ(*model.itemWithID(items[2].id), items[2]);
    EXPECT_EQ(model.itemWithID(Uuid::random()), nullptr);
}

TEST_F(ImagineListModelTest, ACardLaysOutNoMoreThanTheBeginningOfAPrompt)
{
    const std::string book(1000000, 'w');
    model.setItems({ item(book, 0) });
    EXPECT_EQ(data(0, ImagineListModel::ExcerptRole).toString(), QString(1000, 'w') + QChar(0x2026));
    EXPECT_EQ(data(0, ImagineListModel::PromptRole).toString().size(), 1000000);
}

} // namespace

} // namespace tessarin
