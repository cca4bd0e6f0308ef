#include "ClaudeClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr const char* ended = "terminated Claude Code exited with status 3.";
constexpr const char* startEnded = "startFailed Claude Code exited with status 3.";
constexpr const char* turnEnded = "turnFailed Claude Code exited with status 3.";
constexpr const char* goodTurn = R"(turn {"type":"result","subtype":"success","is_error":false,"result":"done"})";

class ClaudeClientEndTest : public ClaudeClientTest
{
protected:
    // What has been told, but for the log.
    [[nodiscard]] std::vector<std::string> eventsWithoutLog() const
    {
        std::vector<std::string> result;
        std::copy_if(
            events.begin(), events.end(), std::back_inserter(result), [](const std::string& event) { return event.rfind("log ", 0) != 0; });
        return result;
    }
};

// A child that ends on its own at each step.
struct DeathRow {
    const char* name;
    Scenario scenario;
    std::vector<std::string> events;
};

void PrintTo(const DeathRow& row, std::ostream* out)
{
    *out << row.name;
}

Scenario initializing()
{
    return Scenario().expect("control_request/initialize");
}
Scenario prompting()
{
    return initializing().reply().expect("user");
}

class ClaudeClientDeathTest : public ClaudeClientEndTest, public ::testing::WithParamInterface<DeathRow>
{
};

TEST_P(ClaudeClientDeathTest, FailsWhatWaitsAndIsReportedAfterwards)
{
    runtime.script("claude", GetParam().scenario);
    make(configuration());
    client->start("session-1", [&](const Result<AgentStartResult, AgentError>& result) {
        events.push_back(result ? "resumed" : "startFailed " + result.error().description());
        if (result && GetParam().events.size() > 2)
            prompt();
    });
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAreArray(GetParam().events));
    EXPECT_TRUE(waitForEndOf(runtime.processID("claude")));
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.size(), GetParam().events.size()) << report();
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientDeathTest,
    ::testing::Values(DeathRow{ "DuringInitialize", initializing().exit(3), { startEnded, ended } },
        DeathRow{ "AfterInitialize", initializing().reply().exit(3), { "resumed", ended } },
        DeathRow{ "AfterARefusal", initializing().step(R"({"replyError":"No."})").exit(3), { "startFailed No.", ended } },
        DeathRow{ "DuringAPrompt", prompting().exit(3), { "resumed", turnEnded, ended } },
        DeathRow{ "InTheMiddleOfATurn", prompting().send(streamed("a")).exit(3), { "resumed", "text 1 a", turnEnded, ended } },
        DeathRow{
            "WithAQuestionOpen", prompting().send(canUseTool("r", "{}")).exit(3), { "resumed", "permission 100000", turnEnded, ended } },
        DeathRow{ "RightAfterItsAnswer", prompting().send(goodResult).exit(3), { "resumed", goodTurn, ended } },
        DeathRow{ "RightAfterAFailure", prompting().send(R"({"type":"result","is_error":true,"result":"x"})").exit(3),
            { "resumed", "turnFailed x", ended } },
        DeathRow{ "InTheMiddleOfALine", prompting().raw(R"({"type":"result")").exit(3), { "resumed", turnEnded, ended } },
        DeathRow{ "BeforeTheEndOfItsLastLine", prompting().raw(goodResult).exit(3), { "resumed", turnEnded, ended } }),
    [](const auto& row) { return std::string(row.param.name); });

// Whether the first message still found its way into the pipe is a race that nobody can win for sure.
TEST_F(ClaudeClientEndTest, AChildThatEndsAtOnceFailsTheStart)
{
    playAndStart(Scenario().exit(3));
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre(AnyOf(startEnded, "startFailed Broken pipe"), ended));
}

TEST_F(ClaudeClientEndTest, APromptFailsWithWhatTheChildSaidLastAndSoDoesTheReport)
{
    openSession(prompted().standardError("boom\n").exit(1));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(eventsWithoutLog(), ElementsAre("turnFailed boom", "terminated boom"));
    EXPECT_EQ(log, "boom\n");
}

TEST_F(ClaudeClientEndTest, AllErrorOutputSinceTheLaunchIsSaidTrimmedAtBothEnds)
{
    openSession(opened().standardError(" \n\t first\n").expect("user").standardError("second \r\n\n").exit(1));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(eventsWithoutLog(), ElementsAre("turnFailed first\nsecond", "terminated first\nsecond"));
}

TEST_F(ClaudeClientEndTest, ErrorOutputOfWhiteSpaceAloneCountsAsNone)
{
    openSession(prompted().standardError(" \n\t\r\n").exit(3));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(eventsWithoutLog(), ElementsAre(turnEnded, ended));
}

TEST_F(ClaudeClientEndTest, ErrorOutputThatIsNoTextIsDropped)
{
    openSession(prompted().step(R"({"stderrBase64":"//4="})").exit(3));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre(turnEnded, ended));
}

TEST_F(ClaudeClientEndTest, ErrorOutputIsLoggedWhileTheChildLives)
{
    openSession(opened().standardError("a warning\n").expect("user").send(goodResult));
    ASSERT_TRUE(waitForEvent("log")) << report();
    runTurn();
    EXPECT_THAT(events, ElementsAre("log a warning\n", goodTurn));
}

TEST_F(ClaudeClientEndTest, ASignalsNumberIsTheStatus)
{
    openSession(opened().step(R"({"signal":9})"));
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(events.back(), "terminated Claude Code exited with status 9.");
}

TEST_F(ClaudeClientEndTest, AnEndWithStatusZeroIsUnexpectedToo)
{
    openSession(opened().exit(0));
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre("terminated Claude Code exited with status 0."));
}

TEST_F(ClaudeClientEndTest, AfterTheEndAPromptIsRefusedAndACancelDoesNothing)
{
    openSession(opened().exit(0));
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    prompt();
    client->cancel();
    mainThread.drain();
    EXPECT_EQ(events.size(), 2U) << report();
    EXPECT_EQ(events.back(), "turnFailed Claude Code is not connected.");
}

TEST_F(ClaudeClientEndTest, AllThatWasWrittenBeforeTheEndIsHandled)
{
    openSession(prompted().repeat(2000, Scenario().send(streamed("{n}"))).send(goodResult).exit(0));
    prompt();
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_EQ(count("text"), 2000);
    EXPECT_EQ(events.at(events.size() - 2), goodTurn);
}

TEST_F(ClaudeClientEndTest, AGrandchildThatKeepsThePipesDoesNotHideTheEnd)
{
    openSession(opened().step(R"({"grandchild":"done"})").expect("user").send(goodResult).exit(3));
    prompt();
    EXPECT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre(goodTurn, ended));
    runtime.touch("done");
}

TEST_F(ClaudeClientEndTest, AChildThatClosesItsOutputButLivesKeepsThePromptWaiting)
{
    openSession(prompted().step(R"({"closeStdout":true})").touch("closed").expect("control_request/interrupt"));
    prompt();
    ASSERT_TRUE(waitForFile("closed"));
    client->cancel();
    ASSERT_TRUE(waitForReceived(3));
    mainThread.drain();
    EXPECT_TRUE(events.empty()) << report();
    client->stop();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Claude Code stopped."));
}

TEST_F(ClaudeClientEndTest, AWriteThatFailsFailsTheTurnInTheSystemsWordsBeforeTheChildEnds)
{
    openSession(opened().step(R"({"closeStdin":true})").touch("closed").waitForFile("go").exit(3));
    ASSERT_TRUE(waitForFile("closed"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_THAT(events, ElementsAre("turnFailed Broken pipe"));
    prompt();
    client->cancel();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("turnFailed Broken pipe", "turnFailed Broken pipe"));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre("turnFailed Broken pipe", "turnFailed Broken pipe", ended));
}

TEST_F(ClaudeClientEndTest, AWriteThatFailsFailsTheStartToo)
{
    playAndStart(initializing().step(R"({"closeStdin":true})").touch("closed").waitForFile("go").exit(3));
    ASSERT_TRUE(waitForFile("closed"));
    client->cancel();
    ASSERT_TRUE(waitForEvent("startFailed")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Broken pipe"));
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    EXPECT_THAT(events, ElementsAre("startFailed Broken pipe", ended));
}

TEST_F(ClaudeClientEndTest, AWriteThatFailsClosesEveryQuestion)
{
    openSession(prompted()
                    .send(canUseTool("a", "{}"))
                    .send(canUseTool("b", "{}"))
                    .step(R"({"closeStdin":true})")
                    .touch("closed")
                    .waitForFile("go")
                    .exit(3));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    ASSERT_TRUE(waitForFile("closed"));
    client->respondToPermission(100000, "claude-allow-once");
    client->respondToPermission(100001, "claude-allow-once");
    client->cancel();
    mainThread.drain();
    EXPECT_THAT(events, ElementsAre("permission 100000", "permission 100001", "turnFailed Broken pipe"));
    runtime.touch("go");
    EXPECT_TRUE(waitForEvent("terminated")) << report();
}

} // namespace

} // namespace tessarin::testing
