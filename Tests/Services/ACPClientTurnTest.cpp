#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ACPClientTurnTest : public ACPClientTest
{
};

TEST_F(ACPClientTurnTest, APromptIsToTheLetter)
{
    openSession(Scenario().handshake("abc").expect("session/prompt").reply(R"({"stopReason":"end_turn"})"));
    prompt("Say \"hi\"\n\xe2\x82\xac");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(runtime.received(program, "session/prompt"), ElementsAre(parsed(R"({"jsonrpc":"2.0","id":3,"method":"session/prompt",
                                       "params":{"sessionId":"abc","prompt":[{"type":"text","text":"Say \"hi\"\n€"}]}})")));
}

TEST_F(ACPClientTurnTest, TheAnswerEndsTheTurnWithTheRuntimesRawResult)
{
    openSession(Scenario().handshake().expect("session/prompt").chunk("a").chunk("b").reply(R"({"stopReason":"end_turn","_meta":[1]})"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events,
        ElementsAre("started session-1", R"(update {"sessionUpdate":"agent_message_chunk","content":{"type":"text","text":"a"}})",
            R"(update {"sessionUpdate":"agent_message_chunk","content":{"type":"text","text":"b"}})",
            R"(turn {"stopReason":"end_turn","_meta":[1]})"));
}

TEST_F(ACPClientTurnTest, OneTurnFollowsTheOther)
{
    openSession(Scenario().handshake().repeat(3, Scenario().expect("session/prompt").chunk("{n}").reply()));
    for (int turn = 0; turn < 3; ++turn)
        runTurn();
    EXPECT_EQ(count("update"), 3);
    EXPECT_EQ(runtime.received(program, "session/prompt")[2].at("id").as_int64(), 5);
}

TEST_F(ACPClientTurnTest, ARefusedPromptFailsWithTheRuntimesWords)
{
    openSession(Scenario().handshake().expect("session/prompt").replyError("Rate limited", -32003));
    std::optional<AgentError> failure;
    client->sendPrompt("x", [&](const Result<JsonObject, AgentError>& result) { failure = result.error(); });
    ASSERT_TRUE(waitUntil(mainThread, [&] { return failure.has_value(); }));
    EXPECT_EQ(failure->description(), "Rate limited");
    EXPECT_TRUE(failure->isUsageLimitFailure());
}

TEST_F(ACPClientTurnTest, APromptBeforeASessionExistsFailsAsDisconnected)
{
    runtime.script("grok", Scenario().waitForFile("go").handshake());
    make(configuration());
    prompt();
    EXPECT_THAT(events, IsEmpty()) << "a completion is posted";
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre(std::string("turnFailed ") + disconnectedText));
    start();
    prompt();
    mainThread.drain();
    EXPECT_EQ(count("turnFailed"), 2);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("started"));
    EXPECT_TRUE(runtime.received(program, "session/prompt").empty());
}

TEST_F(ACPClientTurnTest, CancelIsANotificationAndTheTurnEndsWhenTheRuntimeAnswers)
{
    Scenario scenario;
    scenario.handshake("abc").expect("session/prompt").expect("session/cancel").waitForFile("go");
    openSession(scenario.replyTo("session/prompt", R"({"stopReason":"cancelled"})"));
    prompt();
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel"));
    EXPECT_THAT(runtime.received(program, "session/cancel"),
        ElementsAre(parsed(R"({"jsonrpc":"2.0","method":"session/cancel","params":{"sessionId":"abc"}})")));
    EXPECT_EQ(count("turn"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(events.back(), R"(turn {"stopReason":"cancelled"})");
}

TEST_F(ACPClientTurnTest, CancelBeforeASessionExistsSendsNothing)
{
    runtime.script("grok", Scenario().waitForFile("go").handshake());
    make(configuration());
    client->cancel();
    start();
    client->cancel();
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("started"));
    EXPECT_TRUE(runtime.received(program, "session/cancel").empty());
}

TEST_F(ACPClientTurnTest, ACancelWithoutATurnIsSentAllTheSame)
{
    openSession(Scenario().handshake());
    client->cancel();
    EXPECT_TRUE(waitForReceived("session/cancel"));
}

TEST_F(ACPClientTurnTest, UpdatesOutsideOfATurnArriveToo)
{
    openSession(Scenario().handshake().chunk("unasked"));
    EXPECT_TRUE(waitForEvent("update"));
}

TEST_F(ACPClientTurnTest, UpdatesPassThroughUntouched)
{
    const std::string update
        = R"({"sessionUpdate":"tool_call","toolCallId":"t","title":null,"rawInput":[1,2.5,{"x":false}],"content":[{}],"vendor":{"k":"v"}})";
    openSession(Scenario().handshake().update(update));
    ASSERT_TRUE(waitForEvent("update"));
    EXPECT_EQ(parsed(events.back().substr(7)), parsed(update));
}

TEST_F(ACPClientTurnTest, AnUpdateOfAnotherSessionOrWithoutAKindIsPassedOn)
{
    Scenario scenario;
    scenario.handshake();
    scenario.send(R"({"jsonrpc":"2.0","method":"session/update","params":{"sessionId":"another","update":{"a":1}}})");
    scenario.send(R"({"method":"session/update","params":{"update":{}}})");
    openSession(scenario);
    ASSERT_TRUE(waitForEvent("update", 2));
    EXPECT_THAT(events, ElementsAre("started session-1", R"(update {"a":1})", "update {}"));
}

TEST_F(ACPClientTurnTest, OtherNotificationsAndUpdatesWithoutAMapAreDropped)
{
    Scenario scenario;
    scenario.handshake();
    for (const char* message :
        { R"({"method":"session/other","params":{"update":{"a":1}}})", R"({"method":"_x.ai/session/update","params":{"update":{"a":1}}})",
            R"({"method":"session/update","params":{"update":[{}]}})", R"({"method":"session/update","params":{"update":"x"}})",
            R"({"method":"session/update","params":{}})", R"({"method":"session/update","params":[{"update":{}}]})",
            R"({"method":"session/update"})", R"({"method":["session/update"],"params":{"update":{"a":1}}})",
            R"({"method":null,"params":{"update":{"a":1}}})", R"({"update":{"a":1}})", "{}" })
        scenario.send(message);
    openSession(scenario.expect("session/prompt").reply());
    runTurn();
    EXPECT_THAT(events, ElementsAre("started session-1", "turn {}"));
}

TEST_F(ACPClientTurnTest, NoUsageIsEverReported)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(R"({"sessionUpdate":"usage_update","used":3,"size":10})");
    openSession(scenario.reply(R"({"usage":{"totalTokens":3}})"));
    runTurn();
    EXPECT_EQ(count("usage"), 0);
}

TEST_F(ACPClientTurnTest, ThousandsOfUpdatesArriveInOrder)
{
    Scenario chunks;
    chunks.chunk("{n}");
    openSession(Scenario().handshake().expect("session/prompt").repeat(5000, chunks).reply());
    std::vector<int> numbers;
    client->onSessionUpdate
        = [&](const SessionUpdate& update) { numbers.push_back(std::stoi(std::string(*textAt(*objectAt(update, "content"), "text")))); };
    runTurn();
    ASSERT_EQ(numbers.size(), 5000U);
    for (int number = 0; number < 5000; ++number)
        ASSERT_EQ(numbers[static_cast<std::size_t>(number)], number);
}

} // namespace

} // namespace tessarin::testing
