#include "CodexClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

class CodexClientTurnTest : public CodexClientTest
{
protected:
    // A turn that the runtime ends with these lines.
    void failTurn(const std::vector<std::string>& lines)
    {
        Scenario scenario = codexTurn();
        for (const std::string& line : lines)
            scenario.raw(line + "\n");
        openThread(scenario);
        prompt();
        ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    }
};

class CodexClientTurnModeTest : public CodexClientTurnTest, public ::testing::WithParamInterface<CodexModeRow>
{
};

TEST_P(CodexClientTurnModeTest, APromptIsSentWithTheWordsOfTheModeAndTheSandboxAsAnObject)
{
    openThread(codexTurn().send(codexTurnEnd()), GetParam().mode);
    prompt("Fix it,\n\"please\" …");
    ASSERT_TRUE(waitForEvent("turn"));
    const Json limited{ { "type", "workspaceWrite" }, { "writableRoots", JsonArray{ Json(runtime.workspace()) } },
        { "networkAccess", false } };
    const JsonObject text{ { "type", "text" }, { "text", "Fix it,\n\"please\" …" } };
    const Json params{ { "threadId", "thread-1" }, { "input", JsonArray{ Json(text) } }, { "approvalPolicy", GetParam().approvalPolicy },
        { "approvalsReviewer", GetParam().approvalsReviewer },
        { "sandboxPolicy", GetParam().isFree ? Json{ { "type", "dangerFullAccess" } } : limited } };
    EXPECT_EQ(runtime.received("codex", "turn/start").front(),
        (Json{ { "jsonrpc", "2.0" }, { "id", 4 }, { "method", "turn/start" }, { "params", params } }));
}

INSTANTIATE_TEST_SUITE_P(Modes, CodexClientTurnModeTest, codexModeRows, codexModeName);

TEST_F(CodexClientTurnTest, TheAnswerToThePromptDoesNotEndIt)
{
    openThread(codexTurn().touch("answered").waitForFile("go").send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitUntil(mainThread, [&] { return runtime.exists("answered"); }));
    EXPECT_EQ(count("turn"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn"));
}

TEST_F(CodexClientTurnTest, TheWholeTurnIsTheResult)
{
    const std::string turn = R"({"id":"turn-1","items":[{"type":"x"}],"status":"completed","error":null,"durationMs":12})";
    openThread(codexTurn().send(R"({"method":"turn/completed","params":{"turn":)" + turn + "}}"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(parsed(events.back().substr(5)), parsed(turn));
}

TEST_F(CodexClientTurnTest, ATurnThatEndsBeforeItIsAnnouncedEndsWhenItIsAnnounced)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .send(codexTurnEnd("turn-1"))
                   .touch("ended")
                   .waitForFile("go")
                   .replyTo("turn/start", R"({"turn":{"id":"turn-1"}})")
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-2"}})")
                   .send(codexTurnEnd("turn-2")));
    prompt();
    ASSERT_TRUE(waitForReceived("account/rateLimits/read", 2)) << "the end has been handled";
    mainThread.drain();
    EXPECT_EQ(count("turn"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn"));
    EXPECT_EQ(parsed(events.back().substr(5)), parsed(R"({"id":"turn-1","status":"completed"})"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn", 2));
    EXPECT_EQ(parsed(events.back().substr(5)), parsed(R"({"id":"turn-2","status":"completed"})"));
}

TEST_F(CodexClientTurnTest, AFailureThatOvertakesItsAnnouncementIsKeptToo)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .send(R"({"method":"error","params":{"turnId":"turn-1","willRetry":false,"error":{"message":"overtaken"}}})")
                   .send(codexTurnEnd("turn-1", "failed"))
                   .replyTo("turn/start", R"({"turn":{"id":"turn-1"}})"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", "turnFailed overtaken"));
}

TEST_F(CodexClientTurnTest, ACancelAfterAnOvertakenTurnInterruptsItAllTheSame)
{
    openThread(codexThread().expect("turn/start").send(codexTurnEnd()).replyTo("turn/start", R"({"turn":{"id":"turn-1"}})"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    client->cancel();
    EXPECT_TRUE(waitForReceived("turn/interrupt"));
}

TEST_F(CodexClientTurnTest, APromptBeforeAThreadIsOpenFails)
{
    make(configuration());
    prompt();
    EXPECT_TRUE(events.empty()) << "nothing is told within the call";
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("turnFailed Codex is not connected."));
}

TEST_F(CodexClientTurnTest, ARefusedTurnFailsWithTheWordsOfTheRuntime)
{
    openThread(
        codexThread().expect("turn/start").replyError("You've hit your usage limit.").expect("turn/start").replyError("thread gone"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_TRUE(errors.back().isUsageLimitFailure());
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed", 2));
    EXPECT_FALSE(errors.back().isUsageLimitFailure());
    EXPECT_THAT(events, ElementsAre("started thread-1", "turnFailed You've hit your usage limit.", "turnFailed thread gone"));
}

class CodexClientTurnIdTest : public CodexClientTurnTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(CodexClientTurnIdTest, IsMissed)
{
    openThread(codexThread().expect("turn/start").reply(GetParam()));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed")) << report();
    EXPECT_EQ(events.back(), "turnFailed Codex did not return a turn ID.");
}

INSTANTIATE_TEST_SUITE_P(Results, CodexClientTurnIdTest,
    ::testing::Values(R"({})", R"({"turn":{}})", R"({"turn":"turn-1"})", R"({"turn":{"id":1}})", R"({"turn":{"id":null}})", R"(7)"));

TEST_F(CodexClientTurnTest, ATurnWithoutAStatusHasFailed)
{
    failTurn({ R"({"method":"turn/completed","params":{"turn":{"id":"turn-1"}}})" });
    EXPECT_EQ(events.back(), "turnFailed Codex turn failed.");
}

TEST_F(CodexClientTurnTest, AStatusThatIsNoTextHasFailed)
{
    failTurn({ R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":{"type":"completed"}}}})" });
    EXPECT_EQ(events.back(), "turnFailed Codex turn failed.");
}

TEST_F(CodexClientTurnTest, AnInterruptedTurnFailsWithItsStatus)
{
    failTurn({ codexTurnEnd("turn-1", "interrupted") });
    EXPECT_EQ(events.back(), "turnFailed Codex turn interrupted.");
    EXPECT_FALSE(errors.back().isUsageLimitFailure());
}

TEST_F(CodexClientTurnTest, TheErrorOfTheTurnIsItsFailure)
{
    failTurn({ R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"failed","error":{"message":"out of space"}}}})" });
    EXPECT_EQ(events.back(), "turnFailed out of space");
}

TEST_F(CodexClientTurnTest, AnErrorThatWasToldBeforeWinsOverTheErrorOfTheTurn)
{
    failTurn({ R"({"method":"error","params":{"turnId":"turn-1","willRetry":false,"error":{"message":"told"}}})",
        R"({"method":"turn/completed","params":{"turn":{"id":"turn-1","status":"failed","error":{"message":"own"}}}})" });
    EXPECT_EQ(events.back(), "turnFailed told");
}

TEST_F(CodexClientTurnTest, TheLastErrorOfATurnCounts)
{
    failTurn({ R"({"method":"error","params":{"turnId":"turn-1","error":{"message":"first"}}})",
        R"({"method":"error","params":{"turnId":"turn-2","error":{"message":"of another"}}})",
        R"({"method":"error","params":{"turnId":"turn-1","error":{"message":"last"}}})", codexTurnEnd("turn-1", "failed") });
    EXPECT_EQ(events.back(), "turnFailed last");
}

TEST_F(CodexClientTurnTest, AnErrorThatIsTriedAgainChangesNothing)
{
    failTurn({ R"({"method":"error","params":{"turnId":"turn-1","willRetry":true,"error":{"message":"once more"}}})",
        codexTurnEnd("turn-1", "failed") });
    EXPECT_EQ(events.back(), "turnFailed Codex turn failed.");
}

TEST_F(CodexClientTurnTest, AnErrorWithoutAMessageHasASentenceOfItsOwn)
{
    failTurn({ R"({"method":"error","params":{"turnId":"turn-1","error":7}})", codexTurnEnd("turn-1", "cancelled") });
    EXPECT_EQ(events.back(), "turnFailed Codex turn failed.");
}

TEST_F(CodexClientTurnTest, AnErrorOfNoTurnIsIgnored)
{
    failTurn(
        { R"({"method":"error","params":{"error":{"message":"a"}}})", R"({"method":"error","params":{"turnId":1,"error":{"message":"b"}}})",
            R"({"method":"error"})", codexTurnEnd("turn-1", "stopped") });
    EXPECT_EQ(events.back(), "turnFailed Codex turn stopped.");
    EXPECT_EQ(count("update"), 0);
}

TEST_F(CodexClientTurnTest, AnErrorOfATurnThatEndsWellHasNoEffect)
{
    playTurn({ R"({"method":"error","params":{"turnId":"turn-1","willRetry":false,"error":{"message":"harmless"}}})" });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
}

TEST_F(CodexClientTurnTest, AnExhaustedAllowanceIsToldByItsInfo)
{
    failTurn({ R"({"method":"error","params":{"turnId":"turn-1","willRetry":false,"error":{"message":"Come back on Monday.",)"
               R"("codexErrorInfo":"usageLimitExceeded"}}})",
        codexTurnEnd("turn-1", "failed") });
    EXPECT_EQ(events.back(), "turnFailed Come back on Monday.");
    EXPECT_TRUE(errors.back().isUsageLimitFailure());
}

TEST_F(CodexClientTurnTest, AnErrorIsUsedUpByItsTurn)
{
    openThread(codexTurn()
                   .send(R"({"method":"error","params":{"turnId":"turn-1","error":{"message":"once"}}})")
                   .send(codexTurnEnd("turn-1", "failed"))
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .send(codexTurnEnd("turn-1", "failed")));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed"));
    prompt();
    ASSERT_TRUE(waitForEvent("turnFailed", 2));
    EXPECT_THAT(events, ElementsAre("started thread-1", "turnFailed once", "turnFailed Codex turn failed."));
}

TEST_F(CodexClientTurnTest, TwoPromptsAtOnceEndEachWithItsOwnTurn)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-2"}})")
                   .send(codexTurnEnd("turn-2"))
                   .send(codexTurnEnd("turn-1", "failed")));
    prompt("one");
    prompt("two");
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_THAT(events, ElementsAre("started thread-1", R"(turn {"id":"turn-2","status":"completed"})", "turnFailed Codex turn failed."));
    EXPECT_EQ(runtime.received("codex", "turn/start").at(1).at("params").at("input").at(0).at("text"), "two");
}

TEST_F(CodexClientTurnTest, TwoPromptsThatTheRuntimeMakesOneTurnBothEndWithIt)
{
    openThread(codexThread()
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-1"}})")
                   .send(codexTurnEnd()));
    prompt("one");
    prompt("two");
    EXPECT_TRUE(waitForEvent("turn", 2)) << report();
}

TEST_F(CodexClientTurnTest, ATurnThatEndsTwiceEndsItsPromptOnce)
{
    openThread(codexTurn()
                   .send(codexTurnEnd())
                   .send(codexTurnEnd("turn-1", "failed"))
                   .expect("turn/start")
                   .reply(R"({"turn":{"id":"turn-2"}})")
                   .send(codexTurnEnd("turn-2")));
    prompt();
    ASSERT_TRUE(waitForEvent("turn"));
    prompt();
    ASSERT_TRUE(waitForEvent("turn", 2));
    EXPECT_EQ(count("turnFailed"), 0) << report();
}

TEST_F(CodexClientTurnTest, AnEndWithoutATurnIdIsIgnored)
{
    playTurn({ R"({"method":"turn/completed"})", R"({"method":"turn/completed","params":[]})",
        R"({"method":"turn/completed","params":{"turn":1}})", R"({"method":"turn/completed","params":{"turn":{"status":"failed"}}})",
        R"({"method":"turn/completed","params":{"turn":{"id":7}}})", codexTurnEnd("turn-of-nobody", "failed") });
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1"));
}

TEST_F(CodexClientTurnTest, TheAllowanceIsReadAfterEachEndOfATurn)
{
    openThread(codexTurn()
                   .send(codexTurnEnd())
                   .expect("account/rateLimits/read")
                   .expect("account/rateLimits/read")
                   .reply(R"({"rateLimits":{"primary":{"usedPercent":77}}})"));
    prompt();
    ASSERT_TRUE(waitForEvent("usage"));
    EXPECT_THAT(eventsBut("turn"), ElementsAre("started thread-1", "usage 77"));
    EXPECT_EQ(runtime.received("codex", "account/rateLimits/read").size(), 2U);
}

TEST_F(CodexClientTurnTest, AnAllowanceThatIsAnnouncedIsPassedOn)
{
    playTurn(
        { R"({"method":"account/rateLimits/updated","params":{"rateLimits":{"primary":{"usedPercent":100,"resetsAt":1000},"planType":"pro"}}})",
            R"({"method":"account/rateLimits/updated","params":{"rateLimits":7}})",
            R"({"method":"account/rateLimits/updated","params":{}})", R"({"method":"account/rateLimits/updated"})" });
    ASSERT_EQ(usages.size(), 1U);
    EXPECT_TRUE(usages.front().exhausted);
    EXPECT_EQ(usages.front().planType, "pro");
    EXPECT_EQ(usages.front().resetsAt, Instant::fromSecondsSince1970(1000));
}

} // namespace

} // namespace tessarin::testing
