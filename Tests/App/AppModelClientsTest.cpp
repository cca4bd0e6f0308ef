#include "AppModelFixture.h"

#include <fstream>

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = ConnectionState::Kind;

class AppModelClientsTest : public AppModelTest
{
protected:
    // A session of an earlier run of the program waits on the task "Hi", "Hello"; its runtime can restore it.
    void openStoredSession(Scenario resumed)
    {
        runtime.script("grok", 1, oneTurn("Hello", "session-1"));
        runtime.script("grok", 2, std::move(resumed));
        openProject();
        runTurn("Hi");
        openModel();
    }

    [[nodiscard]] static Scenario loading()
    {
        Scenario scenario;
        return scenario.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load");
    }
};

TEST_F(AppModelClientsTest, AReplayShowsOnlyWhatIsReplayedAndThenStands)
{
    Scenario resumed = loading();
    resumed.update(R"({"sessionUpdate":"user_message_chunk","content":{"text":"Hi"}})");
    resumed.update(R"({"sessionUpdate":"user_message_chunk","content":{"text":"and"}})");
    resumed.chunk("Hel").update(R"({"sessionUpdate":"agent_thought_chunk","content":{"text":"hm"}})").chunk("lo again");
    resumed.waitForFile("go").reply();
    openStoredSession(turn(resumed, "More of it"));
    model->send("More");
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", "More"));
    waitForEntries(4);
    waitUntil([&] { return texts()[2] == "Hello again"; });
    EXPECT_THAT(texts(), ElementsAre("Hi", "and", "Hello again", "hm"));
    EXPECT_THAT(kinds(), ElementsAre(ChatEntryKind::user, ChatEntryKind::user, ChatEntryKind::assistant, ChatEntryKind::thought));
    EXPECT_EQ(model->connectionState().kind(), State::connecting);
    runtime.touch("go");
    waitFor(State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "and", "Hello again", "hm", "More of it"));
}

TEST_F(AppModelClientsTest, AReplayThatFailsPutsTheEntriesBackAndGoesOnWithANewSession)
{
    Scenario resumed = loading();
    resumed.chunk("Half").waitForFile("go").replyError("No such session").expect("session/new").reply(R"({"sessionId":"session-2"})");
    resumed.expect("session/prompt")
        .update(R"({"sessionUpdate":"user_message_chunk","content":{"text":"echo"}})")
        .chunk("Fresh")
        .reply(endTurn);
    openStoredSession(std::move(resumed));
    model->send("More");
    waitUntil([&] { return texts() == std::vector<std::string>{ "Half" }; });
    runtime.touch("go");
    waitFor(State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", "More", "Fresh")); // no longer replaying: the echo is dropped
    EXPECT_EQ(task().sessionID(AgentProvider::grok), "session-2");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelClientsTest, AnInterruptedReplayDropsWhatItHadSetAside)
{
    Scenario resumed = loading();
    resumed.chunk("Half").waitForFile("never");
    openStoredSession(std::move(resumed));
    model->send("More");
    waitUntil([&] { return texts() == std::vector<std::string>{ "Half" }; });
    const Uuid replayed = *model->selectedThreadID();
    model->newThread();
    EXPECT_THAT(texts(), IsEmpty());
    model->selectThread(replayed, *model->selectedWorkspaceID());
    EXPECT_THAT(texts(), ElementsAre("Half"));
    waitForStop("grok", 2);
}

TEST_F(AppModelClientsTest, AfterAnInterruptedReplayMessagesOfTheUserAreDroppedAgain)
{
    Scenario resumed = loading();
    resumed.chunk("Half").waitForFile("never");
    openStoredSession(std::move(resumed));
    model->send("More");
    waitUntil([&] { return texts() == std::vector<std::string>{ "Half" }; });
    model->newThread();
    Scenario scenario;
    scenario.handshake("session-3").expect("session/prompt");
    scenario.update(R"({"sessionUpdate":"user_message_chunk","content":{"text":"echo"}})").chunk("Fresh").reply(endTurn);
    runtime.script("grok", 3, scenario);
    runTurn("Other");
    EXPECT_THAT(texts(), ElementsAre("Other", "Fresh"));
}

TEST_F(AppModelClientsTest, ARuntimeThatDiesInAReplayLeavesTheEntriesInPlace)
{
    Scenario resumed = loading();
    resumed.chunk("Half").waitForFile("go").exit(3);
    openStoredSession(std::move(resumed));
    model->send("More");
    waitUntil([&] { return texts() == std::vector<std::string>{ "Half" }; });
    runtime.touch("go");
    waitFor(State::failed);
    waitUntil([&] { return model->connectionState().failureText() == "Grok exited with status 3."; });
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", "More"));
}

TEST_F(AppModelClientsTest, ARuntimeThatCannotRestoreLeavesTheEntriesAsTheyWere)
{
    openStoredSession(oneTurn("Fresh", "session-2"));
    runTurn("More");
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello", "More", "Fresh"));
}

TEST_F(AppModelClientsTest, AFailedStartShowsTheFriendlyTextAndLeavesTheTaskAlone)
{
    runtime.script("grok", 1, Scenario().expect("initialize").replyError("Please login first"));
    runtime.script("grok", 2, oneTurn("Hello"));
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Please login first"));
    EXPECT_EQ(
        model->errorMessage(), "Grok needs you to sign in again. Use the Log in button; your SuperGrok subscription stays in the CLI.");
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    EXPECT_EQ(task().lastProvider, std::nullopt);
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
    EXPECT_FALSE(wasStopped("grok")); // its child stays until the next start
    runTurn("Again");
    waitForStop("grok", 1);
}

TEST_F(AppModelClientsTest, AnUnexpectedEndWhileReadyFailsWithItsTextAndLeavesTheTaskAlone)
{
    runtime.script("grok", oneTurn("Hello").waitForFile("end").standardError(" out of memory\n").exit(1));
    openProject();
    runTurn("Hi");
    runtime.touch("end");
    waitFor(State::failed);
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("out of memory"));
    EXPECT_EQ(model->errorMessage(), "out of memory");
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
}

TEST_F(AppModelClientsTest, AnUnexpectedEndWhileWorkingFailsThePromptFirst)
{
    runtime.script("grok", hangingTurn().waitForFile("end").exit(7));
    openProject();
    model->send("Hi");
    waitFor(State::working);
    runtime.touch("end");
    waitUntil([&] { return model->errorMessage() == "Grok exited with status 7."; });
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Grok exited with status 7."));
    EXPECT_THAT(texts(), ElementsAre("Hi", "Error from Grok: The model runtime disconnected."));
}

TEST_F(AppModelClientsTest, AnUnexpectedEndWhileConnectingFailsTheStart)
{
    runtime.script("grok", Scenario().expect("initialize").exit(2));
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->errorMessage() == "Grok exited with status 2."; });
    EXPECT_EQ(model->connectionState().kind(), State::failed);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
}

TEST_F(AppModelClientsTest, TheLogTakesWhatTheRuntimeWritesAndIsEmptiedByTheNextStart)
{
    Scenario noisy = hangingTurn();
    noisy.standardError("one\n").waitForFile("more").standardError("  two ").waitForFile("end").replyTo("session/prompt", endTurn).exit(0);
    runtime.script("grok", 1, noisy);
    runtime.script("grok", 2, oneTurn("Hello"));
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->cliLog() == "one\n"; });
    runtime.touch("more");
    waitUntil([&] { return model->cliLog() == "one\n  two "; });
    runtime.touch("end");
    waitFor(State::failed);
    EXPECT_EQ(model->cliLog(), "one\n  two ");
    model->send("Again");
    EXPECT_EQ(model->cliLog(), "");
    waitFor(State::ready);
}

TEST_F(AppModelClientsTest, ARuntimeThatVanishesBeforeItsStartLeavesTheOldClientAsItIs)
{
    runtime.script("grok", failingTurn(usageLimit));
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    install({ "kimi" });
    int lookups = 0;
    onSettingAsked = [&](const std::string& key) {
        if (key == "kimiExecutablePath" && ++lookups == 2) {
            uninstall("kimi");
        }
    };
    model->send("More"); // goes to Kimi, since Grok is exhausted
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Install Kimi Code, then sign in with your Kimi membership."));
    EXPECT_EQ(model->errorMessage(), "Install Kimi Code, then sign in with your Kimi membership.");
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
    EXPECT_FALSE(wasStopped("grok"));
}

TEST_F(AppModelClientsTest, APromptWhileWorkingAbandonsTheTurnInFlight)
{
    runtime.script("grok", 1, hangingTurn());
    runtime.script("grok", 2, oneTurn("Hello"));
    openProject();
    model->send("First");
    waitUntil([&] { return runtime.exists("prompted"); });
    drain();
    ASSERT_EQ(model->connectionState().kind(), State::working);
    model->send("Second");
    EXPECT_EQ(model->connectionState().kind(), State::connecting);
    waitFor(State::ready);
    // The failure of the abandoned turn, which stopping its client brings about, leaves state, message and task alone.
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_THAT(texts(), ElementsAre("First", "Second", "Hello"));
    waitForStop("grok", 1);
    EXPECT_THAT(prompts("grok", 2), ElementsAre("Second"));
}

TEST_F(AppModelClientsTest, APromptWhileConnectingReplacesTheClient)
{
    runtime.script("grok", 1, Scenario().expect("initialize").touch("asked").waitForFile("never"));
    runtime.script("grok", 2, oneTurn("Hello"));
    openProject();
    model->send("First");
    waitUntil([&] { return runtime.exists("asked"); });
    model->send("Second");
    EXPECT_EQ(model->connectionState().kind(), State::connecting);
    waitFor(State::ready);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_THAT(texts(), ElementsAre("First", "Second", "Hello"));
    waitForStop("grok", 1);
}

TEST_F(AppModelClientsTest, ALateAnswerOfADroppedClientChangesNothing)
{
    Scenario scenario = hangingTurn();
    scenario.waitForFile("go").replyTo("session/prompt", endTurn);
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    drain();
    runtime.touch("go");
    waitForHandled();
    model->newThread();
    preferences.remove(WorkspaceStore::key);
    drain();
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(storedTree(), std::nullopt);
}

TEST_F(AppModelClientsTest, ALateFailureOfADroppedClientChangesNothing)
{
    Scenario scenario = hangingTurn();
    scenario.waitForFile("go").step(R"({"replyError":{"code":1,"message":"quota"},"to":"session/prompt"})");
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    drain();
    runtime.touch("go");
    waitForHandled();
    model->newThread();
    drain();
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_TRUE(model->providerUsage().empty());
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(AppModelClientsTest, ALateStartOfADroppedClientChangesNothing)
{
    Scenario scenario;
    scenario.expect("initialize").reply().expect("session/new").touch("asked").waitForFile("go").reply(R"({"sessionId":"session-1"})");
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("asked"); });
    drain();
    runtime.touch("go");
    waitForHandled();
    model->newThread();
    drain();
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    for (const ChatThread& thread : model->workspaces()[0].threads) {
        EXPECT_EQ(thread.providerSessionIDs, std::nullopt);
    }
}

TEST_F(AppModelClientsTest, ALateEndOfADroppedClientChangesNothing)
{
    runtime.script("grok", oneTurn("Hello").waitForFile("end").exit(1));
    openProject();
    runTurn("Hi");
    drain();
    runtime.touch("end");
    waitForCollected("grok");
    model->newThread();
    drain();
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelClientsTest, CommandsOfAnyRuntimeStartFromTheEnvironmentOfGrok)
{
    const JsonObject params{ { "command", "sh" }, { "args", { "-c", "echo \"$PATH\" > path" } }, { "cwd", runtime.workspace() } };
    const JsonObject create{ { "jsonrpc", "2.0" }, { "id", 5 }, { "method", "terminal/create" }, { "params", params } };
    const JsonObject wait{ { "jsonrpc", "2.0" }, { "id", 6 }, { "method", "terminal/wait_for_exit" },
        { "params", { { "terminalId", "${result.terminalId}" } } } };
    Scenario scenario;
    scenario.always("session/set_config_option").handshake().expect("session/prompt").send(compactJson(create)).expectResponse(5);
    scenario.send(compactJson(wait)).expectResponse(6);
    runtime.script("kimi", scenario.replyTo("session/prompt", endTurn));
    openProject({ "kimi" });
    runTurn("Hi");
    std::string path;
    std::getline(std::ifstream(runtime.workspace() + "/path"), path);
    EXPECT_THAT(path, ::testing::HasSubstr(runtime.home() + "/.grok/bin"));
}

TEST_F(AppModelClientsTest, WhatArrivesAfterTheModelIsGoneDoesNothing)
{
    Scenario scenario = hangingTurn();
    scenario.waitForFile("go").chunk("Late").replyTo("session/prompt", endTurn);
    runtime.script("grok", askToBeHandled(scenario));
    openProject();
    model->send("Hi");
    waitUntil([&] { return runtime.exists("prompted"); });
    drain();
    runtime.touch("go");
    waitForHandled();
    preferences.remove(WorkspaceStore::key);
    dropConnection();
    model.reset();
    drain();
    EXPECT_EQ(storedTree(), std::nullopt);
}

} // namespace
} // namespace tessarin::testing
