#include "CodexClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;

class CodexClientMessagesTest : public CodexClientTest
{
};

std::string delta(std::string_view text, std::string_view item = "m")
{
    return R"({"method":"item/agentMessage/delta","params":{"itemId":")" + std::string(item) + R"(","delta":")" + std::string(text)
        + R"("}})";
}

std::vector<std::string> texts(const std::vector<Json>& updates)
{
    std::vector<std::string> result;
    for (const Json& update : updates)
        result.emplace_back(update.at("content").at("text").as_string());
    return result;
}

std::string base64(char byte)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto value = static_cast<unsigned char>(byte);
    return std::string{ digits[value >> 2U], digits[(value & 3U) << 4U] } + "==";
}

TEST_F(CodexClientMessagesTest, LinesThatAreNoObjectsLeaveNoTrace)
{
    playTurn(
        { "", "   ", "not json", "[1,2]", "7", "null", "\"text\"", "{\"method\":", "{}", "\x01\x02", R"({"method":"x"}{"method":"y"})" });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
    ASSERT_TRUE(waitForReceived("account/rateLimits/read", 2));
    EXPECT_EQ(runtime.received("codex").size(), 6U) << "no line was answered: the start, the prompt, the allowance and nothing else";
}

TEST_F(CodexClientMessagesTest, ACarriageReturnDoesNoHarm)
{
    playTurn({ delta("a") + "\r", "\r", delta("b") });
    EXPECT_THAT(texts(updates), ElementsAre("a", "b"));
}

TEST_F(CodexClientMessagesTest, ALineMayComeInPiecesAndManyAtOnce)
{
    Scenario scenario = codexTurn();
    for (const char byte : delta("slow …") + "\n")
        scenario.step(R"({"rawBase64":")" + base64(byte) + R"("})");
    openThread(scenario.raw(delta("one") + "\n" + delta("two") + "\n" + codexTurnEnd() + "\n"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_THAT(texts(updates), ElementsAre("slow …", "one", "two"));
}

TEST_F(CodexClientMessagesTest, ALineOfTenMegabytesIsRead)
{
    Scenario scenario = codexTurn();
    scenario.raw(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":")");
    scenario.step(R"({"fill":10000000,"with":"x"})").raw("\"}}\n").send(codexTurnEnd());
    openThread(scenario);
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_THAT(texts(updates), ElementsAre(std::string(10000000, 'x')));
}

TEST_F(CodexClientMessagesTest, OtherNotificationsAreIgnored)
{
    playTurn(
        { R"({"method":"thread/started","params":{"thread":{"id":"other"}}})", R"({"method":"turn/started","params":{"turn":{"id":"x"}}})",
            R"({"method":"thread/tokenUsage/updated","params":{}})", R"({"method":"configWarning","params":{"summary":"x"}})",
            R"({"method":"Item/Started","params":{"item":{"type":"fileChange","id":"f"}}})", R"({"method":""})" });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
}

TEST_F(CodexClientMessagesTest, AMethodThatIsNoTextIsIgnored)
{
    playTurn({ R"({"method":7,"params":{}})", R"({"method":null,"id":4,"result":{}})", R"({"id":4,"method":["turn/start"],"result":{}})" });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
}

TEST_F(CodexClientMessagesTest, ParametersThatAreNoObjectCountAsNone)
{
    playTurn({ R"({"method":"item/started","params":"x"})", R"({"method":"item/agentMessage/delta","params":[]})",
        R"({"method":"turn/plan/updated","params":7})" });
    ASSERT_EQ(updates.size(), 1U);
    EXPECT_EQ(updates[0], parsed(R"({"sessionUpdate":"plan","entries":[]})"));
}

TEST_F(CodexClientMessagesTest, AnAnswerThatNobodyWaitsForIsDropped)
{
    playTurn({ R"({"id":99,"result":{"turn":{"id":"x"}}})", R"({"id":0,"result":{}})", R"({"id":-1,"error":{"message":"x"}})",
        R"({"id":1,"result":{}})", R"({"result":{}})" });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
}

TEST_F(CodexClientMessagesTest, OnlyANumberIsTheIdOfAnAnswer)
{
    Scenario scenario = codexThread().expect("turn/start");
    for (const char* id : { R"("4")", "true", "null", "[4]", "1e300", "{}" })
        scenario.raw(R"({"id":)" + std::string(id) + R"(,"result":{"turn":{"id":"wrong"}}})" + "\n");
    openThread(scenario
                   .raw(R"({"id":4.0,"result":{"turn":{"id":"right"}}})"
                        "\n")
                   .send(codexTurnEnd("wrong", "failed"))
                   .send(codexTurnEnd("right")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre("started thread-1", R"(turn {"id":"right","status":"completed"})"));
}

TEST_F(CodexClientMessagesTest, AnAnswerThatComesTwiceCountsOnce)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .replyTo("turn/start", R"({"turn":{"id":"turn-2"}})")
                   .send(codexTurnEnd("turn-2", "failed"))
                   .send(codexTurnEnd("turn-1")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(count("turnFailed"), 0);
}

TEST_F(CodexClientMessagesTest, AMessageWithAMethodIsNoAnswerWhateverItsId)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .send(R"({"id":4,"method":"item/tool/call","result":{"turn":{"id":"wrong"}}})")
                   .expectResponse(4)
                   .replyTo("turn/start", R"({"turn":{"id":"turn-1"}})")
                   .send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(waitForAnswer(4).at("error").at("code"), -32601);
}

class CodexClientUnknownRequestTest : public CodexClientMessagesTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(CodexClientUnknownRequestTest, IsRefusedAndItsIdEchoedInItsType)
{
    const Json id = parsed(GetParam());
    openThread(codexTurn().send(compactJson(Json{ { "id", id }, { "method", "item/tool/requestUserInput" }, { "params", JsonObject() } })));
    prompt();
    EXPECT_EQ(waitForAnswer(id),
        (Json{ { "jsonrpc", "2.0" }, { "id", id },
            { "error", { { "code", -32601 }, { "message", "tessarin does not support Codex request item/tool/requestUserInput." } } } }));
    EXPECT_EQ(count("permission"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Ids, CodexClientUnknownRequestTest, ::testing::Values("0", "7", "-3", R"("7")", R"("")", R"("0b1c-\u00e9")", "9007199254740993"));

TEST_F(CodexClientMessagesTest, ARequestWithoutAUsableIdIsANotification)
{
    playTurn({ R"({"id":null,"method":"item/fileChange/requestApproval","params":{}})",
        R"({"id":true,"method":"item/fileChange/requestApproval"})", R"({"id":{},"method":"unknown"})",
        R"({"id":[1],"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"still heard"}})" });
    EXPECT_EQ(count("permission"), 0);
    EXPECT_THAT(texts(updates), ElementsAre("still heard"));
}

TEST_F(CodexClientMessagesTest, ANotificationWithAnIdIsARequest)
{
    openThread(codexTurn().send(R"({"id":5,"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"completed"}}})"));
    prompt();
    EXPECT_EQ(waitForAnswer(5).at("error").at("message"), "tessarin does not support Codex request turn/completed.");
    EXPECT_EQ(count("turn"), 0);
}

TEST_F(CodexClientMessagesTest, ErrorOutputIsTheLog)
{
    openThread(codexTurn().standardError("warning: something\n").send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForEvent("log"));
    EXPECT_THAT(events, Contains("log warning: something\n"));
}

} // namespace

} // namespace tessarin::testing
