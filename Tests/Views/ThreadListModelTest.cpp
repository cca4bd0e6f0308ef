#include "Views/ThreadListModel.h"

#include "Printing.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <algorithm>

namespace tessarin
{

namespace
{

class ThreadListModelTest : public testing::Test
{
protected:
    ThreadListModelTest() : model([this] { return now; })
    {
        workspaces = { Workspace::make("/p/first"), Workspace::make("/p/second") };
        workspaces[0].threads.push_back(task("Older", now.secondsSince2001 - 120));
        model.setWorkspaces(workspaces);
        for (QSignalSpy* spy : { &changed, &inserted, &removed, &moved, &reset }) {
            spy->clear();
        }
    }

    static ChatThread task(const std::string& title, double updatedAt)
    {
        ChatThread thread = ChatThread::make(title);
        thread.entries.push_back(ChatEntry::make(ChatEntryKind::user, "text"));
        thread.updatedAt = { updatedAt };
        return thread;
    }
    QStringList titles() const
    {
        QStringList out;
        for (int row = 0; row < model.rowCount(); ++row) {
            out.append(model.index(row).data(ThreadListModel::TitleRole).toString());
        }
        return out;
    }
    QVariant data(int row, int role) const { return model.index(row).data(role); }

    Instant now{ 800000000 };
    std::vector<Workspace> workspaces;
    ThreadListModel model;
    QAbstractItemModelTester tester{ &model, QAbstractItemModelTester::FailureReportingMode::Fatal };
    QSignalSpy changed{ &model, &QAbstractItemModel::dataChanged };
    QSignalSpy inserted{ &model, &QAbstractItemModel::rowsInserted };
    QSignalSpy removed{ &model, &QAbstractItemModel::rowsRemoved };
    QSignalSpy moved{ &model, &QAbstractItemModel::rowsMoved };
    QSignalSpy reset{ &model, &QAbstractItemModel::modelReset };
};

TEST_F(ThreadListModelTest, ProjectsAndTasksStandInTheModelsOrder)
{
    EXPECT_EQ(titles(), (QStringList{ "first", "New task", "Older", "second", "New task" }));
    EXPECT_TRUE(data(0, ThreadListModel::IsProjectRole).toBool());
    EXPECT_FALSE(data(1, ThreadListModel::IsProjectRole).toBool());
    EXPECT_EQ(data(2, ThreadListModel::ThreadIDRole).toString().toStdString(), workspaces[0].threads[1].id.text());
    EXPECT_EQ(data(2, ThreadListModel::WorkspaceIDRole).toString().toStdString(), workspaces[0].id.text());
}

TEST_F(ThreadListModelTest, OnlyATaskWithEntriesHasATime)
{
    EXPECT_EQ(data(1, ThreadListModel::UpdatedRole).toString(), "");
    EXPECT_EQ(data(2, ThreadListModel::UpdatedRole).toString(), "2 minutes ago");
}

TEST_F(ThreadListModelTest, ANewTaskIsOneNewRow)
{
    workspaces[0].threads.insert(workspaces[0].threads.begin(), ChatThread::make("Newest"));
    model.setWorkspaces(workspaces);
    EXPECT_EQ(titles(), (QStringList{ "first", "Newest", "New task", "Older", "second", "New task" }));
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(changed.count() + removed.count() + moved.count() + reset.count(), 0);
}

TEST_F(ThreadListModelTest, ARemovedProjectTakesItsTasksWithIt)
{
    workspaces.erase(workspaces.begin());
    model.setWorkspaces(workspaces);
    EXPECT_EQ(titles(), (QStringList{ "second", "New task" }));
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(reset.count() + changed.count() + inserted.count(), 0);
}

TEST_F(ThreadListModelTest, ATaskThatMovesKeepsItsRow)
{
    std::swap(workspaces[0].threads[0], workspaces[0].threads[1]);
    model.setWorkspaces(workspaces);
    EXPECT_EQ(titles(), (QStringList{ "first", "Older", "New task", "second", "New task" }));
    EXPECT_EQ(moved.count(), 1);
    EXPECT_EQ(inserted.count() + removed.count(), 0);
}

TEST_F(ThreadListModelTest, AnotherTitleChangesOneRoleOfOneRow)
{
    workspaces[0].threads[0].title = "Mend the parser";
    model.setWorkspaces(workspaces);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(changed[0][2].value<QList<int>>(), QList<int>{ ThreadListModel::TitleRole });
}

TEST_F(ThreadListModelTest, OnlyTheRowOfBothSelectedIdsIsCurrent)
{
    model.setSelection(workspaces[0].id, workspaces[0].threads[1].id);
    EXPECT_TRUE(data(2, ThreadListModel::CurrentRole).toBool());
    EXPECT_EQ(changed.count(), 1);
    model.setSelection(workspaces[1].id, workspaces[0].threads[1].id);
    for (int row = 0; row < model.rowCount(); ++row) {
        EXPECT_FALSE(data(row, ThreadListModel::CurrentRole).toBool()) << row;
    }
    model.setSelection(std::nullopt, std::nullopt);
    EXPECT_FALSE(data(0, ThreadListModel::CurrentRole).toBool());
}

TEST_F(ThreadListModelTest, ASelectionThatMovesIsToldWithItsRow)
{
    const QSignalSpy selection(&model, &ThreadListModel::selectionMoved);
    EXPECT_EQ(model.currentRow(), -1);
    model.setSelection(workspaces[0].id, workspaces[0].threads[1].id);
    EXPECT_EQ(model.currentRow(), 2);
    model.setSelection(workspaces[0].id, workspaces[0].threads[1].id);
    EXPECT_EQ(selection.count(), 1) << "it is the same";
    model.setSelection(workspaces[1].id, workspaces[1].threads[0].id);
    EXPECT_EQ(model.currentRow(), 4);
    EXPECT_EQ(selection.count(), 2);
}

TEST_F(ThreadListModelTest, TheTaskBesideIsFoundAcrossProjects)
{
    const auto beside = [this](int count) {
        const auto task = model.taskBeside(count);
        return task ? task->threadID.text() : std::string();
    };
    EXPECT_EQ(beside(1), workspaces[0].threads[0].id.text()) << "without a selection the first is below";
    EXPECT_EQ(beside(-1), "");
    model.setSelection(workspaces[0].id, workspaces[0].threads[1].id);
    EXPECT_EQ(beside(1), workspaces[1].threads[0].id.text());
    EXPECT_EQ(model.taskBeside(1)->workspaceID, workspaces[1].id);
    EXPECT_EQ(beside(-1), workspaces[0].threads[0].id.text());
    EXPECT_EQ(beside(-2), "");
    EXPECT_EQ(beside(2), "");
    model.setWorkspaces({});
    EXPECT_EQ(beside(1), "");
}

TEST_F(ThreadListModelTest, ATaskThatGrowsChangesOnlyItsTime)
{
    workspaces[0].threads[1].updatedAt = now;
    model.setThread(workspaces[0].id, workspaces[0].threads[1]);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][2].value<QList<int>>(), QList<int>{ ThreadListModel::UpdatedRole });
    EXPECT_EQ(data(2, ThreadListModel::UpdatedRole).toString(), "just now");
}

TEST_F(ThreadListModelTest, TimesAreReadAgainWhenTheyReadDifferently)
{
    now.secondsSince2001 += 30;
    model.refreshTimes();
    EXPECT_EQ(changed.count(), 0);
    now.secondsSince2001 += 60;
    model.refreshTimes();
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(data(2, ThreadListModel::UpdatedRole).toString(), "3 minutes ago");
}

} // namespace

} // namespace tessarin
