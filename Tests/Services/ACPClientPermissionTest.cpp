#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ACPClientPermissionTest : public ACPClientTest
{
protected:
    static std::string request(std::int64_t id, std::string_view params)
    {
        return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"session/request_permission","params":)"
            + std::string(params) + "}";
    }
    void ask(std::string_view params, AgentProvider provider = AgentProvider::grok)
    {
        openSession(Scenario().handshake().always("session/set_config_option").send(request(7, params)), provider);
        ASSERT_TRUE(waitForEvent("permission")) << report();
    }
    // A client in that mode is asked; the answer that it gives by itself, or absent when it asks the person.
    std::optional<Json> askInMode(AgentProvider provider, GrokPermissionMode mode, std::string_view params)
    {
        Scenario scenario;
        scenario.handshake().always("session/set_config_option").expect("session/prompt").send(request(7, params)).reply();
        runtime.script(programOf(provider), scenario);
        ACPClient::Configuration settings = configuration(provider);
        settings.permissionMode = mode;
        make(std::move(settings));
        start();
        EXPECT_TRUE(waitForEvent("started")) << report();
        prompt();
        EXPECT_TRUE(waitForEvent("turn")) << report();
        if (count("permission") > 0)
            return std::nullopt;
        return waitForAnswer(7);
    }
};

constexpr const char* fullParams = R"({"sessionId":"other","toolCall":{"toolCallId":"t","title":"Run ls","rawInput":{"b":[],"a":"x/y"}},
    "options":[{"optionId":"no","name":"No","kind":"reject_once"},{"optionId":"yes","name":"Yes","kind":"allow_once"}]})";

TEST_F(ACPClientPermissionTest, ARequestIsShownWithTitleDetailAndOptions)
{
    ask(fullParams);
    EXPECT_EQ(permissions.at(0),
        (PermissionRequest{ 7, "Run ls", "{\n  \"a\" : \"x\\/y\",\n  \"b\" : [\n\n  ]\n}",
            { { "no", "No", "reject_once" }, { "yes", "Yes", "allow_once" } } }));
}

TEST_F(ACPClientPermissionTest, TheChosenOptionIsAnsweredToTheLetter)
{
    ask(fullParams);
    client->respondToPermission(7, "yes");
    EXPECT_EQ(waitForAnswer(7), parsed(R"({"jsonrpc":"2.0","id":7,"result":{"outcome":{"outcome":"selected","optionId":"yes"}}})"));
}

TEST_F(ACPClientPermissionTest, AnOptionThatWasNotOfferedIsAnsweredAllTheSame)
{
    ask(fullParams);
    client->respondToPermission(7, "");
    EXPECT_EQ(waitForAnswer(7), parsed(R"({"jsonrpc":"2.0","id":7,"result":{"outcome":{"outcome":"selected","optionId":""}}})"));
}

struct DefaultsRow {
    const char* params;
    const char* title;
    const char* detail;
    std::vector<PermissionOption> options;
};

class ACPClientPermissionDefaultsTest : public ACPClientPermissionTest, public ::testing::WithParamInterface<DefaultsRow>
{
};

constexpr const char* grokSentence = "Grok is requesting permission to continue.";

TEST_P(ACPClientPermissionDefaultsTest, StandForWhatIsMissing)
{
    ask(GetParam().params);
    EXPECT_EQ(permissions.at(0), (PermissionRequest{ 7, GetParam().title, GetParam().detail, GetParam().options }));
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientPermissionDefaultsTest,
    ::testing::Values(DefaultsRow{ "{}", "Run a tool", grokSentence, {} }, DefaultsRow{ "[]", "Run a tool", grokSentence, {} },
        DefaultsRow{ R"({"toolCall":"x","options":"y"})", "Run a tool", grokSentence, {} },
        DefaultsRow{ R"({"toolCall":{"title":5,"rawInput":"ls"}})", "Run a tool", grokSentence, {} },
        DefaultsRow{ R"({"toolCall":{"title":"","rawInput":7}})", "", grokSentence, {} },
        DefaultsRow{ R"({"toolCall":{"rawInput":["ls"]}})", "Run a tool", "[\n  \"ls\"\n]", {} },
        DefaultsRow{ R"({"toolCall":{"rawInput":null,"content":[{"type":"content","content":{"type":"text","text":"Running: ls"}},
                          {"type":"diff"},7,{"content":{"type":"text","text":"twice"}},{"content":{"text":""}}]}})",
            "Run a tool", "Grok is requesting permission to continue.\n\nRunning: ls\ntwice", {} },
        DefaultsRow{ R"({"toolCall":{"content":[{"type":"content","content":{"type":"text","text":"Running: ls"}}]}})", "Run a tool",
            "Grok is requesting permission to continue.\n\nRunning: ls", {} },
        DefaultsRow{ R"({"toolCall":{"rawInput":{},"content":[{"content":{"text":"Running: ls"}}]}})", "Run a tool", "{\n\n}", {} },
        DefaultsRow{ R"({"toolCall":{"rawInput":"ls","content":[{"content":{"text":"Running: ls"}}]}})", "Run a tool", grokSentence, {} },
        DefaultsRow{ R"({"toolCall":{"content":{"content":{"text":"ls"}}}})", "Run a tool", grokSentence, {} },
        DefaultsRow{ R"({"options":[{"optionId":"a","name":"A"},{"optionId":"b"},{"name":"C"},{"optionId":4,"name":"D"},
                          {"optionId":"e","name":"E","kind":["x"]},{"optionId":"","name":"","kind":"odd"}]})",
            "Run a tool", grokSentence, { { "a", "A", "allow_once" }, { "e", "E", "allow_once" }, { "", "", "odd" } } },
        DefaultsRow{ R"({"options":[{"optionId":"a","name":"A"},"b"]})", "Run a tool", grokSentence, {} }));

TEST_F(ACPClientPermissionTest, TheStandardSentenceNamesTheRuntime)
{
    ask(R"({"toolCall":{"rawInput":"ls"}})", AgentProvider::kimi);
    EXPECT_EQ(permissions.at(0).detail, "Kimi is requesting permission to continue.");
}

TEST_F(ACPClientPermissionTest, OnlyTheFirstAnswerIsSent)
{
    openSession(Scenario().handshake().send(request(0, fullParams)).expect("session/cancel").expect("session/cancel"));
    ASSERT_TRUE(waitForEvent("permission"));
    client->respondToPermission(0, "yes");
    client->respondToPermission(0, "no");
    client->respondToPermission(8, "yes");
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel"));
    const auto messages = runtime.received(program);
    ASSERT_EQ(messages.size(), 4U) << "initialize, session/new, one answer, session/cancel";
    EXPECT_EQ(messages[2], parsed(R"({"jsonrpc":"2.0","id":0,"result":{"outcome":{"outcome":"selected","optionId":"yes"}}})"));
}

TEST_F(ACPClientPermissionTest, CancelAnswersEveryOpenRequestAfterTheNotification)
{
    openSession(Scenario().handshake().send(request(4, fullParams)).send(request(-1, fullParams)).send(request(9, fullParams)));
    ASSERT_TRUE(waitForEvent("permission", 3));
    client->respondToPermission(4, "no");
    client->cancel();
    client->respondToPermission(9, "yes");
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel", 2));
    const std::vector<Json> messages = runtime.received(program);
    EXPECT_THAT(std::vector<Json>(messages.begin() + 2, messages.end()),
        ElementsAre(parsed(R"({"jsonrpc":"2.0","id":4,"result":{"outcome":{"outcome":"selected","optionId":"no"}}})"),
            parsed(R"({"jsonrpc":"2.0","method":"session/cancel","params":{"sessionId":"session-1"}})"),
            parsed(R"({"jsonrpc":"2.0","id":-1,"result":{"outcome":{"outcome":"cancelled"}}})"),
            parsed(R"({"jsonrpc":"2.0","id":9,"result":{"outcome":{"outcome":"cancelled"}}})"),
            parsed(R"({"jsonrpc":"2.0","method":"session/cancel","params":{"sessionId":"session-1"}})")));
}

TEST_F(ACPClientPermissionTest, CancelBeforeASessionExistsLeavesRequestsOpen)
{
    runtime.script("grok",
        Scenario()
            .expect("initialize")
            .send(request(7, fullParams))
            .waitForFile("go")
            .reply()
            .expect("session/new")
            .reply(R"({"sessionId":"s"})"));
    make(configuration());
    start();
    ASSERT_TRUE(waitForEvent("permission"));
    client->cancel();
    client->respondToPermission(7, "yes");
    const auto answer = waitForAnswer(7);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->at("result").at("outcome").at("outcome").as_string(), "selected");
}

TEST_F(ACPClientPermissionTest, StopAnswersNone)
{
    openSession(Scenario().handshake().step(R"({"ignoreTerm":true})").send(request(7, fullParams)));
    ASSERT_TRUE(waitForEvent("permission"));
    client->stop();
    client->respondToPermission(7, "yes");
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.hasRecorded("grok", "stdinClosed"); }));
    EXPECT_EQ(answerTo(7), std::nullopt);
}

constexpr const char* alwaysLast
    = R"({"options":[{"optionId":"r","name":"R","kind":"reject_once"},{"optionId":"o","name":"O","kind":"allow_once"},
    {"optionId":"a","name":"A","kind":"allow_always"},{"optionId":"a2","name":"A2","kind":"allow_always"}]})";
constexpr const char* onceOnly = R"({"options":[{"optionId":"r","name":"R","kind":"reject_once"},{"optionId":"o","name":"O"},
    {"optionId":"o2","name":"O2","kind":"allow_once"}]})";
constexpr const char* neither
    = R"({"options":[{"optionId":"r","name":"R","kind":"reject_once"},{"optionId":"x","name":"X","kind":"allow"}]})";

TEST_F(ACPClientPermissionTest, FullAccessOfGLMAllowsAlwaysByItself)
{
    EXPECT_EQ(askInMode(AgentProvider::glm, GrokPermissionMode::fullAccess, alwaysLast),
        parsed(R"({"jsonrpc":"2.0","id":7,"result":{"outcome":{"outcome":"selected","optionId":"a"}}})"));
    EXPECT_THAT(permissions, IsEmpty());
    EXPECT_EQ(log, "");
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel"));
    EXPECT_EQ(runtime.received(program).back().at("method").as_string(), "session/cancel") << "nothing was left open";
}

TEST_F(ACPClientPermissionTest, FullAccessOfGLMAllowsOnceWhenThereIsNothingBetter)
{
    EXPECT_EQ(askInMode(AgentProvider::glm, GrokPermissionMode::fullAccess, onceOnly),
        parsed(R"({"jsonrpc":"2.0","id":7,"result":{"outcome":{"outcome":"selected","optionId":"o"}}})"));
}

TEST_F(ACPClientPermissionTest, FullAccessOfGLMAsksWhenNoOptionAllows)
{
    EXPECT_EQ(askInMode(AgentProvider::glm, GrokPermissionMode::fullAccess, neither), std::nullopt);
}

TEST_F(ACPClientPermissionTest, OtherModesOfGLMAsk)
{
    EXPECT_EQ(askInMode(AgentProvider::glm, GrokPermissionMode::auto_, alwaysLast), std::nullopt);
}

TEST_F(ACPClientPermissionTest, FullAccessOfTheOthersAsks)
{
    EXPECT_EQ(askInMode(AgentProvider::grok, GrokPermissionMode::fullAccess, alwaysLast), std::nullopt);
    client->stop();
    EXPECT_EQ(askInMode(AgentProvider::kimi, GrokPermissionMode::fullAccess, alwaysLast), std::nullopt);
}

} // namespace

} // namespace tessarin::testing
