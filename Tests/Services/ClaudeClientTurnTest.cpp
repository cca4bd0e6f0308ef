#include "ClaudeClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class ClaudeClientTurnTest : public ClaudeClientTest
{
protected:
    // The session that each prompt was sent to.
    [[nodiscard]] std::vector<std::string> sessionsOfPrompts() const
    {
        std::vector<std::string> sessions;
        for (const Json& message : runtime.received("claude")) {
            if (textAt(message.as_object(), "type") == "user")
                sessions.emplace_back(textAt(message.as_object(), "session_id").value_or("none"));
        }
        return sessions;
    }
};

constexpr const char* goodTurn = R"(turn {"type":"result","subtype":"success","is_error":false,"result":"done"})";

TEST_F(ClaudeClientTurnTest, APromptIsOnePlainText)
{
    openSession(prompted().send(goodResult));
    prompt("Say \"hi\"\n\tto\r me \x01 \xE2\x82\xAC");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const JsonObject message{ { "role", "user" }, { "content", "Say \"hi\"\n\tto\r me \x01 \xE2\x82\xAC" } };
    const JsonObject expected{ { "type", "user" }, { "message", message }, { "parent_tool_use_id", nullptr },
        { "session_id", "session-1" } };
    EXPECT_THAT(receivedAfterInitialize(), ElementsAre(Json(expected)));
}

TEST_F(ClaudeClientTurnTest, AGoodTurnGivesTheWholeResult)
{
    openSession(prompted().send(goodResult));
    runTurn();
    EXPECT_THAT(events, ElementsAre(goodTurn));
}

TEST_F(ClaudeClientTurnTest, ASubtypeThatIsNoErrorChangesNothing)
{
    openSession(prompted().send(R"({"type":"result","subtype":"error_max_turns","errors":["x"]})"));
    runTurn();
    EXPECT_THAT(events, ElementsAre(R"(turn {"type":"result","subtype":"error_max_turns","errors":["x"]})"));
}

TEST_F(ClaudeClientTurnTest, TheEndOfATurnComesBehindItsUpdatesAlsoInOneRead)
{
    openSession(prompted()
                    .raw(streamed("a") + "\n" + streamed("b") + "\n" + goodResult + "\n" + streamed("late") + "\n")
                    .expect("user")
                    .send(goodResult));
    runTurn();
    runTurn();
    EXPECT_THAT(events, ElementsAre("text 1 a", "text 1 b", goodTurn, "text 1 late", goodTurn));
}

TEST_F(ClaudeClientTurnTest, AllTextOfOneTurnIsOneMessageAndThoughtsAreAnother)
{
    openSession(
        prompted()
            .send(R"({"type":"assistant","message":{"content":[{"type":"thinking","thinking":"hm"},{"type":"text","text":"one"}]}})")
            .send(R"({"type":"assistant","message":{"content":[{"type":"text","text":"two"}]}})")
            .send(goodResult)
            .expect("user")
            .send(streamed("three"))
            .send(goodResult));
    runTurn();
    runTurn();
    EXPECT_THAT(events, ElementsAre("thought 1 hm", "text 1 one", "text 1 two", goodTurn, "text 2 three", goodTurn));
}

TEST_F(ClaudeClientTurnTest, WhatWasStreamedInOneTurnDoesNotCountInTheNext)
{
    constexpr const char* whole = R"({"type":"assistant","message":{"content":[{"type":"text","text":"whole"}]}})";
    openSession(prompted().send(streamed("piece")).send(whole).send(goodResult).expect("user").send(whole).send(goodResult));
    runTurn();
    runTurn();
    EXPECT_THAT(events, ElementsAre("text 1 piece", goodTurn, "text 2 whole", goodTurn));
}

TEST_F(ClaudeClientTurnTest, PiecesAreToldAsTheyComeWhateverTheirLinesShare)
{
    const auto piece = [](std::string_view kind, std::string_view value, std::string_view uuid) {
        const std::string key = kind == "text_delta" ? "text" : "thinking";
        return R"({"type":"stream_event","event":{"type":"content_block_delta","index":0,"delta":{"type":")" + std::string(kind) + R"(",")"
            + key + R"(":)" + std::string(value) + R"(}},"session_id":"s","uuid":")" + std::string(uuid) + R"("})";
    };
    constexpr const char* whole
        = R"({"type":"assistant","message":{"content":[{"type":"thinking","thinking":"w"},{"type":"text","text":"w"}]}})";
    openSession(prompted()
                    .send(piece("text_delta", R"("a")", "1-a"))
                    .send(piece("thinking_delta", R"("b")", "2-b"))
                    .send(piece("text_delta", R"("c\"")", "3-c"))
                    .send(piece("thinking_delta", R"("d")", "4 d"))
                    .send(piece("text_delta", R"("")", "5-e"))
                    .send(piece("text_delta", "7", "6-f"))
                    .send(goodResult)
                    .expect("user")
                    .send(piece("text_delta", R"("")", "7-g"))
                    .send(piece("thinking_delta", R"("h")", "8-h"))
                    .send(whole)
                    .send(goodResult));
    runTurn();
    runTurn();
    EXPECT_THAT(events, ElementsAre("text 1 a", "thought 1 b", "text 1 c\"", "thought 1 d", goodTurn, "thought 2 h", "text 2 w", goodTurn));
}

TEST_F(ClaudeClientTurnTest, ToolsAndBackgroundTasksAreTold)
{
    openSession(
        prompted()
            .send(
                R"({"type":"stream_event","event":{"type":"content_block_start","content_block":{"type":"tool_use","id":"t","name":"Bash","input":{}}}})")
            .send(R"({"type":"assistant","message":{"content":[{"type":"tool_use","id":"t","name":"Bash","input":{"command":"ls"}}]}})")
            .send(R"({"type":"user","message":{"content":[{"type":"tool_result","tool_use_id":"t","content":"x"}]}})")
            .send(R"({"type":"system","subtype":"task_started","task_id":"b","summary":"Index"})")
            .send(R"({"type":"system","subtype":"task_updated","task_id":"b"})")
            .send(goodResult));
    runTurn();
    EXPECT_THAT(events,
        ElementsAre(R"(tool {"sessionUpdate":"tool_call","toolCallId":"t","title":"Bash","status":"in_progress","rawInput":{}})",
            R"(tool {"sessionUpdate":"tool_call","toolCallId":"t","title":"Bash","status":"in_progress","rawInput":{"command":"ls"}})",
            R"(tool {"sessionUpdate":"tool_call","toolCallId":"b","title":"Index","status":"in_progress"})",
            R"(tool {"sessionUpdate":"tool_call_update","toolCallId":"b","title":"Claude background task","status":"completed"})",
            goodTurn));
}

TEST_F(ClaudeClientTurnTest, TheRuntimesVerdictFailsTheTurnAndTheNextGoesOn)
{
    openSession(prompted()
                    .send(R"({"type":"result","is_error":true,"errors":["a","b"]})")
                    .expect("user")
                    .send(R"({"type":"result","is_error":true,"subtype":"success","result":"try later","api_error_status":429})")
                    .expect("user")
                    .send(R"({"type":"result","is_error":true})")
                    .expect("user")
                    .send(goodResult));
    for (int turn = 0; turn < 4; ++turn)
        runTurn();
    EXPECT_THAT(
        events, ElementsAre("turnFailed a; b", "turnFailed try later", "turnFailed Claude Code could not complete the turn.", goodTurn));
}

TEST_F(ClaudeClientTurnTest, AnExhaustedAllowanceIsToldAsSuch)
{
    openSession(prompted()
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{"status":"rejected","utilization":1}})")
                    .send(R"({"type":"result","is_error":true,"result":"try later","api_error_status":429})"));
    std::optional<AgentError> error;
    client->sendPrompt("x", [&](const Result<JsonObject, AgentError>& result) {
        if (!result)
            error = result.error();
    });
    ASSERT_TRUE(waitUntil(mainThread, [&] { return error.has_value(); })) << report();
    EXPECT_TRUE(error->isUsageLimitFailure());
    EXPECT_THAT(events, ElementsAre("usage 100 exhausted"));
}

TEST_F(ClaudeClientTurnTest, UsageIsToldAlsoOutsideOfATurn)
{
    openSession(opened()
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{"status":"allowed","utilization":0.42}})")
                    .send(R"({"type":"rate_limit_event","rate_limit_info":"rejected"})")
                    .send(R"({"type":"rate_limit_event"})")
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{}})"));
    ASSERT_TRUE(waitForEvent("usage", 2)) << report();
    EXPECT_THAT(events, ElementsAre("usage 42 left", "usage none left"));
}

TEST_F(ClaudeClientTurnTest, ASecondPromptDuringATurnIsRefusedAndTheFirstGoesOn)
{
    openSession(prompted().waitForFile("go").send(goodResult));
    prompt("first");
    prompt("second");
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code is already handling a prompt."));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(receivedAfterInitialize().size(), 1U);
}

TEST_F(ClaudeClientTurnTest, ARefusedPromptLeavesTheMessageOfTheTurnAlone)
{
    openSession(prompted().send(streamed("a")).waitForFile("go").send(streamed("b")).send(goodResult));
    prompt("first");
    ASSERT_TRUE(waitForEvent("text")) << report();
    prompt("second");
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre("text 1 a", "turnFailed Claude Code is already handling a prompt.", "text 1 b", goodTurn));
}

TEST_F(ClaudeClientTurnTest, APromptMayFollowInTheCompletionOfTheOneBefore)
{
    openSession(prompted().send(goodResult).expect("user").send(goodResult));
    client->sendPrompt("one", [this](const auto&) { prompt("two"); });
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(receivedAfterInitialize().size(), 2U);
}

TEST_F(ClaudeClientTurnTest, APromptBeforeTheStartIsRefused)
{
    runtime.script("claude", opened());
    make(configuration());
    prompt();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code is not connected."));
}

TEST_F(ClaudeClientTurnTest, APromptMayGoOutBeforeInitializeIsAnswered)
{
    playAndStart(Scenario().expect("control_request/initialize").expect("user").send(goodResult).replyTo("control_request/initialize"));
    prompt();
    ASSERT_TRUE(waitForEvent("resumed")) << report();
    EXPECT_THAT(events, ElementsAre(goodTurn, "resumed session-1"));
}

TEST_F(ClaudeClientTurnTest, TheSessionOfAnInitIsThatOfLaterPrompts)
{
    openSession(prompted()
                    .send(R"({"type":"system","subtype":"init","session_id":"session-2"})")
                    .send(goodResult)
                    .expect("user")
                    .send(R"({"type":"system","subtype":"init","session_id":7})")
                    .send(R"({"type":"system","subtype":"status","session_id":"not this"})")
                    .send(R"({"type":"system","session_id":"not this"})")
                    .send(R"({"type":"assistant","session_id":"not this"})")
                    .send(goodResult)
                    .expect("user")
                    .send(goodResult));
    for (int turn = 0; turn < 3; ++turn)
        runTurn();
    EXPECT_THAT(sessionsOfPrompts(), ElementsAre("session-1", "session-2", "session-2"));
    EXPECT_EQ(events.size(), 3U) << "nobody is told";
}

TEST_F(ClaudeClientTurnTest, TheSessionOfAResultIsThatOfLaterPrompts)
{
    openSession(prompted()
                    .send(R"({"type":"result","is_error":true,"session_id":"session-3"})")
                    .expect("user")
                    .send(R"({"type":"result","session_id":["x"]})")
                    .expect("user")
                    .send(goodResult));
    for (int turn = 0; turn < 3; ++turn)
        runTurn();
    EXPECT_THAT(sessionsOfPrompts(), ElementsAre("session-1", "session-3", "session-3"));
}

TEST_F(ClaudeClientTurnTest, ALeftoverResultEndsNoTurnButItsSessionIsThatOfLaterPrompts)
{
    openSession(opened()
                    .send(R"({"type":"result","session_id":"leftover","result":"old"})")
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{}})")
                    .expect("user")
                    .send(goodResult)
                    .send(R"({"type":"result","result":"twice"})")
                    .expect("user")
                    .send(goodResult));
    ASSERT_TRUE(waitForEvent("usage")) << report();
    runTurn();
    EXPECT_THAT(events, ElementsAre("usage none left", goodTurn));
    EXPECT_THAT(sessionsOfPrompts(), ElementsAre("leftover"));
}

TEST_F(ClaudeClientTurnTest, AnUpdateHasItsKeysAndNoOthers)
{
    openSession(prompted().send(streamed("Hi")).send(goodResult));
    std::vector<JsonObject> updates;
    client->onSessionUpdate = [&](const SessionUpdate& update) { updates.push_back(keptCopy(update)); };
    runTurn();
    ASSERT_EQ(updates.size(), 1U);
    const std::string messageID(textAt(updates[0], "messageId").value_or(""));
    EXPECT_EQ(messageID.size(), 36U);
    EXPECT_EQ(Json(updates[0]),
        parsed(R"({"sessionUpdate":"agent_message_chunk","messageId":")" + messageID + R"(","content":{"type":"text","text":"Hi"}})"));
}

} // namespace

} // namespace tessarin::testing
