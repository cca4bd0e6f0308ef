#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::SizeIs;

// What is in the store at the moment of each change that an observer is told of.
class AppModelSavingTest : public AppModelTest
{
protected:
    // From now on a save shows: what was stored before is gone.
    void forgetStored() { preferences.remove(WorkspaceStore::key); }
    [[nodiscard]] bool wasSaved() { return preferences.bytes(WorkspaceStore::key).has_value(); }
};

TEST_F(AppModelSavingTest, AddingAProjectSavesAndSelectingOneDoesNot)
{
    openProject({});
    EXPECT_EQ(storedTree(), model->workspaces());
    const Uuid one = *model->selectedWorkspaceID();
    model->addWorkspace(makeFolder("two"));
    EXPECT_EQ(storedTree(), model->workspaces());
    forgetStored();
    model->selectWorkspace(one);
    model->addWorkspace(makeFolder("two"));
    EXPECT_FALSE(wasSaved());
}

TEST_F(AppModelSavingTest, MakingAndDeletingATaskSaves)
{
    openProject({});
    forgetStored();
    model->newThread();
    EXPECT_EQ(storedTree(), model->workspaces());
    forgetStored();
    model->deleteThread(*model->selectedThreadID(), *model->selectedWorkspaceID());
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSavingTest, RemovingAProjectSaves)
{
    openProject({});
    forgetStored();
    model->removeWorkspace(*model->selectedWorkspaceID());
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSavingTest, APromptSavesTheTitleBeforeItsEntryIsAppended)
{
    openProject({});
    forgetStored();
    // No runtime: nothing else saves after the send.
    model->send("Fix the basket");
    EXPECT_THAT(texts(), ElementsAre("Fix the basket"));
    ASSERT_TRUE(wasSaved());
    EXPECT_EQ(storedTree()->at(0).threads.at(0).title, "Fix the basket");
    EXPECT_THAT(storedTexts(), SizeIs(0));
}

TEST_F(AppModelSavingTest, APromptSavesEvenWhenTheTitleStays)
{
    openProject({});
    model->send("Fix the basket");
    forgetStored();
    model->send("And the till");
    EXPECT_THAT(storedTexts(), ElementsAre("Fix the basket"));
    EXPECT_EQ(storedTree()->at(0).threads.at(0).title, "Fix the basket");
}

TEST_F(AppModelSavingTest, ASystemLineSavesWithAllThatCameBefore)
{
    openProject({});
    model->send("Fix the basket");
    forgetStored();
    model->stopWorking();
    EXPECT_THAT(storedTexts(), ElementsAre("Fix the basket", "Stopped by you."));
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSavingTest, AStartedClientSavesItsSession)
{
    runtime.script("grok", hangingTurn("session-7"));
    openProject();
    model->send("Hi");
    forgetStored();
    waitFor(ConnectionState::Kind::working);
    ASSERT_TRUE(wasSaved());
    const ChatThread stored = storedTree()->at(0).threads.at(0);
    EXPECT_EQ(stored.sessionID(AgentProvider::grok), "session-7");
    EXPECT_EQ(stored.sessionId, "session-7");
    EXPECT_EQ(stored.lastProvider, AgentProvider::grok);
    EXPECT_THAT(storedTexts(), ElementsAre("Hi"));
}

TEST_F(AppModelSavingTest, StreamedUpdatesDoNotSaveAndTheEndOfTheTurnDoes)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("Hel").chunk("lo");
    scenario.update(R"({"sessionUpdate":"tool_call","toolCallId":"t","title":"Read"})");
    scenario.update(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","status":"completed"})");
    scenario.update(R"({"sessionUpdate":"plan","entries":[{}]})").waitForFile("go").reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    model->send("Hi");
    waitFor(ConnectionState::Kind::working);
    forgetStored();
    waitUntil([&] { return model->plan().size() == 1; });
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", ""));
    EXPECT_FALSE(wasSaved());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::ready);
    EXPECT_THAT(storedTexts(), ElementsAre("Hi", "Hello", ""));
    EXPECT_EQ(storedTree(), model->workspaces());
}

TEST_F(AppModelSavingTest, APromptThatFailsSavesThroughItsSystemLine)
{
    runtime.script("grok", failingTurnOnGo("It broke"));
    openProject();
    model->send("Hi");
    waitFor(ConnectionState::Kind::working);
    forgetStored();
    runtime.touch("go");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_THAT(storedTexts(), ElementsAre("Hi", "Error from Grok: It broke"));
}

TEST_F(AppModelSavingTest, AFailedStartDoesNotSave)
{
    runtime.script("grok", Scenario().expect("initialize").replyError("It broke"));
    openProject();
    model->send("Hi");
    forgetStored();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_FALSE(wasSaved());
}

TEST_F(AppModelSavingTest, AnUnexpectedEndDoesNotSave)
{
    runtime.script("grok", oneTurn("Hello").waitForFile("end").exit(1));
    openProject();
    runTurn("Hi");
    forgetStored();
    runtime.touch("end");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_FALSE(wasSaved());
}

TEST_F(AppModelSavingTest, NeitherAModeNorTheSelectionNorTheBannerSaves)
{
    openProject({});
    model->newThread();
    const Workspace workspace = model->workspaces()[0];
    forgetStored();
    model->selectThread(workspace.threads[1].id, workspace.id);
    model->setPermissionMode(GrokPermissionMode::auto_);
    model->setRoutingMode(ProviderRoutingMode::kimi);
    model->clearError();
    model->revealProject();
    model->chooseProject();
    EXPECT_FALSE(wasSaved());
}

TEST_F(AppModelSavingTest, AReplayDoesNotSaveUntilTheStartHasSucceeded)
{
    runtime.script("grok", 1, oneTurn("Hello"));
    Scenario resumed;
    resumed.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load");
    resumed.chunk("Replayed").waitForFile("go").reply().expect("session/prompt");
    runtime.script("grok", 2, resumed);
    openProject();
    runTurn("Hi");
    model->setPermissionMode(GrokPermissionMode::auto_); // drops the connection
    model->send("More");
    forgetStored();
    waitUntil([&] { return texts() == std::vector<std::string>{ "Replayed" }; });
    EXPECT_FALSE(wasSaved());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::working);
    EXPECT_THAT(storedTexts(), ElementsAre("Replayed"));
}

TEST_F(AppModelSavingTest, TheStoredTreeIsTheSameInTheNextModel)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    runTurn("Hi");
    const std::vector<Workspace> before = model->workspaces();
    openModel();
    EXPECT_EQ(model->workspaces(), before);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
}

} // namespace
} // namespace tessarin::testing
