#include "ClaudeClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class ClaudeClientLinesTest : public ClaudeClientTest
{
protected:
    // What is told in the course of a turn in which the program writes this, but for the end of the turn.
    std::vector<std::string> toldOf(const Scenario& scenario)
    {
        Scenario turn = scenario;
        openSession(turn.send(goodResult));
        runTurn();
        EXPECT_EQ(count("turn"), 1) << report();
        std::vector<std::string> told = events;
        told.pop_back();
        return told;
    }
};

TEST_F(ClaudeClientLinesTest, APlainLineGoesToTheLogWithItsLineFeedAndInItsPlace)
{
    EXPECT_THAT(toldOf(prompted().send(streamed("a")).raw("Downloading an update\n").send(streamed("b"))),
        ElementsAre("text 1 a", "log Downloading an update\n", "text 1 b"));
}

TEST_F(ClaudeClientLinesTest, JsonThatIsNoObjectGoesToTheLog)
{
    EXPECT_THAT(toldOf(prompted().raw("[1,2]\n7\nnull\n\"text\"\n{\"type\":\n")),
        ElementsAre("log [1,2]\n", "log 7\n", "log null\n", "log \"text\"\n", "log {\"type\":\n"));
}

TEST_F(ClaudeClientLinesTest, TwoObjectsOnOneLineAreNone)
{
    EXPECT_THAT(toldOf(prompted().raw("{} {}\n")), ElementsAre("log {} {}\n"));
}

TEST_F(ClaudeClientLinesTest, ALineThatIsNoTextIsLost)
{
    EXPECT_THAT(toldOf(prompted().step(R"({"rawBase64":"//4gYQo="})").send(streamed("a"))), ElementsAre("text 1 a"));
}

TEST_F(ClaudeClientLinesTest, EmptyLinesAreSkippedAndACarriageReturnIsNoHarm)
{
    EXPECT_THAT(toldOf(prompted().raw("\n\n" + streamed("a") + "\r\n\n")), ElementsAre("text 1 a"));
}

TEST_F(ClaudeClientLinesTest, ALineMayComeInPiecesAndManyInOne)
{
    const std::string line = streamed("\xE2\x82\xAC");
    Scenario scenario = prompted();
    for (const char byte : line.substr(0, 20))
        scenario.raw(std::string(1, byte));
    EXPECT_THAT(toldOf(scenario.raw(line.substr(20) + "\n" + streamed("b") + "\n" + streamed("c") + "\n")),
        ElementsAre("text 1 \xE2\x82\xAC", "text 1 b", "text 1 c"));
}

TEST_F(ClaudeClientLinesTest, ALineOfTenMegabytesIsRead)
{
    Scenario scenario = prompted();
    scenario.raw(R"({"type":"assistant","message":{"content":[{"type":"text","text":")")
        .step(R"({"fill":10000000,"with":"x"})")
        .raw("\"}]}}\n");
    const std::vector<std::string> told = toldOf(scenario);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].size(), std::string_view("text 1 ").size() + 10000000);
}

TEST_F(ClaudeClientLinesTest, ALineThatNestsTooDeepIsNoObject)
{
    std::string line = R"({"type":"stream_event","event":)";
    for (int level = 0; level < 600; ++level)
        line += "[";
    EXPECT_THAT(toldOf(prompted().raw(line + "\n").send(streamed("a"))), ElementsAre("log " + line + "\n", "text 1 a"));
}

class ClaudeClientUnknownMessageTest : public ClaudeClientLinesTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientUnknownMessageTest, IsIgnored)
{
    EXPECT_THAT(toldOf(prompted().send(GetParam())), ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientUnknownMessageTest,
    ::testing::Values("{}", R"({"type":null})", R"({"type":{"type":"result"}})", R"({"type":"Result"})", R"({"type":"result "})",
        R"({"type":"user","message":{"content":[{"type":"tool_result"}]}})", R"({"type":"keep_alive"})", R"({"type":"system"})",
        R"({"type":"system","subtype":7})", R"({"type":"system","subtype":"compact_boundary"})", R"({"type":"stream_event"})",
        R"({"type":"stream_event","event":"text"})", R"({"type":"assistant","message":"text"})", R"({"type":"control_response"})",
        R"({"type":"rate_limit_event","rate_limit_info":null})"));

TEST_F(ClaudeClientLinesTest, TheLastOfTwoEqualKeysCounts)
{
    EXPECT_THAT(toldOf(prompted().raw(R"({"type":"result","type":"keep_alive"})"
                                      "\n")),
        ElementsAre());
}

TEST_F(ClaudeClientLinesTest, EventsInAnyOrderAndMoreThanOnceDoNoHarm)
{
    EXPECT_THAT(toldOf(prompted()
                           .send(R"({"type":"stream_event","event":{"type":"content_block_stop","index":4}})")
                           .send(streamed("a"))
                           .send(R"({"type":"stream_event","event":{"type":"message_start"}})")
                           .send(R"({"type":"control_response","response":{"subtype":"success","request_id":"tessarin_1"}})")
                           .send(R"({"type":"assistant","message":{"content":[{"type":"text","text":"a"}]}})")
                           .send(R"({"type":"assistant","message":{"content":[{"type":"text","text":"a"}]}})")
                           .send(streamed("a"))),
        ElementsAre("text 1 a", "text 1 a"));
}

TEST_F(ClaudeClientLinesTest, UpdatesThatComeBeforeAnyPromptAreTold)
{
    openSession(Scenario()
                    .expect("control_request/initialize")
                    .send(streamed("early"))
                    .reply()
                    .expect("user")
                    .send(streamed("a"))
                    .send(goodResult));
    EXPECT_THAT(events, ElementsAre("text 1 early"));
    runTurn();
    EXPECT_EQ(events.at(1), "text 2 a");
}

} // namespace

} // namespace tessarin::testing
