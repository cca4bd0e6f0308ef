#include "AppModelFixture.h"
#include "GitRepository.h"

namespace tessarin::testing
{
namespace
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using State = ConnectionState::Kind;

class AppModelHandoffTest : public AppModelTest
{
protected:
    [[nodiscard]] bool isExhausted(AgentProvider provider) const
    {
        const auto found = model->providerUsage().find(provider);
        return found != model->providerUsage().end() && found->second.exhausted;
    }
};

TEST_F(AppModelHandoffTest, AnExhaustedAllowanceMovesTheTaskToTheNextRuntimeWithACapsule)
{
    Scenario grok;
    grok.handshake().expect("session/prompt").chunk("Looking. ");
    grok.update(R"({"sessionUpdate":"plan","entries":[{"content":"Mend the sum","status":"in_progress"}]})").replyError(usageLimit);
    runtime.script("grok", grok);
    runtime.script("kimi", oneTurn("Mended."));
    openProject({ "grok", "kimi" });
    runTurn("Fix the basket");
    EXPECT_THAT(
        texts(), ElementsAre("Fix the basket", "Looking. ", "Grok allowance reached. Automatically handed this task to Kimi.", "Mended."));
    EXPECT_EQ(kinds()[2], ChatEntryKind::system);
    EXPECT_EQ(model->entries()[3].provider, AgentProvider::kimi);
    EXPECT_EQ(model->activeProvider(), AgentProvider::kimi);
    EXPECT_TRUE(isExhausted(AgentProvider::grok));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_THAT(model->plan(), SizeIs(1)); // stays until an update replaces it
    ASSERT_THAT(prompts("kimi"), SizeIs(1));
    // The line about the handoff is no part of the capsule.
    EXPECT_EQ(prompts("kimi")[0],
        "Continue this coding task after an automatic provider handoff from Grok to Kimi.\n\n"
        "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve the user's "
        "approval mode and ask for approval when your runtime requires it.\n\n"
        "ORIGINAL USER REQUEST\nFix the basket\n\n"
        "ACTIVE PLAN\n- [in_progress] Mend the sum\n\n"
        "RECENT VISIBLE CONVERSATION\nUSER: Fix the basket\n\nASSISTANT [Grok]: Looking. \n\n"
        "WORKSPACE\n"
            + runtime.workspace() + "\n\nREPOSITORY SNAPSHOT\nNo Git snapshot is available; inspect the workspace directly.");
    waitForStop("grok");
}

TEST_F(AppModelHandoffTest, TheCapsuleHoldsTheGitStateOfTheProject)
{
    const GitRepository repository;
    repository.initialize();
    repository.write("basket.c", "");
    runtime.script("grok", failingTurn(usageLimit));
    runtime.script("kimi", oneTurn("Mended."));
    install({ "grok", "kimi" });
    openModel();
    model->addWorkspace(repository.path());
    runTurn("Fix the basket");
    EXPECT_THAT(prompts("kimi").at(0),
        ::testing::EndsWith("REPOSITORY SNAPSHOT\n$ git status --short --branch\n## No commits yet on main\n?? basket.c"));
}

TEST_F(AppModelHandoffTest, TheChainTriesEachRuntimeOnceAndEndsWithThePlainFailure)
{
    runtime.script("grok", failingTurn("Rate limit exceeded", "session-g"));
    runtime.script("kimi", failingTurn("You have reached your allowance", "session-k"));
    runtime.script("opencode", failingTurn("Quota used up", "session-o"));
    openProject({ "grok", "kimi", "opencode" });
    model->send("Fix the basket");
    waitFor(State::failed);
    EXPECT_THAT(texts(),
        ElementsAre("Fix the basket", "Grok allowance reached. Automatically handed this task to Kimi.",
            "Kimi allowance reached. Automatically handed this task to GLM.", "Error from GLM: Quota used up"));
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Quota used up"));
    EXPECT_EQ(model->errorMessage(), "Quota used up");
    EXPECT_TRUE(isExhausted(AgentProvider::grok));
    EXPECT_TRUE(isExhausted(AgentProvider::kimi));
    EXPECT_TRUE(isExhausted(AgentProvider::glm));
    EXPECT_THAT(prompts("grok"), ElementsAre("Fix the basket"));
    EXPECT_THAT(
        prompts("kimi"), ElementsAre(StartsWith("Continue this coding task after an automatic provider handoff from Grok to Kimi.")));
    // Each step builds its own capsule, with the same request.
    EXPECT_THAT(prompts("opencode"),
        ElementsAre(AllOf(StartsWith("Continue this coding task after an automatic provider handoff from Kimi to GLM."),
            HasSubstr("ORIGINAL USER REQUEST\nFix the basket\n"),
            HasSubstr("SYSTEM: Grok allowance reached. Automatically handed this task to Kimi.\n\nWORKSPACE"))));
    for (const char* program : { "grok", "kimi", "opencode" }) {
        EXPECT_FALSE(runtime.hasStarted(program, 2)) << program;
    }
    EXPECT_EQ(task().sessionID(AgentProvider::grok), "session-g");
    EXPECT_EQ(task().sessionID(AgentProvider::kimi), "session-k");
    EXPECT_EQ(task().sessionID(AgentProvider::glm), "session-o");
    EXPECT_EQ(task().lastProvider, AgentProvider::glm);
}

TEST_F(AppModelHandoffTest, WithAllExhaustedTheNextPromptFindsNoRuntime)
{
    runtime.script("grok", failingTurn(usageLimit));
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_TRUE(isExhausted(AgentProvider::grok));
    model->send("Again");
    EXPECT_EQ(model->errorMessage(), "No subscription runtime is ready. Install Grok Build, Codex, or Kimi Code and sign in.");
}

TEST_F(AppModelHandoffTest, APinnedModeShowsTheFailureAndMovesNothing)
{
    runtime.script("grok", 1, failingTurn(usageLimit));
    runtime.script("grok", 2, oneTurn("Renewed"));
    openProject({ "grok", "kimi" });
    model->setRoutingMode(ProviderRoutingMode::grok);
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_TRUE(isExhausted(AgentProvider::grok));
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(usageLimit));
    EXPECT_THAT(texts(), ElementsAre("Hi", std::string("Error from Grok: ") + usageLimit));
    EXPECT_FALSE(runtime.hasStarted("kimi"));
    runTurn("Again"); // the pinned runtime is still tried
    EXPECT_EQ(texts().back(), "Renewed");
}

TEST_F(AppModelHandoffTest, AFailureOfAnotherKindMovesNothing)
{
    runtime.script("grok", failingTurn("Your allowance changed"));
    openProject({ "grok", "kimi" });
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_TRUE(model->providerUsage().empty());
    EXPECT_FALSE(runtime.hasStarted("kimi"));
}

TEST_F(AppModelHandoffTest, AFailedStartMovesNothing)
{
    runtime.script("grok", Scenario().expect("initialize").replyError(usageLimit));
    openProject({ "grok", "kimi" });
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed(usageLimit));
    EXPECT_TRUE(model->providerUsage().empty());
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    EXPECT_FALSE(runtime.hasStarted("kimi"));
}

TEST_F(AppModelHandoffTest, ASuccessorThatFailsAtItsStartEndsTheChain)
{
    runtime.script("grok", failingTurn(usageLimit));
    runtime.script("kimi", Scenario().expect("initialize").replyError("Unauthorized"));
    openProject({ "grok", "kimi", "opencode" });
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Unauthorized"));
    EXPECT_THAT(model->errorMessage(), ::testing::Optional(StartsWith("Kimi needs you to sign in again.")));
    EXPECT_THAT(texts(), ElementsAre("Hi", "Grok allowance reached. Automatically handed this task to Kimi."));
    EXPECT_FALSE(runtime.hasStarted("opencode"));
}

TEST_F(AppModelHandoffTest, ASuccessorThatCannotBeMadeEndsTheTurnWithItsInstallMessage)
{
    runtime.script("grok", failingTurnOnGo(usageLimit));
    openProject({ "grok", "kimi", "opencode" });
    model->send("Hi");
    waitFor(State::working);
    runtime.touch("go");
    int lookups = 0;
    onSettingAsked = [&](const std::string& key) {
        if (key == "kimiExecutablePath" && ++lookups == 2) {
            uninstall("kimi");
        }
    };
    waitFor(State::failed);
    EXPECT_EQ(model->errorMessage(), "Install Kimi Code, then sign in with your Kimi membership.");
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
    EXPECT_FALSE(runtime.hasStarted("opencode"));
    waitForStop("grok");
}

TEST_F(AppModelHandoffTest, TheSuccessorResumesItsOwnSessionOfTheTask)
{
    runtime.script("kimi", 1, oneTurn("From Kimi", "session-k"));
    Scenario resumed;
    resumed.always("session/set_config_option").expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})");
    resumed.expect("session/load").reply();
    runtime.script("kimi", 2, turn(resumed, "From Kimi again"));
    runtime.script("grok", failingTurn(usageLimit));
    openProject({ "kimi" });
    runTurn("Hi");
    install({ "grok" });
    model->setRoutingMode(ProviderRoutingMode::grok);
    model->setRoutingMode(ProviderRoutingMode::automatic);
    runTurn("More");
    EXPECT_THAT(parameters("kimi", "session/load", "sessionId", 2), ElementsAre(Json("session-k")));
    EXPECT_EQ(texts().back(), "From Kimi again");
}

TEST_F(AppModelHandoffTest, ATaskStaysWhereItIsAndAnExhaustedRuntimeIsSkippedInTheNextTurn)
{
    runtime.script("grok", failingTurn(usageLimit));
    Scenario kimi = oneTurn("One");
    runtime.script("kimi", turn(kimi, "Two"));
    openProject({ "grok", "kimi" });
    runTurn("Hi");
    runTurn("More");
    EXPECT_THAT(prompts("kimi"), ElementsAre(Not(IsEmpty()), "More"));
    model->newThread(); // no active provider, and Grok is still exhausted
    runtime.script("kimi", 2, oneTurn("Three"));
    runTurn("Other");
    EXPECT_THAT(prompts("kimi", 2), ElementsAre("Other"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelHandoffTest, ARestartForgetsExhaustion)
{
    runtime.script("grok", 1, failingTurn(usageLimit));
    runtime.script("grok", 2, oneTurn("Renewed"));
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    openModel();
    EXPECT_TRUE(model->providerUsage().empty());
    runTurn("Again");
    EXPECT_EQ(texts().back(), "Renewed");
}

TEST_F(AppModelHandoffTest, TheApprovalModeAndAPendingPromptGoAlong)
{
    Scenario grok;
    grok.handshake().expect("session/prompt");
    grok.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"toolCall":{"title":"Run"},
        "options":[{"optionId":"a","name":"Allow","kind":"allow_once"}]}})");
    grok.step(R"({"replyError":{"code":1,"message":"usage limit"},"to":"session/prompt"})");
    runtime.script("grok", grok);
    runtime.script("kimi", oneTurn("Hello"));
    openProject({ "grok", "kimi" });
    model->setPermissionMode(GrokPermissionMode::auto_);
    runTurn("Hi");
    EXPECT_EQ(model->activeProvider(), AgentProvider::kimi);
    EXPECT_THAT(parameters("kimi", "session/set_config_option", "value"), ElementsAre(Json("auto")));
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_EQ(model->permissionRequest()->title, "Run");
    model->respondToPermission("a"); // goes to the new client, which knows nothing of it
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), State::ready);
}

} // namespace
} // namespace tessarin::testing
