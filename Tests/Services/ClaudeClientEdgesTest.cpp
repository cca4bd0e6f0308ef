#include "ClaudeClientFixture.h"
#include "HeldChild.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* goodTurn = R"(turn {"type":"result","subtype":"success","is_error":false,"result":"done"})";
constexpr std::size_t moreThanAPipeHolds = 8000000;

std::string asked(std::string_view input)
{
    return R"({"type":"control_request","request_id":"r","request":{"subtype":"can_use_tool","tool_name":"Bash","input":)"
        + std::string(input) + "}}\n";
}

class ClaudeClientEdgesTest : public ClaudeClientTest
{
protected:
    // Sends a prompt and gives what it fails with.
    [[nodiscard]] std::optional<AgentError> failure()
    {
        std::optional<AgentError> error;
        client->sendPrompt("Hello", [&](const Result<JsonObject, AgentError>& result) {
            if (!result)
                error = result.error();
        });
        EXPECT_TRUE(waitUntil(mainThread, [&] { return error.has_value(); })) << report();
        return error;
    }
    // What the program gets back as the input of a tool that it has asked for so, as one text.
    [[nodiscard]] std::string allowedInput(std::string_view input)
    {
        openSession(prompted()
                        .raw(asked(input))
                        .expect("control_response")
                        .send(R"({"type":"result","input":"${response.response.updatedInput}"})"));
        prompt();
        EXPECT_TRUE(waitForEvent("permission")) << report();
        client->respondToPermission(100000, "claude-allow-once");
        EXPECT_TRUE(waitForEvent("turn")) << report();
        constexpr std::string_view before = R"(turn {"type":"result","input":)";
        const std::string& turn = events.back();
        return turn.size() > before.size() ? turn.substr(before.size(), turn.size() - before.size() - 1) : turn;
    }
};

TEST_F(ClaudeClientEdgesTest, AVerdictCountsByItsClassWhateverItsWords)
{
    openSession(prompted().send(R"({"type":"result","is_error":true,"result":"You have reached your allowance"})"));
    const auto error = failure();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description(), "You have reached your allowance");
    EXPECT_FALSE(error->isUsageLimitFailure());
}

TEST_F(ClaudeClientEdgesTest, TheSameWordsOfADyingChildAreASpentAllowance)
{
    openSession(prompted().standardError("You have reached your allowance\n").exit(1));
    const auto error = failure();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description(), "You have reached your allowance");
    EXPECT_TRUE(error->isUsageLimitFailure());
}

TEST_F(ClaudeClientEdgesTest, ARefusedPromptTakesNothingFromTheOneThatRuns)
{
    openSession(prompted()
                    .send(streamed("piece"))
                    .waitForFile("go")
                    .send(R"({"type":"assistant","message":{"content":[{"type":"text","text":"whole"}]}})")
                    .send(streamed("more"))
                    .send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("text")) << report();
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre("text 1 piece", "turnFailed Claude Code is already handling a prompt.", "text 1 more", goodTurn));
}

TEST_F(ClaudeClientEdgesTest, QuestionsThatNobodySeesTakeNoNumber)
{
    openSession(prompted()
                    .send(R"({"type":"control_request","request_id":"a","request":{"subtype":"hook_callback"}})")
                    .send(R"({"type":"control_request","request_id":7,"request":{"subtype":"can_use_tool"}})")
                    .raw(asked("{}"))
                    .send(goodResult));
    runTurn();
    EXPECT_THAT(events, ElementsAre("permission 100000", goodTurn));
}

TEST_F(ClaudeClientEdgesTest, NumbersOfAnInputGoBackAsTheyCameUpToTheirLimits)
{
    constexpr const char* numbers
        = R"([9223372036854775807,-9223372036854775808,18446744073709551615,0.1,5E-324,1.7976931348623157E308,-3])";
    const std::string expected = R"({"n":)" + std::string(numbers) + "}";
    EXPECT_EQ(parsed(allowedInput(expected)), parsed(expected));
}

TEST_F(ClaudeClientEdgesTest, WhatIsShownOfDoubleKeysIsWhatIsAllowed)
{
    EXPECT_EQ(allowedInput(R"({"command":"ls","command":"rm"})"), R"({"command":"rm"})");
    EXPECT_EQ(permissions.at(0).detail, "{\n  \"command\" : \"rm\"\n}");
}

TEST_F(ClaudeClientEdgesTest, AnInputMayNestDeep)
{
    const std::string input = R"({"deep":)" + std::string(500, '[') + std::string(500, ']') + "}";
    EXPECT_EQ(allowedInput(input), input);
}

TEST_F(ClaudeClientEdgesTest, WhatNestsTooDeepIsPlainTextToTheLog)
{
    const std::string line = asked(R"({"deep":)" + std::string(maximumJsonDepth, '[') + std::string(maximumJsonDepth, ']') + "}");
    openSession(prompted().raw(line).send(goodResult));
    runTurn();
    EXPECT_THAT(events, ElementsAre("log " + line, goodTurn));
}

TEST_F(ClaudeClientEdgesTest, NumbersThatAreNoneMakeALinePlainText)
{
    Scenario scenario = prompted();
    std::string lines;
    for (const std::string number : { "NaN", "Infinity", "-Infinity", "1e400", "0x10", "01" }) {
        const std::string line = R"({"type":"rate_limit_event","rate_limit_info":{"utilization":)" + number + "}}\n";
        scenario.raw(line);
        lines += line;
    }
    openSession(scenario.send(goodResult));
    runTurn();
    EXPECT_EQ(count("usage"), 0);
    EXPECT_EQ(log, lines);
}

TEST_F(ClaudeClientEdgesTest, HalfACharacterMakesALinePlainTextAndBrokenBytesAreLost)
{
    const std::string half = R"({"type":"assistant","message":{"content":[{"type":"text","text":"\ud83d!"}]}})"
                             "\n";
    openSession(prompted().raw(half).step(R"({"rawBase64":"eyJ0eXBlIjoi8J+YIn0K"})").send(streamed("next")).send(goodResult));
    runTurn();
    EXPECT_THAT(events, ElementsAre("log " + half, "text 1 next", goodTurn));
}

TEST_F(ClaudeClientEdgesTest, ASessionThatChangesBeforeTheFirstPromptIsTheOneThatItIsSentTo)
{
    openSession(opened()
                    .send(R"({"type":"system","subtype":"init","session_id":"session-2"})")
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{}})")
                    .expect("user")
                    .send(goodResult));
    ASSERT_TRUE(waitForEvent("usage")) << report();
    runTurn();
    EXPECT_EQ(receivedAfterInitialize().at(0).at("session_id"), "session-2");
}

TEST_F(ClaudeClientEdgesTest, AnEndThatWasPostedBeforeTheStopIsNotTold)
{
    openSession(prompted().exit(3));
    // The failure of the prompt and the report of the end are posted together.
    client->sendPrompt("Hello", [this](const Result<JsonObject, AgentError>& result) {
        events.push_back("turnFailed " + result.error().description());
        client->stop();
    });
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code exited with status 3."));
}

TEST_F(ClaudeClientEdgesTest, OperationsReturnWhileTheChildSleeps)
{
    openSession(opened().raw(asked("{}")).expect("user").expect("control_request/interrupt").send(goodResult));
    ASSERT_TRUE(waitForEvent("permission")) << report();
    HeldChild held(runtime.processID("claude"));
    const std::string text(moreThanAPipeHolds, 'x');
    prompt(text);
    client->respondToPermission(100000, "claude-allow-once");
    client->cancel();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return held.unreadInput() > 0; })) << "it is on its way";
    EXPECT_THAT(events, ElementsAre("permission 100000"));
    held.release();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(receivedAfterInitialize().at(0).at("message").at("content").as_string(), text);
}

TEST_F(ClaudeClientEdgesTest, APromptThatWasWrittenInPartOnlyFailsWithTheStop)
{
    openSession(opened());
    const int child = runtime.processID("claude");
    HeldChild held(child);
    prompt(std::string(moreThanAPipeHolds, 'x'));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return held.unreadInput() > 0; }));
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code stopped."));
    held.release();
    ASSERT_TRUE(waitForEndOf(child));
    mainThread.drain();
    EXPECT_EQ(events.size(), 1U) << report();
    EXPECT_THAT(receivedAfterInitialize(), IsEmpty());
}

} // namespace

} // namespace tessarin::testing
