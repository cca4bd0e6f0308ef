#include "ClaudeClientFixture.h"
#include "Recording.h"

namespace tessarin::testing
{

namespace
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Conversations with Claude Code 2.1.329. The sessions are resumed under the ids that the recorded ones had: that of a new one is made up.
class ClaudeClientRecordingTest : public ClaudeClientTest
{
protected:
    void play(const std::string& name)
    {
        open(name, std::nullopt);
        ASSERT_TRUE(waitForEvent("resumed")) << report();
        events.clear();
        client->sendPrompt(m_recording->prompt(), [this](const Result<JsonObject, AgentError>& result) {
            events.emplace_back(result ? "turn" : "turnFailed " + result.error().description());
            outcome = result;
        });
    }
    // A session that the recording does not name is `other`.
    void open(const std::string& name, const std::optional<std::string>& other)
    {
        m_recording.emplace("claude-" + name, runtime);
        runtime.script("claude", m_recording->scenario());
        make(configuration());
        client->onUsageUpdate = [this](const ProviderUsage& usage) { usages.push_back(usage); };
        start(other ? other : m_recording->storedSession());
    }
    void expectWhatWasWritten()
    {
        const auto& written = m_recording->written();
        ASSERT_TRUE(waitForReceived(written.size()));
        EXPECT_EQ(runtime.received("claude"), written);
    }

    std::optional<Result<JsonObject, AgentError>> outcome;
    std::vector<ProviderUsage> usages;

    std::optional<Recording> m_recording;
};

TEST_F(ClaudeClientRecordingTest, APlainTurn)
{
    play("a-plain-turn");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events, ElementsAre("text 1 Hello", "text 1  from the", "text 1  fake model.", "text 1  The answer is 42.", "turn"));
    EXPECT_EQ(textAt(outcome->value(), "result"), "Hello from the fake model. The answer is 42.");
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ACommandThatIsAllowed)
{
    play("an-approved-command");
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
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ATurnWithReasoning)
{
    play("a-turn-with-reasoning");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(events,
        ElementsAre("thought 1 I should ", "thought 1 think about ", "thought 1 the probe first.", "text 1 Thought", "text 1  it through",
            "text 1 : 42.", "turn"));
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ASessionThatIsResumedTellsNothingOfBefore)
{
    play("a-resumed-session");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(count("tool") + count("replayStarted"), 0) << report();
    EXPECT_EQ(textAt(outcome->value(), "result"), "Thought it through: 42.");
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ACommandThatIsDenied)
{
    play("a-denied-command");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->respondToPermission(permissions.at(0).id, "claude-deny");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(permissions.size(), 1U);
    EXPECT_THAT(events,
        ElementsAre("text 1 Running a command. ", StartsWith("tool "), StartsWith("tool "), "permission 100000", "text 1 Tool ",
            "text 1 finished. ", "text 1 The probe ", "text 1 is over.", "turn"));
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, AFileThatIsEdited)
{
    play("an-edited-file");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    EXPECT_EQ(permissions.at(0).title, "Write");
    EXPECT_THAT(permissions.at(0).detail, HasSubstr(R"("content" : "probe edit line 1\nprobe edit line 2\n")"));
    EXPECT_THAT(permissions.at(0).detail, HasSubstr("edit-made.txt"));
    client->respondToPermission(permissions.at(0).id, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textAt(outcome->value(), "result"), "Tool finished. The probe is over.");
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ATurnThatIsCalledOffFailsInTheProgramsWords)
{
    play("an-interrupted-turn");
    ASSERT_TRUE(waitForEvent("text", 12)) << report();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(events.size(), 13U) << report();
    EXPECT_EQ(events.back(), "turnFailed [ede_diagnostic] result_type=user last_content_type=n/a stop_reason=null");
    EXPECT_FALSE(outcome->error().isUsageLimitFailure());
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, AnAllowanceThatIsUsedUp)
{
    play("a-spent-allowance");
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
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, ASessionThatIsGoneFailsTheStartInTheProgramsWords)
{
    open("a-session-that-is-gone", "9bda6658-a449-42ff-831d-37f90d27ca0b");
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ::testing::Contains("startFailed No conversation found with session ID: 9bda6658-a449-42ff-831d-37f90d27ca0b"));
    EXPECT_EQ(count("resumed"), 0);
    expectWhatWasWritten();
}

TEST_F(ClaudeClientRecordingTest, WithoutASignInATurnFailsInTheProgramsWords)
{
    play("a-turn-without-a-sign-in");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(events.back(), "turnFailed Not logged in \xC2\xB7 Please run /login");
    EXPECT_FALSE(outcome->error().isUsageLimitFailure());
    expectWhatWasWritten();
}

} // namespace

} // namespace tessarin::testing
