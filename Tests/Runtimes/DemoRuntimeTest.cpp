#include "DemoConversation.h"

#include <boost/json.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace scripted
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

std::string runOnce(const std::string& program, std::vector<std::string> arguments, int expectedStatus = 0)
{
    TalkingProcess process({ DEMO_RUNTIME_FOLDER "/" + program, std::move(arguments), {}, "/" });
    std::string text = process.readToEnd();
    EXPECT_EQ(process.waitForExit(), expectedStatus);
    return text;
}

TEST(DemoRuntimeTest, TellsItsVersion)
{
    EXPECT_EQ(runOnce("grok", { "--version" }), "1.0.0 (demonstration)\n");
    EXPECT_EQ(runOnce("kimi", { "--version" }), "1.0.0 (demonstration)\n");
}

TEST(DemoRuntimeTest, NeedsNoSignInAndRefusesWhatItDoesNotKnow)
{
    EXPECT_THAT(runOnce("grok", { "login" }), HasSubstr("needs no account"));
    EXPECT_EQ(runOnce("grok", {}, 2), "");
    EXPECT_EQ(runOnce("grok", { "agent" }, 2), "");
}

TEST(DemoRuntimeTest, OpensASession)
{
    Conversation talk("kimi");
    const json::object initialized = talk.ask("initialize", { { "protocolVersion", 1 } });
    EXPECT_EQ(initialized.at("result").at("protocolVersion"), 1);
    EXPECT_EQ(initialized.at("result").at("agentCapabilities").at("loadSession"), true);
    EXPECT_TRUE(talk.ask("session/new").at("result").at("sessionId").as_string().starts_with("kimi-demo-"));
    EXPECT_TRUE(talk.ask("session/set_config_option", { { "configId", "mode" }, { "value", "manual" } }).contains("result"));
}

TEST(DemoRuntimeTest, RefusesAnUnknownMethodAndAnUnknownSession)
{
    Conversation talk("grok");
    EXPECT_EQ(talk.ask("session/fork").at("error").at("code"), -32601);
    EXPECT_TRUE(talk.prompt("before a session is open").contains("error"));
    talk.open();
    talk.m_sessionId = "another";
    EXPECT_TRUE(talk.prompt("hello").contains("error"));
}

TEST(DemoRuntimeTest, DropsLinesThatAreNoRequests)
{
    Conversation talk("grok");
    talk.m_process.write("\nno json\n[1]\n{\"id\":99,\"result\":{}}\n{\"method\":\"unknown/notification\"}\n");
    EXPECT_TRUE(talk.ask("initialize").contains("result"));
}

TEST(DemoRuntimeTest, PlaysAWholeTurn)
{
    Conversation talk("grok");
    talk.open();
    const json::object answer = talk.prompt("Mend the columns\nand more lines");
    EXPECT_EQ(answer.at("result").at("stopReason"), "end_turn");
    EXPECT_THAT(talk.texts("agent_thought_chunk").front(), HasSubstr("“Mend the columns”"));
    EXPECT_GT(talk.updates("agent_message_chunk").size(), 40U) << "texts are streamed";
    const std::string report = talk.texts("agent_message_chunk").back();
    for (const char* part : { "## ", "\n- ", "\n|---|", "\n```python\n" })
        EXPECT_THAT(report, HasSubstr(part));
}

TEST(DemoRuntimeTest, ThePlanOfFiveStepsMovesForward)
{
    Conversation talk("grok");
    talk.open();
    talk.prompt("Go");
    std::vector<std::string> states;
    for (const json::object& plan : talk.updates("plan")) {
        std::string state;
        for (const json::value& entry : plan.at("entries").as_array())
            state += entry.at("status").as_string().front();
        states.push_back(state);
    }
    EXPECT_THAT(states, ElementsAre("ipppp", "cippp", "ccipp", "cccip", "cccci", "ccccc"));
}

TEST(DemoRuntimeTest, ToolCallsBeginAndEndWithTheirOutput)
{
    Conversation talk("grok");
    talk.open();
    talk.prompt("Go");
    std::set<std::string> kinds;
    std::set<std::string> open;
    for (const json::object& update : talk.m_updates) {
        if (!update.contains("toolCallId"))
            continue;
        const std::string id = asText(update.at("toolCallId"));
        kinds.insert(asText(update.at("kind")));
        EXPECT_FALSE(update.at("title").as_string().empty());
        if (update.at("sessionUpdate") == "tool_call") {
            EXPECT_EQ(update.at("status"), "pending");
            EXPECT_TRUE(open.insert(id).second);
        } else if (update.at("status") == "completed") {
            EXPECT_EQ(open.erase(id), 1U);
            EXPECT_EQ(
                update.at("kind") == "execute" || update.at("kind") == "search", update.at("rawInput").as_object().contains("output"));
        } else {
            EXPECT_EQ(update.at("status"), "in_progress");
        }
    }
    EXPECT_TRUE(open.empty());
    EXPECT_THAT(kinds, ElementsAre("edit", "execute", "read", "search"));
}

TEST(DemoRuntimeTest, TheSecondPromptOfGrokEndsInItsUsageLimit)
{
    Conversation talk("grok");
    talk.open();
    talk.prompt("First");
    for (int round = 0; round < 2; ++round) {
        const json::object answer = talk.prompt("Again");
        EXPECT_THAT(asText(answer.at("error").at("message")), HasSubstr("usage limit"));
        EXPECT_FALSE(answer.contains("result"));
        EXPECT_FALSE(talk.updates("agent_message_chunk").empty()) << "a bit of text comes first";
        EXPECT_EQ(talk.updates("plan").back().at("entries").at(1).at("status"), "in_progress") << "there is something to go on with";
    }
}

TEST(DemoRuntimeTest, APromptThatSpeaksOfALimitEndsInIt)
{
    Conversation talk("grok");
    talk.open();
    EXPECT_TRUE(talk.prompt("Show me the LIMIT").contains("error"));
    EXPECT_TRUE(talk.prompt("And now?").contains("error")) << "a used-up allowance stays used up";
}

TEST(DemoRuntimeTest, KimiHasNoLimit)
{
    Conversation talk("kimi");
    talk.open();
    for (const char* text : { "First", "Second", "What about the limit?" })
        EXPECT_TRUE(talk.prompt(text).contains("result")) << text;
}

// As the application writes it.
std::string capsule(const std::string& plan)
{
    return "Continue this coding task after an automatic provider handoff from Grok to Kimi.\n\n"
           "Do not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve the user's "
           "approval mode and ask for approval when your runtime requires it.\n\n"
           "ORIGINAL USER REQUEST\nNow run all tests\nand report\n\nACTIVE PLAN\n"
        + plan + "\n\nRECENT VISIBLE CONVERSATION\nUSER: - [pending] not a step\n\nWORKSPACE\n/p\n\nREPOSITORY SNAPSHOT\nNo Git snapshot";
}

TEST(DemoRuntimeTest, KimiReadsTheCapsuleAndGoesOnWithThePlan)
{
    Conversation talk("kimi");
    talk.open();
    const json::object answer
        = talk.prompt(capsule("- [completed] Run all tests\n- [in_progress] Collect [all] changes\n- [pending] Report"));
    EXPECT_EQ(answer.at("result").at("stopReason"), "end_turn");
    EXPECT_THAT(talk.texts("agent_thought_chunk").front(), HasSubstr("“Now run all tests”"));
    EXPECT_EQ(
        talk.texts("agent_message_chunk").front(), "I take over from Grok after 1 of 3 steps and go on with “Collect [all] changes”.");
    const auto first = json::parse(R"([{"content":"Run all tests","priority":"medium","status":"completed"},
        {"content":"Collect [all] changes","priority":"medium","status":"in_progress"},{"content":"Report","priority":"medium","status":"pending"}])");
    EXPECT_EQ(talk.updates("plan").front().at("entries"), first);
    const json::array last = talk.updates("plan").back().at("entries").as_array();
    for (const json::value& entry : last)
        EXPECT_EQ(entry.at("status"), "completed");
    EXPECT_EQ(talk.updates("tool_call").size(), 2U) << "one for each step that was left";
    const std::string report = talk.texts("agent_message_chunk").back();
    for (const char* part : { "\n1. ", "|---|", "```sh\n" })
        EXPECT_THAT(report, HasSubstr(part));
}

TEST(DemoRuntimeTest, ACapsuleWithNothingLeftLeadsToAReview)
{
    for (const char* plan : { "No active plan was reported.", "- [completed] Everything" }) {
        Conversation talk("kimi");
        talk.open();
        EXPECT_TRUE(talk.prompt(capsule(plan)).contains("result"));
        EXPECT_THAT(talk.texts("agent_message_chunk").front(), HasSubstr("I take over from Grok"));
        EXPECT_EQ(talk.updates("plan").back().at("entries").as_array().size(), 5U);
    }
}

TEST(DemoRuntimeTest, AStoredSessionIsReplayedShort)
{
    Conversation talk("grok");
    talk.ask("initialize");
    talk.m_sessionId = "grok-demo-earlier";
    EXPECT_TRUE(talk.ask("session/load", { { "sessionId", "grok-demo-earlier" }, { "cwd", "/" } }).contains("result"));
    EXPECT_EQ(talk.updates("user_message_chunk").size(), 1U);
    EXPECT_THAT(talk.texts("agent_message_chunk").front(), HasSubstr("- `src/position.py`"));
    EXPECT_TRUE(talk.prompt("Go on").contains("result"));
}

TEST(DemoRuntimeTest, AForeignSessionIsNotReplayed)
{
    Conversation talk("grok");
    talk.ask("initialize");
    EXPECT_TRUE(talk.ask("session/load", { { "sessionId", "kimi-demo-1" } }).contains("error"));
    EXPECT_TRUE(talk.m_updates.empty());
}

TEST(DemoRuntimeTest, ACancelEndsTheTurnWhileItPlays)
{
    // So slow that the turn cannot end by itself within the bound of a read.
    Conversation talk("kimi", "50");
    talk.open();
    const int id = talk.sendPrompt("Go");
    talk.notify("session/cancel");
    EXPECT_EQ(talk.answerTo(id).at("result").at("stopReason"), "cancelled");
}

TEST(DemoRuntimeTest, ACancelFailsTheCallThatRuns)
{
    // The cancel may come too late on a busy machine; then the call has ended well, and the next round tries again.
    bool hasFailed = false;
    for (int round = 0; round < 10 && !hasFailed; ++round) {
        Conversation talk("grok", "0.3");
        talk.open();
        const int id = talk.sendPrompt("Go");
        while (talk.updates("tool_call").empty())
            talk.readMessage();
        talk.notify("session/cancel");
        EXPECT_EQ(talk.answerTo(id).at("result").at("stopReason"), "cancelled");
        ASSERT_FALSE(talk.updates("tool_call_update").empty()) << "the call stays as it began";
        const json::object last = talk.updates("tool_call_update").back();
        EXPECT_EQ(last.at("toolCallId"), talk.updates("tool_call").back().at("toolCallId"));
        hasFailed = last.at("status") == "failed";
        EXPECT_TRUE(hasFailed || last.at("status") == "completed") << "no call stays open";
    }
    EXPECT_TRUE(hasFailed);
}

TEST(DemoRuntimeTest, ACancelBetweenTurnsDoesNotReachTheNextOne)
{
    Conversation talk("kimi");
    talk.open();
    talk.notify("session/cancel");
    EXPECT_EQ(talk.prompt("Go").at("result").at("stopReason"), "end_turn");
}

TEST(DemoRuntimeTest, OtherRequestsAreAnsweredWhileATurnPlays)
{
    Conversation talk("kimi", "50");
    talk.open();
    const int turn = talk.sendPrompt("Go");
    EXPECT_TRUE(talk.ask("session/set_config_option", { { "configId", "mode" }, { "value", "auto" } }).contains("result"));
    EXPECT_TRUE(talk.prompt("A second one").contains("error"));
    talk.notify("session/cancel");
    EXPECT_EQ(talk.answerTo(turn).at("result").at("stopReason"), "cancelled");
}

TEST(DemoRuntimeTest, IdsDifferBetweenTurnsAndBetweenRuns)
{
    std::set<std::string> ids;
    std::size_t count = 0;
    for (const char* program : { "kimi", "kimi" }) {
        Conversation talk(program);
        talk.open();
        for (int turn = 0; turn < 2; ++turn) {
            talk.prompt("Go");
            for (const json::object& call : talk.updates("tool_call")) {
                ids.insert(asText(call.at("toolCallId")));
                ++count;
            }
        }
    }
    EXPECT_EQ(ids.size(), count);
}

TEST(DemoRuntimeTest, EndsWithItsInputAndBySignalAlsoInATurn)
{
    Conversation first("grok", "50");
    first.open();
    first.sendPrompt("Go");
    first.m_process.closeInput();
    EXPECT_EQ(first.m_process.waitForExit(), 0);
    Conversation second("grok", "50");
    second.open();
    second.sendPrompt("Go");
    second.m_process.signal(SIGTERM);
    EXPECT_EQ(second.m_process.waitForSignal(), SIGTERM);
}

TEST(DemoRuntimeTest, APaceThatIsNoNumberIsThatOfAPerson)
{
    for (const char* pace : { "fast", "", "-1", "nan", "1e9" }) {
        Conversation talk("kimi", pace);
        talk.open();
        const int id = talk.sendPrompt("Go");
        talk.readMessage();
        talk.notify("session/cancel");
        EXPECT_EQ(talk.answerTo(id).at("result").at("stopReason"), "cancelled") << pace << " played without waiting";
    }
}

} // namespace
} // namespace scripted
