#include "CodexClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::StartsWith;

class CodexClientStartTest : public CodexClientTest
{
protected:
    // Whether the child goes on listening.
    [[nodiscard]] bool isChildRunning() const { return kill(runtime.processID("codex"), 0) == 0; }
    // The kind in the last failure, by what only that kind does.
    void startWith(const Scenario& scenario, std::optional<std::string> stored = std::nullopt)
    {
        runtime.script("codex", scenario);
        make(configuration());
        start(std::move(stored));
    }
};

Scenario initializedOnly()
{
    Scenario scenario;
    return scenario.withoutVersion().expect("initialize").reply();
}

TEST_F(CodexClientStartTest, TheChildIsLaunchedAsAnAppServerInTheWorkspaceWithItsEnvironmentAlone)
{
    openThread(codexThread());
    const JsonObject started = runtime.startOf("codex");
    ASSERT_EQ(started.at("argv").as_array().size(), 2U);
    EXPECT_EQ(started.at("argv").at(1), "app-server");
    EXPECT_EQ(started.at("workingDirectory").as_string(), runtime.workspace());
    EXPECT_EQ(started.at("environment").as_object().size(), runtime.environment().size());
    EXPECT_EQ(client->provider(), AgentProvider::codex);
}

class CodexClientStartModeTest : public CodexClientStartTest, public ::testing::WithParamInterface<CodexModeRow>
{
};

TEST_P(CodexClientStartModeTest, TheMessagesOfAStartGoOutInThisOrderWithTheWordsOfTheMode)
{
    openThread(codexThread(), GetParam().mode);
    const Json threadParams{ { "cwd", runtime.workspace() }, { "approvalPolicy", GetParam().approvalPolicy },
        { "approvalsReviewer", GetParam().approvalsReviewer }, { "sandbox", GetParam().sandbox } };
    EXPECT_THAT(runtime.received("codex"),
        ElementsAre(parsed(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"clientInfo":{"name":"tessarin","title":"tessarin",)"
                           R"("version":")" TESSARIN_VERSION R"("},"capabilities":{"experimentalApi":true}}})"),
            parsed(R"({"jsonrpc":"2.0","method":"initialized"})"),
            parsed(R"({"jsonrpc":"2.0","id":2,"method":"account/rateLimits/read","params":{}})"),
            Json{ { "jsonrpc", "2.0" }, { "id", 3 }, { "method", "thread/start" }, { "params", threadParams } }));
    EXPECT_THAT(events, ElementsAre("started thread-1"));
}

TEST_P(CodexClientStartModeTest, AStoredThreadIsResumedWithTheWordsOfTheMode)
{
    runtime.script("codex", initializedOnly().expect("thread/resume").reply(R"({"thread":{"id":"thread-7"}})"));
    make(configuration(GetParam().mode));
    start("thread-7");
    ASSERT_TRUE(waitForEvent("replayed")) << report();
    const Json threadParams{ { "threadId", "thread-7" }, { "cwd", runtime.workspace() }, { "approvalPolicy", GetParam().approvalPolicy },
        { "approvalsReviewer", GetParam().approvalsReviewer }, { "sandbox", GetParam().sandbox } };
    EXPECT_EQ(runtime.received("codex").back(),
        (Json{ { "jsonrpc", "2.0" }, { "id", 3 }, { "method", "thread/resume" }, { "params", threadParams } }));
    EXPECT_THAT(events, ElementsAre("replayed thread-7")) << "a resumed thread does not come as a replay";
    EXPECT_TRUE(runtime.received("codex", "thread/start").empty());
}

INSTANTIATE_TEST_SUITE_P(Modes, CodexClientStartModeTest, codexModeRows, codexModeName);

TEST_F(CodexClientStartTest, AThreadThatCannotBeResumedIsReplacedWithoutAWord)
{
    startWith(initializedOnly()
                  .expect("thread/resume")
                  .replyError("no rollout found for thread id thread-7")
                  .expect("thread/start")
                  .reply(R"({"thread":{"id":"thread-8"}})"),
        "thread-7");
    ASSERT_TRUE(waitForEvent("started")) << report();
    EXPECT_THAT(events, ElementsAre("started thread-8"));
    EXPECT_EQ(runtime.received("codex", "thread/start").front().at("params").as_object().if_contains("threadId"), nullptr);
}

TEST_F(CodexClientStartTest, AnyFailureOfAResumeLeadsToANewThread)
{
    for (const char* message : { "unauthorized", "You have hit your usage limit", "" }) {
        events.clear();
        startWith(initializedOnly().expect("thread/resume").replyError(message).expect("thread/start").reply(R"({"thread":{"id":"new"}})"),
            "thread-7");
        ASSERT_TRUE(waitForEvent("started")) << report();
        EXPECT_THAT(events, ElementsAre("started new"));
        client->stop();
    }
}

TEST_F(CodexClientStartTest, TheFailureOfTheNewThreadAfterARefusedResumeIsTold)
{
    startWith(initializedOnly().expect("thread/resume").replyError("gone").expect("thread/start").replyError("Please run codex login"),
        "thread-7");
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed Please run codex login"));
}

TEST_F(CodexClientStartTest, AResumedThreadWithoutAnIdFailsTheStartAndIsNotReplaced)
{
    startWith(initializedOnly().expect("thread/resume").reply(R"({"thread":{}})"), "thread-7");
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed Codex did not return a thread ID."));
    EXPECT_TRUE(runtime.received("codex", "thread/start").empty());
}

class CodexClientThreadIdTest : public CodexClientStartTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(CodexClientThreadIdTest, IsMissedAndTheChildGoesOn)
{
    startWith(initializedOnly().expect("thread/start").reply(GetParam()));
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Codex did not return a thread ID."));
    EXPECT_FALSE(errors.front().isUsageLimitFailure());
    EXPECT_TRUE(isChildRunning());
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_EQ(events.back(), "turnFailed Codex is not connected.");
}

INSTANTIATE_TEST_SUITE_P(Results, CodexClientThreadIdTest,
    ::testing::Values(R"({})", R"({"thread":{}})", R"({"thread":"thread-1"})", R"({"thread":{"id":7}})", R"({"thread":{"id":null}})",
        R"({"thread":[{"id":"x"}]})", R"({"id":"thread-1"})", R"([])", R"("thread-1")", R"(null)"));

TEST_F(CodexClientStartTest, ARefusedInitializeFailsTheStartWithTheWordsOfTheRuntime)
{
    startWith(Scenario().withoutVersion().expect("initialize").replyError("Not now"));
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed Not now"));
    EXPECT_EQ(runtime.received("codex").size(), 1U) << "nothing follows a refused handshake";
}

TEST_F(CodexClientStartTest, AnErrorWithoutAMessageHasASentenceOfItsOwn)
{
    startWith(Scenario().expect("initialize").step(R"({"send":{"id":1,"error":{"code":-1}}})"));
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed Codex returned an unknown error."));
}

TEST_F(CodexClientStartTest, AnErrorThatIsNoObjectIsNoError)
{
    startWith(Scenario()
                  .expect("initialize")
                  .send(R"({"id":1,"error":"x","result":7})")
                  .expect("thread/start")
                  .reply(R"({"thread":{"id":"t"}})"));
    ASSERT_TRUE(waitForEvent("started"));
    EXPECT_THAT(events, ElementsAre("started t"));
}

TEST_F(CodexClientStartTest, AnErrorBesideAResultCounts)
{
    startWith(Scenario().expect("initialize").send(R"({"id":1,"error":{"message":"no"},"result":{}})"));
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed no"));
}

TEST_F(CodexClientStartTest, AMissingProgramIsTold)
{
    auto missing = configuration();
    missing.executable = runtime.directory() + "/no-such-codex";
    make(missing);
    start();
    EXPECT_TRUE(events.empty()) << "nothing is told within the call";
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed The Codex executable is not installed."));
}

TEST_F(CodexClientStartTest, AFileThatIsNoProgramCountsAsMissing)
{
    auto missing = configuration();
    missing.executable = runtime.directory() + "/codex.json";
    runtime.script("codex", Scenario());
    make(missing);
    start();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed The Codex executable is not installed."));
}

TEST_F(CodexClientStartTest, AChildThatCannotBeLaunchedIsToldInTheWordsOfTheSystem)
{
    auto nowhere = configuration();
    nowhere.workspacePath = runtime.directory() + "/gone";
    make(nowhere);
    start();
    ASSERT_TRUE(waitForEvent("startFailed"));
    EXPECT_THAT(events, ElementsAre("startFailed " + nowhere.workspacePath + ": No such file or directory"));
    EXPECT_FALSE(errors.front().isUsageLimitFailure());
}

TEST_F(CodexClientStartTest, TheAllowanceIsReadAtTheStartAndNotWaitedFor)
{
    openThread(Scenario()
                   .withoutVersion()
                   .expect("initialize")
                   .reply()
                   .expect("account/rateLimits/read")
                   .expect("thread/start")
                   .reply(R"({"thread":{"id":"thread-1"}})")
                   .waitForFile("go")
                   .replyTo("account/rateLimits/read", R"({"rateLimits":{"primary":{"usedPercent":42}}})"));
    EXPECT_THAT(events, ElementsAre("started thread-1"));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("usage"));
    EXPECT_THAT(events, ElementsAre("started thread-1", "usage 42"));
}

TEST_F(CodexClientStartTest, AnAllowanceThatCannotBeReadLeavesNoTrace)
{
    openThread(codexThread()
                   .alwaysFail("account/rateLimits/read", "codex account authentication required to read rate limits")
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_THAT(events, ElementsAre("started thread-1", StartsWith("turn {")));
}

TEST_F(CodexClientStartTest, TheFirstWordsMayComeBeforeTheyAreAskedFor)
{
    // A runtime that answers ahead answers nothing: nobody waits for these ids yet.
    startWith(Scenario()
                  .send(R"({"id":3,"result":{"thread":{"id":"early"}}})")
                  .expect("initialize")
                  .reply()
                  .expect("thread/start")
                  .reply(R"({"thread":{"id":"late"}})"));
    ASSERT_TRUE(waitForEvent("started"));
    EXPECT_THAT(events, ElementsAre("started late"));
}

} // namespace

} // namespace tessarin::testing
