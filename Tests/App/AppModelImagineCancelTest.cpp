#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What ends a generation or its runtime, and what does not.
class AppModelImagineCancelTest : public AppModelImagineTest
{
protected:
    // A runtime that ends a cancelled turn as it should, and can go on.
    static Scenario cancellable(std::string_view answer = R"({"stopReason":"cancelled"})")
    {
        Scenario scenario = hangingTurn();
        return scenario.expect("session/cancel").touch("cancelled").replyTo("session/prompt", answer);
    }
};

TEST_F(AppModelImagineCancelTest, CancellingAsksTheRuntimeAndKeepsItForTheNextGeneration)
{
    Scenario scenario = cancellable();
    openImagine(scenario.expect("session/prompt").reply(endTurn));
    generateUntil("prompted", "one");
    model->cancelImagine();
    EXPECT_EQ(model->imagineState().kind(), State::ready) << "at once, not when the runtime answers";
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    waitForFile("cancelled");
    model->generateImagine("two", ImagineKind::image);
    waitForImagine(State::ready);
    waitUntil([&] { return prompts("grok").size() == 2; }, "the second prompt");
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine one", "/imagine two"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineCancelTest, TheEndOfACancelledTurnLeavesTheText)
{
    Scenario scenario = cancellable();
    openImagine(scenario.chunk("Bye"));
    generateUntil("prompted");
    model->cancelImagine();
    waitUntil([&] { return model->imagineProgress() == "Bye"; }, "what came after the end of the turn");
    EXPECT_THAT(lines, ElementsAre("Preparing image generation…", "Grok is generating an image…", "Stopped", "Bye"));
    EXPECT_EQ(model->imagineState().kind(), State::ready);
}

// Only another runtime is told apart, not another turn of the same one.
TEST_F(AppModelImagineCancelTest, TheLateEndOfACancelledTurnSettlesTheNextGeneration)
{
    Scenario scenario = hangingTurn();
    scenario.expect("session/cancel").waitForFile("go").replyTo("session/prompt", R"({"stopReason":"cancelled"})");
    openImagine(scenario.expect("session/prompt").touch("second").waitForFile("end").chunk("Bye").reply(endTurn));
    generateUntil("prompted", "one");
    model->cancelImagine();
    model->generateImagine("two", ImagineKind::image);
    EXPECT_EQ(model->imagineState().kind(), State::working);
    runtime.touch("go");
    waitForImagine(State::ready);
    waitForFile("second");
    EXPECT_EQ(model->imagineProgress(), "Generation finished") << "though its own turn has no end yet";
    runtime.touch("end");
    waitUntil([&] { return model->imagineProgress() == "Bye"; }, "the second turn, which goes on");
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelImagineCancelTest, ACancelledTurnThatFailsSaysSo)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.expect("session/cancel").step(R"({"replyError":{"code":1,"message":"Cancelled"},"to":"session/prompt"})"));
    generateUntil("prompted");
    model->cancelImagine();
    waitForImagine(State::failed);
    expectFailed("Cancelled", "Cancelled");
    EXPECT_EQ(model->imagineProgress(), "Generation failed");
}

TEST_F(AppModelImagineCancelTest, FilesThatAreReportedAfterACancelAreStillImported)
{
    const std::string late = made("late.png", "late");
    Scenario scenario = cancellable();
    openImagine(scenario.update(finished(late)));
    generateUntil("prompted", "a late cube");
    model->cancelImagine();
    waitForItems(1);
    EXPECT_THAT(itemPrompts(), ElementsAre("a late cube"));
    EXPECT_EQ(model->imagineProgress(), "Image ready");
}

TEST_F(AppModelImagineCancelTest, AFileThatWasTakenUpBeforeACancelIsNotImportedAgain)
{
    const std::string path = made("a.png");
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(path)).expect("session/cancel");
    openImagine(scenario.update(finished(path)).update(finished(made("b.png"))).replyTo("session/prompt", endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    model->cancelImagine();
    waitForItems(2);
    drain();
    EXPECT_EQ(libraryFiles().size(), 2U);
}

TEST_F(AppModelImagineCancelTest, WithoutARuntimeACancelOnlySaysStopped)
{
    openImagine(makes({ made("a.png") }));
    model->cancelImagine();
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    EXPECT_THAT(model->entries(), IsEmpty());
    model->generateImagine("a red cube", ImagineKind::image);
    EXPECT_EQ(model->imagineState().kind(), State::connecting) << "ready without a runtime is no reason to send";
    waitForItems(1);
}

// The runtime has nothing yet that it could end; its start goes on, and the prompt goes out.
TEST_F(AppModelImagineCancelTest, ACancelWhileTheRuntimeStartsDoesNotReachIt)
{
    Scenario scenario;
    scenario.expect("initialize").touch("begun").waitForFile("go").reply().expect("session/new").reply(R"({"sessionId":"s"})");
    openImagine(scenario.expect("session/prompt").reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForFile("begun");
    model->cancelImagine();
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    runtime.touch("go");
    waitUntil([&] { return model->imagineProgress() == "Generation finished"; }, "the end of the generation");
    EXPECT_THAT(states, ElementsAre(State::connecting, State::ready, State::working, State::ready));
    EXPECT_THAT(runtime.received("grok", "session/cancel"), IsEmpty());
}

TEST_F(AppModelImagineCancelTest, AChangeOfPermissionModeEndsTheRuntime)
{
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").reply(endTurn));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_EQ(model->imagineProgress(), "");
    waitForEnd(1);
    model->generateImagine("two", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_EQ(arguments(2), (JsonArray{ "agent", "--permission-mode", "auto", "stdio" }));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineCancelTest, AChangeOfRoutingLeavesTheRuntimeAlone)
{
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").reply(endTurn).expect("session/prompt").reply(endTurn));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    model->setRoutingMode(ProviderRoutingMode::codex);
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_EQ(model->imagineProgress(), "Generation finished");
    model->generateImagine("two", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelImagineCancelTest, AChangeOfTaskOrProjectLeavesTheRuntimeAlone)
{
    Scenario scenario = hangingTurn();
    runtime.script("grok", scenario.waitForFile("go").reply(endTurn));
    openProject();
    generateUntil("prompted");
    model->newThread();
    model->addWorkspace(makeFolder("other"));
    EXPECT_EQ(model->imagineState().kind(), State::working);
    EXPECT_FALSE(wasStopped("grok"));
    runtime.touch("go");
    waitForImagine(State::ready);
}

TEST_F(AppModelImagineCancelTest, NoModeChangesWhileItStartsOrWorks)
{
    Scenario scenario;
    scenario.expect("initialize").touch("begun").waitForFile("go").reply().expect("session/new").reply(R"({"sessionId":"s"})");
    openImagine(scenario.expect("session/prompt").touch("prompted").waitForFile("end").replyError("No"));
    EXPECT_TRUE(model->canChangePermissionMode());
    model->generateImagine("a red cube", ImagineKind::image);
    waitForFile("begun");
    for (const State state : { State::connecting, State::working }) {
        waitForImagine(state);
        EXPECT_FALSE(model->canChangePermissionMode());
        EXPECT_FALSE(model->canChangeRoutingMode());
        model->setPermissionMode(GrokPermissionMode::auto_);
        model->setRoutingMode(ProviderRoutingMode::codex);
        EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
        EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
        runtime.touch("go");
    }
    runtime.touch("end");
    waitForImagine(State::failed);
    EXPECT_TRUE(model->canChangePermissionMode()) << "a failure blocks nothing";
    EXPECT_TRUE(model->canChangeRoutingMode());
    EXPECT_EQ(model->connectionState().kind(), State::idle);
}

TEST_F(AppModelImagineCancelTest, BothSectionsWorkAtOnceEachWithAProcessOfItsOwn)
{
    Scenario chat = hangingTurn();
    runtime.script("grok", 1, chat.waitForFile("chat").chunk("From the task").reply(endTurn));
    Scenario imagine;
    imagine.handshake("session-2").expect("session/prompt").touch("drawing").waitForFile("draw").chunk("From Imagine");
    runtime.script("grok", 2, imagine.reply(endTurn));
    openProject();
    model->send("Hi");
    waitForFile("prompted");
    model->generateImagine("Hi", ImagineKind::image);
    waitForFile("drawing");
    EXPECT_EQ(model->connectionState().kind(), State::working);
    EXPECT_EQ(model->imagineState().kind(), State::working);
    EXPECT_NE(runtime.processID("grok", 1), runtime.processID("grok", 2));
    EXPECT_EQ(runtime.startOf("grok", 1).at("workingDirectory").as_string(), runtime.workspace());
    runtime.touch("draw");
    waitForImagine(State::ready);
    EXPECT_EQ(model->imagineProgress(), "From Imagine");
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    runtime.touch("chat");
    waitFor(State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "From the task"));
    EXPECT_EQ(model->imagineProgress(), "From Imagine");
    EXPECT_THAT(prompts("grok", 1), ElementsAre("Hi"));
    EXPECT_THAT(prompts("grok", 2), ElementsAre("/imagine Hi"));
}

TEST_F(AppModelImagineCancelTest, StoppingTheWorkOfATaskDoesNotStopAGeneration)
{
    Scenario scenario = hangingTurn();
    runtime.script("grok", scenario.waitForFile("go").reply(endTurn));
    openProject();
    generateUntil("prompted");
    model->stopWorking();
    EXPECT_EQ(model->imagineState().kind(), State::working);
    EXPECT_THAT(runtime.received("grok", "session/cancel"), IsEmpty());
    runtime.touch("go");
    waitForImagine(State::ready);
}

TEST_F(AppModelImagineCancelTest, WithTheModelGoneTheRuntimesInputEndsAndNothingIsMissed)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.waitForFile("go").update(finished(made("a.png"))).reply(endTurn));
    generateUntil("prompted");
    model.reset();
    runtime.touch("go");
    waitForEnd();
    drain();
    EXPECT_THAT(libraryFiles(), IsEmpty());
}

} // namespace
} // namespace tessarin::testing
