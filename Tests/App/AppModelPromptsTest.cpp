#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using Kind = ChatEntryKind;

constexpr const char* noRuntime = "No subscription runtime is ready. Install Grok Build, Codex, or Kimi Code and sign in.";

class AppModelPromptsTest : public AppModelTest
{
protected:
    [[nodiscard]] std::vector<std::string> arguments(std::string_view program, int start = 1) const
    {
        std::vector<std::string> result;
        const JsonObject started = runtime.startOf(program, start);
        for (const Json& argument : started.at("argv").as_array()) {
            result.emplace_back(argument.as_string());
        }
        result.erase(result.begin());
        return result;
    }
};

TEST_F(AppModelPromptsTest, ABlankPromptChangesNothing)
{
    openProject();
    const std::vector<Workspace> before = model->workspaces();
    preferences.remove(WorkspaceStore::key);
    for (const char* blank : { "  \n ", "", "\t\r\n", "\xC2\xA0" }) {
        model->send(blank);
    }
    EXPECT_EQ(model->workspaces(), before);
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelPromptsTest, WithoutAProjectNothingIsSent)
{
    install({ "grok" });
    openModel();
    model->send("Hi");
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelPromptsTest, InAProjectWithoutATaskAPromptEndsSilently)
{
    openProject();
    model->selectThread(Uuid::random(), *model->selectedWorkspaceID());
    model->send("Hi");
    EXPECT_EQ(model->connectionState(), ConnectionState());
    EXPECT_THAT(model->workspaces()[0].threads[0].entries, IsEmpty());
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelPromptsTest, AFirstPromptIsSentTrimmedAsTypedWithoutACapsule)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    clock = { 2000 };
    runTurn("  Fix the basket\nplease \n");
    EXPECT_THAT(prompts("grok"), ElementsAre("Fix the basket\nplease"));
    EXPECT_THAT(texts(), ElementsAre("Fix the basket\nplease", "Hello"));
    EXPECT_THAT(kinds(), ElementsAre(Kind::user, Kind::assistant));
    EXPECT_EQ(task().title, "Fix the basket");
    const ChatEntry& prompt = model->entries()[0];
    EXPECT_TRUE(Uuid::parse(prompt.id));
    EXPECT_EQ(prompt.title, std::nullopt);
    EXPECT_EQ(prompt.status, std::nullopt);
    EXPECT_EQ(prompt.provider, std::nullopt);
    EXPECT_EQ(prompt.createdAt, clock);
    EXPECT_EQ(task().updatedAt, clock);
    EXPECT_EQ(model->entries()[1].provider, AgentProvider::grok);
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
}

TEST_F(AppModelPromptsTest, TheFirstPromptTitlesTheTaskAndLaterOnesDoNot)
{
    Scenario scenario = oneTurn("One");
    runtime.script("grok", turn(scenario, "Two"));
    openProject();
    runTurn("New task");
    EXPECT_EQ(task().title, "New task");
    runTurn("123456789012345678901234567890123456789012345678901234567890");
    EXPECT_EQ(task().title, "1234567890123456789012345678901234567890123456789012");
    model->send("Another title");
    EXPECT_EQ(task().title, "1234567890123456789012345678901234567890123456789012");
}

TEST_F(AppModelPromptsTest, WithoutARuntimeThePromptStaysWithoutAReply)
{
    openProject({});
    model->send("Hi");
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(noRuntime));
    EXPECT_EQ(model->errorMessage(), noRuntime);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    EXPECT_THAT(kinds(), ElementsAre(Kind::user));
}

TEST_F(AppModelPromptsTest, APinnedRuntimeThatIsMissingIsNoSubscriptionRuntime)
{
    openProject({ "grok" });
    for (const ProviderRoutingMode mode : { ProviderRoutingMode::kimi, ProviderRoutingMode::codex, ProviderRoutingMode::claude }) {
        model->setRoutingMode(mode);
        EXPECT_EQ(model->errorMessage(), std::nullopt);
        model->send("Hi");
        EXPECT_EQ(model->connectionState(), ConnectionState::failed(noRuntime));
        EXPECT_EQ(model->errorMessage(), noRuntime);
    }
}

TEST_F(AppModelPromptsTest, ASecondPromptOnTheSameProviderReusesTheClientWithTextOfItsOwn)
{
    Scenario scenario = oneTurn("One");
    runtime.script("grok", turn(scenario, "Two"));
    openProject();
    runTurn("First");
    runTurn("Second");
    EXPECT_THAT(prompts("grok"), ElementsAre("First", "Second"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
    EXPECT_THAT(texts(), ElementsAre("First", "One", "Second", "Two"));
    EXPECT_NE(model->entries()[1].id, model->entries()[3].id);
}

TEST_F(AppModelPromptsTest, GrokIsStartedWithItsArgumentsInTheProject)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    runTurn("Hi");
    EXPECT_THAT(arguments("grok"), ElementsAre("agent", "--permission-mode", "default", "stdio"));
    EXPECT_EQ(runtime.startOf("grok").at("workingDirectory").as_string(), runtime.workspace());
    const std::string path(runtime.startOf("grok").at("environment").at("PATH").as_string());
    EXPECT_THAT(path, ::testing::StartsWith(runtime.home() + "/.grok/bin:"));
    EXPECT_THAT(parameters("grok", "session/new", "cwd"), ElementsAre(Json(runtime.workspace())));
    EXPECT_THAT(parameters("grok", "session/new", "_meta"), ElementsAre(Json()));
}

TEST_F(AppModelPromptsTest, TheApprovalModeIsFixedIntoAClientWhenItIsMade)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    runTurn("Hi");
    EXPECT_THAT(arguments("grok"), ElementsAre("agent", "--always-approve", "stdio"));
    EXPECT_THAT(parameters("grok", "session/new", "_meta"), ElementsAre(Json{ { "yoloMode", true } }));
}

TEST_F(AppModelPromptsTest, KimiIsStartedInItsSubscriptionsEnvironment)
{
    runtime.script("kimi", oneTurn("Hello"));
    openProject({ "kimi" });
    model->setPermissionMode(GrokPermissionMode::auto_);
    runTurn("Hi");
    EXPECT_THAT(arguments("kimi"), ElementsAre("acp"));
    const std::string path(runtime.startOf("kimi").at("environment").at("PATH").as_string());
    EXPECT_THAT(path, ::testing::StartsWith(runtime.home() + "/.local/bin:" + runtime.home() + "/.npm-global/bin:"));
    EXPECT_THAT(parameters("kimi", "session/set_config_option", "configId"), ElementsAre(Json("mode")));
    EXPECT_THAT(parameters("kimi", "session/set_config_option", "value"), ElementsAre(Json("auto")));
}

TEST_F(AppModelPromptsTest, GlmIsOpenCodeWithTheConfiguredModel)
{
    runtime.script("opencode", oneTurn("Hello"));
    preferences.setText("openCodeGLMModel", " zai-coding-plan/glm-5 ");
    openProject({ "opencode" });
    runTurn("Hi");
    EXPECT_THAT(arguments("opencode"), ElementsAre("acp", "--cwd", runtime.workspace()));
    const std::string path(runtime.startOf("opencode").at("environment").at("PATH").as_string());
    EXPECT_THAT(path, ::testing::StartsWith(runtime.home() + "/.opencode/bin:"));
    EXPECT_THAT(parameters("opencode", "session/set_config_option", "configId"), ElementsAre(Json("model")));
    EXPECT_THAT(parameters("opencode", "session/set_config_option", "value"), ElementsAre(Json("zai-coding-plan/glm-5")));
    EXPECT_EQ(model->activeProvider(), AgentProvider::glm);
}

TEST_F(AppModelPromptsTest, AGlmModelOutsideTheCodingPlanFailsAlthoughTheProgramExists)
{
    openProject({ "opencode" });
    model->setRoutingMode(ProviderRoutingMode::glm);
    // The setting changes between the choice of the provider and the making of the client.
    int lookups = 0;
    onSettingAsked = [&](const std::string& key) {
        if (key == "openCodeGLMModel" && ++lookups == 2) {
            preferences.setText(key, "openrouter/glm-4.7");
        }
    };
    model->send("Hi");
    const std::string text = "Install OpenCode, configure Z.AI Coding Plan, and choose a zai-coding-plan/GLM model in Settings.";
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(text));
    EXPECT_EQ(model->errorMessage(), text);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    EXPECT_FALSE(runtime.hasStarted("opencode"));
}

TEST_F(AppModelPromptsTest, AGlmModelOutsideTheCodingPlanTakesNoTurn)
{
    preferences.setText("openCodeGLMModel", "openrouter/glm-4.7");
    openProject({ "opencode" });
    model->send("Hi");
    EXPECT_EQ(model->errorMessage(), noRuntime);
}

TEST_F(AppModelPromptsTest, TheStoredSessionOfTheProviderIsHandedToTheStart)
{
    runtime.script("grok", 1, oneTurn("Hello", "session-7"));
    Scenario resumed;
    resumed.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").reply();
    runtime.script("grok", 2, turn(resumed, "Again"));
    openProject();
    runTurn("Hi");
    openModel();
    runTurn("More");
    EXPECT_THAT(parameters("grok", "session/load", "sessionId", 2), ElementsAre(Json("session-7")));
    EXPECT_THAT(prompts("grok", 2), ElementsAre("More"));
    EXPECT_EQ(task().sessionID(AgentProvider::grok), "session-7");
}

TEST_F(AppModelPromptsTest, ATaskThatHasOnlyOtherProvidersSessionsStartsAFreshOne)
{
    runtime.script("grok", oneTurn("Hello", "session-g"));
    Scenario kimi;
    kimi.always("session/set_config_option").expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})");
    kimi.expect("session/new").reply(R"({"sessionId":"session-k"})");
    runtime.script("kimi", turn(kimi, "Hi from Kimi"));
    openProject({ "grok", "kimi" });
    runTurn("Hi");
    model->setRoutingMode(ProviderRoutingMode::kimi);
    runTurn("More");
    EXPECT_THAT(runtime.received("kimi", "session/load"), IsEmpty());
    EXPECT_THAT(*task().providerSessionIDs, ElementsAre(Pair("grok", "session-g"), Pair("kimi", "session-k")));
    EXPECT_EQ(task().lastProvider, AgentProvider::kimi);
    EXPECT_EQ(task().sessionId, "session-g");
}

TEST_F(AppModelPromptsTest, AChangeOfProviderBetweenTurnsSendsACapsuleAndSaysSo)
{
    runtime.script("kimi", oneTurn("Found it."));
    runtime.script("grok", oneTurn("Mended."));
    openProject({ "grok", "kimi" });
    model->setRoutingMode(ProviderRoutingMode::kimi);
    runTurn("Fix the basket");
    model->setRoutingMode(ProviderRoutingMode::grok);
    runTurn("Go on");
    EXPECT_THAT(texts(),
        ElementsAre(
            "Fix the basket", "Found it.", "Go on", "Switched this task from Kimi to Grok with visible context attached.", "Mended."));
    EXPECT_EQ(kinds()[3], Kind::system);
    EXPECT_THAT(prompts("grok"),
        ElementsAre(
            "Continue this coding task after an automatic provider handoff from Kimi to Grok.\n"
            "\n"
            "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve the "
            "user's approval mode and ask for approval when your runtime requires it.\n"
            "\n"
            "ORIGINAL USER REQUEST\n"
            "Go on\n"
            "\n"
            "ACTIVE PLAN\n"
            "No active plan was reported.\n"
            "\n"
            "RECENT VISIBLE CONVERSATION\n"
            "USER: Fix the basket\n"
            "\n"
            "ASSISTANT [Kimi]: Found it.\n"
            "\n"
            "USER: Go on\n"
            "\n"
            "WORKSPACE\n"
            + runtime.workspace()
            + "\n"
              "\n"
              "REPOSITORY SNAPSHOT\n"
              "No Git snapshot is available; inspect the workspace directly."));
}

TEST_F(AppModelPromptsTest, AFailedPromptPutsTheFriendlyTextIntoTheBannerAndTheRawOneIntoTheTask)
{
    runtime.script("kimi", failingTurn("Unauthorized: token expired"));
    openProject({ "kimi" });
    model->send("Hi");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Unauthorized: token expired"));
    EXPECT_EQ(model->errorMessage(),
        "Kimi needs you to sign in again. Use Log in with Kimi in Settings; tessarin removes pay-per-use API keys from the runtime.");
    EXPECT_THAT(texts(), ElementsAre("Hi", "Error from Kimi: Unauthorized: token expired"));
    EXPECT_THAT(kinds(), ElementsAre(Kind::user, Kind::system));
    const ChatEntry& line = model->entries()[1];
    EXPECT_TRUE(Uuid::parse(line.id));
    EXPECT_EQ(line.provider, std::nullopt);
    EXPECT_EQ(line.title, std::nullopt);
    EXPECT_EQ(line.status, std::nullopt);
}

TEST_F(AppModelPromptsTest, TheNextPromptAfterAFailureReplacesTheClient)
{
    runtime.script("grok", 1, failingTurn("It broke"));
    runtime.script("grok", 2, oneTurn("Hello"));
    openProject();
    model->send("Hi");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(model->errorMessage(), "It broke");
    runTurn("Again");
    EXPECT_TRUE(runtime.hasStarted("grok", 2));
    EXPECT_THAT(texts(), ElementsAre("Hi", "Error from Grok: It broke", "Again", "Hello"));
    EXPECT_EQ(model->errorMessage(), "It broke"); // the banner stays until it is closed
}

TEST_F(AppModelPromptsTest, StoppingAsksTheAgentToEndItsTurnAndKeepsTheClient)
{
    Scenario scenario = hangingTurn();
    scenario.expect("session/cancel").waitForFile("go").replyTo("session/prompt", R"({"stopReason":"cancelled"})");
    runtime.script("grok", turn(scenario, "Hello"));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    model->stopWorking();
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you."));
    EXPECT_EQ(kinds()[1], Kind::system);
    // The success that the cancellation provokes leaves the connection ready and saves.
    preferences.remove(WorkspaceStore::key);
    runtime.touch("go");
    waitUntil([&] { return preferences.bytes(WorkspaceStore::key).has_value(); });
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::ready);
    runTurn("More");
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you.", "More", "Hello"));
}

TEST_F(AppModelPromptsTest, AFailureThatTheCancellationProvokesStillActs)
{
    Scenario scenario = hangingTurn();
    runtime.script(
        "grok", scenario.expect("session/cancel").step(R"({"replyError":{"code":1,"message":"Cancelled"},"to":"session/prompt"})"));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    model->stopWorking();
    waitFor(ConnectionState::Kind::failed);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you.", "Error from Grok: Cancelled"));
}

TEST_F(AppModelPromptsTest, StoppingWithoutAClientStillSaysSoAndLeavesReady)
{
    openProject();
    model->stopWorking();
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::ready);
    EXPECT_THAT(texts(), ElementsAre("Stopped by you."));
    runtime.script("grok", oneTurn("Hello"));
    runTurn("Hi"); // ready without a client starts one
    EXPECT_THAT(texts(), ElementsAre("Stopped by you.", "Hi", "Hello"));
}

} // namespace
} // namespace tessarin::testing
