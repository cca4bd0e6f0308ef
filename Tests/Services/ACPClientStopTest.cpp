#include "ACPClientFixture.h"

#include <sys/wait.h>
#include <thread>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ACPClientStopTest : public ACPClientTest
{
};

const std::string startDisconnected = std::string("startFailed ") + disconnectedText;
const std::string turnDisconnected = std::string("turnFailed ") + disconnectedText;

Scenario opened()
{
    return Scenario().handshake();
}

TEST_F(ACPClientStopTest, StopFailsAPromptAsDisconnectedAndReportsNoEnd)
{
    openSession(opened().expect("session/prompt"));
    prompt();
    ASSERT_TRUE(waitForReceived("session/prompt"));
    client->stop();
    EXPECT_EQ(events.size(), 1U) << "a completion is posted";
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected));
    ASSERT_TRUE(waitForEndOf(runtime.processID("grok")));
    mainThread.drain();
    EXPECT_EQ(events.size(), 2U) << report();
}

TEST_F(ACPClientStopTest, StopTwiceDoesNothingMore)
{
    openSession(opened().expect("session/prompt"));
    prompt();
    client->stop();
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected));
}

TEST_F(ACPClientStopTest, StopDuringTheStartFailsIt)
{
    runtime.script("grok", Scenario().expect("initialize").touch("asked"));
    make(configuration());
    start();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("asked"); }));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(startDisconnected));
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok")));
}

TEST_F(ACPClientStopTest, StopDuringAReplayTellsThatItFailedAndFailsTheStart)
{
    runtime.script("grok",
        Scenario()
            .expect("initialize")
            .reply(R"({"agentCapabilities":{"loadSession":true}})")
            .expect("session/load")
            .chunk("x")
            .touch("asked"));
    make(configuration());
    start("stored");
    ASSERT_TRUE(waitForEvent("update"));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("replayStarted", HasSubstr("update"), "replayFailed", startDisconnected));
}

TEST_F(ACPClientStopTest, StopRightAfterStartLeavesNoChild)
{
    runtime.script("grok", Scenario().expect("initialize"));
    make(configuration());
    start();
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(startDisconnected));
    EXPECT_TRUE(waitUntil(mainThread, [] { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }));
}

TEST_F(ACPClientStopTest, WhatWasOnItsWayArrivesAfterStopAlsoWhenTheClientIsDropped)
{
    Scenario scenario = opened();
    scenario.expect("session/cancel").standardError("text").touch("told").chunk("x");
    scenario.send(R"({"id":7,"method":"session/request_permission","params":{}})").waitForFile("go").send(R"({"id":8,"method":"x"})");
    openSession(scenario);
    client->cancel();
    // The main thread is not pumped from here on. The answer to 8 shows that what came before on the same stream has been handled.
    const auto isTrueInTime = [](const auto& condition) {
        const auto end = std::chrono::steady_clock::now() + waitBound;
        while (!condition() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        return condition();
    };
    ASSERT_TRUE(isTrueInTime([&] { return runtime.exists("told") && unreadErrorOutput() == 0; }));
    runtime.touch("go");
    ASSERT_TRUE(isTrueInTime([&] { return answerTo(8).has_value(); }));
    client->stop();
    client.reset();
    EXPECT_THAT(events, ElementsAre("started session-1"));
    mainThread.drain();
    std::sort(events.begin(), events.end()); // the two streams have no order between them
    EXPECT_THAT(events, ElementsAre("log text", "permission 7", "started session-1", HasSubstr("update")));
}

TEST_F(ACPClientStopTest, APromptAfterStopFailsAsDisconnected)
{
    openSession(opened());
    client->stop();
    prompt();
    client->cancel();
    client->respondToPermission(1, "x");
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", turnDisconnected));
}

TEST_F(ACPClientStopTest, ACallbackMayStopTheClient)
{
    openSession(opened().expect("session/prompt").chunk("1").chunk("2").chunk("3").reply());
    int updates = 0;
    client->onSessionUpdate = [&](const SessionUpdate&) {
        ++updates;
        client->stop();
    };
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return count("turn") + count("turnFailed") > 0; }));
    EXPECT_GE(updates, 1);
}

TEST_F(ACPClientStopTest, ACallbackMayDropTheClient)
{
    openSession(opened().expect("session/prompt").chunk("1").chunk("2"));
    int updates = 0;
    client->onSessionUpdate = [&](const SessionUpdate&) {
        ++updates;
        if (client)
            client->stop();
        client.reset();
    };
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return count("turn") + count("turnFailed") > 0; }));
    EXPECT_GE(updates, 1);
}

TEST_F(ACPClientStopTest, AChildThatSurvivesTheOneSIGTERMIsLeftAlone)
{
    openSession(opened().step(R"({"ignoreTerm":true})").touch("ready").waitForFile("go"));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("ready"); }));
    const int processID = runtime.processID("grok");
    client->stop();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.hasRecorded("grok", "signal"); }));
    EXPECT_EQ(kill(processID, 0), 0);
    client->stop();
    runtime.touch("go");
    ASSERT_TRUE(waitForEndOf(processID));
    std::vector<Json> signals;
    for (const JsonObject& event : runtime.record("grok")) {
        if (const Json* signal = event.if_contains("signal"))
            signals.push_back(*signal);
    }
    EXPECT_THAT(signals, ElementsAre(Json(15)));
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1"));
}

TEST_F(ACPClientStopTest, AClientDroppedWithoutStopCallsNobodyAndKillsNobody)
{
    openSession(opened().expect("session/prompt").step(R"({"exitOnTerm":143})").touch("asked").waitForFile("go"));
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("asked"); }));
    const int processID = runtime.processID("grok");
    client.reset();
    runtime.touch("go");
    ASSERT_TRUE(waitForEndOf(processID)); // its input has closed
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1"));
    EXPECT_FALSE(runtime.hasRecorded("grok", "signal"));
}

} // namespace

} // namespace tessarin::testing
