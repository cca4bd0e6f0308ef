#include "ACPClientFixture.h"

#include <filesystem>
#include <fstream>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ACPClientStartTest : public ACPClientTest
{
protected:
    void playAndStart(const Scenario& scenario, ACPClient::Configuration configuration, std::optional<std::string> stored = std::nullopt)
    {
        runtime.script(programOf(configuration.provider), scenario);
        make(std::move(configuration));
        start(std::move(stored));
    }
    // The one message of that method.
    [[nodiscard]] Json theMessage(std::string_view method) const
    {
        const auto messages = runtime.received(program, method);
        EXPECT_EQ(messages.size(), 1U) << method;
        return messages.empty() ? Json() : messages[0];
    }
    [[nodiscard]] std::string expectedWith(std::string text) const
    {
        for (auto place = text.find("{P}"); place != std::string::npos; place = text.find("{P}"))
            text.replace(place, 3, runtime.workspace());
        return text;
    }
};

constexpr const char* canLoad = R"({"agentCapabilities":{"loadSession":true}})";

TEST_F(ACPClientStartTest, MakingAClientStartsNothing)
{
    runtime.script("grok", Scenario().handshake());
    make(configuration());
    EXPECT_EQ(client->provider(), AgentProvider::grok);
    client->stop();
    mainThread.drain();
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(ACPClientStartTest, TheChildHasItsArgumentsItsFolderAndItsEnvironmentAndNothingElse)
{
    setenv("TESSARIN_TEST_SECRET", "not for children", 1);
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--model", "a b", "", "stdio" };
    settings.processEnvironment["EXTRA"] = "1";
    const Environment environment = settings.processEnvironment;
    playAndStart(Scenario().handshake(), std::move(settings));
    ASSERT_TRUE(waitForEvent("started")) << report();
    const JsonObject launched = runtime.startOf("grok");
    const JsonArray& arguments = launched.at("argv").as_array();
    EXPECT_EQ(JsonArray(arguments.end() - 5, arguments.end()), (JsonArray{ "agent", "--model", "a b", "", "stdio" }));
    EXPECT_EQ(launched.at("workingDirectory").as_string(), runtime.workspace());
    JsonObject expected;
    for (const auto& [name, value] : environment)
        expected[name] = value;
    JsonObject seen = launched.at("environment").as_object();
    EXPECT_EQ(seen, expected);
}

TEST_F(ACPClientStartTest, InitializeTellsTheProtocolTheCapabilitiesAndTheClient)
{
    playAndStart(Scenario().handshake(), configuration());
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_EQ(theMessage("initialize"), parsed(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":1,
        "clientCapabilities":{"fs":{"readTextFile":true,"writeTextFile":true},"terminal":true},
        "clientInfo":{"name":"tessarin","version":")" TESSARIN_VERSION R"("}}})"));
}

TEST_F(ACPClientStartTest, ANewSessionIsOpenedWithTheProjectFolder)
{
    playAndStart(Scenario().handshake("abc"), configuration());
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre("started abc"));
    EXPECT_EQ(theMessage("session/new"), parsed(expectedWith(R"({"jsonrpc":"2.0","id":2,"method":"session/new",
        "params":{"cwd":"{P}","mcpServers":[]}})")));
    EXPECT_EQ(runtime.received(program).size(), 2U);
}

struct ModeRow {
    AgentProvider provider;
    GrokPermissionMode mode;
    const char* metadata; // absent when null
};

class ACPClientModeTest : public ACPClientStartTest, public ::testing::WithParamInterface<ModeRow>
{
};

TEST_P(ACPClientModeTest, ANewSessionCarriesTheModeForEveryProvider)
{
    ACPClient::Configuration settings = configuration(GetParam().provider);
    settings.permissionMode = GetParam().mode;
    playAndStart(Scenario().handshake().always("session/set_config_option"), std::move(settings));
    ASSERT_TRUE(waitForEvent("started")) << report();
    Json expected = parsed(expectedWith(R"({"jsonrpc":"2.0","id":2,"method":"session/new","params":{"cwd":"{P}","mcpServers":[]}})"));
    if (GetParam().metadata)
        expected.at("params").as_object()["_meta"] = parsed(GetParam().metadata);
    EXPECT_EQ(theMessage("session/new"), expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientModeTest,
    ::testing::Values(ModeRow{ AgentProvider::grok, GrokPermissionMode::ask, nullptr },
        ModeRow{ AgentProvider::grok, GrokPermissionMode::auto_, R"({"autoMode":true})" },
        ModeRow{ AgentProvider::grok, GrokPermissionMode::fullAccess, R"({"yoloMode":true})" },
        ModeRow{ AgentProvider::kimi, GrokPermissionMode::ask, nullptr },
        ModeRow{ AgentProvider::kimi, GrokPermissionMode::fullAccess, R"({"yoloMode":true})" },
        ModeRow{ AgentProvider::glm, GrokPermissionMode::ask, nullptr },
        ModeRow{ AgentProvider::glm, GrokPermissionMode::auto_, R"({"autoMode":true})" }));

TEST_F(ACPClientStartTest, AStoredSessionIsLoadedAndReplayedBeforeTheCompletion)
{
    Scenario scenario;
    scenario.expect("initialize").reply(canLoad).expect("session/load");
    scenario.update(R"({"sessionUpdate":"user_message_chunk","content":{"type":"text","text":"hi"}})").chunk("hello").reply();
    playAndStart(scenario, configuration(), "stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_THAT(events,
        ElementsAre("replayStarted", R"(update {"sessionUpdate":"user_message_chunk","content":{"type":"text","text":"hi"}})",
            R"(update {"sessionUpdate":"agent_message_chunk","content":{"type":"text","text":"hello"}})", "replayed stored"));
    EXPECT_EQ(theMessage("session/load"), parsed(expectedWith(R"({"jsonrpc":"2.0","id":2,"method":"session/load",
        "params":{"sessionId":"stored","cwd":"{P}","mcpServers":[]}})")));
    EXPECT_EQ(runtime.received(program).size(), 2U);
}

TEST_F(ACPClientStartTest, LoadingASessionCarriesNoMode)
{
    ACPClient::Configuration settings = configuration();
    settings.permissionMode = GrokPermissionMode::fullAccess;
    playAndStart(Scenario().expect("initialize").reply(canLoad).expect("session/load").reply(), std::move(settings), "stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_FALSE(theMessage("session/load").at("params").as_object().contains("_meta"));
}

TEST_F(ACPClientStartTest, AResultThatIsNoMapStillLoadsTheSession)
{
    playAndStart(Scenario().expect("initialize").reply(canLoad).expect("session/load").reply("null"), configuration(), "stored");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_THAT(events, ElementsAre("replayStarted", "replayed stored"));
}

TEST_F(ACPClientStartTest, ARefusedLoadOpensANewSessionAndTellsThatTheReplayFailed)
{
    Scenario scenario;
    scenario.expect("initialize").reply(canLoad).expect("session/load").chunk("half").replyError("Unknown session");
    scenario.expect("session/new").reply(R"({"sessionId":"fresh"})");
    playAndStart(scenario, configuration(), "stored");
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre("replayStarted", HasSubstr("update "), "replayFailed", "started fresh"));
}

TEST_F(ACPClientStartTest, TheStoredSessionStaysOpenUntilANewOneIsThere)
{
    Scenario scenario;
    scenario.expect("initialize").reply(canLoad).expect("session/load").replyError("Unknown session");
    scenario.expect("session/new").expect("session/prompt").replyTo("session/new", R"({"sessionId":"fresh"})").reply();
    playAndStart(scenario, configuration(), "stored");
    ASSERT_TRUE(waitForReceived("session/new"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(theMessage("session/prompt").at("params").at("sessionId").as_string(), "stored");
    prompt();
    ASSERT_TRUE(waitForReceived("session/prompt", 2));
    EXPECT_EQ(runtime.received(program, "session/prompt")[1].at("params").at("sessionId").as_string(), "fresh");
}

class ACPClientCannotLoadTest : public ACPClientStartTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ACPClientCannotLoadTest, ANewSessionIsOpenedWithoutAReplay)
{
    playAndStart(Scenario().expect("initialize").reply(GetParam()).expect("session/new").reply(R"({"sessionId":"fresh"})"), configuration(),
        "stored");
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre("started fresh"));
    EXPECT_TRUE(runtime.received(program, "session/load").empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientCannotLoadTest,
    ::testing::Values("{}", R"({"agentCapabilities":{"loadSession":false}})", R"({"agentCapabilities":{"loadSession":"true"}})",
        R"({"agentCapabilities":{"loadSession":1}})", R"({"agentCapabilities":{"loadSession":null}})", R"({"agentCapabilities":[true]})",
        R"({"loadSession":true})", "null", "[]", "\"yes\""));

TEST_F(ACPClientStartTest, WithoutAStoredSessionNothingIsLoaded)
{
    playAndStart(Scenario().expect("initialize").reply(canLoad).expect("session/new").reply(R"({"sessionId":"s"})"), configuration());
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre("started s"));
}

TEST_F(ACPClientStartTest, AnEmptyStoredIdIsAnIdToo)
{
    playAndStart(Scenario().expect("initialize").reply(canLoad).expect("session/load").reply(), configuration(), "");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    EXPECT_EQ(theMessage("session/load").at("params").at("sessionId").as_string(), "");
}

TEST_F(ACPClientStartTest, ARefusedInitializeFailsWithTheRuntimesWordsAndLeavesTheChildRunning)
{
    playAndStart(Scenario().expect("initialize").replyError("Please update"), configuration());
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Please update"));
    EXPECT_EQ(kill(runtime.processID("grok"), 0), 0);
    client->stop();
    EXPECT_TRUE(waitForEndOf(runtime.processID("grok")));
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(ACPClientStartTest, ARefusedNewSessionFailsWithTheRuntimesWords)
{
    playAndStart(Scenario().expect("initialize").reply().expect("session/new").replyError("Not signed in"), configuration());
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Not signed in"));
}

struct NoSessionRow {
    AgentProvider provider;
    const char* result;
    const char* text;
};

class ACPClientNoSessionTest : public ACPClientStartTest, public ::testing::WithParamInterface<NoSessionRow>
{
};

TEST_P(ACPClientNoSessionTest, AnAnswerWithoutATextSessionIdFailsTheStart)
{
    playAndStart(
        Scenario().expect("initialize").reply().expect("session/new").reply(GetParam().result), configuration(GetParam().provider));
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre(std::string("startFailed ") + GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientNoSessionTest,
    ::testing::Values(NoSessionRow{ AgentProvider::grok, "{}", "Grok did not return a session ID." },
        NoSessionRow{ AgentProvider::kimi, R"({"sessionId":7})", "Kimi did not return a session ID." },
        NoSessionRow{ AgentProvider::glm, R"({"sessionId":null})", "GLM did not return a session ID." },
        NoSessionRow{ AgentProvider::grok, "[\"s\"]", "Grok did not return a session ID." }));

TEST_F(ACPClientStartTest, AMissingExecutableFailsTheStartAndNothingIsLaunched)
{
    for (const auto& [provider, text] : { std::pair(AgentProvider::grok, "startFailed The Grok CLI is not installed."),
             std::pair(AgentProvider::kimi, "startFailed The Kimi CLI is not installed."),
             std::pair(AgentProvider::glm, "startFailed The GLM CLI is not installed.") }) {
        ACPClient::Configuration settings = configuration(provider);
        settings.executable = runtime.directory() + "/nothing";
        make(std::move(settings));
        events.clear();
        start();
        EXPECT_TRUE(events.empty()) << "a completion is posted";
        ASSERT_TRUE(waitForEvent("startFailed"));
        EXPECT_THAT(events, ElementsAre(text));
    }
}

TEST_F(ACPClientStartTest, AFileWithoutTheRightToExecuteIsMissing)
{
    ACPClient::Configuration settings = configuration();
    settings.executable = runtime.directory() + "/plain";
    std::ofstream(settings.executable) << "#!/bin/sh\n";
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed The Grok CLI is not installed."));
}

TEST_F(ACPClientStartTest, AFailedLaunchFailsTheStartWithThePlatformsText)
{
    ACPClient::Configuration settings = configuration();
    settings.executable = runtime.directory() + "/broken";
    std::ofstream(settings.executable) << "no program";
    std::filesystem::permissions(settings.executable, std::filesystem::perms::owner_all);
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre(HasSubstr(std::generic_category().message(ENOEXEC))));
}

TEST_F(ACPClientStartTest, AMissingProjectFolderFailsTheStartWithThePlatformsText)
{
    runtime.script("grok", Scenario().handshake());
    ACPClient::Configuration settings = configuration();
    settings.workspacePath = runtime.directory() + "/gone";
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre(HasSubstr(std::generic_category().message(ENOENT))));
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(ACPClientStartTest, AStartWithoutCallbacksWorks)
{
    runtime.script("grok", Scenario().expect("initialize").reply(canLoad).expect("session/load").chunk("x").replyError("no").handshake());
    client = ACPClient::make(configuration(), mainThread);
    program = "grok";
    client->start("stored", nullptr);
    ASSERT_TRUE(waitForReceived("session/new"));
    client->sendPrompt("x", nullptr);
    client->stop();
    mainThread.drain();
}

} // namespace

} // namespace tessarin::testing
