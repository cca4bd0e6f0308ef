#include "ConnectedProjectFixture.h"

#include <filesystem>

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AppModelRemovalTest : public ConnectedProjectTest
{
};

TEST_F(AppModelRemovalTest, DeletingTheOnlyTaskLeavesANewOneThatIsSelected)
{
    openConnectedProject();
    model->deleteThread(thread, project);
    ASSERT_THAT(model->workspaces()[0].threads, SizeIs(1));
    const ChatThread& left = model->workspaces()[0].threads[0];
    EXPECT_EQ(left.title, "New task");
    EXPECT_NE(left.id, thread);
    EXPECT_EQ(model->selectedThreadID(), left.id);
    EXPECT_THAT(model->entries(), IsEmpty());
    expectDropped();
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelRemovalTest, DeletingTheSelectedTaskSelectsTheFirst)
{
    openProject({});
    model->newThread();
    model->newThread();
    const Workspace before = model->workspaces()[0];
    model->selectThread(before.threads[1].id, before.id);
    model->deleteThread(before.threads[1].id, before.id);
    EXPECT_THAT(model->workspaces()[0].threads, ElementsAre(before.threads[0], before.threads[2]));
    EXPECT_EQ(model->selectedThreadID(), before.threads[0].id);
}

TEST_F(AppModelRemovalTest, DeletingTheOnlyTaskOfAnotherProjectLeavesTheSelection)
{
    openConnectedProject();
    model->addWorkspace(makeFolder("other"));
    const Workspace other = *model->selectedWorkspace();
    model->selectThread(thread, project);
    model->deleteThread(other.threads[0].id, other.id);
    ASSERT_THAT(model->workspaces()[1].threads, SizeIs(1));
    EXPECT_EQ(model->workspaces()[1].threads[0].title, "New task");
    EXPECT_NE(model->workspaces()[1].threads[0].id, other.threads[0].id);
    EXPECT_EQ(model->selectedThreadID(), thread);
}

TEST_F(AppModelRemovalTest, DeletingAnUnselectedTaskKeepsTheClientAndSaves)
{
    openProject({ "grok" });
    runtime.script("grok", oneTurn("Hello"));
    model->newThread();
    project = *model->selectedWorkspaceID();
    const Uuid older = model->selectedWorkspace()->threads[1].id;
    runTurn("Hi");
    model->deleteThread(older, project);
    EXPECT_TRUE(isConnected());
    ASSERT_THAT(model->workspaces()[0].threads, SizeIs(1));
    EXPECT_EQ(storedTree(), model->workspaces());
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
}

TEST_F(AppModelRemovalTest, DeletingAnUnknownTaskSavesAndInAnUnknownProjectDoesNothing)
{
    openProject({});
    const std::vector<Workspace> tree = model->workspaces();
    preferences.remove(WorkspaceStore::key);
    model->deleteThread(tree[0].threads[0].id, Uuid::random());
    EXPECT_EQ(storedTree(), std::nullopt);
    model->deleteThread(Uuid::random(), tree[0].id);
    EXPECT_EQ(storedTree(), tree);
    EXPECT_EQ(model->workspaces(), tree);
}

TEST_F(AppModelRemovalTest, EveryTaskWithTheIdIsDeleted)
{
    std::vector<Workspace> tree{ Workspace::make(runtime.workspace()) };
    tree[0].threads.push_back(tree[0].threads[0]);
    tree[0].threads.push_back(ChatThread::make("kept"));
    TreeChanges changes;
    store.save(tree, changes);
    openModel();
    model->deleteThread(tree[0].threads[0].id, tree[0].id);
    EXPECT_THAT(model->workspaces()[0].threads, ElementsAre(tree[0].threads[2]));
}

TEST_F(AppModelRemovalTest, RemovingTheSelectedProjectSelectsTheFirstThatRemains)
{
    openConnectedProject();
    model->addWorkspace(makeFolder("two"));
    model->addWorkspace(makeFolder("three"));
    model->selectThread(thread, project);
    const std::vector<Workspace> tree = model->workspaces();
    model->removeWorkspace(project);
    EXPECT_THAT(model->workspaces(), ElementsAre(tree[1], tree[2]));
    EXPECT_EQ(model->selectedWorkspaceID(), tree[1].id);
    EXPECT_EQ(model->selectedThreadID(), tree[1].threads[0].id);
    expectDropped();
    EXPECT_EQ(storedTree(), model->workspaces());
    EXPECT_TRUE(std::filesystem::exists(runtime.workspace()));
}

TEST_F(AppModelRemovalTest, RemovingTheLastProjectLeavesNothingSelected)
{
    openConnectedProject();
    model->removeWorkspace(project);
    EXPECT_EQ(model->selectedWorkspaceID(), std::nullopt);
    EXPECT_EQ(model->selectedThreadID(), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::idle);
    expectDropped();
    EXPECT_EQ(storedTree(), std::vector<Workspace>());
}

TEST_F(AppModelRemovalTest, RemovingAnotherProjectKeepsTheClientAndSaves)
{
    const std::string other = makeFolder("other");
    openModel();
    model->addWorkspace(other);
    runtime.script("grok", oneTurn("Hello"));
    install({ "grok" });
    model->addWorkspace(runtime.workspace());
    runTurn("Hi");
    model->removeWorkspace(model->workspaces()[0].id);
    EXPECT_TRUE(isConnected());
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelRemovalTest, RemovingAnUnknownProjectSavesAllTheSame)
{
    openProject({});
    preferences.remove(WorkspaceStore::key);
    model->removeWorkspace(Uuid::random());
    EXPECT_EQ(storedTree(), model->workspaces());
    EXPECT_THAT(model->workspaces(), SizeIs(1));
}

} // namespace
} // namespace tessarin::testing
