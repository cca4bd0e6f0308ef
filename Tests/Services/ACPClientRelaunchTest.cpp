#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A Grok that knows the approval mode only in front of "agent".
class ACPClientRelaunchTest : public ACPClientTest
{
};

constexpr const char* refusal = "error: unexpected argument '--permission-mode' found\n\nUsage: grok agent [OPTIONS]\n";

TEST_F(ACPClientRelaunchTest, AGrokThatRefusesTheModeArgumentIsLaunchedOnceMoreWithTheModeInFront)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    runtime.script("grok", 2, Scenario().handshake());
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--permission-mode", "auto", "stdio" };
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre(std::string("log ") + refusal, "started session-1"));
    const JsonArray arguments = runtime.startOf("grok", 2).at("argv").as_array();
    EXPECT_EQ(JsonArray(arguments.end() - 4, arguments.end()), (JsonArray{ "--permission-mode", "auto", "agent", "stdio" }));
    EXPECT_EQ(runtime.received("grok", "initialize", 2).size(), 1U);
}

TEST_F(ACPClientRelaunchTest, AGrokThatRefusesTheModeArgumentTwiceFailsTheStart)
{
    runtime.script("grok", Scenario().standardError(refusal).exit(2));
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--permission-mode", "default", "stdio" };
    make(std::move(settings));
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
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--permission-mode", "default", "stdio" };
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("terminated"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(ACPClientRelaunchTest, StopDuringTheSecondLaunchFailsTheStart)
{
    runtime.script("grok", 1, Scenario().standardError(refusal).exit(2));
    runtime.script("grok", 2, Scenario().expect("initialize").touch("asked"));
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--permission-mode", "auto", "stdio" };
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("asked"); }));
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.back(), std::string("startFailed ") + disconnectedText);
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok", 2)));
}

} // namespace

} // namespace tessarin::testing
