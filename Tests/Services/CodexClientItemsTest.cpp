#include "CodexClientFixture.h"
#include "Platform/Uuid.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class CodexClientItemsTest : public CodexClientTest
{
};

std::string started(std::string_view item)
{
    return R"({"method":"item/started","params":{"item":)" + std::string(item) + "}}";
}
std::string completed(std::string_view item)
{
    return R"({"method":"item/completed","params":{"item":)" + std::string(item) + "}}";
}
std::string delta(std::string_view method, std::string_view params)
{
    return R"({"method":"item/)" + std::string(method) + R"(","params":)" + std::string(params) + "}";
}

Json tool(std::string_view title, std::string_view status, std::string_view rawInput)
{
    return { { "sessionUpdate", "tool_call_update" }, { "toolCallId", "i" }, { "title", title }, { "status", status },
        { "rawInput", boost::json::parse(rawInput) } };
}
Json chunk(std::string_view kind, std::string_view messageId, std::string_view text)
{
    return { { "sessionUpdate", kind }, { "messageId", messageId }, { "content", { { "type", "text" }, { "text", text } } } };
}

struct ToolRow {
    const char* name;
    std::string line;
    Json update;
};

class CodexClientToolTest : public CodexClientItemsTest, public ::testing::WithParamInterface<ToolRow>
{
};

TEST_P(CodexClientToolTest, BecomesOneUpdate)
{
    playTurn({ GetParam().line });
    EXPECT_THAT(updates, ElementsAre(GetParam().update));
}

INSTANTIATE_TEST_SUITE_P(Rows, CodexClientToolTest,
    ::testing::Values(
        ToolRow{ "ACommand",
            started(R"({"type":"commandExecution","id":"i","command":"ls -l","cwd":"/tmp","status":"inProgress","aggregatedOutput":null})"),
            tool("ls -l", "in_progress", R"({"command":"ls -l","cwd":"/tmp","output":""})") },
        ToolRow{ "ACommandWithItsOutput",
            completed(R"({"type":"commandExecution","id":"i","command":"ls","cwd":"/","status":"completed","aggregatedOutput":"a\nb"})"),
            tool("ls", "completed", R"({"command":"ls","cwd":"/","output":"a\nb"})") },
        ToolRow{ "ACommandWithoutAStatusIsInProgressAlsoWhenCompleted",
            completed(R"({"type":"commandExecution","id":"i","command":"ls","cwd":"/"})"),
            tool("ls", "in_progress", R"({"command":"ls","cwd":"/","output":""})") },
        ToolRow{ "AnEmptyCommandStaysEmpty", started(R"({"type":"commandExecution","id":"i","command":"","cwd":""})"),
            tool("", "in_progress", R"({"command":"","cwd":"","output":""})") },
        ToolRow{ "ADeclinedChangeHasFailed", completed(R"({"type":"fileChange","id":"i","status":"declined","changes":[{"path":"a"}]})"),
            tool("Edit files", "failed", R"([{"path":"a"}])") },
        ToolRow{ "AChangeWithoutChanges", started(R"({"type":"fileChange","id":"i","status":"inProgress"})"),
            tool("Edit files", "in_progress", "[]") },
        ToolRow{ "ChangesAsTheyStand", started(R"({"type":"fileChange","id":"i","status":"failed","changes":{"a":{"b":null}}})"),
            tool("Edit files", "failed", R"({"a":{"b":null}})") },
        ToolRow{ "ACallOfAServer",
            completed(R"({"type":"mcpToolCall","id":"i","server":"docs","tool":"search","status":"completed","arguments":{"q":[1]}})"),
            tool("docs · search", "completed", R"({"q":[1]})") },
        ToolRow{ "ACallOfNobody", started(R"({"type":"mcpToolCall","id":"i","server":7,"status":null})"),
            tool("MCP · tool", "in_progress", "{}") },
        ToolRow{ "AToolOfOurOwn", started(R"({"type":"dynamicToolCall","id":"i","tool":"paint","arguments":"red","status":"someday"})"),
            tool("paint", "someday", R"("red")") },
        ToolRow{ "AToolWithoutAName", completed(R"({"type":"dynamicToolCall","id":"i","status":"pending"})"),
            tool("Use tool", "pending", "{}") },
        ToolRow{ "ASearchThatBegins", started(R"({"type":"webSearch","id":"i","query":"weather","status":"failed"})"),
            tool("Search the web", "in_progress", R"({"query":"weather"})") },
        ToolRow{
            "ASearchThatIsOver", completed(R"({"type":"webSearch","id":"i"})"), tool("Search the web", "completed", R"({"query":""})") },
        ToolRow{ "AnImageThatIsOpened", started(R"({"type":"imageView","id":"i","path":7})"),
            tool("View image", "in_progress", R"({"path":""})") },
        ToolRow{ "AnImageThatWasSeen", completed(R"({"type":"imageView","id":"i","path":"/a.png"})"),
            tool("View image", "completed", R"({"path":"/a.png"})") }),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CodexClientItemsTest, ACommandThatNamesNoFolderRunsInTheWorkspace)
{
    playTurn({ started(R"({"type":"commandExecution","id":"i"})") });
    EXPECT_THAT(
        updates, ElementsAre(tool("Run command", "in_progress", R"({"command":"","cwd":")" + runtime.workspace() + R"(","output":""})")));
}

TEST_F(CodexClientItemsTest, AnItemWithoutAnIdIsANewEntryEachTime)
{
    playTurn({ started(R"({"type":"webSearch"})"), completed(R"({"type":"webSearch","id":7})") });
    ASSERT_EQ(updates.size(), 2U);
    const std::string first(updates[0].at("toolCallId").as_string());
    const std::string second(updates[1].at("toolCallId").as_string());
    EXPECT_NE(first, second);
    ASSERT_TRUE(Uuid::parse(first));
    EXPECT_EQ(Uuid::parse(first)->text(), first);
}

TEST_F(CodexClientItemsTest, OtherTypesAndItemsThatAreNoObjectsAreIgnored)
{
    playTurn({ started(R"({"type":"userMessage","id":"u","content":[]})"), completed(R"({"type":"contextCompaction","id":"c"})"),
        completed(R"({"id":"x","text":"y"})"), completed(R"({"type":7,"id":"x","text":"y"})"), started("[]"), started("7"),
        R"({"method":"item/started","params":{}})", R"({"method":"item/completed"})" });
    EXPECT_TRUE(updates.empty()) << report();
}

TEST_F(CodexClientItemsTest, DeltasAreChunksOfTheirMessage)
{
    playTurn({ delta("agentMessage/delta", R"({"itemId":"m","delta":"Hello"})"),
        delta("agentMessage/delta", R"({"itemId":"m","delta":""})"), delta("reasoning/summaryTextDelta", R"({"itemId":"r","delta":"why"})"),
        delta("reasoning/textDelta", R"({"itemId":"r","delta":" not"})") });
    EXPECT_THAT(updates,
        ElementsAre(chunk("agent_message_chunk", "m", "Hello"), chunk("agent_message_chunk", "m", ""),
            chunk("agent_thought_chunk", "reasoning-r", "why"), chunk("agent_thought_chunk", "reasoning-r", " not")));
}

TEST_F(CodexClientItemsTest, DeltasWithoutATextOrAnItemAreIgnoredAndStreamNothing)
{
    playTurn({ delta("agentMessage/delta", R"({"itemId":"m","delta":7})"), delta("agentMessage/delta", R"({"itemId":"m"})"),
        delta("agentMessage/delta", R"({"itemId":1,"delta":"x"})"), delta("agentMessage/delta", R"({"delta":"x"})"),
        delta("reasoning/textDelta", R"({"itemId":"m","delta":null})"), delta("reasoning/textDelta", R"({"delta":"x"})"),
        completed(R"({"type":"agentMessage","id":"m","text":"whole"})") });
    EXPECT_THAT(updates, ElementsAre(chunk("agent_message_chunk", "m", "whole")));
}

TEST_F(CodexClientItemsTest, DeltasOfSeveralItemsInTurnKeepTheirIds)
{
    const auto timed = [](std::string_view method, std::string_view item, std::string_view text, int time) {
        return R"({"method":"item/)" + std::string(method) + R"(","params":{"threadId":"t","itemId":")" + std::string(item)
            + R"(","delta":")" + std::string(text) + R"("},"emittedAtMs":)" + std::to_string(time) + "}";
    };
    playTurn({ timed("agentMessage/delta", "m", "1", 1001), timed("agentMessage/delta", "m", "2", 1002),
        timed("reasoning/textDelta", "m", "3", 1003), timed("agentMessage/delta", "n", "4", 1004),
        timed("reasoning/summaryTextDelta", "m", "5", 1005), timed("agentMessage/delta", "m", "6\\n", 1006),
        R"({"method":"item/agentMessage/delta","params":{"threadId":"t","itemId":"m","delta":7},"emittedAtMs":1007})",
        timed("agentMessage/delta", "m", "8", 1008) });
    EXPECT_THAT(updates,
        ElementsAre(chunk("agent_message_chunk", "m", "1"), chunk("agent_message_chunk", "m", "2"),
            chunk("agent_thought_chunk", "reasoning-m", "3"), chunk("agent_message_chunk", "n", "4"),
            chunk("agent_thought_chunk", "reasoning-m", "5"), chunk("agent_message_chunk", "m", "6\n"),
            chunk("agent_message_chunk", "m", "8")));
}

TEST_F(CodexClientItemsTest, AnItemThatGoesOnAfterTheNextPromptHasStreamed)
{
    const std::string piece = delta("agentMessage/delta", R"({"itemId":"m","delta":"Hello"})");
    openThread(codexTurn()
                   .send(piece)
                   .send(codexTurnEnd())
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-2"}})")
                   .send(piece)
                   .send(completed(R"({"type":"agentMessage","id":"m","text":"Hello"})"))
                   .send(codexTurnEnd("turn-2")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn", 2));
    EXPECT_THAT(updates, ElementsAre(chunk("agent_message_chunk", "m", "Hello"), chunk("agent_message_chunk", "m", "Hello")));
}

TEST_F(CodexClientItemsTest, AStreamedMessageIsShownOnce)
{
    playTurn({ started(R"({"type":"agentMessage","id":"m","text":""})"), delta("agentMessage/delta", R"({"itemId":"m","delta":"Hello"})"),
        completed(R"({"type":"agentMessage","id":"m","text":"Hello"})") });
    EXPECT_THAT(updates, ElementsAre(chunk("agent_message_chunk", "m", "Hello")));
}

TEST_F(CodexClientItemsTest, AMessageThatDidNotStreamIsShownWhole)
{
    playTurn({ started(R"({"type":"agentMessage","id":"m","text":"not yet"})"),
        completed(R"({"type":"agentMessage","id":"m","text":"Hello"})"), completed(R"({"type":"agentMessage","id":"e","text":""})"),
        completed(R"({"type":"agentMessage","id":"n","text":null})"), completed(R"({"type":"agentMessage","id":"o"})") });
    EXPECT_THAT(updates, ElementsAre(chunk("agent_message_chunk", "m", "Hello")));
}

TEST_F(CodexClientItemsTest, ReasoningThatDidNotStreamIsTheLinesOfItsSummary)
{
    playTurn({ started(R"({"type":"reasoning","id":"r","summary":["early"]})"),
        completed(R"({"type":"reasoning","id":"r","summary":["one","","two"]})"),
        completed(R"({"type":"reasoning","id":"s","summary":[]})"), completed(R"({"type":"reasoning","id":"t","summary":["a",7]})"),
        completed(R"({"type":"reasoning","id":"u","summary":"text"})"), completed(R"({"type":"reasoning","id":"v"})"),
        completed(R"({"type":"reasoning","id":"w","summary":[""]})") });
    EXPECT_THAT(updates, ElementsAre(chunk("agent_thought_chunk", "reasoning-r", "one\n\ntwo")));
}

TEST_F(CodexClientItemsTest, StreamedReasoningIsShownOnce)
{
    playTurn({ delta("reasoning/summaryTextDelta", R"({"itemId":"r","delta":"why"})"),
        completed(R"({"type":"reasoning","id":"r","summary":["why"]})") });
    EXPECT_THAT(updates, ElementsAre(chunk("agent_thought_chunk", "reasoning-r", "why")));
}

TEST_F(CodexClientItemsTest, WhatHasStreamedIsForgottenAtTheNextPromptAndNotBefore)
{
    const std::string whole = completed(R"({"type":"agentMessage","id":"m","text":"Hello"})");
    openThread(codexTurn()
                   .send(delta("agentMessage/delta", R"({"itemId":"m","delta":"Hello"})"))
                   .send(codexTurnEnd())
                   .send(whole)
                   .send(delta("agentMessage/delta", R"({"itemId":"n","delta":"behind it"})"))
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-2"}})")
                   .send(whole)
                   .send(codexTurnEnd("turn-2")));
    prompt();
    ASSERT_TRUE(waitForEvent("update", 2));
    prompt();
    ASSERT_TRUE(waitForEvent("turn", 2));
    EXPECT_THAT(updates,
        ElementsAre(chunk("agent_message_chunk", "m", "Hello"), chunk("agent_message_chunk", "n", "behind it"),
            chunk("agent_message_chunk", "m", "Hello")));
}

TEST_F(CodexClientItemsTest, UpdatesComeInTheOrderOfTheStreamAndBeforeTheEndOfTheTurn)
{
    playTurn({ delta("agentMessage/delta", R"({"itemId":"m","delta":"1"})"), started(R"({"type":"webSearch","id":"i","query":"2"})"),
        delta("agentMessage/delta", R"({"itemId":"m","delta":"3"})") });
    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(updates[1], tool("Search the web", "in_progress", R"({"query":"2"})"));
    EXPECT_EQ(kindOf(events.back()), "turn");
}

TEST_F(CodexClientItemsTest, APlanNumbersItsStepsAndHasWordsForWhatIsMissing)
{
    playTurn(
        { R"({"method":"turn/plan/updated","params":{"explanation":"x","plan":[{"step":"Read","status":"completed"},{"status":"inProgress"},)"
          R"({"step":7},{"step":"Odd","status":["x"]},{"step":"","status":"someday"}]}})" });
    EXPECT_THAT(updates, ElementsAre(parsed(R"({"sessionUpdate":"plan","entries":[
        {"id":"codex-plan-0","content":"Read","status":"completed","priority":"medium"},
        {"id":"codex-plan-1","content":"Task","status":"in_progress","priority":"medium"},
        {"id":"codex-plan-2","content":"Task","status":"pending","priority":"medium"},
        {"id":"codex-plan-3","content":"Odd","status":"pending","priority":"medium"},
        {"id":"codex-plan-4","content":"","status":"someday","priority":"medium"}]})")));
}

TEST_F(CodexClientItemsTest, APlanThatIsEmptyOrNoListOfStepsIsAnEmptyPlan)
{
    playTurn({ R"({"method":"turn/plan/updated","params":{"plan":[]}})",
        R"({"method":"turn/plan/updated","params":{"plan":[{"step":"a"},"b"]}})",
        R"({"method":"turn/plan/updated","params":{"plan":{"step":"a"}}})", R"({"method":"turn/plan/updated"})" });
    const Json empty = parsed(R"({"sessionUpdate":"plan","entries":[]})");
    EXPECT_THAT(updates, ElementsAre(empty, empty, empty, empty));
}

} // namespace

} // namespace tessarin::testing
