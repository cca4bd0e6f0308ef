#include "Views/EntryListModel.h"

#include "Printing.h"
#include "Views/MessageRules.h"
#include "Views/Tint.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

class EntryListModelTest : public testing::Test
{
protected:
    EntryListModelTest() : model([this]() -> const std::vector<ChatEntry>& { return entries; }) { }

    void append(ChatEntryKind kind, std::string text)
    {
        entries.push_back(ChatEntry::make(kind, std::move(text)));
        model.noteAppended();
    }
    void grow(std::size_t index, const std::string& more)
    {
        entries[index].text += more;
        model.noteTextAppended(index);
    }
    QVariant data(int row, int role) const { return model.index(row).data(role); }

    std::vector<ChatEntry> entries;
    EntryListModel model;
    QAbstractItemModelTester tester{ &model, QAbstractItemModelTester::FailureReportingMode::Fatal };
    QSignalSpy changed{ &model, &QAbstractItemModel::dataChanged };
    QSignalSpy inserted{ &model, &QAbstractItemModel::rowsInserted };
    QSignalSpy reset{ &model, &QAbstractItemModel::modelReset };
    QSignalSpy textChanged{ &model, &EntryListModel::entryTextChanged };
    QSignalSpy lastChanged{ &model, &EntryListModel::lastTextChanged };
};

TEST_F(EntryListModelTest, RowsOfABurstAreToldTogether)
{
    for (int i = 0; i < 100; ++i) {
        append(ChatEntryKind::assistant, "answer");
    }
    EXPECT_EQ(model.rowCount(), 0);
    model.flush();
    EXPECT_EQ(model.rowCount(), 100);
    EXPECT_EQ(inserted.count(), 1);
}

TEST_F(EntryListModelTest, ManyChunksOfOneRowAreOneChange)
{
    append(ChatEntryKind::user, "mend it");
    append(ChatEntryKind::assistant, "I");
    model.flush();
    changed.clear();
    for (int i = 0; i < 1000; ++i) {
        grow(1, " will");
    }
    EXPECT_EQ(changed.count(), 0);
    model.flush();
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 1);
    EXPECT_EQ(changed[0][2].value<QList<int>>(), QList<int>{ EntryListModel::HasTextRole });
    ASSERT_EQ(textChanged.count(), 1);
    EXPECT_EQ(textChanged[0], (QVariantList{ 1, true }));
    EXPECT_EQ(reset.count(), 0);
}

TEST_F(EntryListModelTest, ABurstIsToldWithoutAsking)
{
    append(ChatEntryKind::user, "mend it");
    EXPECT_TRUE(inserted.wait(1000));
    grow(0, "!");
    EXPECT_TRUE(changed.wait(1000));
}

TEST_F(EntryListModelTest, AnotherListIsAReset)
{
    append(ChatEntryKind::user, "mend it");
    model.flush();
    entries = { ChatEntry::make(ChatEntryKind::assistant, "a"), ChatEntry::make(ChatEntryKind::assistant, "b") };
    model.noteReset();
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.count(), 2);
}

TEST_F(EntryListModelTest, WhatWasGatheredForTheListBeforeIsForgotten)
{
    append(ChatEntryKind::user, "mend it");
    model.flush();
    grow(0, "!");
    changed.clear();
    lastChanged.clear();
    entries.clear();
    model.noteReset();
    model.flush();
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(lastChanged.count(), 0);
}

TEST_F(EntryListModelTest, AToolTellsItsTitleStatusAndSymbol)
{
    ChatEntry tool = ChatEntry::make(ChatEntryKind::tool, "");
    tool.title = "Run command";
    tool.status = "in_progress";
    entries = { tool };
    model.noteReset();
    EXPECT_EQ(data(0, EntryListModel::KindRole).toString(), "tool");
    EXPECT_EQ(data(0, EntryListModel::TitleRole).toString(), "Run command");
    EXPECT_EQ(data(0, EntryListModel::StatusRole).toString(), "In Progress");
    EXPECT_EQ(data(0, EntryListModel::StatusTintRole).toInt(), Tint::Orange);
    EXPECT_EQ(data(0, EntryListModel::SymbolRole).toString(), "terminal");
    EXPECT_FALSE(data(0, EntryListModel::HasTextRole).toBool());
    entries[0].status = "completed";
    entries[0].text = "output";
    model.noteChanged(0);
    model.flush();
    EXPECT_EQ(data(0, EntryListModel::StatusTintRole).toInt(), Tint::Green);
    EXPECT_TRUE(data(0, EntryListModel::HasTextRole).toBool());
    EXPECT_EQ(textChanged.last(), (QVariantList{ 0, false }));
}

TEST_F(EntryListModelTest, AnAnswerTellsWhoSpeaks)
{
    entries = { ChatEntry::make(ChatEntryKind::assistant, "a"), ChatEntry::make(ChatEntryKind::assistant, "b") };
    entries[0].provider = AgentProvider::kimi;
    model.noteReset();
    EXPECT_EQ(data(0, EntryListModel::SpeakerRole).toString(), "Kimi");
    EXPECT_EQ(data(0, EntryListModel::SymbolRole).toString(), "moon.stars.fill");
    EXPECT_EQ(data(1, EntryListModel::SpeakerRole).toString(), "Agent");
    EXPECT_EQ(data(1, EntryListModel::SymbolRole).toString(), "sparkles");
    EXPECT_EQ(data(0, EntryListModel::GapRole).toInt(), RowGap::None);
    EXPECT_EQ(data(1, EntryListModel::GapRole).toInt(), RowGap::Answer);
}

TEST_F(EntryListModelTest, AnotherLastTextScrolls)
{
    append(ChatEntryKind::user, "mend it");
    model.flush();
    EXPECT_EQ(lastChanged.count(), 1);
    append(ChatEntryKind::assistant, "I");
    model.flush();
    EXPECT_EQ(lastChanged.count(), 2);
    grow(1, " will");
    grow(1, " now");
    model.flush();
    EXPECT_EQ(lastChanged.count(), 3);
}

TEST_F(EntryListModelTest, ANewToolCardDoesNotScroll)
{
    append(ChatEntryKind::assistant, "I look");
    model.flush();
    lastChanged.clear();
    append(ChatEntryKind::tool, "");
    model.flush();
    EXPECT_EQ(lastChanged.count(), 0);
}

TEST_F(EntryListModelTest, AChangeOfStatusDoesNotScroll)
{
    append(ChatEntryKind::tool, "output");
    model.flush();
    lastChanged.clear();
    entries[0].status = "completed";
    model.noteChanged(0);
    model.flush();
    EXPECT_EQ(lastChanged.count(), 0);
}

TEST_F(EntryListModelTest, AnotherOutputOfTheLastToolScrolls)
{
    append(ChatEntryKind::tool, "");
    model.flush();
    lastChanged.clear();
    entries[0].text = "output";
    model.noteChanged(0);
    model.flush();
    EXPECT_EQ(lastChanged.count(), 1);
}

TEST_F(EntryListModelTest, ATextThatIsNotTheLastDoesNotScroll)
{
    append(ChatEntryKind::assistant, "I look");
    append(ChatEntryKind::tool, "");
    model.flush();
    lastChanged.clear();
    grow(0, " closer");
    entries[0].text = "other";
    model.noteChanged(0);
    model.flush();
    EXPECT_EQ(lastChanged.count(), 0);
}

TEST_F(EntryListModelTest, ARowThatIsGoneReadsAsNothing)
{
    append(ChatEntryKind::user, "mend it");
    model.flush();
    entries.clear();
    EXPECT_EQ(model.entryText(0), "");
    EXPECT_FALSE(data(0, EntryListModel::KindRole).isValid());
    entries.push_back(ChatEntry::make(ChatEntryKind::user, "mend it"));
}

TEST_F(EntryListModelTest, AHundredThousandEntriesConvertOnlyWhatIsAsked)
{
    entries.assign(100000, ChatEntry::make(ChatEntryKind::assistant, "answer"));
    model.noteReset();
    EXPECT_EQ(model.rowCount(), 100000);
    changed.clear();
    grow(99999, " more");
    model.flush();
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(model.entryText(99999), "answer more");
}

} // namespace

} // namespace tessarin
