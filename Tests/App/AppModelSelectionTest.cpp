#include "ConnectedProjectFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AppModelSelectionTest : public ConnectedProjectTest
{
};

TEST_F(AppModelSelectionTest, AddingAProjectAppendsAndSelectsItAndDropsTheConnection)
{
    openConnectedProject();
    const std::string path = makeFolder("other");
    model->addWorkspace(path);
    ASSERT_THAT(model->workspaces(), SizeIs(2));
    const Workspace& added = model->workspaces()[1];
    EXPECT_EQ(added.path, path);
    EXPECT_EQ(added.name, "other");
    ASSERT_THAT(added.threads, SizeIs(1));
    EXPECT_EQ(added.threads[0].title, "New task");
    EXPECT_EQ(model->selectedWorkspaceID(), added.id);
    EXPECT_EQ(model->selectedThreadID(), added.threads[0].id);
    expectDropped();
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSelectionTest, AddingAKnownFolderSelectsItInItsPlace)
{
    const std::string one = makeFolder("one");
    openModel();
    model->addWorkspace(one);
    model->addWorkspace(makeFolder("two"));
    const std::vector<Workspace> tree = model->workspaces();
    preferences.remove(WorkspaceStore::key);
    for (const std::string& path : { one + "/", one + "/.", runtime.directory() + "/./two/../one" }) {
        model->selectWorkspace(tree[1].id);
        model->addWorkspace(path);
        EXPECT_EQ(model->selectedWorkspaceID(), tree[0].id) << path;
        EXPECT_EQ(model->selectedThreadID(), tree[0].threads[0].id) << path;
    }
    EXPECT_EQ(model->workspaces(), tree);
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelSelectionTest, AddingTheSelectedFolderKeepsTheClient)
{
    openConnectedProject();
    model->addWorkspace(runtime.workspace() + "/");
    EXPECT_TRUE(isConnected());
}

TEST_F(AppModelSelectionTest, SelectingTheSelectedProjectKeepsTheClientAndTheTask)
{
    openConnectedProject();
    model->newThread();
    model->selectThread(thread, project);
    runtime.script("grok", 2, oneTurn("Again", "session-2"));
    runTurn("Again");
    model->selectWorkspace(project);
    EXPECT_EQ(model->selectedThreadID(), thread);
    EXPECT_TRUE(isConnected());
}

TEST_F(AppModelSelectionTest, SelectingAnotherProjectTakesItsFirstTaskAndDropsTheConnection)
{
    const std::string other = makeFolder("other");
    openModel();
    model->addWorkspace(other);
    model->newThread();
    const Uuid otherProject = *model->selectedWorkspaceID();
    const Uuid newest = *model->selectedThreadID();
    model->selectThread(model->selectedWorkspace()->threads[1].id, otherProject);
    runtime.script("grok", oneTurn("Hello"));
    install({ "grok" });
    model->addWorkspace(runtime.workspace());
    runTurn("Hi");
    preferences.remove(WorkspaceStore::key);
    model->selectWorkspace(otherProject);
    EXPECT_EQ(model->selectedWorkspaceID(), otherProject);
    EXPECT_EQ(model->selectedThreadID(), newest);
    expectDropped();
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelSelectionTest, SelectingAnUnknownProjectLeavesNoTask)
{
    openConnectedProject();
    const Uuid unknown = Uuid::random();
    model->selectWorkspace(unknown);
    EXPECT_EQ(model->selectedWorkspaceID(), unknown);
    EXPECT_EQ(model->selectedThreadID(), std::nullopt);
    EXPECT_EQ(model->selectedWorkspace(), nullptr);
    expectDropped();
}

TEST_F(AppModelSelectionTest, AProjectWithoutSelectedTaskGetsOneWhenItIsSelectedAgain)
{
    std::vector<Workspace> tree{ Workspace::make(runtime.workspace()) };
    tree[0].threads.clear();
    TreeChanges changes;
    store.save(tree, changes);
    openModel();
    model->selectWorkspace(tree[0].id);
    EXPECT_EQ(model->selectedThreadID(), std::nullopt);
    model->newThread();
    const Uuid made = *model->selectedThreadID();
    model->selectThread(Uuid::random(), tree[0].id);
    EXPECT_EQ(model->selectedThread(), nullptr);
    model->selectWorkspace(Uuid::random());
    model->selectWorkspace(tree[0].id);
    EXPECT_EQ(model->selectedThreadID(), made);
}

TEST_F(AppModelSelectionTest, SelectingTheSelectedTaskKeepsTheClient)
{
    openConnectedProject();
    model->selectThread(thread, project);
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::ready);
}

TEST_F(AppModelSelectionTest, SelectingAnotherTaskDropsTheConnectionAndSavesNothing)
{
    openConnectedProject();
    model->newThread();
    model->selectThread(thread, project);
    runtime.script("grok", 2, oneTurn("Hello again"));
    runTurn("Once more");
    preferences.remove(WorkspaceStore::key);
    model->selectThread(model->selectedWorkspace()->threads[0].id, project);
    EXPECT_EQ(model->selectedThreadID(), model->workspaces()[0].threads[0].id);
    expectDropped();
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelSelectionTest, ATaskIsSelectedByBothIds)
{
    openConnectedProject();
    model->addWorkspace(makeFolder("other"));
    const Uuid other = *model->selectedWorkspaceID();
    model->selectThread(thread, other);
    EXPECT_EQ(model->selectedThreadID(), thread);
    EXPECT_EQ(model->selectedWorkspaceID(), other);
    EXPECT_EQ(model->selectedThread(), nullptr);
    model->selectThread(thread, project);
    EXPECT_EQ(model->selectedThread()->id, thread);
}

TEST_F(AppModelSelectionTest, ANewTaskComesFirstIsSelectedAndDropsTheConnection)
{
    openConnectedProject();
    model->newThread();
    const Workspace& workspace = model->workspaces()[0];
    ASSERT_THAT(workspace.threads, SizeIs(2));
    EXPECT_EQ(workspace.threads[0].title, "New task");
    EXPECT_EQ(workspace.threads[1].id, thread);
    EXPECT_EQ(model->selectedThreadID(), workspace.threads[0].id);
    expectDropped();
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSelectionTest, ANewTaskGoesIntoTheProjectThatIsNamed)
{
    openModel();
    model->addWorkspace(makeFolder("one"));
    model->addWorkspace(makeFolder("two"));
    const Uuid one = model->workspaces()[0].id;
    model->newThread(one);
    EXPECT_EQ(model->selectedWorkspaceID(), one);
    ASSERT_THAT(model->workspaces()[0].threads, SizeIs(2));
    EXPECT_THAT(model->workspaces()[1].threads, SizeIs(1));
    EXPECT_EQ(model->selectedThreadID(), model->workspaces()[0].threads[0].id);
}

TEST_F(AppModelSelectionTest, ANewTaskInAnUnknownProjectOpensThePicker)
{
    openProject({});
    model->newThread(Uuid::random());
    EXPECT_THAT(desktop.questions, SizeIs(1));
    EXPECT_THAT(model->workspaces()[0].threads, SizeIs(1));
}

TEST_F(AppModelSelectionTest, ChoosingAProjectAsksForAFolderAndAddsIt)
{
    openModel();
    model->chooseProject();
    ASSERT_THAT(desktop.questions, SizeIs(1));
    EXPECT_EQ(desktop.questions[0].title, "Choose a project");
    EXPECT_EQ(desktop.questions[0].prompt, "Open Project");
    EXPECT_THAT(model->workspaces(), IsEmpty());
    desktop.answers[0](runtime.workspace());
    ASSERT_THAT(model->workspaces(), SizeIs(1));
    EXPECT_EQ(model->selectedWorkspace()->path, runtime.workspace());
}

TEST_F(AppModelSelectionTest, GivingUpTheChoiceAddsNothing)
{
    openModel();
    model->chooseProject();
    desktop.answers.at(0)(std::nullopt);
    EXPECT_THAT(model->workspaces(), IsEmpty());
}

TEST_F(AppModelSelectionTest, AChoiceThatComesAfterTheModelIsGoneDoesNothing)
{
    openModel();
    model->chooseProject();
    model.reset();
    desktop.answers.at(0)(runtime.workspace());
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelSelectionTest, RevealingShowsTheSelectedProjectsFolder)
{
    openModel();
    model->revealProject();
    EXPECT_THAT(desktop.revealed, IsEmpty());
    model->addWorkspace(runtime.workspace());
    model->revealProject();
    EXPECT_THAT(desktop.revealed, ElementsAre(runtime.workspace()));
}

TEST_F(AppModelSelectionTest, ADroppedConnectionTakesItsPlanItsPromptAndItsErrorAlongAndLeavesTheLog)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").standardError("noise");
    scenario.update(R"({"sessionUpdate":"plan","entries":[{}]})");
    scenario.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"toolCall":{"title":"Run"},
        "options":[{"optionId":"a","name":"Allow","kind":"allow_once"}]}})");
    scenario.replyTo("session/prompt", endTurn).expect("session/prompt").replyError(usageLimit);
    runtime.script("grok", scenario);
    openProject();
    runTurn("Hi");
    waitUntil([&] { return !model->cliLog().empty() && model->permissionRequest(); });
    model->send("More");
    waitFor(ConnectionState::Kind::failed);
    ASSERT_TRUE(model->errorMessage());
    ASSERT_TRUE(model->permissionRequest());
    ASSERT_THAT(model->plan(), SizeIs(1));
    model->newThread();
    EXPECT_THAT(model->plan(), IsEmpty());
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_EQ(model->cliLog(), "noise");
    EXPECT_TRUE(model->providerUsage().at(AgentProvider::grok).exhausted);
    expectDropped();
}

} // namespace
} // namespace tessarin::testing
