#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

constexpr const char* signInText = "Grok needs you to sign in again. Use the Log in button; your SuperGrok subscription stays in the CLI.";

class AppModelImagineFailureTest : public AppModelImagineTest
{
};

TEST_F(AppModelImagineFailureTest, WithoutGrokNothingStartsAndTheBannerSaysWhatToInstall)
{
    openModel();
    watch();
    model->generateImagine("a red cube", ImagineKind::image);
    EXPECT_TRUE(model->installStatus().isMissing());
    EXPECT_EQ(model->errorMessage(), "Install and log in to Grok Build before using Imagine.");
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(AppModelImagineFailureTest, GrokThatIsGoneIsNotUsedThoughItStillRuns)
{
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").reply(endTurn));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    uninstall("grok");
    model->generateImagine("two", ImagineKind::image);
    EXPECT_TRUE(model->installStatus().isMissing());
    EXPECT_EQ(model->errorMessage(), "Install and log in to Grok Build before using Imagine.");
    EXPECT_EQ(model->imagineState().kind(), State::ready) << "the state is left as it is";
    EXPECT_EQ(model->imagineProgress(), "Generation finished");
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine one"));
}

TEST_F(AppModelImagineFailureTest, ALibraryThatCannotBeMadeFailsBeforeAnythingStarts)
{
    fs::create_directories(runtime.directory() + "/data");
    std::ofstream(library()) << "a file where the folder should be";
    openImagine(hangingTurn());
    model->generateImagine("a red cube", ImagineKind::image);
    expectFailed("Could not create the Imagine library.", std::nullopt);
    EXPECT_THAT(states, ElementsAre(State::connecting, State::failed));
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
    EXPECT_FALSE(runtime.hasStarted("grok"));
    fs::remove(library());
    generateUntil("prompted");
}

TEST_F(AppModelImagineFailureTest, ALibraryThatCannotBeMadeEndsTheRuntimeOfBefore)
{
    openImagine(hangingTurn());
    generateUntil("prompted");
    fs::remove_all(library());
    std::ofstream(library()) << "a file where the folder should be";
    model->generateImagine("again", ImagineKind::image);
    expectFailed("Could not create the Imagine library.", std::nullopt);
    waitForEnd(1);
    drain();
    expectFailed("Could not create the Imagine library.", std::nullopt);
    fs::remove(library());
}

TEST_F(AppModelImagineFailureTest, AStartThatFailsShowsTheTextAndTheFriendlyOne)
{
    Scenario refusing;
    runtime.script("grok", 1, refusing.expect("initialize").reply().expect("session/new").replyError("Authentication required"));
    openImagine(makes({ made("a.png") }));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::failed);
    expectFailed("Authentication required", signInText);
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
    EXPECT_FALSE(wasStopped("grok")) << "it is stopped by the next generation";
    model->generateImagine("two", ImagineKind::image);
    waitForEnd(1);
    waitForItems(1);
    waitForImagine(State::ready);
}

TEST_F(AppModelImagineFailureTest, AProgramThatCannotBeRunFailsTheStart)
{
    const std::string broken = made("grok", "no program");
    fs::permissions(broken, fs::perms::owner_all);
    preferences.setText("grokExecutablePath", broken);
    openModel();
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::failed);
    EXPECT_THAT(model->imagineState().failureText(), ::testing::HasSubstr(broken));
    EXPECT_EQ(model->errorMessage(), model->imagineState().failureText());
}

TEST_F(AppModelImagineFailureTest, APromptThatFailsShowsBothTextsAndTheNextGenerationStartsAfresh)
{
    runtime.script("grok", 1, failingTurn("You are unauthorized"));
    openImagine(makes({ made("a.png") }));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::failed);
    expectFailed("You are unauthorized", signInText);
    EXPECT_EQ(model->imagineProgress(), "Generation failed");
    EXPECT_FALSE(wasStopped("grok"));
    model->generateImagine("two", ImagineKind::image);
    EXPECT_EQ(model->imagineState().kind(), State::connecting);
    waitForItems(1);
    waitForEnd(1);
    EXPECT_THAT(prompts("grok", 2), ElementsAre("/imagine two"));
}

TEST_F(AppModelImagineFailureTest, ASpentAllowanceIsAFailureAsAnyOther)
{
    install({ "codex", "kimi" });
    openImagine(failingTurn(usageLimit));
    model->addWorkspace(runtime.workspace());
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::failed);
    expectFailed(usageLimit, usageLimit);
    EXPECT_THAT(model->providerUsage(), IsEmpty());
    EXPECT_THAT(model->entries(), IsEmpty());
    EXPECT_EQ(model->connectionState().kind(), State::idle);
}

TEST_F(AppModelImagineFailureTest, ARuntimeThatDiesWhileItStarts)
{
    Scenario scenario;
    openImagine(scenario.expect("initialize").standardError("Out of memory\n").exit(3));
    model->generateImagine("a red cube", ImagineKind::image);
    waitUntil([&] { return model->imagineState().failureText() == "Out of memory"; }, "the end of the runtime");
    expectFailed("Out of memory", "Out of memory");
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
}

TEST_F(AppModelImagineFailureTest, ARuntimeThatDiesAtWork)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.exit(3));
    model->generateImagine("a red cube", ImagineKind::image);
    waitUntil([&] { return model->imagineState().failureText() == "Grok exited with status 3."; }, "the end of the runtime");
    expectFailed("Grok exited with status 3.", "Grok exited with status 3.");
    EXPECT_EQ(model->imagineProgress(), "Generation failed") << "its prompt failed first";
}

TEST_F(AppModelImagineFailureTest, ARuntimeThatDiesBetweenTwoGenerations)
{
    Scenario dying;
    runtime.script("grok", 1, dying.handshake().expect("session/prompt").reply(endTurn).waitForFile("go").exit(3));
    openImagine(makes({ made("a.png") }));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    runtime.touch("go");
    waitForImagine(State::failed);
    expectFailed("Grok exited with status 3.", "Grok exited with status 3.");
    EXPECT_EQ(model->imagineProgress(), "Generation finished");
    model->generateImagine("two", ImagineKind::image);
    waitForItems(1);
}

TEST_F(AppModelImagineFailureTest, ARuntimeThatDiesAfterACancel)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.expect("session/cancel").waitForFile("go").exit(3));
    generateUntil("prompted");
    model->cancelImagine();
    runtime.touch("go");
    waitUntil([&] { return model->imagineState().failureText() == "Grok exited with status 3."; }, "the end of the runtime");
    EXPECT_EQ(model->imagineProgress(), "Generation failed");
}

TEST_F(AppModelImagineFailureTest, TheDeathOfAReplacedRuntimeTouchesNothing)
{
    Scenario dying = hangingTurn();
    runtime.script("grok", 1, dying.waitForFile("die").exit(3));
    Scenario next;
    runtime.script("grok", 2, next.expect("initialize").touch("begun").waitForFile("go"));
    openImagine(oneTurn("unused"));
    generateUntil("prompted", "one");
    drain();
    runtime.touch("die");
    waitForCollected("grok"); // its end is reported, and nothing has run here since
    model->generateImagine("two", ImagineKind::image);
    waitForFile("begun");
    drain();
    EXPECT_EQ(model->imagineState().kind(), State::connecting);
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

// As with the client of a task: what had been sent before counts, for the generation that runs when it arrives.
TEST_F(AppModelImagineFailureTest, AFileThatAReplacedRuntimeHadReportedIsTakenByTheNextGeneration)
{
    Scenario first = hangingTurn();
    first.waitForFile("report").update(finished(made("a.png")));
    runtime.script("grok", 1, askToBeHandled(first));
    openImagine(hangingTurn("session-2"));
    generateUntil("prompted", "one");
    drain();
    runtime.touch("report");
    waitForHandled();
    model->generateImagine("two", ImagineKind::image);
    waitForItems(1);
    EXPECT_THAT(itemPrompts(), ElementsAre("two"));
}

TEST_F(AppModelImagineFailureTest, GarbageIsPassedOver)
{
    Scenario scenario;
    scenario.raw("no json\n")
        .step(R"({"rawBase64":"//4K"})")
        .handshake()
        .expect("session/prompt")
        .raw("{\"jsonrpc\":\n[]\n\"/tmp/x.png\"\n");
    scenario.send(R"({"jsonrpc":"2.0","method":"session/update","params":{"update":["/tmp/x.png"]}})");
    scenario.send(R"({"jsonrpc":"2.0","method":"_x.ai/other","params":{"path":"/tmp/x.png"}})");
    scenario.update(R"({"sessionUpdate":"tool_call_update","title":["no text"],"content":[null,1,true,{"text":{"path":3}}]})");
    openImagine(scenario.update(finished(made("a.png"))).reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    waitForImagine(State::ready);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

} // namespace
} // namespace tessarin::testing
