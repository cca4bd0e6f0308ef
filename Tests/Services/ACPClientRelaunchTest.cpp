#include "ACPClientFixture.h"

#include <filesystem>
#include <fstream>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A Grok that knows the approval mode only in front of "agent".
class ACPClientRelaunchTest : public ACPClientTest
{
protected:
    void makeWithMode(AgentProvider provider = AgentProvider::grok)
    {
        ACPClient::Configuration settings = configuration(provider);
        settings.processArguments = { "agent", "--model", "m", "--permission-mode", "auto", "stdio" };
        make(std::move(settings));
    }
    // The arguments of the n-th start, without the program's own name.
    [[nodiscard]] JsonArray argumentsOf(int start) const
    {
        const JsonArray all = runtime.startOf("grok", start).at("argv").as_array();
        return JsonArray(all.begin() + 1, all.end());
    }
    // Whatever the end of a child has put on the client's queue has run.
    void drainQueue()
    {
        client->cancel();
        mainThread.drain();
    }
};

constexpr const char* refusal = "error: unexpected argument '--permission-mode' found\n\nUsage: grok agent [OPTIONS]\n";

const JsonArray refused{ "agent", "--model", "m", "--permission-mode", "auto", "stdio" };
const JsonArray rearranged{ "--permission-mode", "auto", "agent", "--model", "m", "stdio" };

TEST_F(ACPClientRelaunchTest, AGrokThatRefusesTheModeArgumentIsLaunchedOnceMoreWithTheModeInFront)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    runtime.script("grok", 2, Scenario().handshake());
    makeWithMode();
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre(std::string("log ") + refusal, "started session-1"));
    EXPECT_EQ(argumentsOf(1), refused);
    EXPECT_EQ(argumentsOf(2), rearranged);
    EXPECT_EQ(runtime.received("grok", "initialize", 2).size(), 1U);
}

TEST_F(ACPClientRelaunchTest, AStoredSessionIsResumedInTheSecondLaunch)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    Scenario scenario;
    scenario.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").chunk("old").reply();
    runtime.script("grok", 2, scenario);
    makeWithMode();
    start("stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_THAT(events, ElementsAre(std::string("log ") + refusal, "replayStarted", ::testing::StartsWith("update "), "replayed stored"));
    EXPECT_EQ(argumentsOf(2), rearranged);
}

TEST_F(ACPClientRelaunchTest, EveryClientTriesTheFirstOrderFirst)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    runtime.script("grok", Scenario().handshake());
    for (const int launches : { 2, 3 }) {
        makeWithMode();
        start();
        ASSERT_TRUE(waitForEvent("started", launches - 1)) << report();
        EXPECT_TRUE(runtime.hasStarted("grok", launches));
        client->stop();
        mainThread.drain();
    }
    EXPECT_EQ(argumentsOf(3), refused);
}

TEST_F(ACPClientRelaunchTest, ASessionThatHasBegunIsNotLaunchedAgain)
{
    runtime.script("grok", Scenario().handshake().expect("session/prompt").standardError(refusal).exit(2));
    makeWithMode();
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(count("turnFailed"), 1);
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(ACPClientRelaunchTest, AGrokThatRefusedToInitializeIsNotLaunchedAgain)
{
    runtime.script("grok", Scenario().expect("initialize").replyError("no").standardError(refusal).exit(2));
    makeWithMode();
    start();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(count("startFailed"), 1);
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(ACPClientRelaunchTest, AStoppedGrokIsNotLaunchedAgain)
{
    runtime.script("grok", Scenario().standardError(refusal).expect("initialize").touch("asked"));
    makeWithMode();
    start();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("asked") && count("log") == 1; })) << report();
    client->stop();
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok")));
    drainQueue();
    EXPECT_EQ(events.back(), std::string("startFailed ") + disconnectedText);
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(ACPClientRelaunchTest, OnlyGrokIsLaunchedAgain)
{
    runtime.script("kimi", Scenario().standardError(refusal).exit(2));
    makeWithMode(AgentProvider::kimi);
    start();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_FALSE(runtime.hasStarted("kimi", 2));
}

TEST_F(ACPClientRelaunchTest, ASecondLaunchThatFailsFailsTheStart)
{
    // A program that takes its right to be executed away while it refuses.
    const std::string once = runtime.directory() + "/grok-once";
    std::ofstream(once) << "#!/bin/sh\nchmod 600 \"$0\"\nprintf '%s' \"" << refusal << "\" >&2\nexit 2\n";
    std::filesystem::permissions(once, std::filesystem::perms::owner_all);
    ACPClient::Configuration settings = configuration();
    settings.executable = once;
    settings.processArguments = { "agent", "--permission-mode", "auto", "stdio" };
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(count("startFailed"), 1);
    EXPECT_THAT(events.back(), HasSubstr("terminated error: unexpected argument"));
}

TEST_F(ACPClientRelaunchTest, AGrokThatRefusesTheModeArgumentTwiceFailsTheStart)
{
    runtime.script("grok", Scenario().standardError(refusal).exit(2));
    makeWithMode();
    start();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(count("startFailed"), 1);
    EXPECT_THAT(events.back(), HasSubstr("terminated error: unexpected argument"));
    EXPECT_TRUE(runtime.hasStarted("grok", 2));
    EXPECT_FALSE(runtime.hasStarted("grok", 3));
}

TEST_F(ACPClientRelaunchTest, AnotherEndOfAGrokIsNotTriedAgain)
{
    runtime.script("grok", Scenario().standardError("error: unexpected argument '--model' found").exit(2));
    makeWithMode();
    start();
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(ACPClientRelaunchTest, StopDuringTheSecondLaunchFailsTheStart)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    runtime.script("grok", 2, Scenario().expect("initialize").touch("asked"));
    makeWithMode();
    start();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("asked"); }));
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.back(), std::string("startFailed ") + disconnectedText);
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok", 2)));
}

} // namespace

} // namespace tessarin::testing
