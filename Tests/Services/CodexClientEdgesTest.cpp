#include "CodexClientFixture.h"
#include "HeldChild.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* started = "started thread-1";
constexpr const char* goodTurn = R"(turn {"id":"turn-1","status":"completed"})";
constexpr std::size_t moreThanAPipeHolds = 8000000;

std::string delta(std::string_view text, std::string_view item = "m")
{
    return R"({"method":"item/agentMessage/delta","params":{"itemId":")" + std::string(item) + R"(","delta":")" + std::string(text)
        + R"("}})";
}
std::string completedItem(std::string_view item)
{
    return R"({"method":"item/completed","params":{"item":)" + std::string(item) + "}}";
}
std::string approval(std::string_view id)
{
    return R"({"id":)" + std::string(id) + R"(,"method":"item/fileChange/requestApproval","params":{}})";
}
std::string announced(std::string_view turn)
{
    return R"({"turn":{"id":")" + std::string(turn) + R"("}})";
}
std::string nested(std::size_t levels)
{
    return std::string(levels, '[') + std::string(levels, ']');
}

class CodexClientEdgesTest : public CodexClientTest
{
protected:
    // A turn whose error the runtime tells so; gives the failure of the prompt.
    [[nodiscard]] AgentError failureOf(const std::string& error)
    {
        openThread(
            codexTurn().send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"failed","error":)" + error + "}}}"));
        prompt();
        EXPECT_TRUE(waitForEvent("turnFailed")) << report();
        return errors.at(0);
    }
    [[nodiscard]] std::vector<std::string> texts() const
    {
        std::vector<std::string> result;
        for (const Json& update : updates)
            result.emplace_back(update.at("content").at("text").as_string());
        return result;
    }
};

TEST_F(CodexClientEdgesTest, CancelInterruptsBeforeItCallsOffWhatIsAsked)
{
    openThread(codexTurn().send(approval("7")).send(approval(R"("x")")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    client->cancel();
    EXPECT_EQ(waitForAnswer("x").at("result").at("decision"), "cancel");
    const std::vector<Json> messages = runtime.received("codex");
    ASSERT_GE(messages.size(), 3U);
    EXPECT_EQ(messages[messages.size() - 3].as_object().at("method"), "turn/interrupt");
    EXPECT_EQ(messages[messages.size() - 2].as_object().at("id"), 7);
}

TEST_F(CodexClientEdgesTest, CancelInterruptsTheTurnThatWasAnnouncedLast)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .reply(announced("turn-1"))
                   .expect("turn/start")
                   .reply(announced("turn-2"))
                   .send(delta("both are announced")));
    prompt("one");
    prompt("two");
    ASSERT_TRUE(waitForEvent("update")) << report();
    client->cancel();
    ASSERT_TRUE(waitForReceived("turn/interrupt"));
    EXPECT_EQ(runtime.received("codex", "turn/interrupt").at(0).at("params").at("turnId"), "turn-2");
}

TEST_F(CodexClientEdgesTest, AnEndThatNamesNoTurnLeavesTheTurnCurrentButTheAllowanceIsRead)
{
    openThread(codexTurn()
                   .send(R"({"method":"turn/completed","params":{"turn":{"status":"failed"}}})")
                   .expect("turn/interrupt")
                   .send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForReceived("account/rateLimits/read", 2)) << "the start, and the end without a name";
    client->cancel();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(runtime.received("codex", "turn/interrupt").at(0).at("params").at("turnId"), "turn-1");
}

TEST_F(CodexClientEdgesTest, TheLastEndOfATurnThatOvertookItsAnnouncementCountsAndOnlyOnce)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .send(codexTurnEnd("turn-1", "failed"))
                   .send(codexTurnEnd("turn-1"))
                   .replyTo("turn/start", announced("turn-1"))
                   .expect("turn/start")
                   .reply(announced("turn-1"))
                   .send(codexTurnEnd("turn-1", "interrupted")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(events, ElementsAre(started, goodTurn, "turnFailed Codex turn interrupted."));
}

TEST_F(CodexClientEdgesTest, AnErrorIsKeptWhenItsTurnEndsWell)
{
    openThread(codexTurn()
                   .send(R"({"method":"error","params":{"turnId":"turn-1","error":{"message":"kept"}}})")
                   .send(codexTurnEnd())
                   .expect("turn/start")
                   .reply(announced("turn-1"))
                   .send(codexTurnEnd("turn-1", "failed")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(events, ElementsAre(started, goodTurn, "turnFailed kept"));
}

TEST_F(CodexClientEdgesTest, OnlyTheBooleanTrueMeansThatTheRuntimeTriesAgain)
{
    Scenario scenario = codexThread();
    for (const std::string value : { R"("true")", "1", "null", R"([true])" }) {
        scenario.expect("turn/start").reply(announced("turn-1"));
        scenario.send(R"({"method":"error","params":{"turnId":"turn-1","willRetry":)" + value + R"(,"error":{"message":"told"}}})");
        scenario.send(codexTurnEnd("turn-1", "failed"));
    }
    openThread(scenario);
    for (int turn = 1; turn <= 4; ++turn) {
        prompt();
        ASSERT_TRUE(waitForEvent("turnFailed", turn)) << report();
        EXPECT_EQ(events.back(), "turnFailed told");
    }
}

TEST_F(CodexClientEdgesTest, TheErrorOfATurnIsClassifiedByItsInfo)
{
    const AgentError error = failureOf(R"({"message":"Come back on Monday.","codexErrorInfo":"usageLimitExceeded"})");
    EXPECT_EQ(error.description(), "Come back on Monday.");
    EXPECT_TRUE(error.isUsageLimitFailure());
}

TEST_F(CodexClientEdgesTest, AMessageThatSpeaksOfAQuotaIsNoSpentAllowance)
{
    EXPECT_FALSE(failureOf(R"({"message":"The quota is used up, the rate limit was reached."})").isUsageLimitFailure());
}

TEST_F(CodexClientEdgesTest, AChildThatDiesWithWordsOfALimitHasSpentNoAllowance)
{
    openThread(codexTurn().standardError("usage limit reached\n").exit(1));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(eventsBut("log"), ElementsAre(started, std::string("turnFailed ") + codexDisconnected, "terminated usage limit reached"));
    EXPECT_FALSE(errors.at(0).isUsageLimitFailure());
}

TEST_F(CodexClientEdgesTest, WhatWasStreamedIsOneSetForTextsAndThoughts)
{
    playTurn({ delta("text", "a"), R"({"method":"item/reasoning/textDelta","params":{"itemId":"b","delta":"thought"}})",
        completedItem(R"({"type":"reasoning","id":"a","summary":["again"]})"),
        completedItem(R"({"type":"agentMessage","id":"b","text":"again"})"),
        completedItem(R"({"type":"agentMessage","id":"c","text":"whole"})") });
    EXPECT_THAT(texts(), ElementsAre("text", "thought", "whole"));
}

TEST_F(CodexClientEdgesTest, TextsWithoutAnIdAreEachAnEntryOfTheirOwn)
{
    playTurn({ completedItem(R"({"type":"agentMessage","text":"one"})"), completedItem(R"({"type":"agentMessage","id":7,"text":"two"})"),
        completedItem(R"({"type":"reasoning","summary":["three"]})"),
        R"({"method":"item/agentMessage/delta","params":{"delta":"of nothing"}})" });
    ASSERT_THAT(texts(), ElementsAre("one", "two", "three"));
    EXPECT_NE(updates[0].at("messageId"), updates[1].at("messageId"));
    EXPECT_THAT(std::string(updates[2].at("messageId").as_string()), StartsWith("reasoning-"));
}

TEST_F(CodexClientEdgesTest, TheIdOfAnAnswerIsTakenWithoutItsFraction)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .raw(R"({"id":4.9,"result":{"turn":{"id":"turn-1"}}})"
                        "\n")
                   .send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
}

TEST_F(CodexClientEdgesTest, AnIdThatNoIntegerHoldsAnswersNothing)
{
    Scenario scenario = codexThread().expect("turn/start");
    // The second and the third would be 4 if their upper half were cut off.
    for (const std::string id : { "1e19", "18446744073709551620", "4294967300", "-1e300", "1e400", "NaN", "Infinity" })
        scenario.raw(R"({"id":)" + id + R"(,"result":{"turn":{"id":"wrong"}}})" + "\n");
    openThread(scenario.replyTo("turn/start", announced("turn-1")).send(codexTurnEnd("wrong", "failed")).send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre(started, goodTurn));
}

TEST_F(CodexClientEdgesTest, ARequestWhoseIdNoIntegerHoldsIsHeardAsANotification)
{
    openThread(codexTurn()
                   .raw(approval("1e300") + "\n" + approval("18446744073709551615") + "\n")
                   .raw(R"({"id":1e300,"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"heard"}})"
                        "\n")
                   .send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForReceived("account/rateLimits/read", 2));
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(texts(), ElementsAre("heard"));
    EXPECT_THAT(permissions, IsEmpty());
    for (const Json& message : runtime.received("codex"))
        EXPECT_TRUE(message.as_object().contains("method")) << "an answer: " << compactJson(message);
}

TEST_F(CodexClientEdgesTest, TheLastOfTwoEqualKeysCounts)
{
    playTurn({ R"({"method":"error","method":"item/agentMessage/delta","params":7,)"
               R"("params":{"itemId":"m","delta":"first","delta":"last"}})" });
    EXPECT_THAT(texts(), ElementsAre("last"));
}

TEST_F(CodexClientEdgesTest, WhatNestsTooDeepLeavesNoTraceAndTheStreamGoesOn)
{
    const auto change = [](std::size_t levels) {
        return completedItem(R"({"type":"fileChange","id":"f","status":"completed","changes":)" + nested(levels) + "}");
    };
    playTurn({ change(100000), change(maximumJsonDepth), change(maximumJsonDepth - 3) });
    ASSERT_EQ(updates.size(), 1U) << "three levels of it are around the changes";
    EXPECT_EQ(compactJson(updates[0].at("rawInput")), nested(maximumJsonDepth - 3));
}

TEST_F(CodexClientEdgesTest, ARefusedRequestTakesNoApprovalNumber)
{
    openThread(codexTurn().send(R"({"id":"r","method":"item/tool/call","params":{}})").send(approval("8")).send(approval("9")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    EXPECT_EQ(waitForAnswer("r").at("error").at("code"), -32601);
    EXPECT_THAT(events, ElementsAre(started, "permission 1", "permission 2"));
}

TEST_F(CodexClientEdgesTest, OperationsReturnWhileTheChildSleeps)
{
    openThread(
        codexTurn().send(approval("7")).expectResponse(7).expect("turn/start").reply(announced("turn-2")).send(codexTurnEnd("turn-2")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    HeldChild held(runtime.processID("codex"));
    const std::string text(moreThanAPipeHolds, 'x');
    prompt(text);
    client->cancel();
    client->respondToPermission(1, "codex-allow-once");
    ASSERT_TRUE(waitUntil(mainThread, [&] { return held.unreadInput() > 0; })) << "it is on its way";
    EXPECT_THAT(events, ElementsAre(started, "permission 1"));
    held.release();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(runtime.received("codex", "turn/start").at(1).at("params").at("input").at(0).at("text").as_string(), text);
    EXPECT_EQ(waitForAnswer(7).at("result").at("decision"), "cancel");
}

TEST_F(CodexClientEdgesTest, APromptThatWasWrittenInPartOnlyFailsWithTheStop)
{
    openThread(codexThread());
    const int child = runtime.processID("codex");
    HeldChild held(child);
    prompt(std::string(moreThanAPipeHolds, 'x'));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return held.unreadInput() > 0; }));
    client->stop();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    held.release();
    ASSERT_TRUE(waitForEndOf(child));
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(started, std::string("turnFailed ") + codexDisconnected));
    EXPECT_THAT(runtime.received("codex", "turn/start"), IsEmpty());
}

} // namespace

} // namespace tessarin::testing
