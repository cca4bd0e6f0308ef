#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = ConnectionState::Kind;

// Codex as far as its first prompt. Its allowance is as `rateLimits` says, whenever it is asked.
Scenario codexPrompted(std::string_view threadId = "thread-x", std::string_view rateLimits = R"({"primary":{"usedPercent":12.5}})")
{
    Scenario scenario;
    scenario.always("account/rateLimits/read", R"({"rateLimits":)" + std::string(rateLimits) + "}");
    scenario.expect("initialize").reply().expect("thread/start");
    scenario.step(R"({"reply":{"thread":{"id":")" + std::string(threadId) + R"("}}})");
    return scenario.expect("turn/start").reply(R"({"turn":{"id":"turn-1"}})");
}

Scenario& codexText(Scenario& scenario, std::string_view text)
{
    const std::string item = R"("itemId":"item-)" + std::string(text) + "\"";
    return scenario.send(R"({"method":"item/agentMessage/delta","params":{)" + item + R"(,"delta":")" + std::string(text) + R"("}})");
}

Scenario codexTurn(std::string_view text)
{
    Scenario scenario = codexPrompted();
    return codexText(scenario, text).send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"completed"}}})");
}

// Claude Code as far as its first prompt.
Scenario claudePrompted()
{
    Scenario scenario;
    return scenario.expect("control_request/initialize").reply().expect("user");
}

constexpr const char* claudeSuccess = R"({"type":"result","subtype":"success","is_error":false})";

Scenario& claudeText(Scenario& scenario, std::string_view text)
{
    return scenario.send(R"({"type":"assistant","message":{"content":[{"type":"text","text":")" + std::string(text) + R"("}]}})");
}

// The briefing that a task in a folder without Git and without a plan takes along.
std::string capsule(std::string_view from, std::string_view to, const std::string& conversation, const std::string& folder)
{
    return "Continue this coding task after an automatic provider handoff from " + std::string(from) + " to " + std::string(to)
        + ".\n\nDo not restart completed work. Inspect the current working tree because its files are the source of truth. Preserve the "
          "user's approval mode and ask for approval when your runtime requires it.\n\n"
          "ORIGINAL USER REQUEST\nFix the basket\n\n"
          "ACTIVE PLAN\nNo active plan was reported.\n\n"
          "RECENT VISIBLE CONVERSATION\n"
        + conversation + "\n\nWORKSPACE\n" + folder
        + "\n\nREPOSITORY SNAPSHOT\nNo Git snapshot is available; inspect the workspace directly.";
}

// One model before runtimes of three protocols.
class AppModelProtocolsTest : public AppModelTest
{
protected:
    [[nodiscard]] std::vector<std::string> codexPrompts(int start = 1) const
    {
        std::vector<std::string> result;
        for (const Json& input : parameters("codex", "turn/start", "input", start)) {
            result.emplace_back(input.at_pointer("/0/text").as_string());
        }
        return result;
    }

    [[nodiscard]] std::vector<std::string> claudePrompts(int start = 1) const
    {
        std::vector<std::string> result;
        for (const Json& message : runtime.received("claude", start)) {
            if (message.at("type") == "user") {
                result.emplace_back(message.at_pointer("/message/content").as_string());
            }
        }
        return result;
    }

    [[nodiscard]] ProviderUsage usage(AgentProvider provider) const
    {
        const auto found = model->providerUsage().find(provider);
        return found == model->providerUsage().end() ? ProviderUsage{} : found->second;
    }

    void writeLimitsOfAll()
    {
        const auto scenario = [](std::string_view session, std::string_view text, std::string_view failure) {
            Scenario result;
            result.always("session/set_config_option").handshake(session).expect("session/prompt").chunk(text);
            return result.replyError(failure);
        };
        runtime.script("grok", scenario("session-g", "g", "Usage limit reached for this week"));
        runtime.script("kimi", scenario("session-k", "k", "You have reached your allowance"));
        runtime.script("opencode", scenario("session-o", "o", "Quota used up"));
        Scenario codex = codexPrompted("thread-x", R"({"primary":{"usedPercent":100},"planType":"plus"})");
        codexText(codex, "x");
        codex.send(R"({"method":"error","params":{"turnId":"turn-1","willRetry":false,
            "error":{"message":"Come back on Monday.","codexErrorInfo":"usageLimitExceeded"}}})");
        codex.send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"failed"}}})");
        runtime.script("codex", codex);
        Scenario claude = claudePrompted();
        claude.send(R"({"type":"rate_limit_event","rate_limit_info":{"status":"rejected","utilization":1,"resets_at":978312200}})");
        claudeText(claude, "c");
        claude.send(R"({"type":"result","subtype":"success","is_error":true,"api_error_status":429,"result":"Wait until five."})");
        runtime.script("claude", claude);
    }
};

TEST_F(AppModelProtocolsTest, OnePromptGoesThroughAllFiveRuntimesAndEndsWithThePlainFailure)
{
    writeLimitsOfAll();
    openProject({ "grok", "codex", "kimi", "opencode", "claude" });
    model->send("Fix the basket");
    waitFor(State::failed);

    const std::vector<std::string> lines{ "Grok allowance reached. Automatically handed this task to Codex.",
        "Codex allowance reached. Automatically handed this task to Kimi.",
        "Kimi allowance reached. Automatically handed this task to GLM.",
        "GLM allowance reached. Automatically handed this task to Claude." };
    EXPECT_THAT(texts(),
        ElementsAre(
            "Fix the basket", "g", lines[0], "x", lines[1], "k", lines[2], "o", lines[3], "c", "Error from Claude: Wait until five."));
    EXPECT_EQ(model->connectionState(), ConnectionState::failed("Wait until five."));
    EXPECT_EQ(task().lastProvider, AgentProvider::claude);

    // Each step's briefing holds what was visible before its own line.
    std::string seen = "USER: Fix the basket\n\nASSISTANT [Grok]: g";
    EXPECT_THAT(prompts("grok"), ElementsAre("Fix the basket"));
    EXPECT_THAT(codexPrompts(), ElementsAre(capsule("Grok", "Codex", seen, runtime.workspace())));
    seen += "\n\nSYSTEM: " + lines[0] + "\n\nASSISTANT [Codex]: x";
    EXPECT_THAT(prompts("kimi"), ElementsAre(capsule("Codex", "Kimi", seen, runtime.workspace())));
    seen += "\n\nSYSTEM: " + lines[1] + "\n\nASSISTANT [Kimi]: k";
    EXPECT_THAT(prompts("opencode"), ElementsAre(capsule("Kimi", "GLM", seen, runtime.workspace())));
    seen += "\n\nSYSTEM: " + lines[2] + "\n\nASSISTANT [GLM]: o";
    EXPECT_THAT(claudePrompts(), ElementsAre(capsule("GLM", "Claude", seen, runtime.workspace())));

    for (const AgentProvider provider : allAgentProviders) {
        EXPECT_TRUE(usage(provider).exhausted) << shortLabel(provider);
    }
    EXPECT_EQ(usage(AgentProvider::claude).resetsAt, Instant{ 5000 });
    EXPECT_EQ(usage(AgentProvider::claude).primaryUsedPercent, 100);
    for (const char* program : { "grok", "codex", "kimi", "opencode", "claude" }) {
        EXPECT_FALSE(runtime.hasStarted(program, 2)) << program;
    }
    for (const char* program : { "grok", "codex", "kimi", "opencode" }) {
        waitForStop(program);
    }
    EXPECT_EQ(task().sessionID(AgentProvider::codex), "thread-x");
    EXPECT_NE(task().sessionID(AgentProvider::claude), std::nullopt);
}

TEST_F(AppModelProtocolsTest, APinnedRuntimeKeepsTheTaskAlsoAtItsLimit)
{
    writeLimitsOfAll();
    for (const auto& [mode, program, text] : { std::tuple(ProviderRoutingMode::codex, "codex", "Error from Codex: Come back on Monday."),
             std::tuple(ProviderRoutingMode::claude, "claude", "Error from Claude: Wait until five.") }) {
        openProject({ "grok", program });
        model->setRoutingMode(mode);
        model->send("Fix the basket");
        waitFor(State::failed);
        EXPECT_EQ(texts().back(), text);
        EXPECT_FALSE(runtime.hasStarted("grok"));
        uninstall("grok");
        uninstall(program);
    }
}

TEST_F(AppModelProtocolsTest, AReportOfAnExhaustedAllowanceMovesNothingBeforeTheNextTurn)
{
    Scenario codex = codexPrompted("thread-x", R"({"primary":{"usedPercent":100,"resetsAt":978312200}})");
    codex.send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"completed"}}})");
    runtime.script("codex", codex);
    runtime.script("kimi", oneTurn("From Kimi"));
    openProject({ "codex", "kimi" });
    runTurn("Hi");
    waitUntil([&] { return usage(AgentProvider::codex).exhausted; });
    EXPECT_EQ(model->activeProvider(), AgentProvider::codex);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    EXPECT_FALSE(runtime.hasStarted("kimi"));
    runTurn("More");
    EXPECT_THAT(texts(), ElementsAre("Hi", "More", "Switched this task from Codex to Kimi with visible context attached.", "From Kimi"));
}

TEST_F(AppModelProtocolsTest, AnExhaustedAllowanceCountsAgainWhenItsResetTimeHasPassed)
{
    Scenario claude = claudePrompted();
    claude.send(R"({"type":"rate_limit_event","rate_limit_info":{"status":"rejected","resets_at":978312200}})").send(claudeSuccess);
    runtime.script("claude", 1, claude);
    Scenario renewed = claudePrompted();
    runtime.script("claude", 2, claudeText(renewed, "Renewed").send(claudeSuccess));
    openProject({ "claude" });
    runTurn("Hi");
    EXPECT_TRUE(usage(AgentProvider::claude).exhausted);
    model->send("Too early");
    waitFor(State::failed);
    EXPECT_FALSE(runtime.hasStarted("claude", 2));
    clock = Instant{ 5000 };
    runTurn("Now");
    EXPECT_THAT(texts(), ElementsAre("Hi", "Too early", "Now", "Renewed"));
    EXPECT_THAT(model->providerUsage(), IsEmpty());
}

TEST_F(AppModelProtocolsTest, ATaskGoesBackToTheCodexThreadItHad)
{
    runtime.script("codex", 1, codexTurn("First"));
    Scenario resumed;
    resumed.always("account/rateLimits/read").expect("initialize").reply().expect("thread/resume").reply(R"({"thread":{"id":"thread-x"}})");
    resumed.expect("turn/start").reply(R"({"turn":{"id":"turn-2"}})");
    codexText(resumed, "Second").send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-2","status":"completed"}}})");
    runtime.script("codex", 2, resumed);
    openProject({ "codex" });
    runTurn("Hi");
    openModel();
    runTurn("More");
    EXPECT_THAT(parameters("codex", "thread/resume", "threadId", 2), ElementsAre(Json("thread-x")));
    EXPECT_THAT(texts(), ElementsAre("Hi", "First", "More", "Second"));
    EXPECT_EQ(model->entries().back().provider, AgentProvider::codex);
}

TEST_F(AppModelProtocolsTest, AThreadThatCodexPutsInThePlaceOfTheStoredOneIsStored)
{
    runtime.script("codex", 1, codexTurn("First"));
    Scenario replaced;
    replaced.always("account/rateLimits/read").expect("initialize").reply().expect("thread/resume").replyError("no rollout found");
    replaced.expect("thread/start").reply(R"({"thread":{"id":"thread-y"}})");
    replaced.expect("turn/start").reply(R"({"turn":{"id":"turn-2"}})");
    codexText(replaced, "Second").send(R"({"method":"turn/completed","params":{"turn":{"id":"turn-2","status":"completed"}}})");
    runtime.script("codex", 2, replaced);
    openProject({ "codex" });
    runTurn("Hi");
    EXPECT_EQ(task().sessionID(AgentProvider::codex), "thread-x");
    openModel();
    runTurn("More");
    EXPECT_THAT(texts(), ElementsAre("Hi", "First", "More", "Second"));
    openModel();
    EXPECT_EQ(task().sessionID(AgentProvider::codex), "thread-y");
}

TEST_F(AppModelProtocolsTest, ClaudeCodeResumesTheIdThatItWasGivenAlthoughItChangedItsOwn)
{
    Scenario first = claudePrompted();
    first.send(R"({"type":"system","subtype":"init","session_id":"changed"})");
    runtime.script("claude", 1, claudeText(first, "First").send(claudeSuccess));
    Scenario second = claudePrompted();
    runtime.script("claude", 2, claudeText(second, "Second").send(claudeSuccess));
    openProject({ "claude" });
    runTurn("Hi");
    const std::optional<std::string> given = task().sessionID(AgentProvider::claude);
    ASSERT_TRUE(given);
    EXPECT_NE(given, "changed");
    openModel();
    runTurn("More");
    EXPECT_THAT(runtime.startOf("claude", 2).at("argv").as_array(), Contains(Json("--resume=" + *given)));
    EXPECT_THAT(texts(), ElementsAre("Hi", "First", "More", "Second"));
    EXPECT_EQ(task().sessionID(AgentProvider::claude), given);
}

TEST_F(AppModelProtocolsTest, NeitherCodexNorClaudeCodeGetsAKeyThatBillsByUse)
{
    const std::vector<std::string> codexKeys{ "OPENAI_API_KEY", "CODEX_API_KEY" };
    const std::vector<std::string> claudeKeys{ "ANTHROPIC_API_KEY", "ANTHROPIC_AUTH_TOKEN", "ANTHROPIC_BASE_URL", "CLAUDE_CODE_USE_BEDROCK",
        "CLAUDE_CODE_USE_VERTEX", "CLAUDE_CODE_USE_FOUNDRY", "CLAUDECODE" };
    for (const auto* keys : { &codexKeys, &claudeKeys }) {
        for (const std::string& key : *keys) {
            addedEnvironment[key] = "of this process";
        }
    }
    addedEnvironment["PROJECT_TOKEN"] = "of this process";
    runtime.script("codex", codexTurn("Done"));
    Scenario claude = claudePrompted();
    runtime.script("claude", claude.send(claudeSuccess));
    for (const auto& [mode, program, keys] :
        { std::tuple(ProviderRoutingMode::codex, "codex", &codexKeys), std::tuple(ProviderRoutingMode::claude, "claude", &claudeKeys) }) {
        openProject({ program });
        model->setRoutingMode(mode);
        runTurn("Hi");
        const JsonObject environment = runtime.startOf(program).at("environment").as_object();
        ASSERT_TRUE(environment.contains("PROJECT_TOKEN")) << program << " gets what does no harm";
        EXPECT_EQ(environment.at("PROJECT_TOKEN"), "of this process");
        for (const std::string& key : *keys) {
            EXPECT_FALSE(environment.contains(key)) << program << " gets " << key;
        }
    }
}

TEST_F(AppModelProtocolsTest, CodexIsStartedInTheProjectWithTheApprovalModeOfTheMoment)
{
    runtime.script("codex", codexTurn("Done"));
    openProject({ "codex" });
    model->setPermissionMode(GrokPermissionMode::auto_);
    runTurn("Hi");
    EXPECT_EQ(runtime.startOf("codex").at("argv").at(1), Json("app-server"));
    EXPECT_EQ(runtime.startOf("codex").at("workingDirectory"), Json(runtime.workspace()));
    EXPECT_THAT(parameters("codex", "thread/start", "approvalsReviewer"), ElementsAre(Json("auto_review")));
    EXPECT_THAT(parameters("codex", "thread/start", "cwd"), ElementsAre(Json(runtime.workspace())));
}

TEST_F(AppModelProtocolsTest, ClaudeCodeIsStartedWithTheModelOfTheSettings)
{
    Scenario claude = claudePrompted();
    runtime.script("claude", claude.send(claudeSuccess));
    preferences.setText("claudeModel", "opus");
    openProject({ "claude" });
    runTurn("Hi");
    const JsonArray arguments = runtime.startOf("claude").at("argv").as_array();
    EXPECT_THAT(arguments, Contains(Json("opus")));
    EXPECT_THAT(arguments, Contains(Json("default"))); // the mode "ask"
    EXPECT_THAT(arguments, Contains(Json("--session-id=" + *task().sessionID(AgentProvider::claude))));
}

} // namespace
} // namespace tessarin::testing
