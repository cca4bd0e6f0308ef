#include "PresenterFixture.h"

#include <QKeyEvent>
#include <QSignalSpy>

namespace tessarin
{

namespace
{

class WindowModelTest : public PresenterTest
{
protected:
    QString row(int at, int role) { return window.threads()->index(at).data(role).toString(); }
    QStringList titles()
    {
        QStringList out;
        for (int at = 0; at < window.threads()->rowCount(); ++at) {
            out.append(row(at, ThreadListModel::TitleRole));
        }
        return out;
    }
};

TEST_F(WindowModelTest, IsReadyOnceItHasItsModel)
{
    const QSignalSpy ready(&window, &WindowModel::readyChanged);
    EXPECT_FALSE(window.isReady());
    window.newTask();
    window.openProject();
    openWindow();
    EXPECT_TRUE(window.isReady());
    EXPECT_EQ(ready.count(), 1);
}

TEST_F(WindowModelTest, ANewTaskGoesToTheSelectedProject)
{
    openWindow();
    window.newTask();
    EXPECT_EQ(titles(), (QStringList{ "project", "New task", "New task" }));
    EXPECT_TRUE(window.threads()->index(1).data(ThreadListModel::CurrentRole).toBool());
}

TEST_F(WindowModelTest, ANewTaskWithoutAProjectAsksForOne)
{
    openModel();
    window.attach(model);
    window.newTask();
    ASSERT_EQ(desktop.questions.size(), 1U);
    EXPECT_EQ(desktop.questions[0].title, "Choose a project");
    EXPECT_EQ(desktop.questions[0].prompt, "Open Project");
    window.openProject();
    EXPECT_EQ(desktop.questions.size(), 2U);
}

TEST_F(WindowModelTest, RowsAreChosenAndDeletedByTheirIds)
{
    openWindow();
    model->addWorkspace(makeFolder("other"));
    EXPECT_EQ(titles(), (QStringList{ "project", "New task", "other", "New task" }));
    window.selectTask(row(1, ThreadListModel::WorkspaceIDRole), row(1, ThreadListModel::ThreadIDRole));
    EXPECT_EQ(model->selectedWorkspace()->name, "project");
    window.newTaskIn(row(2, ThreadListModel::WorkspaceIDRole));
    EXPECT_EQ(model->selectedWorkspace()->name, "other");
    EXPECT_EQ(titles(), (QStringList{ "project", "New task", "other", "New task", "New task" }));
    window.deleteTask(row(3, ThreadListModel::WorkspaceIDRole), row(3, ThreadListModel::ThreadIDRole));
    EXPECT_EQ(titles(), (QStringList{ "project", "New task", "other", "New task" }));
    window.removeProject(row(0, ThreadListModel::WorkspaceIDRole));
    EXPECT_EQ(titles(), (QStringList{ "other", "New task" }));
    window.selectTask("no id", "at all");
    EXPECT_EQ(model->selectedWorkspace()->name, "other");
}

TEST_F(WindowModelTest, TheSectionsAreSwitchedAndTold)
{
    const QSignalSpy told(&window, &WindowModel::sectionChanged);
    EXPECT_FALSE(window.showsImagine());
    openWindow();
    const auto before = told.count();
    window.showImagine();
    EXPECT_TRUE(window.showsImagine());
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    window.showImagine();
    EXPECT_EQ(told.count(), before + 1);
    window.showCode();
    EXPECT_FALSE(window.showsImagine());
}

TEST_F(WindowModelTest, ANewTaskFromImagineShowsCodeFirst)
{
    openWindow();
    window.showImagine();
    std::vector<AppSection> sections;
    const auto observed = model->observe([&](const ModelChange& change) {
        if (change.kind == ModelChange::Kind::selection) {
            sections.push_back(model->selectedSection());
        }
    });
    window.newTask();
    EXPECT_EQ(model->workspaces()[0].threads.size(), 2U);
    ASSERT_FALSE(sections.empty());
    EXPECT_EQ(sections.front(), AppSection::build) << "the task was made in Code";
}

TEST_F(WindowModelTest, TheTaskBesideIsSelectedInCode)
{
    openWindow();
    model->addWorkspace(makeFolder("other"));
    window.showImagine();
    window.selectNextTask();
    EXPECT_TRUE(window.showsImagine()) << "there is none below";
    window.selectPreviousTask();
    EXPECT_FALSE(window.showsImagine());
    EXPECT_EQ(model->selectedWorkspace()->name, "project");
    window.selectNextTask();
    EXPECT_EQ(model->selectedWorkspace()->name, "other");
}

TEST_F(WindowModelTest, AnErrorIsShownUntilItIsDismissed)
{
    runtime.script("grok", testing::failingTurn("The wheel came off."));
    openWindow();
    model->send("roll");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_TRUE(shown("hasError").toBool());
    EXPECT_EQ(shown("errorMessage").toString(), "The wheel came off.");
    window.dismissError();
    EXPECT_FALSE(shown("hasError").toBool());
    EXPECT_EQ(shown("errorMessage").toString(), "The wheel came off.") << "the text stays while the banner leaves";
}

TEST_F(WindowModelTest, TimesAreReadAgainWhenAPersonIsThere)
{
    runtime.script("grok", testing::oneTurn("Done."));
    openWindow();
    runTurn("mend it");
    model->newThread();
    EXPECT_EQ(row(2, ThreadListModel::UpdatedRole), "just now");
    int minutes = 0;
    for (const QEvent::Type type : { QEvent::MouseMove, QEvent::Wheel, QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::KeyPress,
             QEvent::Enter, QEvent::FocusIn, QEvent::Expose }) {
        clock.secondsSince2001 += 120;
        minutes += 2;
        QEvent other(QEvent::Timer);
        window.eventFilter(nullptr, &other);
        const QString before = minutes == 2 ? QStringLiteral("just now") : QString::number(minutes - 2) + " minutes ago";
        EXPECT_EQ(row(2, ThreadListModel::UpdatedRole), before) << type << " without a person";
        QEvent event(type);
        window.eventFilter(nullptr, &event);
        EXPECT_EQ(row(2, ThreadListModel::UpdatedRole), QString::number(minutes) + " minutes ago") << type;
    }
}

} // namespace

} // namespace tessarin
