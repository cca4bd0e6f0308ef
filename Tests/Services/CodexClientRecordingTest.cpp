#include "CodexClientFixture.h"
#include "Recording.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

// Conversations with Codex 0.169.0.
class CodexClientRecordingTest : public CodexClientTest
{
protected:
    void play(const std::string& name, GrokPermissionMode mode = GrokPermissionMode::ask)
    {
        m_recording.emplace("codex-" + name, runtime);
        runtime.script("codex", m_recording->scenario());
        make(configuration(mode));
        start(m_recording->storedSession());
        ASSERT_TRUE(waitUntil(mainThread, [&] { return count("started") + count("replayed") == 1; })) << report();
        prompt(m_recording->prompt());
    }
    void expectWhatWasWritten()
    {
        const auto& written = m_recording->written();
        ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.received("codex").size() >= written.size(); }));
        EXPECT_EQ(runtime.received("codex"), written);
    }
    // The texts of the updates of that kind, one behind the other.
    [[nodiscard]] std::string textOf(std::string_view kind) const
    {
        std::string text;
        for (const Json& update : updates) {
            if (update.at("sessionUpdate").as_string() == kind)
                text += std::string_view(update.at("content").at("text").as_string());
        }
        return text;
    }

    // The states of the tools, in order.
    [[nodiscard]] std::vector<std::string> toolStates() const
    {
        std::vector<std::string> states;
        for (const Json& update : updates) {
            if (const auto status = textAt(update.as_object(), "status"))
                states.emplace_back(*status);
        }
        return states;
    }

    std::optional<Recording> m_recording;
};

TEST_F(CodexClientRecordingTest, APlainTurn)
{
    play("a-plain-turn");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textOf("agent_message_chunk"), "Hello from the fake model. The answer is 42.");
    EXPECT_EQ(updates.size(), 4U) << "a streamed message comes once";
    ASSERT_EQ(usages.size(), 1U) << "as it was announced; it cannot be read without a sign-in";
    EXPECT_EQ(
        usages.front(), (ProviderUsage{ AgentProvider::codex, 42.0, 7.0, Instant::fromSecondsSince1970(1795203068), std::nullopt, false }));
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, ATurnWithReasoning)
{
    play("a-turn-with-reasoning");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textOf("agent_thought_chunk"), "I should think about the probe first.");
    EXPECT_EQ(textOf("agent_message_chunk"), "Thought it through: 42.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AFileThatIsEditedUnasked)
{
    play("an-edited-file");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_TRUE(permissions.empty()) << "inside the project";
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "completed"));
    EXPECT_EQ(textOf("agent_message_chunk"), "Editing a file. Tool finished. The probe is over.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AFileOutsideOfTheProjectIsAskedFor)
{
    play("an-edit-outside-of-the-project");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    EXPECT_EQ(permissions.front().title, "Edit files");
    EXPECT_THAT(compactJson(updates.back()), ::testing::HasSubstr("edit-outside.txt")) << "told before it is asked for";
    client->respondToPermission(permissions.front().id, "codex-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "completed"));
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, ACommandThatAReviewerAllowsIsNotAskedFor)
{
    play("a-command-that-a-reviewer-allows", GrokPermissionMode::auto_);
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "completed"));
    EXPECT_TRUE(permissions.empty());
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, ACommandThatAReviewerRefusesHasFailed)
{
    play("a-command-that-a-reviewer-refuses", GrokPermissionMode::auto_);
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "failed"));
    EXPECT_TRUE(permissions.empty());
    EXPECT_EQ(textOf("agent_message_chunk"), "Running a command. Tool finished. The probe is over.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, WithoutASignInATurnFailsOnceHoweverOftenItIsRepeated)
{
    play("a-turn-without-a-sign-in");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(count("turnFailed"), 1);
    EXPECT_THAT(
        eventsBut("log").back(), ::testing::StartsWith("turnFailed unexpected status 401 Unauthorized: Incorrect API key provided"));
    EXPECT_FALSE(errors.back().isUsageLimitFailure());
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, ASpentAllowance)
{
    play("a-spent-allowance");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(eventsBut("log").back(), ::testing::StartsWith("turnFailed You’ve hit your usage limit."));
    EXPECT_TRUE(errors.back().isUsageLimitFailure());
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AResumedThread)
{
    play("a-resumed-thread");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(eventsBut("log").front(), "replayed 01a1fa3a-9550-7092-b8d0-60a4c48c348e");
    EXPECT_EQ(textOf("agent_message_chunk"), "Thought it through: 42.");
    EXPECT_FALSE(textOf("agent_thought_chunk").empty());
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AThreadThatIsGone)
{
    play("a-thread-that-is-gone");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(eventsBut("log").front(), "started 01a1fe28-ced8-7441-b15a-de1749a1b32d");
    EXPECT_EQ(textOf("agent_message_chunk"), "Hello from the fake model. The answer is 42.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, TwoPromptsInOneTurn)
{
    play("two-prompts-in-one-turn");
    prompt(m_recording->prompt());
    ASSERT_TRUE(waitForEvent("turn", 2)) << report();
    EXPECT_EQ(textOf("agent_message_chunk"), "Hello from the fake model. The answer is 42.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AnInterruptedTurn)
{
    play("an-interrupted-turn");
    ASSERT_TRUE(waitForEvent("update")) << report();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(eventsBut("log").back(), "turnFailed Codex turn interrupted.");
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, ADeniedCommand)
{
    play("a-denied-command");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->respondToPermission(permissions.front().id, "codex-reject");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "failed"));
    expectWhatWasWritten();
}

TEST_F(CodexClientRecordingTest, AnApprovedCommand)
{
    play("an-approved-command");
    ASSERT_TRUE(waitForEvent("permission")) << report();
    EXPECT_EQ(permissions.front().title, "Run command");
    EXPECT_EQ(permissions.front().detail,
        "/bin/bash -lc 'echo probe-shell > shell-made.txt && cat shell-made.txt'\n\nProbe: may I run this outside the sandbox?");
    client->respondToPermission(permissions.front().id, "codex-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textOf("agent_message_chunk"), "Running a command. Tool finished. The probe is over.");
    EXPECT_THAT(toolStates(), ElementsAre("in_progress", "completed"));
    expectWhatWasWritten();
}

} // namespace

} // namespace tessarin::testing
