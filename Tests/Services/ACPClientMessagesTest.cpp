#include "ACPClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

// How lines are cut out of the runtime's output, and how leniently they are read.
class ACPClientMessagesTest : public ACPClientTest
{
protected:
    // What arrives between the opening of a session and the end of a turn.
    void playInTurn(const Scenario& steps)
    {
        Scenario scenario;
        scenario.handshake().expect("session/prompt").repeat(1, steps);
        openSession(scenario.replyTo("session/prompt"));
        runTurn();
    }
    [[nodiscard]] std::size_t answers() const
    {
        std::size_t count = 0;
        for (const Json& message : runtime.received(program)) {
            if (!message.as_object().contains("method"))
                ++count;
        }
        return count;
    }
};

constexpr const char* updateA = R"({"method":"session/update","params":{"update":{"text":"a"}}})";
constexpr const char* updateB = R"({"method":"session/update","params":{"update":{"text":"b"}}})";

std::string lineOf(std::string_view json)
{
    return std::string(json) + "\n";
}

TEST_F(ACPClientMessagesTest, TwoMessagesInOneChunkAreHandledInOrder)
{
    playInTurn(Scenario().raw(lineOf(updateA) + lineOf(updateB)));
    EXPECT_THAT(events, ElementsAre("started session-1", R"(update {"text":"a"})", R"(update {"text":"b"})", "turn {}"));
}

TEST_F(ACPClientMessagesTest, HalfALineWaitsForTheNextChunk)
{
    const std::string line = lineOf(updateA);
    Scenario scenario;
    scenario.handshake().raw(line.substr(0, 40)).expect("session/cancel").raw(line.substr(40));
    openSession(scenario);
    mainThread.drain();
    EXPECT_EQ(count("update"), 0);
    client->cancel();
    ASSERT_TRUE(waitForEvent("update"));
    EXPECT_EQ(events.back(), R"(update {"text":"a"})");
}

TEST_F(ACPClientMessagesTest, ACharacterCutInTwoIsWholeInTheUpdate)
{
    const std::string line = lineOf(R"({"method":"session/update","params":{"update":{"text":"€"}}})");
    const std::size_t cut = line.find("\xe2\x82\xac") + 1;
    Scenario scenario;
    scenario.handshake().step(R"({"rawBase64":"eyJtZXRob2QiOiJzZXNzaW9uL3VwZGF0ZSIsInBhcmFtcyI6eyJ1cGRhdGUiOnsidGV4dCI6IuI="})");
    openSession(scenario.expect("session/cancel").step(R"({"rawBase64":"gqwifX19Cg=="})"));
    ASSERT_EQ(line.substr(cut).size(), 7U) << "the two texts above are the halves of this line";
    client->cancel();
    ASSERT_TRUE(waitForEvent("update"));
    EXPECT_EQ(events.back(), "update {\"text\":\"\xe2\x82\xac\"}");
}

TEST_F(ACPClientMessagesTest, WhatIsNoObjectIsDroppedWithoutReplyOrLog)
{
    Scenario garbage;
    for (const char* line : { "", " ", "\r", "garbage", "[]", R"([{"method":"session/update","params":{"update":{}}}])", "1", "null",
             "\"text\"", "{", "}", R"({"a":1}})", R"({"a":NaN})", R"({"a":Infinity})", R"({"a":1e999})", "{'a':1}", "NaN",
             R"({"id":1,"method":"fs/read_text_file",})", R"({"id":9,"method":"x"} {"id":10,"method":"y"})" })
        garbage.raw(lineOf(line));
    garbage.step(R"({"rawBase64":"eyJtZXRob2QiOiL/In0K"})"); // {"method":"<byte FF>"}
    garbage.step(R"({"rawBase64":"AAEC/wo="})");
    playInTurn(garbage.raw(lineOf(updateA)));
    EXPECT_THAT(events, ElementsAre("started session-1", R"(update {"text":"a"})", "turn {}"));
    EXPECT_EQ(answers(), 0U);
}

TEST_F(ACPClientMessagesTest, NestingWithoutEndIsDropped)
{
    playInTurn(Scenario()
                   .step(R"({"fill":200000,"with":"["})")
                   .raw("\n")
                   .step(R"({"fill":200000,"with":"{\"a\":"})")
                   .raw("\n")
                   .raw(lineOf(updateA)));
    EXPECT_THAT(events, ElementsAre("started session-1", R"(update {"text":"a"})", "turn {}"));
}

TEST_F(ACPClientMessagesTest, CarriageReturnsAndBlanksAroundAMessageAreTolerated)
{
    playInTurn(Scenario().raw(" \t" + std::string(updateA) + " \r\n"));
    EXPECT_EQ(count("update"), 1);
}

TEST_F(ACPClientMessagesTest, ALineOfTenMegabytesIsHandled)
{
    Scenario steps;
    steps.raw(R"({"method":"session/update","params":{"update":{"text":")").step(R"({"fill":10000000,"with":"abcde"})").raw("\"}}}\n");
    Scenario scenario;
    openSession(scenario.handshake().expect("session/prompt").repeat(1, steps).reply());
    std::string text;
    client->onSessionUpdate = [&](const SessionUpdate& update) { text = *textAt(update, "text"); };
    runTurn();
    ASSERT_EQ(text.size(), 10000000U);
    EXPECT_EQ(text.substr(9999995), "abcde");
}

TEST_F(ACPClientMessagesTest, TheLastKeyOfTheSameNameCounts)
{
    playInTurn(Scenario().raw(lineOf(R"({"method":"x","method":"session/update","params":{},"params":{"update":{"text":"a"}}})")));
    EXPECT_EQ(count("update"), 1);
}

// Answers to requests of ours.

struct AnswerRow {
    const char* answer; // to `initialize`, whose id is 1
    const char* outcome; // how the start goes on: a request, or the text of its failure; null when the answer is dropped
};

class ACPClientAnswerTest : public ACPClientMessagesTest, public ::testing::WithParamInterface<AnswerRow>
{
};

TEST_P(ACPClientAnswerTest, IsReadLeniently)
{
    Scenario scenario;
    scenario.expect("initialize").send(GetParam().answer).touch("answered").waitForFile("go").reply();
    runtime.script("grok", scenario.expect("session/new").reply(R"({"sessionId":"s"})"));
    make(configuration());
    start();
    if (!GetParam().outcome) {
        ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("answered"); }));
        EXPECT_THAT(events, ElementsAre());
        EXPECT_TRUE(runtime.received(program, "session/new").empty());
    } else if (GetParam().outcome == std::string("session/new")) {
        EXPECT_TRUE(waitForReceived("session/new"));
    } else {
        ASSERT_TRUE(waitForEvent("startFailed")) << report();
        EXPECT_THAT(events, ElementsAre(std::string("startFailed ") + GetParam().outcome));
        return;
    }
    runtime.touch("go");
    EXPECT_TRUE(waitForEvent("started")) << report();
    EXPECT_EQ(events.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientAnswerTest,
    ::testing::Values(AnswerRow{ R"({"jsonrpc":"2.0","id":1,"result":{}})", "session/new" },
        AnswerRow{ R"({"id":1,"result":null})", "session/new" }, AnswerRow{ R"({"id":1})", "session/new" },
        AnswerRow{ R"({"id":1,"result":[1,2]})", "session/new" }, AnswerRow{ R"({"id":1,"result":"text"})", "session/new" },
        AnswerRow{ R"({"id":1,"result":{},"error":null})", "session/new" },
        AnswerRow{ R"({"id":1,"result":{},"error":"text"})", "session/new" }, AnswerRow{ R"({"id":true,"result":{}})", "session/new" },
        AnswerRow{ R"({"id":1.0,"result":{}})", "session/new" }, AnswerRow{ R"({"id":1.9,"result":{}})", "session/new" },
        AnswerRow{ R"({"id":1e0,"result":{}})", "session/new" }, AnswerRow{ R"({"id":1,"error":{"message":"No"}})", "No" },
        AnswerRow{ R"({"id":1,"result":{},"error":{"code":1,"message":"No"}})", "No" },
        AnswerRow{ R"({"id":1,"error":{}})", "Grok returned an unknown error." },
        AnswerRow{ R"({"id":1,"error":{"code":-32603,"message":{"text":"No"}}})", "Grok returned an unknown error." },
        AnswerRow{ R"({"id":1,"error":{"message":""}})", "" }, AnswerRow{ R"({"id":"1","result":{}})", nullptr },
        AnswerRow{ R"({"id":null,"result":{}})", nullptr }, AnswerRow{ R"({"result":{}})", nullptr },
        AnswerRow{ R"({"id":2,"result":{}})", nullptr }, AnswerRow{ R"({"id":0,"result":{}})", nullptr },
        AnswerRow{ R"({"id":0.9,"result":{}})", nullptr }, AnswerRow{ R"({"id":-1,"result":{}})", nullptr },
        AnswerRow{ R"({"id":false,"result":{}})", nullptr }, AnswerRow{ R"({"id":[1],"result":{}})", nullptr },
        AnswerRow{ R"({"id":99999999999999999999,"result":{}})", nullptr },
        AnswerRow{ R"({"id":18446744073709551615,"result":{}})", nullptr }, AnswerRow{ R"({"id":1,"method":null,"result":{}})", nullptr }));

TEST_F(ACPClientMessagesTest, ASecondAnswerToTheSameRequestIsDropped)
{
    openSession(Scenario().handshake().expect("session/prompt").reply(R"({"n":1})").reply(R"({"n":2})").replyError("no").touch("sent"));
    runTurn();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("sent"); }));
    client->cancel();
    ASSERT_TRUE(waitForReceived("session/cancel"));
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("started session-1", R"(turn {"n":1})"));
}

TEST_F(ACPClientMessagesTest, AMessageWithAMethodAndAnIdIsARequestAndNotAnAnswer)
{
    openSession(Scenario()
                    .handshake()
                    .expect("session/prompt")
                    .send(R"({"id":3,"method":"x","result":{"n":1}})")
                    .expectResponse(3)
                    .replyTo("session/prompt", R"({"n":2})"));
    runTurn();
    EXPECT_THAT(events, ElementsAre("started session-1", R"(turn {"n":2})"));
}

// Requests of the runtime.

struct RequestRow {
    const char* request;
    const char* answer;
};

class ACPClientUnsupportedRequestTest : public ACPClientMessagesTest, public ::testing::WithParamInterface<RequestRow>
{
};

TEST_P(ACPClientUnsupportedRequestTest, IsAnsweredWithAnError)
{
    openSession(Scenario().handshake().send(GetParam().request));
    const Json expected = parsed(GetParam().answer);
    const auto answer = waitForAnswer(expected.at("id").as_int64());
    ASSERT_TRUE(answer);
    EXPECT_EQ(*answer, expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, ACPClientUnsupportedRequestTest,
    ::testing::Values(RequestRow{ R"({"jsonrpc":"2.0","id":5,"method":"session/elicit","params":{}})",
                          R"({"jsonrpc":"2.0","id":5,"error":{"code":-32601,"message":"Unsupported ACP method: session/elicit"}})" },
        RequestRow{ R"({"id":0,"method":""})", R"({"jsonrpc":"2.0","id":0,"error":{"code":-32601,"message":"Unsupported ACP method: "}})" },
        RequestRow{ R"({"id":-4,"method":"x","params":[1]})",
            R"({"jsonrpc":"2.0","id":-4,"error":{"code":-32601,"message":"Unsupported ACP method: x"}})" },
        RequestRow{
            R"({"id":7.9,"method":"x"})", R"({"jsonrpc":"2.0","id":7,"error":{"code":-32601,"message":"Unsupported ACP method: x"}})" },
        RequestRow{
            R"({"id":true,"method":"x"})", R"({"jsonrpc":"2.0","id":1,"error":{"code":-32601,"message":"Unsupported ACP method: x"}})" },
        RequestRow{ R"({"id":8,"method":"session/update","params":{"update":{"text":"a"}}})",
            R"({"jsonrpc":"2.0","id":8,"error":{"code":-32601,"message":"Unsupported ACP method: session/update"}})" }));

TEST_F(ACPClientMessagesTest, AnUpdateWithANumericIdIsNoUpdate)
{
    playInTurn(Scenario().send(R"({"id":8,"method":"session/update","params":{"update":{"text":"a"}}})").expectResponse(8));
    EXPECT_EQ(count("update"), 0);
}

TEST_F(ACPClientMessagesTest, AnUpdateWithAnotherIdIsAnUpdate)
{
    playInTurn(Scenario()
                   .send(R"({"id":"8","method":"session/update","params":{"update":{"text":"a"}}})")
                   .send(R"({"id":null,"method":"session/update","params":{"update":{"text":"b"}}})"));
    EXPECT_EQ(count("update"), 2);
    EXPECT_EQ(answers(), 0U);
}

TEST_F(ACPClientMessagesTest, ARequestWithATextIdOrWithoutATextMethodGetsNoReply)
{
    playInTurn(Scenario()
                   .send(R"({"id":"8","method":"session/request_permission","params":{}})")
                   .send(R"({"id":"8","method":"x"})")
                   .send(R"({"id":9,"method":7})")
                   .send(R"({"id":99999999999999999999,"method":"x"})"));
    EXPECT_THAT(events, ElementsAre("started session-1", "turn {}"));
    EXPECT_EQ(answers(), 0U);
}

} // namespace

} // namespace tessarin::testing
