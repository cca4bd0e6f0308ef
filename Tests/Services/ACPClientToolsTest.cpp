#include "ACPClientFixture.h"
#include "Platform/Files.h"

#include <filesystem>
#include <fstream>
#include <set>

namespace tessarin::testing
{

namespace
{

// A runtime that asks for files and terminals in the course of a turn.
class ACPClientToolsTest : public ACPClientTest
{
protected:
    static std::string request(std::int64_t id, std::string_view method, const JsonObject& params)
    {
        return compactJson(JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "method", method }, { "params", params } });
    }
    // One request in a turn of its own; the whole answer.
    std::optional<Json> ask(std::string_view method, const JsonObject& params)
    {
        openInWorkspace(
            Scenario().handshake().expect("session/prompt").send(request(5, method, params)).expectResponse(5).replyTo("session/prompt"));
        runTurn();
        return waitForAnswer(5);
    }
    void openInWorkspace(const Scenario& scenario, AgentProvider provider = AgentProvider::grok)
    {
        runtime.script(programOf(provider), scenario);
        ACPClient::Configuration settings = configuration(provider);
        settings.terminalEnvironment = { { "PATH", "/usr/bin:/bin" }, { "MARK", "terminal" } };
        make(std::move(settings));
        start();
        ASSERT_TRUE(waitForEvent("started")) << report();
    }
    std::string inWorkspace(const std::string& name) const { return runtime.workspace() + "/" + name; }
    void put(const std::string& name, std::string_view text) const { std::ofstream(inWorkspace(name), std::ios::binary) << text; }

    static Json result(std::int64_t id, const Json& value) { return JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "result", value } }; }
    static Json error(std::int64_t id, std::string_view message)
    {
        return JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "error", { { "code", -32603 }, { "message", message } } } };
    }
};

TEST_F(ACPClientToolsTest, AReadIsAnsweredWithTheContent)
{
    put("a", "1\n2\n3\n4\n5\n");
    EXPECT_EQ(
        ask("fs/read_text_file", { { "path", inWorkspace("a") }, { "line", 2 }, { "limit", 2 } }), result(5, { { "content", "2\n3" } }));
}

TEST_F(ACPClientToolsTest, AFailedReadIsAnsweredWithThePlatformsText)
{
    EXPECT_EQ(ask("fs/read_text_file", { { "path", inWorkspace("none") } }), error(5, inWorkspace("none") + ": No such file or directory"));
}

TEST_F(ACPClientToolsTest, AReadWithoutAPathSaysSo)
{
    EXPECT_EQ(ask("fs/read_text_file", {}), error(5, "fs/read_text_file is missing path"));
}

TEST_F(ACPClientToolsTest, AWriteIsAnsweredWithAnEmptyMap)
{
    EXPECT_EQ(ask("fs/write_text_file", { { "path", inWorkspace("new/a") }, { "content", "text" } }), result(5, JsonObject()));
    const auto written = readFile(inWorkspace("new/a"));
    ASSERT_TRUE(written);
    EXPECT_EQ(written.value(), "text");
}

TEST_F(ACPClientToolsTest, AWriteOutsideTheProjectIsRefused)
{
    EXPECT_EQ(ask("fs/write_text_file", { { "path", inWorkspace("../a") }, { "content", "text" } }),
        error(5, "tessarin only allows file writes inside the selected project."));
    EXPECT_FALSE(fileExists(inWorkspace("../a")));
}

TEST_F(ACPClientToolsTest, AWriteWithoutContentSaysSo)
{
    EXPECT_EQ(ask("fs/write_text_file", { { "path", inWorkspace("a") } }), error(5, "fs/write_text_file is missing path or content"));
}

TEST_F(ACPClientToolsTest, ATerminalRunsFromItsCreationToItsRelease)
{
    const JsonObject command{ { "command", "sh" }, { "args", { "-c", "printf \"$MARK $EXTRA\"; exit 4" } },
        { "env", JsonArray{ JsonObject{ { "name", "EXTRA" }, { "value", "more" } } } }, { "sessionId", "not read" } };
    const JsonObject terminal{ { "terminalId", "${result.terminalId}" } };
    // The id is known from the first answer only, so each request is made from the answer to the first.
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(5, "terminal/create", command)).expectResponse(5);
    scenario.send(request(6, "terminal/wait_for_exit", terminal)).send(request(7, "terminal/wait_for_exit", terminal));
    scenario.expectResponse(6).replyTo("session/prompt");
    openInWorkspace(scenario);
    runTurn();
    const Json ended{ { "exitCode", 4 }, { "signal", nullptr } };
    EXPECT_EQ(waitForAnswer(6), result(6, ended));
    EXPECT_EQ(waitForAnswer(7), result(7, ended));
}

TEST_F(ACPClientToolsTest, OutputKillAndReleaseAreAnswered)
{
    const JsonObject command{ { "command", "sh" }, { "args", { "-c", "printf ready; exec sleep 600" } } };
    const JsonObject terminal{ { "terminalId", "${result.terminalId}" } };
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(5, "terminal/create", command)).expectResponse(5);
    scenario.send(request(6, "terminal/output", terminal)).send(request(7, "terminal/kill", terminal));
    scenario.send(request(8, "terminal/release", terminal)).send(request(9, "terminal/output", terminal)).expectResponse(9);
    scenario.replyTo("session/prompt");
    openInWorkspace(scenario);
    runTurn();
    const auto created = waitForAnswer(5);
    ASSERT_TRUE(created);
    const std::string id(created->at("result").at("terminalId").as_string());
    const auto output = waitForAnswer(6);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->at("result").at("truncated"), Json(false));
    EXPECT_EQ(output->at("result").at("exitStatus"), Json(nullptr));
    EXPECT_EQ(waitForAnswer(7), result(7, JsonObject()));
    EXPECT_EQ(waitForAnswer(8), result(8, JsonObject()));
    EXPECT_EQ(waitForAnswer(9), error(9, "Unknown terminal: " + id));
}

struct TerminalFailureRow {
    const char* method;
    JsonObject params;
    const char* message;
};

class ACPClientTerminalFailureTest : public ACPClientToolsTest, public ::testing::WithParamInterface<TerminalFailureRow>
{
};

TEST_P(ACPClientTerminalFailureTest, IsAnsweredWithItsText)
{
    EXPECT_EQ(ask(GetParam().method, GetParam().params), error(5, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientTerminalFailureTest,
    ::testing::Values(TerminalFailureRow{ "terminal/create", {}, "terminal/create is missing command" },
        TerminalFailureRow{ "terminal/create", { { "command", "" } }, "terminal/create is missing command" },
        TerminalFailureRow{ "terminal/create", { { "command", "x" }, { "cwd", "/no/such/folder" } },
            "Could not run x: /no/such/folder: No such file or directory" },
        TerminalFailureRow{ "terminal/output", {}, "Terminal request is missing terminalId" },
        TerminalFailureRow{ "terminal/kill", { { "terminalId", 5 } }, "Terminal request is missing terminalId" },
        TerminalFailureRow{ "terminal/release", {}, "Terminal request is missing terminalId" },
        TerminalFailureRow{ "terminal/wait_for_exit", {}, "Terminal request is missing terminalId" },
        TerminalFailureRow{ "terminal/output", { { "terminalId", "X" } }, "Unknown terminal: X" },
        TerminalFailureRow{ "terminal/kill", { { "terminalId", "X" } }, "Unknown terminal: X" },
        TerminalFailureRow{ "terminal/release", { { "terminalId", "X" } }, "Unknown terminal: X" },
        TerminalFailureRow{ "terminal/wait_for_exit", { { "terminalId", "X" } }, "Unknown terminal: X" }));

TEST_F(ACPClientToolsTest, AnUnknownTerminalMethodIsUnsupported)
{
    const auto answer = ask("terminal/resize", {});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->at("error"), (Json{ { "code", -32601 }, { "message", "Unsupported ACP method: terminal/resize" } }));
}

TEST_F(ACPClientToolsTest, WaitingForACommandDoesNotHoldUpTheTurn)
{
    const JsonObject command{ { "command", "sleep" }, { "args", { "600" } } };
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(5, "terminal/create", command)).expectResponse(5);
    scenario.send(request(6, "terminal/wait_for_exit", { { "terminalId", "${result.terminalId}" } }))
        .chunk("going on")
        .replyTo("session/prompt");
    openInWorkspace(scenario);
    runTurn();
    EXPECT_EQ(count("update"), 1);
    EXPECT_FALSE(answerTo(6).has_value());
}

TEST_F(ACPClientToolsTest, AGigabyteOfACommandsOutputReachesNeitherTheMainThreadNorHoldsItUp)
{
    constexpr int questions = 50;
    const std::string last = isSanitized ? "109999999" : "199999999";
    const std::string line = "seq 100000000 " + last + "; until [ -e " + inWorkspace("go") + " ]; do sleep 0.01; done";
    const JsonObject command{ { "command", "sh" }, { "args", { "-c", line } }, { "outputByteLimit", 1000 } };
    const JsonObject terminal{ { "terminalId", "${result.terminalId}" } };
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(5, "terminal/create", command)).expectResponse(5);
    scenario.send(request(6, "terminal/wait_for_exit", terminal));
    // The agent goes on asking and telling while the command prints.
    for (int id = 100; id < 100 + questions; ++id) {
        scenario.send(request(id, "terminal/none", {})).chunk("{n}").expectResponse(id);
    }
    openInWorkspace(scenario.waitForFile("end").replyTo("session/prompt"));
    events.clear();
    prompt();
    std::size_t beats = 0;
    const auto beat = [&] {
        bool came = false;
        mainThread.post([&came] { came = true; });
        mainThread.waitAndDrain(std::chrono::milliseconds(20));
        beats += came ? 1 : 0;
        return came;
    };
    while (!answerTo(100 + questions - 1)) {
        ASSERT_TRUE(beat());
        ASSERT_LT(beats, 100'000U) << report();
    }
    EXPECT_FALSE(answerTo(6)) << "the command has not ended";
    put("go", "");
    while (!answerTo(6)) {
        ASSERT_TRUE(beat());
        ASSERT_LT(beats, 100'000U) << report();
    }
    EXPECT_EQ(events.size(), static_cast<std::size_t>(questions)) << "the updates of the agent and nothing of the command; " << report();
    EXPECT_EQ(waitForAnswer(6), result(6, { { "exitCode", 0 }, { "signal", nullptr } }));
}

TEST_F(ACPClientToolsTest, StopEndsTheCommandsOfTheAgent)
{
    const JsonObject command{ { "command", "sh" }, { "args", { "-c", "echo $$ > " + inWorkspace("pid") + "; exec sleep 600" } } };
    openInWorkspace(Scenario()
                        .handshake()
                        .expect("session/prompt")
                        .send(request(5, "terminal/create", command))
                        .expectResponse(5)
                        .replyTo("session/prompt"));
    runTurn();
    int processID = 0;
    ASSERT_TRUE(waitUntil(mainThread, [&] { return bool(std::ifstream(inWorkspace("pid")) >> processID); }));
    client->stop();
    EXPECT_TRUE(waitForEndOf(processID));
}

TEST_F(ACPClientToolsTest, AThousandPermissionRequestsAreEachShownAndEachAnsweredByACancel)
{
    constexpr int total = 1000;
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    for (int id = 100; id < 100 + total; ++id) {
        scenario.send(request(id, "session/request_permission", {}));
    }
    openInWorkspace(scenario);
    prompt();
    ASSERT_TRUE(waitForEvent("permission", total)) << count("permission");
    client->respondToPermission(100, "yes");
    client->cancel();
    client->respondToPermission(101, "late");
    ASSERT_TRUE(waitForAnswer(100 + total - 1).has_value());
    std::multiset<std::int64_t> answered;
    for (const Json& message : runtime.received(program)) {
        const JsonObject& object = message.as_object();
        if (!object.contains("method")) {
            answered.insert(object.at("id").as_int64());
        }
    }
    EXPECT_EQ(answered.size(), static_cast<std::size_t>(total));
    EXPECT_EQ(std::set(answered.begin(), answered.end()).size(), static_cast<std::size_t>(total));
    EXPECT_EQ(answerTo(100)->at("result").at("outcome").at("outcome"), Json("selected"));
    EXPECT_EQ(answerTo(101)->at("result").at("outcome").at("outcome"), Json("cancelled"));
}

} // namespace

} // namespace tessarin::testing
