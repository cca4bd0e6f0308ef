#include "ACPClientFixture.h"
#include "Recording.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace tessarin::testing
{

namespace
{

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// How the programs differ in what they say to the same end.
struct Vendor {
    AgentProvider provider;
    const char* allow; // the option for this one time
    const char* reject;
    const char* commandTitle; // of the request to run a command
    const char* commandDetail; // a piece of what the person sees there
    const char* editTitle; // the end of that of the request to write a file
    const char* editDetail;
    std::vector<std::string> commandStates; // of the tool, where it has any
    bool runsCommandsItself;
};

void PrintTo(const Vendor& vendor, std::ostream* stream)
{
    *stream << rawText(vendor.provider);
}

const Vendor vendors[] = {
    { AgentProvider::grok, "allow-once", "reject-once", "Execute `echo probe-shell > shell-made.txt && cat shell-made.txt`",
        R"("command" : "echo probe-shell > shell-made.txt && cat shell-made.txt")", "/edit-made.txt`",
        R"("content" : "probe edit line 1\n)", { "completed" }, false },
    { AgentProvider::kimi, "approve_once", "reject", "Bash",
        "Kimi is requesting permission to continue.\n\nRequesting approval to Running: echo probe-shell > shell-made.txt && cat shell-mad",
        "Write", "Kimi is requesting permission to continue.\n\nRequesting approval to Writing ", { "pending", "in_progress", "completed" },
        false },
    { AgentProvider::glm, "once", "reject", "echo probe-shell > shell-made.txt && cat shell-made.txt",
        R"("command" : "echo probe-shell > shell-made.txt && cat shell-made.txt")", "/edit-made.txt", R"(+probe edit line 1\n)",
        { "pending", "in_progress", "in_progress", "in_progress", "completed" }, true },
};

// Conversations with Grok 1.0.41, Kimi 2.1.0 and OpenCode 1.18.33.
class ACPClientRecordingTest : public ACPClientTest
{
protected:
    void play(AgentProvider provider, const std::string& name)
    {
        open(provider, name);
        ASSERT_TRUE(waitUntil(mainThread, [&] { return count("started") + count("replayed") == 1; })) << report();
        prompt(m_recording->prompt());
    }
    void open(AgentProvider provider, const std::string& name)
    {
        program = programOf(provider);
        m_recording.emplace(program + "-" + name, runtime);
        runtime.script(program, m_recording->scenario());
        ACPClient::Configuration settings = configuration(provider);
        settings.permissionMode = mode;
        settings.processArguments = { "agent", "--permission-mode", "default", "stdio" };
        settings.terminalEnvironment = runtime.environment();
        if (provider == AgentProvider::glm)
            settings.model = "zai-coding-plan/glm-4.7";
        make(std::move(settings));
        start(m_recording->storedSession());
    }
    // Answers the one request for permission of the turn, and waits for the end of it.
    void answer(const std::string& option)
    {
        ASSERT_TRUE(waitForEvent("permission")) << report();
        EXPECT_EQ(permissions.front().id, 0) << "the first request of each of them";
        EXPECT_EQ(std::count_if(permissions.front().options.begin(), permissions.front().options.end(),
                      [&](const PermissionOption& offered) { return offered.id == option; }),
            1);
        client->respondToPermission(0, option);
        ASSERT_TRUE(waitForEvent("turn")) << report();
        EXPECT_EQ(permissions.size(), 1U);
    }
    void expectWhatWasWritten()
    {
        const auto& written = m_recording->written();
        ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.received(program).size() >= written.size(); })) << report();
        EXPECT_EQ(m_recording->writtenNow(runtime, program), written);
    }
    // The updates of those kinds, in order.
    [[nodiscard]] std::vector<JsonObject> updates(std::initializer_list<std::string_view> kinds) const
    {
        std::vector<JsonObject> result;
        for (const std::string& event : events) {
            if (kindOf(event) != "update")
                continue;
            const Json update = parsed(std::string_view(event).substr(std::string_view("update ").size()));
            const auto kind = textAt(update.as_object(), "sessionUpdate");
            if (std::find(kinds.begin(), kinds.end(), kind) != kinds.end())
                result.push_back(update.as_object());
        }
        return result;
    }
    [[nodiscard]] std::string textOf(std::string_view kind) const
    {
        std::string text;
        for (const JsonObject& update : updates({ kind }))
            text += *textAt(*objectAt(update, "content"), "text");
        return text;
    }
    [[nodiscard]] std::vector<std::string> toolStates() const
    {
        std::vector<std::string> states;
        for (const JsonObject& update : updates({ "tool_call", "tool_call_update" })) {
            if (const auto status = textAt(update, "status"))
                states.emplace_back(*status);
        }
        return states;
    }
    [[nodiscard]] std::optional<std::string> fileInProject(const std::string& name) const
    {
        std::ifstream file(runtime.workspace() + "/" + name);
        if (!file.is_open())
            return std::nullopt;
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    [[nodiscard]] std::vector<std::string> eventsBut(std::string_view kind) const
    {
        std::vector<std::string> others;
        std::copy_if(events.begin(), events.end(), std::back_inserter(others), [&](const auto& event) { return kindOf(event) != kind; });
        return others;
    }

    GrokPermissionMode mode = GrokPermissionMode::ask;
    std::optional<Recording> m_recording;
};

std::string vendorName(const ::testing::TestParamInfo<Vendor>& row)
{
    return std::string(rawText(row.param.provider));
}

std::string providerName(const ::testing::TestParamInfo<AgentProvider>& row)
{
    return std::string(rawText(row.param));
}

class ACPClientVendorTest : public ACPClientRecordingTest, public ::testing::WithParamInterface<Vendor>
{
};

INSTANTIATE_TEST_SUITE_P(Vendors, ACPClientVendorTest, ::testing::ValuesIn(vendors), vendorName);

TEST_P(ACPClientVendorTest, APlainTurn)
{
    play(GetParam().provider, "a-plain-turn");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(updates({ "agent_message_chunk" }).size(), 4U);
    EXPECT_EQ(textOf("agent_message_chunk"), "Hello from the fake model. The answer is 42.");
    EXPECT_EQ(count("permission"), 0);
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, ATurnWithReasoning)
{
    play(GetParam().provider, "a-turn-with-reasoning");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textOf("agent_thought_chunk"), "I should think about the probe first.");
    EXPECT_EQ(textOf("agent_message_chunk"), "Thought it through: 42.");
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, AnApprovedCommand)
{
    play(GetParam().provider, "an-approved-command");
    answer(GetParam().allow);
    EXPECT_EQ(permissions.front().title, GetParam().commandTitle);
    EXPECT_THAT(permissions.front().detail, HasSubstr(GetParam().commandDetail));
    EXPECT_EQ(textOf("agent_message_chunk"), "Running a command. Tool finished. The probe is over.");
    EXPECT_EQ(toolStates(), GetParam().commandStates);
    EXPECT_EQ(fileInProject("shell-made.txt"), GetParam().runsCommandsItself ? std::nullopt : std::optional<std::string>("probe-shell\n"));
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, ADeniedCommand)
{
    play(GetParam().provider, "a-denied-command");
    answer(GetParam().reject);
    EXPECT_EQ(toolStates().back(), "failed");
    EXPECT_EQ(fileInProject("shell-made.txt"), std::nullopt);
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, AnEditedFile)
{
    play(GetParam().provider, "an-edited-file");
    answer(GetParam().allow);
    EXPECT_THAT(permissions.front().title, EndsWith(GetParam().editTitle));
    EXPECT_THAT(permissions.front().detail, HasSubstr(GetParam().editDetail));
    EXPECT_EQ(toolStates().back(), "completed");
    EXPECT_EQ(fileInProject("edit-made.txt"), "probe edit line 1\nprobe edit line 2\n");
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, AnInterruptedTurn)
{
    play(GetParam().provider, "an-interrupted-turn");
    ASSERT_TRUE(waitUntil(mainThread, [&] { return updates({ "agent_message_chunk" }).size() >= 2; })) << report();
    client->cancel();
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(textOf("agent_message_chunk"), StartsWith("word0 word1 ")) << "OpenCode goes on for a moment";
    EXPECT_THAT(eventsBut("update").back(), AnyOf(HasSubstr(R"("stopReason":"cancelled")"), HasSubstr(R"("stopReason":"end_turn")")));
    expectWhatWasWritten();
}

TEST_P(ACPClientVendorTest, AResumedSession)
{
    play(GetParam().provider, "a-resumed-session");
    if (GetParam().provider == AgentProvider::kimi)
        answer(GetParam().allow);
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const auto place = [&](std::string_view event) { return std::find(events.begin(), events.end(), event) - events.begin(); };
    EXPECT_EQ(place("replayStarted"), 0);
    const auto replayed = place("replayed " + *m_recording->storedSession());
    const auto request = parsed(std::string_view(events.at(1)).substr(std::string_view("update ").size()));
    EXPECT_EQ(request.at("sessionUpdate"), "user_message_chunk");
    EXPECT_EQ(request.at("content").at("text"), "Please go on.");
    EXPECT_GT(replayed, 5) << "a request, an answer, a tool and its end, an answer";
    EXPECT_THAT(textOf("agent_message_chunk"), StartsWith("Running a command. Tool finished. The probe is over."));
    EXPECT_EQ(textOf("agent_thought_chunk"), GetParam().provider == AgentProvider::kimi ? "" : "I should think about the probe first.");
    expectWhatWasWritten();
}

class ACPClientGoneSessionTest : public ACPClientRecordingTest, public ::testing::WithParamInterface<AgentProvider>
{
};

INSTANTIATE_TEST_SUITE_P(
    Vendors, ACPClientGoneSessionTest, ::testing::Values(AgentProvider::grok, AgentProvider::kimi, AgentProvider::glm), providerName);

TEST_P(ACPClientGoneSessionTest, ASessionThatIsGone)
{
    play(GetParam(), "a-session-that-is-gone");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const auto told = eventsBut("log");
    EXPECT_EQ(told.at(0), "replayStarted");
    EXPECT_EQ(told.at(1), "replayFailed");
    EXPECT_EQ(count("started"), 1);
    EXPECT_EQ(textOf("agent_message_chunk"), "Hello from the fake model. The answer is 42.");
    expectWhatWasWritten();
}

class ACPClientSignedOutTest : public ACPClientRecordingTest, public ::testing::WithParamInterface<AgentProvider>
{
};

INSTANTIATE_TEST_SUITE_P(Vendors, ACPClientSignedOutTest, ::testing::Values(AgentProvider::grok, AgentProvider::kimi), providerName);

TEST_P(ACPClientSignedOutTest, NoSessionIsOpenedWithoutASignIn)
{
    open(GetParam(), "a-turn-without-a-sign-in");
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(eventsBut("log"), ElementsAre("startFailed Authentication required"));
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, OpenCodeTellsATurnAndNotBeforeThatNobodyIsSignedIn)
{
    play(AgentProvider::glm, "a-turn-without-a-sign-in");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(std::count(events.begin(), events.end(), "turnFailed Internal error: Incorrect API key provided"), 1) << report();
    EXPECT_EQ(textOf("agent_message_chunk"), "");
    expectWhatWasWritten();
}

// What Grok says when the mode stands where older versions want it; it goes on from there as in the other recordings.
TEST_F(ACPClientRecordingTest, GrokRefusesTheModeArgumentAndIsLaunchedAgain)
{
    const Recording refusal("grok-a-refused-argument", runtime);
    runtime.script("grok", 1, refusal.scenario());
    runtime.script("grok", 2, Scenario().handshake());
    ACPClient::Configuration settings = configuration();
    settings.processArguments = { "agent", "--permission-mode", "default", "stdio" };
    make(std::move(settings));
    start();
    ASSERT_TRUE(waitForEvent("started")) << report();
    const JsonArray arguments = runtime.startOf("grok", 2).at("argv").as_array();
    EXPECT_EQ(JsonArray(arguments.begin() + 1, arguments.end()), (JsonArray{ "--permission-mode", "default", "agent", "stdio" }));
    EXPECT_EQ(count("terminated") + count("startFailed"), 0);
}

TEST_F(ACPClientRecordingTest, InAutoGrokDecidesItselfWhetherACommandRuns)
{
    mode = GrokPermissionMode::auto_;
    play(AgentProvider::grok, "a-command-that-a-reviewer-allows");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(toolStates().back(), "completed");
    EXPECT_EQ(fileInProject("shell-made.txt"), "probe-shell\n");
    EXPECT_EQ(count("permission"), 0);
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, InAutoACommandThatGrokRefusesHasFailed)
{
    mode = GrokPermissionMode::auto_;
    play(AgentProvider::grok, "a-command-that-a-reviewer-refuses");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(toolStates().back(), "failed");
    EXPECT_EQ(fileInProject("shell-made.txt"), std::nullopt);
    EXPECT_EQ(count("permission"), 0);
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, ASpentAllowanceOfGrokFailsTheTurnInWordsThatAreKnown)
{
    play(AgentProvider::grok, "a-spent-allowance");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(eventsBut("log").back(), "turnFailed Rate limited");
    EXPECT_TRUE(AgentError(ACPClientError{ ACPClientError::Kind::invalidResponse, "Rate limited" }).isUsageLimitFailure());
    EXPECT_TRUE(waitUntil(mainThread, [&] { return log.find("429 Too Many Requests") != std::string::npos; })) << log;
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, ASpentAllowanceOfKimiIsATurnWithoutAText)
{
    play(AgentProvider::kimi, "a-spent-allowance");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_EQ(textOf("agent_message_chunk"), "");
    EXPECT_EQ(count("turnFailed"), 0);
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, APlanOfKimi)
{
    play(AgentProvider::kimi, "a-plan");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const auto plans = updates({ "plan" });
    ASSERT_EQ(plans.size(), 1U);
    EXPECT_EQ(plans.front().at("entries"), parsed(R"([{"content":"Read the code","priority":"medium","status":"completed"},
                   {"content":"Write the fix","priority":"medium","status":"in_progress"},
                   {"content":"Run the tests","priority":"medium","status":"pending"}])"));
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, APlanOfGrok)
{
    play(AgentProvider::grok, "a-plan");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const auto plans = updates({ "plan" });
    ASSERT_EQ(plans.size(), 2U) << "as the model told it, and with what Grok takes for done at the end";
    EXPECT_EQ(plans.front().at("entries"), parsed(R"([{"content":"Read the code","priority":"medium","status":"completed"},
                   {"content":"Write the fix","priority":"medium","status":"in_progress"},
                   {"content":"Run the tests","priority":"medium","status":"pending"}])"));
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, APlanOfOpenCodeIsATool)
{
    play(AgentProvider::glm, "a-plan");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_TRUE(updates({ "plan" }).empty());
    EXPECT_EQ(textAt(updates({ "tool_call" }).front(), "title"), "todowrite");
    EXPECT_EQ(textAt(updates({ "tool_call_update" }).back(), "status"), "completed");
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, ASpentAllowanceOfOpenCodeFailsTheTurnInWordsThatAreKnown)
{
    play(AgentProvider::glm, "a-spent-allowance");
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    const auto failure = std::find_if(events.begin(), events.end(), [](const auto& event) { return kindOf(event) == "turnFailed"; });
    EXPECT_THAT(*failure, HasSubstr("Usage limit reached for 5 hour."));
    EXPECT_TRUE(AgentError(ACPClientError{ ACPClientError::Kind::invalidResponse, *failure }).isUsageLimitFailure());
    expectWhatWasWritten();
}

TEST_F(ACPClientRecordingTest, AnImageThatGrokHasGenerated)
{
    play(AgentProvider::grok, "a-generated-image");
    answer("allow-once");
    const auto ends = updates({ "tool_call_update" });
    EXPECT_THAT(compactJson(ends.back()), HasSubstr("/images/1.jpg")) << "the whole update is passed on";
    EXPECT_EQ(textAt(ends.back(), "status"), "completed");
    expectWhatWasWritten();
}

} // namespace

} // namespace tessarin::testing
