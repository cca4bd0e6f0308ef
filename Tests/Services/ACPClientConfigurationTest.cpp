#include "ACPClientFixture.h"
#include "Services/RuntimeContext.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class ACPClientConfigurationTest : public ACPClientTest
{
protected:
    ACPClient::Configuration settings(
        AgentProvider provider, std::optional<std::string> model, GrokPermissionMode mode = GrokPermissionMode::ask) const
    {
        ACPClient::Configuration result = configuration(provider);
        result.model = std::move(model);
        result.permissionMode = mode;
        return result;
    }
    void playAndStart(const Scenario& scenario, ACPClient::Configuration configuration, std::optional<std::string> stored = std::nullopt)
    {
        runtime.script(programOf(configuration.provider), scenario);
        make(std::move(configuration));
        start(std::move(stored));
    }
    // "configId=value" of each request, in order.
    [[nodiscard]] std::vector<std::string> options() const
    {
        std::vector<std::string> result;
        for (const Json& message : runtime.received(program, "session/set_config_option")) {
            const JsonObject& params = message.at("params").as_object();
            result.push_back(std::string(*textAt(params, "configId")) + "=" + std::string(*textAt(params, "value")));
        }
        return result;
    }
};

TEST_F(ACPClientConfigurationTest, GrokIsNeverAsked)
{
    playAndStart(Scenario().handshake(), settings(AgentProvider::grok, "grok-4", GrokPermissionMode::fullAccess));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre());
}

TEST_F(ACPClientConfigurationTest, AConfigOptionIsToTheLetter)
{
    playAndStart(Scenario().handshake("s-9").always("session/set_config_option"), settings(AgentProvider::kimi, std::nullopt));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(runtime.received(program, "session/set_config_option"),
        ElementsAre(parsed(R"({"jsonrpc":"2.0","id":3,"method":"session/set_config_option",
                                       "params":{"sessionId":"s-9","configId":"mode","value":"manual"}})")));
}

TEST_F(ACPClientConfigurationTest, KimiGetsItsModeAndThenItsModel)
{
    playAndStart(Scenario().handshake().always("session/set_config_option"), settings(AgentProvider::kimi, "k2"));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=manual", "model=k2"));
}

TEST_F(ACPClientConfigurationTest, TheModeOfKimiIsWaitedForBeforeTheModelIsSent)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").waitForFile("go").reply().expect("session/set_config_option").reply();
    playAndStart(scenario, settings(AgentProvider::kimi, "k2"));
    ASSERT_TRUE(waitForReceived("session/set_config_option"));
    client->cancel(); // written behind whatever the client has written before
    ASSERT_TRUE(waitForReceived("session/cancel"));
    EXPECT_THAT(options(), ElementsAre("mode=manual"));
    EXPECT_EQ(count("started"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=manual", "model=k2"));
}

TEST_F(ACPClientConfigurationTest, EachModeHasItsWordForKimi)
{
    playAndStart(
        Scenario().handshake().always("session/set_config_option"), settings(AgentProvider::kimi, std::nullopt, GrokPermissionMode::auto_));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=auto"));
}

TEST_F(ACPClientConfigurationTest, FullAccessOfKimiIsCalledYolo)
{
    playAndStart(Scenario().handshake().always("session/set_config_option"),
        settings(AgentProvider::kimi, std::nullopt, GrokPermissionMode::fullAccess));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=yolo"));
}

TEST_F(ACPClientConfigurationTest, GLMGetsItsModelAlone)
{
    playAndStart(Scenario().handshake().always("session/set_config_option"),
        settings(AgentProvider::glm, "zai-coding-plan/glm-4.7", GrokPermissionMode::fullAccess));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("model=zai-coding-plan/glm-4.7"));
}

TEST_F(ACPClientConfigurationTest, AnEmptyModelCountsAsNone)
{
    playAndStart(Scenario().handshake(), settings(AgentProvider::glm, ""));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre());
}

TEST_F(ACPClientConfigurationTest, ARefusedModeOfKimiIsTolerated)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").replyError("Unknown modeId: yolo");
    scenario.expect("session/set_config_option").reply();
    playAndStart(scenario, settings(AgentProvider::kimi, "k2", GrokPermissionMode::fullAccess));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=yolo", "model=k2"));
    EXPECT_THAT(events, ElementsAre("started session-1"));
}

TEST_F(ACPClientConfigurationTest, AKimiWithoutTheManualModeIsAskedForItsDefaultOne)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").replyError("Invalid params: Unknown modeId: manual", -32602);
    scenario.expect("session/set_config_option").reply().expect("session/set_config_option").reply();
    playAndStart(scenario, settings(AgentProvider::kimi, "k2"));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=manual", "mode=default", "model=k2"));
}

TEST_F(ACPClientConfigurationTest, AResumedKimiWithoutTheManualModeIsAskedForItsDefaultOne)
{
    Scenario scenario;
    scenario.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").reply();
    scenario.expect("session/set_config_option").replyError("Invalid params: Unknown modeId: manual", -32602);
    playAndStart(scenario.expect("session/set_config_option").reply(), settings(AgentProvider::kimi, std::nullopt), "stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_THAT(runtime.received(program, "session/set_config_option").at(1),
        parsed(R"({"jsonrpc":"2.0","id":4,"method":"session/set_config_option",
                   "params":{"sessionId":"stored","configId":"mode","value":"default"}})"));
}

TEST_F(ACPClientConfigurationTest, TheSessionIsNotOpenBeforeTheDefaultModeIsAnswered)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").replyError("no").expect("session/set_config_option").waitForFile("go").reply();
    playAndStart(scenario, settings(AgentProvider::kimi, std::nullopt));
    ASSERT_TRUE(waitForReceived("session/set_config_option", 2));
    mainThread.drain();
    EXPECT_EQ(count("started"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("started")) << report();
}

TEST_F(ACPClientConfigurationTest, ARefusedAutoModeOfKimiIsNotReplaced)
{
    playAndStart(Scenario().handshake().expect("session/set_config_option").replyError("Unknown modeId: auto"),
        settings(AgentProvider::kimi, std::nullopt, GrokPermissionMode::auto_));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=auto"));
}

TEST_F(ACPClientConfigurationTest, TheDefaultModeMayBeRefusedToo)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").replyError("no").expect("session/set_config_option").replyError("no");
    playAndStart(scenario, settings(AgentProvider::kimi, std::nullopt));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=manual", "mode=default"));
}

TEST_F(ACPClientConfigurationTest, ARefusedModelOfKimiIsTolerated)
{
    Scenario scenario;
    scenario.handshake().expect("session/set_config_option").reply().expect("session/set_config_option").replyError("Unknown model");
    playAndStart(scenario, settings(AgentProvider::kimi, "k9"));
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=manual", "model=k9"));
}

TEST_F(ACPClientConfigurationTest, ARefusedModelOfGLMFailsTheStartWithTheRuntimesWords)
{
    playAndStart(Scenario().handshake().expect("session/set_config_option").replyError("Unknown model"),
        settings(AgentProvider::glm, "zai-coding-plan/x"));
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Unknown model"));
}

TEST_F(ACPClientConfigurationTest, AResumedSessionIsConfiguredToo)
{
    Scenario scenario;
    scenario.expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})").expect("session/load").reply();
    playAndStart(scenario.always("session/set_config_option"), settings(AgentProvider::kimi, "k2", GrokPermissionMode::auto_), "stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_THAT(options(), ElementsAre("mode=auto", "model=k2"));
    EXPECT_EQ(runtime.received(program, "session/set_config_option")[0].at("params").at("sessionId").as_string(), "stored");
    EXPECT_THAT(events, ElementsAre("replayStarted", "replayed stored"));
}

TEST_F(ACPClientConfigurationTest, TheConfigurationOfGrokTakesItsArgumentsFromModeAndModel)
{
    const RuntimeContext context{ .preference = [](const std::string&) { return std::nullopt; },
        .environment = { { "PATH", "/usr/bin" }, { "XAI_API_KEY", "kept" } },
        .home = runtime.home() };
    const auto grok = ACPClient::Configuration::grok("/bin/grok", "/project", "grok-4", GrokPermissionMode::auto_, context);
    EXPECT_EQ(grok.provider, AgentProvider::grok);
    EXPECT_EQ(grok.executable, "/bin/grok");
    EXPECT_EQ(grok.workspacePath, "/project");
    EXPECT_EQ(grok.model, "grok-4");
    EXPECT_EQ(grok.permissionMode, GrokPermissionMode::auto_);
    EXPECT_EQ(grok.processArguments, agentArguments(GrokPermissionMode::auto_, "grok-4"));
    EXPECT_EQ(grok.processEnvironment.at("XAI_API_KEY"), "kept");
}

} // namespace

} // namespace tessarin::testing
