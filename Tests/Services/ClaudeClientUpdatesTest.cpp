#include "Platform/Uuid.h"
#include "Services/ClaudeCodeTurn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A turn whose updates are written down as "text …", "thought …", "tool …" and so on; the ids of messages are checked on the way.
class ClaudeCodeTurnTest : public ::testing::Test
{
protected:
    void stream(std::string_view innerEvent)
    {
        JsonObject event{ { "type", "stream_event" }, { "event", boost::json::parse(innerEvent) } };
        if (const auto update = turn.handleStreamEvent(event))
            add(*update);
    }
    void textDelta(std::string_view text) { delta({ { "type", "text_delta" }, { "text", text } }); }
    void thinkingDelta(std::string_view text) { delta({ { "type", "thinking_delta" }, { "thinking", text } }); }
    void delta(JsonObject delta)
    {
        JsonObject event{ { "event", JsonObject{ { "type", "content_block_delta" }, { "index", 0 }, { "delta", std::move(delta) } } } };
        if (const auto update = turn.handleStreamEvent(event))
            add(*update);
    }
    void assistant(std::string_view content)
    {
        JsonObject event{ { "type", "assistant" }, { "message", JsonObject{ { "content", boost::json::parse(content) } } } };
        for (const SessionUpdate& update : turn.handleAssistant(event))
            add(update);
    }

    ClaudeCodeTurn turn;
    std::vector<std::string> told;

private:
    void add(const SessionUpdate& update)
    {
        const std::string kind(textAt(update, "sessionUpdate").value_or("none"));
        if (kind == "tool_call") {
            told.push_back(compactJson(update));
            return;
        }
        const bool isThought = kind == "agent_thought_chunk";
        const std::string text(textAt(*objectAt(update, "content"), "text").value_or(""));
        const std::string messageID = (isThought ? "thought-" : "") + turn.assistantMessageID();
        const JsonObject expected{ { "sessionUpdate", isThought ? "agent_thought_chunk" : "agent_message_chunk" },
            { "messageId", messageID }, { "content", JsonObject{ { "type", "text" }, { "text", text } } } };
        EXPECT_EQ(update, expected);
        told.push_back((isThought ? "thought " : "text ") + text);
    }
};

constexpr const char* bashWithInput
    = R"({"sessionUpdate":"tool_call","toolCallId":"t-1","title":"Bash","status":"in_progress","rawInput":{"command":"ls"}})";
constexpr const char* bashWithoutInput
    = R"({"sessionUpdate":"tool_call","toolCallId":"t-1","title":"Bash","status":"in_progress","rawInput":{}})";

TEST_F(ClaudeCodeTurnTest, EachTurnHasAMessageIDOfItsOwn)
{
    EXPECT_TRUE(Uuid::parse(turn.assistantMessageID()));
    EXPECT_NE(turn.assistantMessageID(), ClaudeCodeTurn().assistantMessageID());
}

TEST_F(ClaudeCodeTurnTest, TextThatCameInPiecesIsNotToldAgain)
{
    textDelta("Hel");
    textDelta("lo");
    assistant(R"([{"type":"text","text":"Hello"}])");
    EXPECT_THAT(told, ElementsAre("text Hel", "text lo"));
}

TEST_F(ClaudeCodeTurnTest, TextThatDidNotComeInPiecesIsToldWhole)
{
    assistant(R"([{"type":"text","text":"Hello"}])");
    assistant(R"([{"type":"text","text":"A"},{"type":"text","text":"B"}])");
    EXPECT_THAT(told, ElementsAre("text Hello", "text A", "text B"));
}

TEST_F(ClaudeCodeTurnTest, AfterThePiecesOfOneMessageTheTextsOfTheWholeTurnAreSkipped)
{
    textDelta("one");
    assistant(R"([{"type":"text","text":"one"}])");
    assistant(R"([{"type":"text","text":"two"}])");
    EXPECT_THAT(told, ElementsAre("text one"));
}

TEST_F(ClaudeCodeTurnTest, AToolIsToldAlsoBesideATextThatIsSkipped)
{
    textDelta("Hello");
    assistant(R"([{"type":"text","text":"Hello"},{"type":"tool_use","id":"t-1","name":"Bash","input":{"command":"ls"}}])");
    EXPECT_THAT(told, ElementsAre("text Hello", bashWithInput));
}

TEST_F(ClaudeCodeTurnTest, ThoughtsAndTextsAreJudgedApart)
{
    textDelta("Hello");
    assistant(R"([{"type":"thinking","thinking":"Hm"},{"type":"text","text":"Hello"}])");
    EXPECT_THAT(told, ElementsAre("text Hello", "thought Hm"));
    told.clear();
    turn = ClaudeCodeTurn();
    thinkingDelta("Hm");
    assistant(R"([{"type":"thinking","thinking":"Hm"},{"type":"text","text":"Hello"}])");
    EXPECT_THAT(told, ElementsAre("thought Hm", "text Hello"));
}

TEST_F(ClaudeCodeTurnTest, EmptyPiecesAreNotToldAndDoNotCount)
{
    textDelta("");
    thinkingDelta("");
    assistant(
        R"([{"type":"text","text":""},{"type":"thinking","thinking":""},{"type":"text","text":"Hello"},{"type":"thinking","thinking":"Hm"}])");
    EXPECT_THAT(told, ElementsAre("text Hello", "thought Hm"));
}

TEST_F(ClaudeCodeTurnTest, AToolIsToldAtItsStartAndAgainWithItsWholeInput)
{
    stream(R"({"type":"content_block_start","index":1,"content_block":{"type":"tool_use","id":"t-1","name":"Bash","input":{}}})");
    stream(R"({"type":"content_block_delta","index":1,"delta":{"type":"input_json_delta","partial_json":"{\"command\":\"ls\"}"}})");
    stream(R"({"type":"content_block_stop","index":1})");
    assistant(R"([{"type":"tool_use","id":"t-1","name":"Bash","input":{"command":"ls"}}])");
    EXPECT_THAT(told, ElementsAre(bashWithoutInput, bashWithInput));
}

TEST_F(ClaudeCodeTurnTest, AToolWithoutItsKeysHasTheOnesInTheirPlace)
{
    assistant(R"([{"type":"tool_use"},{"type":"tool_use","id":5,"name":[],"input":null}])");
    ASSERT_EQ(told.size(), 2U);
    for (const std::string& text : told) {
        const JsonObject tool = boost::json::parse(text).as_object();
        EXPECT_TRUE(Uuid::parse(textAt(tool, "toolCallId").value_or("")));
        EXPECT_EQ(tool.at("title"), "Claude tool");
        EXPECT_EQ(tool.at("status"), "in_progress");
        EXPECT_EQ(tool.at("rawInput"), &text == &told[0] ? Json(JsonObject()) : Json(nullptr));
    }
}

class IgnoredStreamEventTest : public ClaudeCodeTurnTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(IgnoredStreamEventTest, TellsNothingAndCountsForNothing)
{
    JsonObject event = boost::json::parse(GetParam()).as_object();
    EXPECT_FALSE(turn.handleStreamEvent(event)) << GetParam();
    assistant(R"([{"type":"text","text":"Hello"},{"type":"thinking","thinking":"Hm"}])");
    EXPECT_THAT(told, ElementsAre("text Hello", "thought Hm"));
}

INSTANTIATE_TEST_SUITE_P(Rows, IgnoredStreamEventTest,
    ::testing::Values("{}", R"({"event":null})", R"({"event":[{"type":"content_block_delta"}]})", R"({"event":{}})",
        R"({"event":{"type":5,"delta":{"type":"text_delta","text":"x"}}})", R"({"event":{"type":"message_start","message":{}}})",
        R"({"event":{"type":"message_delta","delta":{"type":"text_delta","text":"x"}}})", R"({"event":{"type":"message_stop"}})",
        R"({"event":{"type":"content_block_stop"}})", R"({"event":{"type":"content_block_delta"}})",
        R"({"event":{"type":"content_block_delta","delta":"x"}})", R"({"event":{"type":"content_block_delta","delta":{"text":"x"}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"text_delta"}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"text_delta","text":["x"]}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"text_delta","thinking":"x"}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"thinking_delta","text":"x"}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"thinking_delta","thinking":1}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"signature_delta","text":"x","thinking":"x"}}})",
        R"({"event":{"type":"content_block_delta","delta":{"type":"input_json_delta","partial_json":"{}"}}})",
        R"({"event":{"type":"content_block_start"}})", R"({"event":{"type":"content_block_start","content_block":[]}})",
        R"({"event":{"type":"content_block_start","content_block":{"type":"text","text":"x"}}})",
        R"({"event":{"type":"content_block_start","content_block":{"type":"server_tool_use","id":"t"}}})"));

class IgnoredAssistantEventTest : public ClaudeCodeTurnTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(IgnoredAssistantEventTest, TellsNothing)
{
    JsonObject event = boost::json::parse(GetParam()).as_object();
    EXPECT_THAT(turn.handleAssistant(event), IsEmpty()) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Rows, IgnoredAssistantEventTest,
    ::testing::Values("{}", R"({"message":null})", R"({"message":[]})", R"({"message":{}})", R"({"message":{"content":"Hello"}})",
        R"({"message":{"content":{"type":"text","text":"x"}}})", R"({"message":{"content":[]}})",
        R"({"message":{"content":[{"type":"text","text":"x"},"y"]}})", R"({"message":{"content":[{"type":"tool_use","id":"t"},null]}})",
        R"({"message":{"content":[{"text":"x"}]}})", R"({"message":{"content":[{"type":"text"}]}})",
        R"({"message":{"content":[{"type":"text","text":5}]}})", R"({"message":{"content":[{"type":"thinking","text":"x"}]}})",
        R"({"message":{"content":[{"type":"tool_result","text":"x"}]}})", R"({"content":[{"type":"text","text":"x"}]})"));

TEST_F(ClaudeCodeTurnTest, BlocksOfOneMessageKeepTheirOrderAndSkipWhatIsUnknown)
{
    assistant(R"([{"type":"tool_use","id":"t-1","name":"Bash","input":{"command":"ls"}},{"type":"new"},{"type":"text","text":"x"}])");
    EXPECT_THAT(told, ElementsAre(bashWithInput, "text x"));
}

struct TaskRow {
    const char* event;
    const char* update; // empty for none
};

class ClaudeTaskUpdateTest : public ::testing::TestWithParam<TaskRow>
{
};

TEST_P(ClaudeTaskUpdateTest, HasTheTextsOfTheEventOrThoseInTheirPlace)
{
    const auto update = claudeTaskUpdate(boost::json::parse(GetParam().event).as_object());
    if (std::string_view(GetParam().update).empty())
        EXPECT_FALSE(update) << GetParam().event;
    else
        EXPECT_EQ(update, boost::json::parse(GetParam().update).as_object()) << GetParam().event;
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeTaskUpdateTest,
    ::testing::Values(TaskRow{ R"({"subtype":"task_started","task_id":"1","uuid":"u","summary":"Index","status":"queued"})",
                          R"({"sessionUpdate":"tool_call","toolCallId":"1","title":"Index","status":"queued"})" },
        TaskRow{ R"({"subtype":"task_started","task_id":"1"})",
            R"({"sessionUpdate":"tool_call","toolCallId":"1","title":"Claude background task","status":"in_progress"})" },
        TaskRow{ R"({"subtype":"task_notification","uuid":"u"})",
            R"({"sessionUpdate":"tool_call_update","toolCallId":"u","title":"Claude background task","status":"completed"})" },
        TaskRow{ R"({"subtype":"task_updated","task_id":7,"uuid":"u","summary":1,"status":null})",
            R"({"sessionUpdate":"tool_call_update","toolCallId":"u","title":"Claude background task","status":"completed"})" },
        TaskRow{ R"({"subtype":"task_updated","task_id":"","status":"RUNNING"})",
            R"({"sessionUpdate":"tool_call_update","toolCallId":"","title":"Claude background task","status":"RUNNING"})" },
        TaskRow{ R"({"subtype":"init","task_id":"1"})", "" }, TaskRow{ R"({"subtype":"status","status":"requesting","uuid":"u"})", "" },
        TaskRow{ R"({"task_id":"1"})", "" }, TaskRow{ R"({"subtype":["task_started"]})", "" }));

TEST(ClaudeTaskUpdateTest, ATaskWithoutAnIDGetsOneOfItsOwn)
{
    const JsonObject event{ { "subtype", "task_started" } };
    const auto first = claudeTaskUpdate(event);
    const auto second = claudeTaskUpdate(event);
    ASSERT_TRUE(first && second);
    EXPECT_TRUE(Uuid::parse(textAt(*first, "toolCallId").value_or("")));
    EXPECT_NE(textAt(*first, "toolCallId"), textAt(*second, "toolCallId"));
}

TEST(ClaudeUpdateMemoryTest, AnUpdateLiesInTheMemoryOfItsEvent)
{
    boost::json::monotonic_resource arena;
    Json event = *parseJson(R"({"event":{"type":"content_block_delta","delta":{"type":"text_delta","text":"x"}}})", &arena);
    ClaudeCodeTurn turn;
    const auto update = turn.handleStreamEvent(event.get_object());
    ASSERT_TRUE(update);
    EXPECT_EQ(update->storage().get(), &arena);
    EXPECT_EQ(objectAt(*update, "content")->storage().get(), &arena);
    const Json task = *parseJson(R"({"subtype":"task_started"})", &arena);
    EXPECT_EQ(claudeTaskUpdate(task.get_object())->storage().get(), &arena);
}

} // namespace

} // namespace tessarin
