#include "ClaudeClientFixture.h"

#include <cerrno>
#include <sys/wait.h>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClaudeClientStopTest : public ClaudeClientTest
{
};

constexpr const char* startStopped = "startFailed Claude Code stopped.";
constexpr const char* turnStopped = "turnFailed Claude Code stopped.";
constexpr const char* notConnected = "turnFailed Claude Code is not connected.";

TEST_F(ClaudeClientStopTest, StopFailsAPromptAndReportsNoEnd)
{
    openSession(prompted());
    prompt();
    ASSERT_TRUE(waitForReceived(2));
    client->stop();
    EXPECT_THAT(events, IsEmpty()) << "a completion is posted";
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(turnStopped));
    ASSERT_TRUE(waitForEndOf(runtime.processID("claude")));
    mainThread.drain();
    EXPECT_EQ(events.size(), 1U) << report();
}

TEST_F(ClaudeClientStopTest, StopTwiceDoesNothingMore)
{
    openSession(prompted());
    prompt();
    client->stop();
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(turnStopped));
}

TEST_F(ClaudeClientStopTest, StopBeforeTheStartDoesNothing)
{
    make(configuration());
    client->stop();
    client->cancel();
    client->respondToPermission(100000, "claude-deny");
    mainThread.drain();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(ClaudeClientStopTest, StopDuringTheStartFailsIt)
{
    playAndStart(Scenario().expect("control_request/initialize").touch("asked"));
    ASSERT_TRUE(waitForFile("asked"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(startStopped));
    EXPECT_TRUE(waitForEndOf(runtime.processID("claude")));
}

TEST_F(ClaudeClientStopTest, StopRightAfterStartLeavesNoChild)
{
    playAndStart(Scenario().expect("control_request/initialize"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(startStopped));
    EXPECT_TRUE(waitUntil(mainThread, [] { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }));
}

TEST_F(ClaudeClientStopTest, StopFailsAStartAndAPromptTogether)
{
    playAndStart(Scenario().expect("control_request/initialize").touch("asked"));
    prompt();
    ASSERT_TRUE(waitForFile("asked"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(startStopped, turnStopped));
}

TEST_F(ClaudeClientStopTest, StopWithAnOpenQuestionAnswersNobody)
{
    openSession(prompted().send(canUseTool("r", "{}")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->stop();
    client->respondToPermission(100000, "claude-allow-once");
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("permission 100000", turnStopped));
    ASSERT_TRUE(waitForEndOf(runtime.processID("claude")));
    EXPECT_EQ(receivedAfterInitialize().size(), 1U);
}

TEST_F(ClaudeClientStopTest, StopDuringACancelFailsThePrompt)
{
    openSession(prompted().expect("control_request/interrupt").touch("asked"));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForFile("asked"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(turnStopped));
}

TEST_F(ClaudeClientStopTest, StopAfterTheEndOfTheChildDoesNothing)
{
    openSession(opened().exit(0));
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.size(), 1U) << report();
}

TEST_F(ClaudeClientStopTest, AfterStopNothingIsSentAndAPromptIsRefused)
{
    openSession(opened());
    client->stop();
    prompt();
    client->cancel();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(notConnected));
    ASSERT_TRUE(waitForEndOf(runtime.processID("claude")));
    EXPECT_THAT(receivedAfterInitialize(), IsEmpty());
}

TEST_F(ClaudeClientStopTest, StopClosesTheStreamsAndSendsOneSIGTERM)
{
    openSession(opened().step(R"({"ignoreTerm":true})").touch("ready").waitForFile("go"));
    ASSERT_TRUE(waitForFile("ready"));
    const int processID = runtime.processID("claude");
    client->stop();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.hasRecorded("claude", "signal"); }));
    EXPECT_TRUE(waitUntil(mainThread, [&] { return runtime.hasRecorded("claude", "stdinClosed"); }));
    EXPECT_EQ(kill(processID, 0), 0);
    client->stop();
    runtime.touch("go");
    ASSERT_TRUE(waitForEndOf(processID));
    std::vector<Json> signals;
    for (const JsonObject& event : runtime.record("claude")) {
        if (const Json* signal = event.if_contains("signal"))
            signals.push_back(*signal);
    }
    EXPECT_THAT(signals, ElementsAre(Json(15)));
    mainThread.drain();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(ClaudeClientStopTest, ACallbackMayStopTheClientAndDropIt)
{
    openSession(prompted().send(streamed("1")).send(streamed("2")));
    int updates = 0;
    client->onSessionUpdate = [&](const SessionUpdate&) {
        ++updates;
        if (client)
            client->stop();
        client.reset();
    };
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_GE(updates, 1);
}

TEST_F(ClaudeClientStopTest, AClientDroppedWithoutStopCallsNobodyAndKillsNobody)
{
    openSession(prompted().step(R"({"exitOnTerm":143})").touch("asked").waitForFile("go"));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForFile("asked"));
    const int processID = runtime.processID("claude");
    client.reset();
    runtime.touch("go");
    ASSERT_TRUE(waitForEndOf(processID)); // its input has closed
    mainThread.drain();
    EXPECT_THAT(events, IsEmpty());
    EXPECT_FALSE(runtime.hasRecorded("claude", "signal"));
}

TEST_F(ClaudeClientStopTest, AClientDroppedDuringItsStartCallsNobody)
{
    playAndStart(Scenario().expect("control_request/initialize").touch("asked"));
    ASSERT_TRUE(waitForFile("asked"));
    client.reset();
    ASSERT_TRUE(waitForEndOf(runtime.processID("claude")));
    mainThread.drain();
    EXPECT_THAT(events, IsEmpty());
}

class ClaudeClientCancelTest : public ClaudeClientTest
{
};

constexpr const char* aborted = R"({"type":"result","is_error":true,"subtype":"error_during_execution","errors":["aborted"]})";

TEST_F(ClaudeClientCancelTest, TheTurnEndsWithTheResultAndNotWithTheAnswerToTheInterrupt)
{
    openSession(prompted()
                    .expect("control_request/interrupt")
                    .reply(R"({"still_queued":[]})")
                    .standardError("answered")
                    .waitForFile("go")
                    .send(aborted));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForEvent("log")) << report();
    EXPECT_THAT(events, ElementsAre("log answered"));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(events, ElementsAre("log answered", "turnFailed aborted"));
    EXPECT_EQ(receivedAfterInitialize().at(1),
        parsed(R"({"type":"control_request","request_id":"tessarin_2","request":{"subtype":"interrupt"}})"));
}

TEST_F(ClaudeClientCancelTest, ARefusedInterruptChangesNothing)
{
    openSession(prompted().expect("control_request/interrupt").step(R"({"replyError":"No."})").send(goodResult));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(events.size(), 1U) << report();
}

TEST_F(ClaudeClientCancelTest, InterruptsAlsoWithoutATurnAndEachTimeUnderANewNumber)
{
    openSession(opened().expect("control_request/interrupt").expect("control_request/interrupt").expect("user").send(goodResult));
    client->cancel();
    client->cancel();
    runTurn();
    EXPECT_EQ(receivedAfterInitialize().at(0).at("request_id").as_string(), "tessarin_2");
    EXPECT_EQ(receivedAfterInitialize().at(1).at("request_id").as_string(), "tessarin_3");
}

TEST_F(ClaudeClientCancelTest, DoesNothingBeforeTheStart)
{
    runtime.script("claude", opened());
    make(configuration());
    client->cancel();
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_EQ(runtime.received("claude").size(), 1U);
    EXPECT_EQ(runtime.received("claude").at(0).at("request_id").as_string(), "tessarin_1");
}

TEST_F(ClaudeClientCancelTest, ATurnMayFollowOneThatWasCancelled)
{
    openSession(prompted().expect("control_request/interrupt").reply().send(aborted).expect("user").send(streamed("a")).send(goodResult));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    runTurn();
    EXPECT_EQ(count("turn"), 1);
    EXPECT_EQ(count("text"), 1);
}

TEST_F(ClaudeClientCancelTest, TheMainThreadMayCancelAndPromptWhileUpdatesPourIn)
{
    openSession(prompted().repeat(20000, Scenario().send(streamed("{n}"))).expect("control_request/interrupt").send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("text")) << report();
    client->cancel();
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << count("text");
    EXPECT_EQ(count("text"), 20000);
    EXPECT_EQ(count("turnFailed"), 1);
}

} // namespace

} // namespace tessarin::testing
