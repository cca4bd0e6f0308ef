#include "ClaudeClientFixture.h"

#include <fstream>
#include <iterator>

namespace tessarin::testing
{

namespace
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// What the real program said, played back. The session is resumed under the id that the recorded one had; the script goes on only when
// the client writes what was written then.
class ClaudeClientConversationTest : public ClaudeClientTest
{
protected:
    void play(const std::string& name)
    {
        std::ifstream file(std::string(RECORDED_CONVERSATIONS) + "/" + name + ".json");
        ASSERT_TRUE(file.is_open()) << name;
        const Json conversation = parsed(std::string(std::istreambuf_iterator<char>(file), {}));
        Scenario scenario;
        for (const Json& step : conversation.at("steps").as_array()) {
            scenario.step(compactJson(step));
            const JsonObject* expected = objectAt(step.as_object(), "expect");
            if (expected && textAt(*expected, "type") == "user") {
                m_sessionID = expected->at("session_id").as_string();
                m_prompt = expected->at("message").at("content").as_string();
            }
        }
        runtime.script("claude", scenario);
        make(configuration());
        client->onUsageUpdate = [this](const ProviderUsage& usage) { usages.push_back(usage); };
        start(m_sessionID);
        ASSERT_TRUE(waitForEvent("resumed")) << report();
        events.clear();
        client->sendPrompt(m_prompt, [this](const Result<JsonObject, AgentError>& result) {
            events.emplace_back(result ? "turn" : "turnFailed " + result.error().description());
            outcome = result;
        });
    }

    std::optional<Result<JsonObject, AgentError>> outcome;
    std::vector<ProviderUsage> usages;

private:
    std::string m_sessionID;
    std::string m_prompt;
};

TEST_F(ClaudeClientConversationTest, APlainTurn)
{
    play("claude-plain");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre("text 1 Hello", "text 1  from the", "text 1  fake model.", "text 1  The answer is 42.", "turn"));
    EXPECT_EQ(textAt(outcome->value(), "result"), "Hello from the fake model. The answer is 42.");
}

TEST_F(ClaudeClientConversationTest, ACommandThatIsAllowed)
{
    play("claude-shell-allowed");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    EXPECT_EQ(permissions.at(0).title, "Bash");
    EXPECT_EQ(permissions.at(0).detail,
        "{\n  \"command\" : \"echo probe-shell > shell-made.txt && cat shell-made.txt\",\n  \"description\" : \"Write a probe file\"\n}");
    client->respondToPermission(permissions.at(0).id, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events,
        ElementsAre("text 1 Running a command. ", AllOf(StartsWith("tool "), HasSubstr(R"("rawInput":{}})")),
            AllOf(StartsWith("tool "), HasSubstr(R"("command":"echo probe-shell > shell-made.txt)")), "permission 100000", "text 1 Tool ",
            "text 1 finished. ", "text 1 The probe ", "text 1 is over.", "turn"));
}

TEST_F(ClaudeClientConversationTest, ATurnThatIsCalledOffFailsInTheProgramsWords)
{
    play("claude-cancelled");
    ASSERT_TRUE(waitForEvent("text", 12)) << report();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(events.size(), 13U) << report();
    EXPECT_EQ(events.back(), "turnFailed [ede_diagnostic] result_type=user last_content_type=n/a stop_reason=null");
    EXPECT_FALSE(outcome->error().isUsageLimitFailure());
}

TEST_F(ClaudeClientConversationTest, AnAllowanceThatIsUsedUp)
{
    play("claude-limit-reached");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(events,
        ElementsAre("text 1 You've hit your 5-hour limit \xC2\xB7 resets 7:32pm (UTC)",
            "turnFailed You've hit your 5-hour limit \xC2\xB7 resets 7:32pm (UTC)"));
    EXPECT_TRUE(outcome->error().isUsageLimitFailure());
    ASSERT_EQ(usages.size(), 1U);
    EXPECT_TRUE(usages[0].exhausted);
    EXPECT_EQ(usages[0].primaryUsedPercent, 100.0);
    EXPECT_EQ(usages[0].resetsAt, Instant::fromSecondsSince1970(1795203145));
    EXPECT_EQ(usages[0].planType, "five_hour");
}

} // namespace

} // namespace tessarin::testing
