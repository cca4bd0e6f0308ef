#include "AppModelFixture.h"

#include <set>

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ModelChange::Kind;
using State = ConnectionState::Kind;

class AppModelChangesTest : public AppModelTest
{
protected:
    void watch()
    {
        m_subscription = model->observe([this](const ModelChange& change) {
            // The programs are asked for their versions and the key of the remote host is loaded meanwhile; both come in their own time.
            if (change.kind != Kind::installStatus && change.kind != Kind::remote) {
                m_changes.push_back(change);
            }
        });
    }
    // What was told since the last call.
    [[nodiscard]] std::vector<ModelChange> changes() { return std::exchange(m_changes, {}); }
    [[nodiscard]] std::vector<Kind> kindsTold()
    {
        std::vector<Kind> result;
        for (const ModelChange& change : changes()) {
            result.push_back(change.kind);
        }
        return result;
    }

private:
    std::vector<ModelChange> m_changes;
    AppModel::Subscription m_subscription;
};

TEST_F(AppModelChangesTest, AnOperationThatAGuardRefusesTellsNothing)
{
    openProject({});
    model->newThread();
    watch();
    const Workspace& workspace = model->workspaces()[0];
    model->selectWorkspace(workspace.id);
    model->selectThread(workspace.threads[0].id, workspace.id);
    model->addWorkspace(workspace.path);
    model->deleteThread(workspace.threads[0].id, Uuid::random());
    model->removeWorkspace(Uuid::random());
    model->setPermissionMode(GrokPermissionMode::ask);
    model->setRoutingMode(ProviderRoutingMode::automatic);
    model->clearError();
    model->send(" ");
    model->respondToPermission("a");
    model->rejectPermission();
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(AppModelChangesTest, WhatIsSetToWhatItIsTellsNothing)
{
    Scenario scenario;
    scenario.always("session/load").expect("initialize").reply().expect("session/new").reply(R"({"sessionId":"s"})");
    scenario.expect("session/prompt").update(R"({"sessionUpdate":"plan","entries":[{}]})").reply(endTurn);
    scenario.expect("session/prompt").update(R"({"sessionUpdate":"plan","entries":[{}]})").reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    runTurn("One");
    watch();
    runTurn("Two");
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::entryAppended, Kind::connectionState, Kind::connectionState)) << "the plan is the same";
    model->deleteThread(Uuid::random(), *model->selectedWorkspaceID());
    EXPECT_THAT(kindsTold(), IsEmpty()) << "no task has gone";
}

TEST_F(AppModelChangesTest, ProjectsAndTasksTellTheListAndTheSelection)
{
    openModel();
    watch();
    model->addWorkspace(makeFolder("one"));
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::workspaces, Kind::selection));
    model->newThread();
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::workspaces, Kind::selection));
    const Workspace workspace = model->workspaces()[0];
    model->selectThread(workspace.threads[1].id, workspace.id);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::selection));
    model->deleteThread(workspace.threads[0].id, workspace.id);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::workspaces));
    model->deleteThread(workspace.threads[1].id, workspace.id);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::workspaces, Kind::selection));
    model->removeWorkspace(workspace.id);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::workspaces, Kind::selection));
}

TEST_F(AppModelChangesTest, TheTreeAndTheSelectionFitTogetherWheneverSomethingIsTold)
{
    openProject({});
    model->addWorkspace(makeFolder("two"));
    model->newThread();
    int told = 0;
    const auto token = model->observe([&](const ModelChange&) {
        ++told;
        EXPECT_EQ(model->selectedWorkspace() != nullptr, model->selectedWorkspaceID().has_value());
        EXPECT_EQ(model->selectedThread() != nullptr, model->selectedThreadID().has_value());
    });
    const Workspace workspace = model->workspaces()[1];
    model->deleteThread(workspace.threads[0].id, workspace.id);
    model->removeWorkspace(workspace.id);
    model->removeWorkspace(model->workspaces()[0].id);
    EXPECT_GE(told, 6);
}

TEST_F(AppModelChangesTest, AWholeTurnTellsEachOfItsSteps)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("a").chunk("b");
    scenario.update(R"({"sessionUpdate":"tool_call","toolCallId":"t"})");
    scenario.update(R"({"sessionUpdate":"tool_call_update","toolCallId":"t","status":"completed"})");
    scenario.update(R"({"sessionUpdate":"plan","entries":[{}]})").reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    watch();
    runTurn("Hi");
    EXPECT_THAT(changes(),
        ElementsAre(ModelChange{ Kind::workspaces }, // the title
            ModelChange{ Kind::entryAppended, 0 }, ModelChange{ Kind::connectionState }, ModelChange{ Kind::activeProvider },
            ModelChange{ Kind::workspaces }, // the session
            ModelChange{ Kind::connectionState }, ModelChange{ Kind::connectionState }, ModelChange{ Kind::entryAppended, 1 },
            ModelChange{ Kind::entryTextAppended, 1 }, ModelChange{ Kind::entryAppended, 2 }, ModelChange{ Kind::entryChanged, 2 },
            ModelChange{ Kind::plan }, ModelChange{ Kind::connectionState }));
}

TEST_F(AppModelChangesTest, AFailureTellsTheStateTheBannerAndTheLine)
{
    openProject({});
    model->send("Hi");
    watch();
    model->stopWorking();
    EXPECT_THAT(changes(), ElementsAre(ModelChange{ Kind::connectionState }, ModelChange{ Kind::entryAppended, 1 }));
    model->send("More");
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::entryAppended, Kind::connectionState));
    model->clearError();
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::errorMessage));
}

TEST_F(AppModelChangesTest, ADropOfTheConnectionTellsWhatItEmpties)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").standardError("noise").update(R"({"sessionUpdate":"plan","entries":[{}]})");
    scenario.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"options":[]}})");
    scenario.step(R"({"replyError":{"code":1,"message":"quota"},"to":"session/prompt"})");
    runtime.script("grok", scenario);
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    waitUntil([&] { return model->cliLog() == "noise"; });
    watch();
    model->newThread();
    EXPECT_THAT(kindsTold(),
        ElementsAre(Kind::workspaces, Kind::selection, Kind::activeProvider, Kind::connectionState, Kind::plan, Kind::permissionRequest,
            Kind::errorMessage));
}

TEST_F(AppModelChangesTest, ModesUsageLogAndPromptAreTold)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").standardError("noise");
    scenario.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"options":[]}})").waitForFile("go");
    scenario.step(R"({"replyError":{"code":1,"message":"quota"},"to":"session/prompt"})");
    runtime.script("grok", scenario);
    openProject();
    watch();
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::modes));
    model->setRoutingMode(ProviderRoutingMode::grok);
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::modes));
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest() && model->cliLog() == "noise"; });
    runtime.touch("go");
    waitFor(State::failed);
    const std::vector<Kind> told = kindsTold();
    EXPECT_THAT(told, ::testing::IsSupersetOf({ Kind::cliLog, Kind::permissionRequest, Kind::providerUsage, Kind::errorMessage }));
    model->respondToPermission("x");
    EXPECT_THAT(kindsTold(), ElementsAre(Kind::permissionRequest));
}

TEST_F(AppModelChangesTest, AReplayTellsThatAllEntriesWereReplaced)
{
    runtime.script("grok", 1, oneTurn("Hello"));
    Scenario resumed;
    resumed.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").chunk("Half");
    resumed.replyError("gone").expect("session/new").reply(R"({"sessionId":"s"})").expect("session/prompt").reply(endTurn);
    runtime.script("grok", 2, resumed);
    openProject();
    runTurn("Hi");
    openModel();
    watch();
    model->send("More");
    (void)kindsTold();
    waitFor(State::ready);
    EXPECT_THAT(changes(),
        ElementsAre(ModelChange{ Kind::entriesReset }, ModelChange{ Kind::entryAppended, 0 }, ModelChange{ Kind::entriesReset },
            ModelChange{ Kind::workspaces }, ModelChange{ Kind::connectionState }, ModelChange{ Kind::connectionState },
            ModelChange{ Kind::connectionState }));
}

TEST_F(AppModelChangesTest, AnObserverSeesTheValueThatItIsToldOf)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("a").chunk("b").reply(endTurn);
    runtime.script("grok", scenario);
    openProject();
    std::vector<std::string> seen;
    const auto token = model->observe([&](const ModelChange& change) {
        if (change.kind == Kind::entryAppended || change.kind == Kind::entryTextAppended) {
            seen.push_back(model->entries().at(change.index).text);
            EXPECT_EQ(task().updatedAt, clock);
        }
        if (change.kind == Kind::connectionState) {
            seen.emplace_back(model->connectionLabel());
        }
    });
    runTurn("Hi");
    EXPECT_THAT(seen, ElementsAre("Hi", "Connecting", "Ready", "Grok is working", "a", "ab", "Ready"));
}

} // namespace
} // namespace tessarin::testing
