// Our client against an agent on the official library: what the agent plays arrives whole and in order, and every message of ours
// passes the library's validation. The agent says on stderr whatever does not, so each test ends with an empty log.

#include "RunningAgent.h"
#include "Services/ACPClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tessarin
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class ACPClientInteropTest : public testing::Test
{
protected:
    // Everything that a client told, in order.
    struct Told {
        std::vector<std::string> events; // "replay", "replay failed", "started", the kinds of updates
        std::vector<SessionUpdate> updates;
        std::string log;
        std::optional<std::string> terminated;
        std::optional<Result<AgentStartResult, AgentError>> start;
        std::optional<Result<JsonObject, AgentError>> turn;
    };

    ACPClient::Configuration configuration(AgentProvider provider = AgentProvider::grok) const
    {
        ACPClient::Configuration configuration;
        configuration.provider = provider;
        configuration.executable = INTEROP_AGENT;
        configuration.workspacePath = m_folder.project();
        configuration.processEnvironment = m_folder.environment();
        return configuration;
    }

    void open(ACPClient::Configuration configuration)
    {
        close();
        m_told = std::make_shared<Told>();
        m_client = ACPClient::make(std::move(configuration), m_mainThread);
        const auto told = m_told;
        m_client->onSessionUpdate = [told](const SessionUpdate& update) {
            told->events.emplace_back(textAt(update, "sessionUpdate").value_or("?"));
            told->updates.emplace_back(update, boost::json::storage_ptr()); // a plain copy would use the memory of the message
        };
        m_client->onLog = [told](const std::string& text) { told->log += text; };
        m_client->onReplayStarted = [told] { told->events.emplace_back("replay"); };
        m_client->onReplayFailed = [told] { told->events.emplace_back("replay failed"); };
        m_client->onUnexpectedTermination = [told](const std::string& text) { told->terminated = text; };
    }

    // The id of the session, or the failure's text after "failed: ".
    std::string start(std::optional<std::string> existingSessionID = std::nullopt)
    {
        const auto told = m_told;
        told->start.reset();
        m_client->start(std::move(existingSessionID), [told](Result<AgentStartResult, AgentError> result) {
            told->events.emplace_back("started");
            told->start = std::move(result);
        });
        pumpUntil(m_mainThread, "the start", [&] { return told->start.has_value(); });
        if (!told->start) {
            return "failed: never completed";
        }
        return told->start->isSuccess() ? told->start->value().sessionId : "failed: " + told->start->error().description();
    }

    void beginTurn(const std::string& prompt)
    {
        const auto told = m_told;
        told->turn.reset();
        m_client->sendPrompt(prompt, [told](Result<JsonObject, AgentError> result) { told->turn = std::move(result); });
    }

    // The stop reason, or the failure's text after "failed: ".
    std::string endOfTurn()
    {
        pumpUntil(m_mainThread, "the end of the turn", [&] { return m_told->turn.has_value(); });
        if (!m_told->turn) {
            return "failed: never completed";
        }
        if (!m_told->turn->isSuccess()) {
            return "failed: " + m_told->turn->error().description();
        }
        return std::string(textAt(m_told->turn->value(), "stopReason").value_or("none"));
    }

    std::string turn(const std::string& prompt)
    {
        beginTurn(prompt);
        return endOfTurn();
    }

    std::string textOf(const std::string& kind) const
    {
        std::string text;
        for (const SessionUpdate& update : m_told->updates) {
            const JsonObject* content = objectAt(update, "content");
            if (textAt(update, "sessionUpdate") == kind && content != nullptr) {
                text += textAt(*content, "text").value_or("");
            }
        }
        return text;
    }

    void close()
    {
        if (m_client) {
            EXPECT_EQ(m_told->log, m_expectedLog);
            m_client->stop();
            m_client.reset();
        }
        EXPECT_THAT(m_folder.complaints(), IsEmpty());
    }

    void TearDown() override { close(); }

    AgentFolder m_folder;
    MainThread m_mainThread;
    std::shared_ptr<ACPClient> m_client;
    std::shared_ptr<Told> m_told;
    std::string m_expectedLog;
};

const std::vector<std::string> kindsOfAWholeTurn{
    "agent_thought_chunk",
    "agent_thought_chunk",
    "plan",
    "agent_message_chunk",
    "agent_message_chunk",
    "tool_call",
    "tool_call_update",
    "plan",
    "agent_message_chunk",
    "usage_update",
};

TEST_F(ACPClientInteropTest, AWholeTurnArrivesInOrder)
{
    open(configuration());
    const std::string session = start();
    EXPECT_EQ(session.size(), 36U) << session;
    EXPECT_FALSE(m_told->start->value().replayedSession);
    m_told->events.clear();

    EXPECT_EQ(turn("TURN:everything"), "end_turn");

    EXPECT_EQ(m_told->events, kindsOfAWholeTurn);
    EXPECT_EQ(textOf("agent_message_chunk"), "I read the file: größer, 你好, 👩‍🚀.Done.");
    EXPECT_EQ(textOf("agent_thought_chunk"), "The person wants everything.");
}

TEST_F(ACPClientInteropTest, AnUpdateKeepsEveryKeyThatTheAgentSent)
{
    open(configuration());
    start();
    turn("TURN:everything");

    const auto call = std::find_if(m_told->updates.begin(), m_told->updates.end(),
        [](const SessionUpdate& update) { return textAt(update, "sessionUpdate") == "tool_call"; });
    ASSERT_NE(call, m_told->updates.end());
    EXPECT_EQ(*call,
        parseJson(R"({"sessionUpdate":"tool_call","toolCallId":"call-1","title":"Read notes.txt","kind":"read",)"
                  R"("status":"pending","rawInput":{"path":"notes/today.txt","limit":3},)"
                  R"("locations":[{"path":"/notes/today.txt","line":1}]})")
            ->as_object());
}

TEST_F(ACPClientInteropTest, ASecondTurnUsesTheSameSession)
{
    open(configuration());
    const std::string session = start();
    EXPECT_EQ(turn("TURN:everything"), "end_turn");
    EXPECT_EQ(turn("TURN:everything"), "end_turn");

    const std::vector<JsonObject> prompts = m_folder.received("session/prompt");
    ASSERT_EQ(prompts.size(), 2U);
    for (const JsonObject& prompt : prompts) {
        EXPECT_EQ(textAt(*objectAt(prompt, "params"), "sessionId"), session);
    }
}

TEST_F(ACPClientInteropTest, AStoredSessionIsReplayedBetweenItsAnnouncementAndTheStart)
{
    open(configuration());
    const std::string session = start();
    turn("TURN:everything");

    open(configuration());
    EXPECT_EQ(start(session), session);

    EXPECT_TRUE(m_told->start->value().replayedSession);
    std::vector<std::string> expected{ "replay", "user_message_chunk" };
    expected.insert(expected.end(), kindsOfAWholeTurn.begin(), kindsOfAWholeTurn.end());
    expected.emplace_back("started");
    EXPECT_EQ(m_told->events, expected);
    EXPECT_EQ(textOf("user_message_chunk"), "TURN:everything");
}

TEST_F(ACPClientInteropTest, ASessionThatTheAgentDoesNotKnowBecomesANewOne)
{
    open(configuration());
    const std::string session = start("never-opened");

    EXPECT_EQ(session.size(), 36U) << session;
    EXPECT_FALSE(m_told->start->value().replayedSession);
    EXPECT_THAT(m_told->events, ElementsAre("replay", "replay failed", "started"));
    EXPECT_EQ(turn("TURN:everything"), "end_turn");
}

TEST_F(ACPClientInteropTest, CancellingEndsTheTurnInTheAgentsWords)
{
    open(configuration());
    start();
    beginTurn("TURN:endless");
    pumpUntil(m_mainThread, "the first words", [&] { return textOf("agent_message_chunk") == "Working"; });
    EXPECT_FALSE(m_told->turn.has_value());

    m_client->cancel();

    EXPECT_EQ(endOfTurn(), "cancelled");
    EXPECT_EQ(textOf("agent_message_chunk"), "Working, stopped.");
    EXPECT_EQ(turn("TURN:everything"), "end_turn") << "the session is usable after a cancelled turn";
}

TEST_F(ACPClientInteropTest, AnErrorOfTheTurnKeepsTheAgentsWordsAndTheSession)
{
    open(configuration());
    start();

    EXPECT_EQ(turn("TURN:failing"), "failed: The model is on fire: 503");
    EXPECT_FALSE(m_told->turn->error().isUsageLimitFailure());
    EXPECT_EQ(turn("TURN:everything"), "end_turn");
}

TEST_F(ACPClientInteropTest, AnExhaustedAllowanceIsKnownByTheAgentsWords)
{
    ACPClient::Configuration exhausted = configuration();
    exhausted.processEnvironment["AGENT_EXHAUSTED"] = "1";
    open(exhausted);
    start();

    EXPECT_EQ(turn("TURN:limited"), "failed: Usage limit reached for this week");
    EXPECT_TRUE(m_told->turn->error().isUsageLimitFailure());
}

TEST_F(ACPClientInteropTest, ARequestThatWeDoNotKnowIsRefusedByItsName)
{
    open(configuration());
    start();

    EXPECT_EQ(turn("TURN:asking"), "end_turn");
    EXPECT_EQ(textOf("agent_message_chunk"), "-32601 Unsupported ACP method: _example/unknown");
}

TEST_F(ACPClientInteropTest, NothingIsLostOfTwentyThousandUpdates)
{
    open(configuration());
    start();

    EXPECT_EQ(turn("TURN:flood"), "end_turn");

    std::string expected;
    for (int n = 0; n < 20000; ++n) {
        expected += std::to_string(n) + " ";
    }
    EXPECT_EQ(textOf("agent_message_chunk"), expected);
}

TEST_F(ACPClientInteropTest, AnAgentThatDiesInATurnFailsItAndSaysItsLastWord)
{
    open(configuration());
    start();

    EXPECT_EQ(turn("TURN:dying"), "failed: The model runtime disconnected.");
    pumpUntil(m_mainThread, "the notice of the end", [&] { return m_told->terminated.has_value(); });
    EXPECT_EQ(m_told->terminated, "out of memory");
    EXPECT_EQ(textOf("agent_message_chunk"), "Going down");
    m_expectedLog = "out of memory\n";
}

TEST_F(ACPClientInteropTest, GrokIsNeverConfigured)
{
    open(configuration());
    start();
    EXPECT_THAT(m_folder.received("session/set_config_option"), IsEmpty());
}

TEST_F(ACPClientInteropTest, KimiIsToldItsMode)
{
    ACPClient::Configuration kimi = configuration(AgentProvider::kimi);
    kimi.permissionMode = GrokPermissionMode::fullAccess;
    open(kimi);
    const std::string session = start();

    EXPECT_EQ(session.size(), 36U) << session;
    const std::vector<JsonObject> options = m_folder.received("session/set_config_option");
    ASSERT_EQ(options.size(), 1U);
    EXPECT_EQ(
        *objectAt(options[0], "params"), parseJson(R"({"sessionId":")" + session + R"(","configId":"mode","value":"yolo"})")->as_object());
}

TEST_F(ACPClientInteropTest, AnAcceptedModelOpensTheSessionOfGLM)
{
    ACPClient::Configuration glm = configuration(AgentProvider::glm);
    glm.model = "zai-coding-plan/glm-4.7";
    open(glm);

    EXPECT_EQ(start().size(), 36U);
    EXPECT_EQ(m_folder.received("session/set_config_option").size(), 1U);
}

TEST_F(ACPClientInteropTest, ARefusedModelFailsTheStartOfGLMInTheAgentsWords)
{
    ACPClient::Configuration glm = configuration(AgentProvider::glm);
    glm.model = "zai-coding-plan/glm-99";
    open(glm);

    EXPECT_EQ(start(), "failed: Unknown model: zai-coding-plan/glm-99");
}

} // namespace
} // namespace tessarin
