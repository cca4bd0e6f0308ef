#include "ClaudeClientFixture.h"
#include "Platform/Text.h"
#include "Platform/Uuid.h"

#include <filesystem>
#include <fstream>

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

class ClaudeClientStartTest : public ClaudeClientTest
{
protected:
    void playAndStartNew(const Scenario& scenario)
    {
        runtime.script("claude", scenario);
        make(configuration());
        start();
    }
    // The arguments of the program, without its own name.
    [[nodiscard]] std::vector<std::string> arguments(int start = 1) const
    {
        const JsonObject launched = runtime.startOf("claude", start);
        std::vector<std::string> result;
        for (const Json& argument : launched.at("argv").as_array())
            result.emplace_back(argument.as_string());
        result.erase(result.begin(), result.end() - 14);
        return result;
    }
};

TEST_F(ClaudeClientStartTest, MakingAClientStartsNothing)
{
    runtime.script("claude", opened());
    make(configuration());
    EXPECT_EQ(client->provider(), AgentProvider::claude);
    client->stop();
    mainThread.drain();
    EXPECT_FALSE(runtime.hasStarted("claude"));
}

TEST_F(ClaudeClientStartTest, TheModelIsSonnetUnlessAnotherIsAskedFor)
{
    EXPECT_EQ(ClaudeCodeClient::Configuration().model, "sonnet");
}

struct LaunchRow {
    GrokPermissionMode mode;
    const char* word;
    bool isStored;
};

class ClaudeClientLaunchTest : public ClaudeClientStartTest, public ::testing::WithParamInterface<LaunchRow>
{
};

TEST_P(ClaudeClientLaunchTest, TheChildHasItsArgumentsInOrderItsFolderAndItsEnvironmentAndNothingElse)
{
    setenv("TESSARIN_TEST_SECRET", "not for children", 1);
    runtime.script("claude", opened());
    ClaudeCodeClient::Configuration settings = configuration(GetParam().mode);
    settings.model = "an opus";
    settings.processEnvironment["EXTRA"] = "1";
    JsonObject environment;
    for (const auto& [name, value] : settings.processEnvironment)
        environment[name] = value;
    make(std::move(settings));
    start(GetParam().isStored ? std::optional<std::string>("Stored Id/7") : std::nullopt);
    ASSERT_TRUE(waitForEvent(GetParam().isStored ? "resumed" : "started")) << report();
    const std::string id = events.at(0).substr(events.at(0).find(' ') + 1);
    EXPECT_THAT(arguments(),
        ElementsAre("--output-format", "stream-json", "--verbose", "--input-format", "stream-json", "--include-partial-messages",
            "--permission-prompt-tool", "stdio", "--setting-sources=user,project,local", "--permission-mode", GetParam().word, "--model",
            "an opus", (GetParam().isStored ? "--resume=" : "--session-id=") + id));
    EXPECT_EQ(runtime.startOf("claude").at("argv").as_array().size(), 15U);
    EXPECT_EQ(runtime.startOf("claude").at("workingDirectory").as_string(), runtime.workspace());
    EXPECT_EQ(runtime.startOf("claude").at("environment").as_object(), environment);
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientLaunchTest,
    ::testing::Values(LaunchRow{ GrokPermissionMode::ask, "default", false }, LaunchRow{ GrokPermissionMode::auto_, "auto", false },
        LaunchRow{ GrokPermissionMode::fullAccess, "bypassPermissions", false }, LaunchRow{ GrokPermissionMode::ask, "default", true },
        LaunchRow{ GrokPermissionMode::auto_, "auto", true }, LaunchRow{ GrokPermissionMode::fullAccess, "bypassPermissions", true }));

TEST_F(ClaudeClientStartTest, ANewSessionHasALowerCaseIdOfItsOwn)
{
    playAndStartNew(opened());
    ASSERT_TRUE(waitForEvent("started")) << report();
    const std::string id = arguments().back().substr(std::string_view("--session-id=").size());
    EXPECT_TRUE(Uuid::parse(id));
    EXPECT_EQ(id, lowerCased(id));
    EXPECT_EQ(events.at(0), "started " + id);
    client->stop();
    playAndStartNew(opened());
    ASSERT_TRUE(waitForEvent("started", 2)) << report();
    EXPECT_NE(events.at(0), events.at(1));
}

TEST_F(ClaudeClientStartTest, AStoredSessionIsResumedUnderItsIdUnchangedAndNothingIsReplayed)
{
    runtime.script("claude", opened());
    make(configuration());
    start("ABC-def");
    ASSERT_TRUE(waitForEvent("resumed")) << report();
    EXPECT_EQ(arguments().back(), "--resume=ABC-def");
    EXPECT_THAT(events, ElementsAre("resumed ABC-def"));
}

TEST_F(ClaudeClientStartTest, InitializeIsTheFirstMessageAndTheOnlyOne)
{
    playAndStartNew(opened());
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(runtime.received("claude"),
        ElementsAre(parsed(R"({"type":"control_request","request_id":"tessarin_1","request":{"subtype":"initialize","hooks":null}})")));
}

TEST_F(ClaudeClientStartTest, TheIdThatIsToldIsTheOneThatWasAskedFor)
{
    openSession(Scenario()
                    .expect("control_request/initialize")
                    .send(R"({"type":"system","subtype":"init","session_id":"another"})")
                    .reply(R"({"session_id":"a third"})"));
}

struct RefusalRow {
    const char* answer;
    const char* text;
};

class ClaudeClientRefusalTest : public ClaudeClientStartTest, public ::testing::WithParamInterface<RefusalRow>
{
};

TEST_P(ClaudeClientRefusalTest, FailsTheStartInTheRuntimesWordsOrOurs)
{
    playAndStartNew(Scenario().expect("control_request/initialize").send(GetParam().answer));
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre(std::string("startFailed ") + GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientRefusalTest,
    ::testing::Values(
        RefusalRow{ R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_1","error":"No."}})", "No." },
        RefusalRow{ R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_1","error":""}})", "" },
        RefusalRow{ R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_1"}})",
            "Claude Code rejected a control request." },
        RefusalRow{ R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_1","error":{"message":"No."}}})",
            "Claude Code rejected a control request." }));

class ClaudeClientAcceptanceTest : public ClaudeClientStartTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientAcceptanceTest, EveryAnswerThatIsNoErrorOpensTheSession)
{
    playAndStartNew(Scenario().expect("control_request/initialize").send(GetParam()));
    EXPECT_TRUE(waitForEvent("started")) << report();
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientAcceptanceTest,
    ::testing::Values(R"({"type":"control_response","response":{"subtype":"success","request_id":"tessarin_1","response":{"a":1}}})",
        R"({"type":"control_response","response":{"subtype":"success","request_id":"tessarin_1","response":[1]}})",
        R"({"type":"control_response","response":{"subtype":"success","request_id":"tessarin_1","error":"unused"}})",
        R"({"type":"control_response","response":{"subtype":7,"request_id":"tessarin_1"}})",
        R"({"type":"control_response","response":{"request_id":"tessarin_1"}})"));

class ClaudeClientForeignAnswerTest : public ClaudeClientStartTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientForeignAnswerTest, IsIgnored)
{
    playAndStart(Scenario().expect("control_request/initialize").send(GetParam()).standardError("sent").waitForFile("go").reply());
    ASSERT_TRUE(waitForEvent("log")) << report();
    EXPECT_THAT(events, ElementsAre("log sent"));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("resumed")) << report();
    EXPECT_THAT(events, ElementsAre("log sent", "resumed session-1"));
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientForeignAnswerTest,
    ::testing::Values(R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_2","error":"x"}})",
        R"({"type":"control_response","response":{"subtype":"error","request_id":"tessarin_01","error":"x"}})",
        R"({"type":"control_response","response":{"subtype":"error","request_id":1,"error":"x"}})",
        R"({"type":"control_response","response":{"subtype":"error","error":"x"}})",
        R"({"type":"control_response","response":["tessarin_1"]})", R"({"type":"control_response","request_id":"tessarin_1"})",
        R"({"type":"control_response"})", R"({"response":{"subtype":"error","request_id":"tessarin_1","error":"x"}})",
        R"({"type":["control_response"],"response":{"subtype":"error","request_id":"tessarin_1","error":"x"}})"));

TEST_F(ClaudeClientStartTest, ASecondAnswerIsIgnored)
{
    openSession(Scenario()
                    .expect("control_request/initialize")
                    .reply()
                    .replyTo("control_request/initialize")
                    .step(R"({"send":{"type":"control_response","response":{"subtype":"error","request_id":"tessarin_1","error":"x"}}})")
                    .expect("user")
                    .send(goodResult));
    runTurn();
    EXPECT_THAT(events, ElementsAre(StartsWith("turn ")));
}

class ClaudeClientMissingProgramTest : public ClaudeClientStartTest
{
protected:
    void startProgram(const std::string& path)
    {
        ClaudeCodeClient::Configuration settings = configuration();
        settings.executable = path;
        make(std::move(settings));
        const std::size_t told = events.size();
        start();
        EXPECT_EQ(events.size(), told) << "a completion is posted";
        mainThread.drain();
    }
    // A file in the test's own folder.
    std::string file(const std::string& name, const std::string& text, std::filesystem::perms rights) const
    {
        const std::string path = runtime.directory() + "/" + name;
        std::ofstream(path) << text;
        std::filesystem::permissions(path, rights);
        return path;
    }
};

TEST_F(ClaudeClientMissingProgramTest, FailsTheStart)
{
    startProgram(runtime.directory() + "/none");
    startProgram(file("plain", "#!/bin/sh\n", std::filesystem::perms::owner_read));
    startProgram("");
    EXPECT_THAT(events,
        ElementsAre("startFailed The Claude Code CLI is not installed.", "startFailed The Claude Code CLI is not installed.",
            "startFailed The Claude Code CLI is not installed."));
    prompt();
    mainThread.drain();
    EXPECT_EQ(events.back(), "turnFailed Claude Code is not connected.");
}

TEST_F(ClaudeClientMissingProgramTest, AChildThatCannotBeLaunchedFailsTheStartInThePlatformsWords)
{
    startProgram(file("broken", "#!/no/such/interpreter\n", std::filesystem::perms::owner_all));
    ASSERT_EQ(events.size(), 1U);
    EXPECT_THAT(events.at(0), StartsWith("startFailed "));
    EXPECT_THAT(events.at(0), EndsWith("No such file or directory"));
}

TEST_F(ClaudeClientStartTest, AResumeThatFailsIsNotTriedAgainAsANewSession)
{
    runtime.script(
        "claude", Scenario().standardError("No conversation found with session ID: gone\n").expect("control_request/initialize").exit(1));
    make(configuration());
    start("gone");
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    events.erase(
        std::remove_if(events.begin(), events.end(), [](const std::string& event) { return event.rfind("log", 0) == 0; }), events.end());
    EXPECT_THAT(events,
        ElementsAre("startFailed No conversation found with session ID: gone", "terminated No conversation found with session ID: gone"));
    EXPECT_FALSE(runtime.hasStarted("claude", 2));
}

} // namespace

} // namespace tessarin::testing
