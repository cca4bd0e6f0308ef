#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppModelStateTest : public AppModelTest
{
protected:
    void store(const std::vector<Workspace>& tree)
    {
        TreeChanges changes;
        AppModelTest::store.save(tree, changes);
    }
};

TEST_F(AppModelStateTest, WithNoStoredDataNothingIsSelectedAndANewTaskOpensThePicker)
{
    install({ "grok" });
    openModel();
    EXPECT_THAT(model->workspaces(), IsEmpty());
    EXPECT_EQ(model->selectedWorkspaceID(), std::nullopt);
    EXPECT_EQ(model->selectedThreadID(), std::nullopt);
    EXPECT_EQ(model->selectedWorkspace(), nullptr);
    EXPECT_EQ(model->selectedThread(), nullptr);
    EXPECT_THAT(model->entries(), IsEmpty());
    EXPECT_FALSE(model->canSend());
    model->newThread();
    EXPECT_EQ(desktop.questions.size(), 1u);
    EXPECT_THAT(model->workspaces(), IsEmpty());
}

TEST_F(AppModelStateTest, FirstValuesAreThoseOfAnIdleModel)
{
    openModel();
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_THAT(model->plan(), IsEmpty());
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_EQ(model->cliLog(), "");
    EXPECT_EQ(model->selectedSection(), AppSection::build);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    EXPECT_EQ(model->activeProvider(), std::nullopt);
    EXPECT_TRUE(model->providerUsage().empty());
}

TEST_F(AppModelStateTest, StartsWithTheFirstTaskOfTheFirstProject)
{
    std::vector<Workspace> tree{ Workspace::make(makeFolder("one")), Workspace::make(makeFolder("two")) };
    tree[0].threads.push_back(ChatThread::make("older"));
    store(tree);
    openModel();
    EXPECT_EQ(model->workspaces(), tree);
    EXPECT_EQ(model->selectedWorkspaceID(), tree[0].id);
    EXPECT_EQ(model->selectedThreadID(), tree[0].threads[0].id);
    EXPECT_EQ(*model->selectedThread(), tree[0].threads[0]);
    EXPECT_TRUE(model->canSend());
}

TEST_F(AppModelStateTest, StartsWithoutATaskWhereTheFirstProjectHasNone)
{
    std::vector<Workspace> tree{ Workspace::make(makeFolder("one")) };
    tree[0].threads.clear();
    store(tree);
    openModel();
    EXPECT_EQ(model->selectedWorkspaceID(), tree[0].id);
    EXPECT_EQ(model->selectedThreadID(), std::nullopt);
    EXPECT_THAT(model->entries(), IsEmpty());
}

TEST_F(AppModelStateTest, AProjectWhoseFolderIsGoneIsNotLoaded)
{
    store({ Workspace::make(runtime.directory() + "/gone"), Workspace::make(runtime.workspace()) });
    openModel();
    ASSERT_EQ(model->workspaces().size(), 1u);
    EXPECT_EQ(model->selectedWorkspace()->path, runtime.workspace());
}

TEST_F(AppModelStateTest, NoClientStartsAtConstruction)
{
    store({ Workspace::make(runtime.workspace()) });
    install({ "grok", "kimi", "opencode" });
    openModel();
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::idle);
    EXPECT_EQ(model->activeProvider(), std::nullopt);
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelStateTest, ReadsTheStoredModesWithoutAsking)
{
    preferences.setText("grokPermissionMode.v1", "full_access");
    preferences.setText("providerRoutingMode.v1", "kimi");
    openModel();
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::kimi);
}

TEST_F(AppModelStateTest, AStoredModeThatIsUnknownStartsWithTheFirstAndStaysUntilOneIsRecorded)
{
    preferences.setText("grokPermissionMode.v1", "yolo");
    preferences.setText("providerRoutingMode.v1", "Auto");
    openModel();
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    EXPECT_EQ(preferences.text("grokPermissionMode.v1"), "yolo");
    EXPECT_EQ(preferences.text("providerRoutingMode.v1"), "Auto");
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_EQ(preferences.text("grokPermissionMode.v1"), "auto");
}

TEST_F(AppModelStateTest, TheActiveProviderLabelFallsBackToTheRoutingMode)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    EXPECT_EQ(model->activeProviderLabel(), "Auto");
    model->setRoutingMode(ProviderRoutingMode::glm);
    EXPECT_EQ(model->activeProviderLabel(), "GLM");
    model->setRoutingMode(ProviderRoutingMode::automatic);
    runTurn("Hi");
    EXPECT_EQ(model->activeProviderLabel(), "Grok");
}

TEST_F(AppModelStateTest, TheConnectionLabelNamesTheWorkingProvider)
{
    runtime.script("kimi", hangingTurn().waitForFile("end").exit(1));
    openProject({ "kimi" });
    EXPECT_EQ(model->connectionLabel(), "Not connected");
    model->send("Hi");
    EXPECT_EQ(model->connectionLabel(), "Connecting");
    waitFor(ConnectionState::Kind::working);
    EXPECT_EQ(model->connectionLabel(), "Kimi is working");
    runtime.touch("end");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->connectionLabel(), "Needs attention");
    model->stopWorking();
    EXPECT_EQ(model->connectionLabel(), "Ready");
}

TEST_F(AppModelStateTest, SendingIsPossibleUnlessBusy)
{
    runtime.script("grok", hangingTurn().waitForFile("end").exit(1));
    openProject();
    EXPECT_TRUE(model->canSend());
    model->send("Hi");
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    EXPECT_FALSE(model->canSend());
    EXPECT_FALSE(model->canChangePermissionMode());
    EXPECT_FALSE(model->canChangeRoutingMode());
    waitFor(ConnectionState::Kind::working);
    EXPECT_FALSE(model->canSend());
    EXPECT_FALSE(model->canChangePermissionMode());
    EXPECT_FALSE(model->canChangeRoutingMode());
    runtime.touch("end");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_TRUE(model->canSend());
    EXPECT_TRUE(model->canChangePermissionMode());
    EXPECT_TRUE(model->canChangeRoutingMode());
}

TEST_F(AppModelStateTest, InAutomaticAnyAvailableRuntimeIsRunnable)
{
    openModel();
    EXPECT_FALSE(model->hasRunnableProvider());
    install({ "opencode" });
    EXPECT_TRUE(model->hasRunnableProvider());
    uninstall("opencode");
    EXPECT_FALSE(model->hasRunnableProvider());
}

TEST_F(AppModelStateTest, InAPinnedModeOnlyThePinnedRuntimeIsRunnable)
{
    install({ "grok", "opencode" });
    openModel();
    model->setRoutingMode(ProviderRoutingMode::kimi);
    EXPECT_FALSE(model->hasRunnableProvider());
    install({ "kimi" });
    EXPECT_TRUE(model->hasRunnableProvider());
}

TEST_F(AppModelStateTest, GlmIsRunnableWithAModelOfTheCodingPlanOnly)
{
    install({ "opencode" });
    openModel();
    model->setRoutingMode(ProviderRoutingMode::glm);
    EXPECT_TRUE(model->hasRunnableProvider());
    preferences.setText("openCodeGLMModel", "openrouter/glm-4.7");
    EXPECT_FALSE(model->hasRunnableProvider());
    preferences.setText("openCodeGLMModel", "ZAI-Coding-Plan/GLM-5");
    EXPECT_TRUE(model->hasRunnableProvider());
}

TEST_F(AppModelStateTest, EveryInstalledRuntimeIsRunnable)
{
    openModel();
    for (const auto& [program, mode] : { std::pair("grok", ProviderRoutingMode::grok), std::pair("codex", ProviderRoutingMode::codex),
             std::pair("kimi", ProviderRoutingMode::kimi), std::pair("claude", ProviderRoutingMode::claude) }) {
        model->setRoutingMode(mode);
        EXPECT_FALSE(model->hasRunnableProvider()) << program;
        install({ program });
        EXPECT_TRUE(model->hasRunnableProvider()) << program;
    }
}

TEST_F(AppModelStateTest, ClearErrorTakesTheBannerAwayAndLeavesTheState)
{
    openProject({});
    model->send("Hi");
    ASSERT_TRUE(model->errorMessage());
    const ConnectionState state = model->connectionState();
    model->clearError();
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_EQ(model->connectionState(), state);
}

} // namespace
} // namespace tessarin::testing
