#include "CodexClientFixture.h"

#include <thread>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

const std::string startDisconnected = std::string("startFailed ") + codexDisconnected;
const std::string turnDisconnected = std::string("turnFailed ") + codexDisconnected;

class CodexClientStopTest : public CodexClientTest
{
protected:
    void startWith(const Scenario& scenario, std::optional<std::string> stored = std::nullopt)
    {
        runtime.script("codex", scenario);
        make(configuration());
        start(std::move(stored));
    }
    // Stops the client and waits until its child has gone and all has been told.
    void stopAndWait()
    {
        client->stop();
        ASSERT_TRUE(waitForEndOf(runtime.processID("codex")));
        mainThread.drain();
    }
    [[nodiscard]] bool waitForFile(const std::string& name)
    {
        return waitUntil(mainThread, [&] { return runtime.exists(name); });
    }
    [[nodiscard]] std::size_t signalCount() const
    {
        const auto record = runtime.record("codex");
        return static_cast<std::size_t>(
            std::count_if(record.begin(), record.end(), [](const JsonObject& event) { return event.contains("signal"); }));
    }
};

Scenario initializedOnly()
{
    Scenario scenario;
    return scenario.withoutVersion().expect("initialize").reply();
}

TEST_F(CodexClientStopTest, AClientThatWasNeverStartedStops)
{
    make(configuration());
    client->stop();
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("turnFailed Codex is not connected."));
}

TEST_F(CodexClientStopTest, AStopRightBehindTheStartFailsIt)
{
    startWith(codexThread());
    client->stop();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre(startDisconnected));
}

TEST_F(CodexClientStopTest, AStopDuringTheHandshakeFailsTheStart)
{
    startWith(Scenario().expect("initialize").touch("here"));
    ASSERT_TRUE(waitForFile("here"));
    stopAndWait();
    EXPECT_THAT(events, ElementsAre(startDisconnected));
}

TEST_F(CodexClientStopTest, AStopWhileAThreadIsOpenedFailsTheStart)
{
    startWith(initializedOnly().expect("thread/start").touch("here"));
    ASSERT_TRUE(waitForFile("here"));
    stopAndWait();
    EXPECT_THAT(events, ElementsAre(startDisconnected));
}

TEST_F(CodexClientStopTest, AStopWhileAThreadIsResumedFailsTheStartAndOpensNoOther)
{
    startWith(initializedOnly().expect("thread/resume").touch("here"), "thread-7");
    ASSERT_TRUE(waitForFile("here"));
    stopAndWait();
    EXPECT_THAT(events, ElementsAre(startDisconnected));
    EXPECT_TRUE(runtime.received("codex", "thread/start").empty());
}

TEST_F(CodexClientStopTest, AStopWithNothingToDoTellsNothing)
{
    openThread(codexThread());
    stopAndWait();
    EXPECT_THAT(events, ElementsAre("started thread-1"));
}

TEST_F(CodexClientStopTest, AStopBeforeATurnIsAnnouncedFailsIt)
{
    openThread(codexThread().expect("turn/start").touch("here"));
    prompt();
    ASSERT_TRUE(waitForFile("here"));
    stopAndWait();
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected));
}

TEST_F(CodexClientStopTest, AStopInATurnFailsEveryPromptAndTellsNoEnd)
{
    openThread(codexTurn().expect("turn/start").touch("here"));
    prompt();
    prompt();
    ASSERT_TRUE(waitForFile("here"));
    client->stop();
    EXPECT_EQ(events.size(), 1U) << "a completion is posted";
    stopAndWait();
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected, turnDisconnected));
}

TEST_F(CodexClientStopTest, AStopLeavesAnOpenQuestionUnanswered)
{
    openThread(codexTurn().send(R"({"id":1,"method":"item/fileChange/requestApproval","params":{}})"));
    prompt();
    ASSERT_TRUE(waitForEvent("permission"));
    stopAndWait();
    client->respondToPermission(1, "codex-allow-once");
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started thread-1", "permission 1", turnDisconnected));
    for (const Json& message : runtime.received("codex"))
        EXPECT_FALSE(message.as_object().contains("result"));
}

TEST_F(CodexClientStopTest, AStopAfterTheEndOfTheChildDoesNothing)
{
    openThread(codexThread().exit(1));
    ASSERT_TRUE(waitForEvent("terminated"));
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.size(), 2U);
}

TEST_F(CodexClientStopTest, AnEndThatWasPostedBeforeTheStopIsNotTold)
{
    openThread(codexTurn().waitForFile("go").exit(1));
    prompt();
    ASSERT_TRUE(waitForReceived("turn/start"));
    const int child = runtime.processID("codex");
    runtime.touch("go");
    // The main thread is not pumped: what the end of the child posts waits until after the stop.
    for (const auto late = std::chrono::steady_clock::now() + waitBound; kill(child, 0) == 0 && std::chrono::steady_clock::now() < late;)
        std::this_thread::yield();
    client->stop();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected));
}

TEST_F(CodexClientStopTest, TwoStopsCloseAndTerminateOnce)
{
    // The end of its input alone would end it, perhaps before the signal has come.
    openThread(codexTurn().step(R"({"ignoreTerm":true})").touch("deaf").waitForFile("end"));
    prompt();
    ASSERT_TRUE(waitForFile("deaf"));
    client->stop();
    client->stop();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    ASSERT_TRUE(waitUntil(mainThread, [this] { return signalCount() > 0; }));
    runtime.touch("end");
    ASSERT_TRUE(waitForEndOf(runtime.processID("codex")));
    EXPECT_EQ(signalCount(), 1U);
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected));
}

TEST_F(CodexClientStopTest, APromptAfterAStopFailsWithTheWordsOfTheSystem)
{
    openThread(codexThread());
    stopAndWait();
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", "turnFailed Broken pipe"));
}

TEST_F(CodexClientStopTest, ACallbackMayStopTheClient)
{
    runtime.script(
        "codex", codexTurn().send(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"x"}})").expect("never"));
    make(configuration());
    client->onSessionUpdate = [this](const SessionUpdate&) { client->stop(); };
    start();
    ASSERT_TRUE(waitForEvent("started"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected));
}

TEST_F(CodexClientStopTest, AClientMayBeDroppedRightAfterItsStop)
{
    openThread(codexTurn().touch("here"));
    prompt();
    ASSERT_TRUE(waitForFile("here"));
    const int child = runtime.processID("codex");
    client->stop();
    client.reset();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_TRUE(waitForEndOf(child));
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected));
}

TEST_F(CodexClientStopTest, AChildOfADroppedClientIsAskedToEndAndNobodyHearsOfIt)
{
    openThread(codexTurn().step(R"({"exitOnTerm":5})").touch("here"));
    prompt();
    ASSERT_TRUE(waitForFile("here"));
    const int child = runtime.processID("codex");
    client.reset();
    EXPECT_TRUE(waitForEndOf(child));
    EXPECT_EQ(signalCount(), 1U);
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started thread-1"));
}

} // namespace

} // namespace tessarin::testing
