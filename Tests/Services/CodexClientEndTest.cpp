#include "CodexClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::StartsWith;

const std::string startDisconnected = std::string("startFailed ") + codexDisconnected;
const std::string turnDisconnected = std::string("turnFailed ") + codexDisconnected;
constexpr const char* brokenPipe = "turnFailed Broken pipe";

// How a child goes, and what the client makes of it.
class CodexClientEndTest : public CodexClientTest
{
protected:
    void startWith(const Scenario& scenario, std::optional<std::string> stored = std::nullopt)
    {
        runtime.script("codex", scenario);
        make(configuration());
        start(std::move(stored));
    }
    void waitForTermination() { ASSERT_TRUE(waitForEvent("terminated")) << report(); }
};

Scenario initializedOnly()
{
    Scenario scenario;
    return scenario.withoutVersion().expect("initialize").reply();
}

TEST_F(CodexClientEndTest, AChildThatEndsDuringTheHandshakeFailsTheStart)
{
    startWith(Scenario().expect("initialize").exit(1));
    waitForTermination();
    EXPECT_THAT(events, ElementsAre(startDisconnected, "terminated Codex exited with status 1."));
    EXPECT_FALSE(errors.front().isUsageLimitFailure());
}

TEST_F(CodexClientEndTest, AChildThatEndsAtOnceFailsTheStartOnce)
{
    startWith(Scenario().standardError("no such option").exit(2));
    waitForTermination();
    EXPECT_EQ(count("startFailed"), 1) << report();
    EXPECT_EQ(events.back(), "terminated no such option");
}

TEST_F(CodexClientEndTest, TheErrorOutputIsTheReasonWithoutTheWhiteSpaceAroundIt)
{
    startWith(Scenario().expect("initialize").standardError(" \n\t boom\n\n  at line 7 \r\n\n").exit(1));
    waitForTermination();
    EXPECT_THAT(eventsBut("log"), ElementsAre(startDisconnected, "terminated boom\n\n  at line 7"));
}

TEST_F(CodexClientEndTest, ErrorOutputOfWhiteSpaceAloneIsNoReason)
{
    startWith(Scenario().expect("initialize").standardError(" \n\n").exit(7));
    waitForTermination();
    EXPECT_EQ(events.back(), "terminated Codex exited with status 7.");
}

TEST_F(CodexClientEndTest, AllOfTheErrorOutputIsTheReasonHoweverLong)
{
    startWith(Scenario()
                  .expect("initialize")
                  .step(R"({"fill":3000000,"with":"x"})")
                  .step(R"({"repeat":2000,"steps":[{"stderr":"{n} line of trouble\n"}]})")
                  .exit(1));
    waitForTermination();
    EXPECT_THAT(events.back(), StartsWith("terminated 0 line of trouble\n1 line of trouble\n"));
    EXPECT_THAT(events.back(), ::testing::EndsWith("\n1999 line of trouble"));
}

TEST_F(CodexClientEndTest, ASignalIsAStatus)
{
    startWith(Scenario().expect("initialize").step(R"({"signal":9})"));
    waitForTermination();
    EXPECT_EQ(events.back(), "terminated Codex exited with status 9.");
}

TEST_F(CodexClientEndTest, AChildThatEndsWhileItOpensAThreadFailsTheStart)
{
    startWith(initializedOnly().expect("thread/start").exit(3));
    waitForTermination();
    EXPECT_THAT(events, ElementsAre(startDisconnected, "terminated Codex exited with status 3."));
}

TEST_F(CodexClientEndTest, AChildThatEndsWhileItResumesAThreadIsAskedForNoOther)
{
    startWith(initializedOnly().expect("thread/resume").exit(3), "thread-7");
    waitForTermination();
    EXPECT_THAT(events, ElementsAre(startDisconnected, "terminated Codex exited with status 3."));
}

TEST_F(CodexClientEndTest, AChildThatAnswersTheHandshakeAndEndsFailsTheStartOnce)
{
    startWith(initializedOnly().exit(0));
    waitForTermination();
    EXPECT_EQ(events.size(), 2U) << report();
    EXPECT_EQ(count("startFailed"), 1);
}

TEST_F(CodexClientEndTest, AChildThatOpensAThreadAndEndsAtOnceHasOpenedIt)
{
    startWith(codexThread().exit(0));
    waitForTermination();
    EXPECT_THAT(events, ElementsAre("started thread-1", "terminated Codex exited with status 0."));
}

TEST_F(CodexClientEndTest, TheEndOfAChildWithNothingToDoIsTold)
{
    openThread(codexThread().waitForFile("go").exit(4));
    runtime.touch("go");
    waitForTermination();
    EXPECT_THAT(events, ElementsAre("started thread-1", "terminated Codex exited with status 4."));
}

TEST_F(CodexClientEndTest, APromptAfterTheEndFailsWithTheWordsOfTheSystem)
{
    openThread(codexThread().exit(0));
    waitForTermination();
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_EQ(events.back(), brokenPipe);
    client->cancel();
    client->respondToPermission(1, "codex-allow-once");
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.size(), 3U) << report();
}

TEST_F(CodexClientEndTest, AChildThatEndsBeforeATurnIsAnnouncedFailsIt)
{
    openThread(codexThread().expect("turn/start").exit(1));
    prompt();
    waitForTermination();
    EXPECT_THAT(events, ElementsAre("started thread-1", turnDisconnected, "terminated Codex exited with status 1."));
}

TEST_F(CodexClientEndTest, AChildThatEndsInATurnFailsEveryPrompt)
{
    openThread(codexTurn().expect("turn/start").reply(R"({"turn":{"id":"turn-2"}})").expect("turn/start").exit(1));
    prompt();
    prompt();
    prompt();
    waitForTermination();
    EXPECT_THAT(events,
        ElementsAre("started thread-1", turnDisconnected, turnDisconnected, turnDisconnected, "terminated Codex exited with status 1."));
}

TEST_F(CodexClientEndTest, WhatAChildWroteBeforeItEndedCounts)
{
    openThread(codexTurn()
                   .send(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"last words"}})")
                   .send(codexTurnEnd())
                   .raw(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"cut off"}})")
                   .exit(0));
    prompt();
    waitForTermination();
    ASSERT_EQ(events.size(), 4U) << report();
    EXPECT_EQ(updates.size(), 1U);
    EXPECT_THAT(events[2], StartsWith("turn {"));
}

TEST_F(CodexClientEndTest, AQuestionOfAChildThatEndedIsAnsweredToNobody)
{
    openThread(codexTurn().send(R"({"id":1,"method":"item/fileChange/requestApproval","params":{}})").waitForFile("go").exit(1));
    prompt();
    ASSERT_TRUE(waitForEvent("permission"));
    runtime.touch("go");
    waitForTermination();
    client->respondToPermission(1, "codex-allow-once");
    client->stop();
    mainThread.drain();
    EXPECT_EQ(events.back(), "terminated Codex exited with status 1.");
}

TEST_F(CodexClientEndTest, AChildThatReadsNoMoreFailsAPromptWithTheWordsOfTheSystem)
{
    openThread(codexThread().step(R"({"closeStdin":true})").touch("closed"));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("closed"); }));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed", 2));
    EXPECT_THAT(events, ElementsAre("started thread-1", brokenPipe, brokenPipe));
    EXPECT_FALSE(errors.back().isUsageLimitFailure());
}

TEST_F(CodexClientEndTest, AWriteThatFailsFailsAllThatWaits)
{
    openThread(codexTurn()
                   .send(R"({"id":1,"method":"item/fileChange/requestApproval","params":{}})")
                   .step(R"({"closeStdin":true})")
                   .touch("closed"));
    prompt();
    ASSERT_TRUE(waitForEvent("permission"));
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("closed"); }));
    client->respondToPermission(1, "codex-allow-once");
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", "permission 1", brokenPipe));
}

TEST_F(CodexClientEndTest, AStartWhoseWritesFailEndsOnce)
{
    for (const bool isStored : { false, true }) {
        events.clear();
        startWith(Scenario().withoutVersion().expect("initialize").step(R"({"closeStdin":true})").reply(),
            isStored ? std::optional<std::string>("thread-7") : std::nullopt);
        ASSERT_TRUE(waitForEvent("startFailed")) << report();
        EXPECT_THAT(events, ElementsAre("startFailed Broken pipe"));
        client->stop();
    }
}

TEST_F(CodexClientEndTest, AClientWithoutCallbacksGoesThroughAllOfIt)
{
    runtime.script("codex",
        codexTurn()
            .standardError("x")
            .send(R"({"method":"item/agentMessage/delta","params":{"itemId":"m","delta":"x"}})")
            .send(R"({"id":1,"method":"item/fileChange/requestApproval","params":{}})")
            .send(R"({"method":"account/rateLimits/updated","params":{"rateLimits":{}}})")
            .expectResponse(1)
            .send(codexTurnEnd())
            .exit(1));
    client = CodexAppServerClient::make(configuration(), mainThread);
    client->start(std::nullopt, {});
    bool isOver = false;
    ASSERT_TRUE(waitForReceived("thread/start"));
    // The thread is open when a prompt is taken.
    ASSERT_TRUE(waitUntil(mainThread, [&] {
        client->sendPrompt("x", [&](const Result<JsonObject, AgentError>& result) { isOver = isOver || result.isSuccess(); });
        return !runtime.received("codex", "turn/start").empty();
    }));
    ASSERT_TRUE(waitUntil(mainThread, [&] {
        client->respondToPermission(1, "codex-allow-once");
        return isOver;
    }));
}

} // namespace

} // namespace tessarin::testing
