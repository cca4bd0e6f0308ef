#include "CodexClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;

constexpr const char* commandApproval = "item/commandExecution/requestApproval";
constexpr const char* changeApproval = "item/fileChange/requestApproval";
constexpr const char* grantApproval = "item/permissions/requestApproval";

std::string request(std::string_view id, std::string_view method, std::string_view params)
{
    return R"({"id":)" + std::string(id) + R"(,"method":")" + std::string(method) + R"(","params":)" + std::string(params) + "}";
}

class CodexClientApprovalTest : public CodexClientTest
{
protected:
    // A turn in which the runtime asks, up to the question.
    void ask(std::string_view id, std::string_view method, std::string_view params, GrokPermissionMode mode = GrokPermissionMode::ask)
    {
        openThread(codexTurn().send(request(id, method, params)), mode);
        prompt();
        ASSERT_TRUE(waitForEvent("permission")) << report();
    }
    // What was answered to a request with that id, once the runtime has it.
    [[nodiscard]] Json resultFor(const Json& id) { return waitForAnswer(id).at("result"); }
    [[nodiscard]] std::size_t answerCount() const
    {
        const auto messages = runtime.received("codex");
        return static_cast<std::size_t>(
            std::count_if(messages.begin(), messages.end(), [](const Json& message) { return message.as_object().contains("result"); }));
    }
};

TEST_F(CodexClientApprovalTest, ACommandIsPutBeforeThePersonWithItsReason)
{
    ask("0", commandApproval, R"({"command":"rm -r build","reason":"It is stale.","itemId":"x"})");
    const std::vector<PermissionOption> options{ { "codex-allow-once", "Allow once", "allow_once" },
        { "codex-allow-session", "Allow for this task", "allow_always" }, { "codex-reject", "Deny", "reject_once" } };
    EXPECT_EQ(permissions.front(), (PermissionRequest{ 1, "Run command", "rm -r build\n\nIt is stale.", options }));
    EXPECT_EQ(answerCount(), 0U) << "the runtime waits for the person";
}

struct WordsRow {
    const char* name;
    const char* method;
    const char* params;
    const char* title;
    const char* detail;
};

class CodexClientApprovalWordsTest : public CodexClientApprovalTest, public ::testing::WithParamInterface<WordsRow>
{
};

TEST_P(CodexClientApprovalWordsTest, AreThoseOfTheRequest)
{
    ask("1", GetParam().method, GetParam().params);
    EXPECT_EQ(permissions.front().title, GetParam().title);
    EXPECT_EQ(permissions.front().detail, GetParam().detail);
}

constexpr const char* plainSentence = "Codex is requesting permission to continue.";
INSTANTIATE_TEST_SUITE_P(Rows, CodexClientApprovalWordsTest,
    ::testing::Values(WordsRow{ "ACommandAlone", commandApproval, R"({"command":"ls"})", "Run command", "ls" },
        WordsRow{ "AReasonAlone", commandApproval, R"({"reason":"because"})", "Grant access", "because" },
        WordsRow{ "AnEmptyCommand", commandApproval, R"({"command":"","reason":""})", "Run command", plainSentence },
        WordsRow{ "ACommandOfAnotherType", commandApproval, R"({"command":["ls"],"reason":7})", "Grant access", plainSentence },
        WordsRow{ "NoParameters", commandApproval, R"(null)", "Grant access", plainSentence },
        WordsRow{ "AChange", changeApproval, R"({"reason":"outside of the workspace"})", "Edit files", "outside of the workspace" },
        WordsRow{ "AChangeWithoutWords", changeApproval, R"({})", "Edit files", plainSentence },
        WordsRow{ "AChangeWithACommand", changeApproval, R"({"command":"patch"})", "Run command", "patch" },
        WordsRow{ "AGrant", grantApproval, R"({"permissions":{},"reason":"the network"})", "Grant access", "the network" }),
    [](const auto& row) { return std::string(row.param.name); });

struct DecisionRow {
    const char* method;
    const char* option;
    const char* result;
};

class CodexClientDecisionTest : public CodexClientApprovalTest, public ::testing::WithParamInterface<DecisionRow>
{
};

TEST_P(CodexClientDecisionTest, IsAnsweredInTheWordsOfTheRuntime)
{
    ask("41", GetParam().method, R"({"permissions":{"network":{"enabled":true},"paths":["/a"]}})");
    client->respondToPermission(permissions.front().id, GetParam().option);
    EXPECT_EQ(waitForAnswer(41), (Json{ { "jsonrpc", "2.0" }, { "id", 41 }, { "result", parsed(GetParam().result) } }));
}

INSTANTIATE_TEST_SUITE_P(Rows, CodexClientDecisionTest,
    ::testing::Values(DecisionRow{ commandApproval, "codex-allow-once", R"({"decision":"accept"})" },
        DecisionRow{ commandApproval, "codex-allow-session", R"({"decision":"acceptForSession"})" },
        DecisionRow{ commandApproval, "codex-reject", R"({"decision":"decline"})" },
        DecisionRow{ commandApproval, "codex-cancel", R"({"decision":"cancel"})" },
        DecisionRow{ commandApproval, "codex-allow", R"({"decision":"decline"})" },
        DecisionRow{ commandApproval, "", R"({"decision":"decline"})" },
        DecisionRow{ changeApproval, "codex-allow-once", R"({"decision":"accept"})" },
        DecisionRow{ changeApproval, "codex-allow-session", R"({"decision":"acceptForSession"})" },
        DecisionRow{ changeApproval, "codex-reject", R"({"decision":"decline"})" },
        DecisionRow{ grantApproval, "codex-allow-once", R"({"permissions":{"network":{"enabled":true},"paths":["/a"]},"scope":"turn"})" },
        DecisionRow{
            grantApproval, "codex-allow-session", R"({"permissions":{"network":{"enabled":true},"paths":["/a"]},"scope":"session"})" },
        DecisionRow{
            grantApproval, "codex-allow-anything", R"({"permissions":{"network":{"enabled":true},"paths":["/a"]},"scope":"turn"})" },
        DecisionRow{ grantApproval, "codex-reject", R"({"permissions":{},"scope":"turn"})" },
        DecisionRow{ grantApproval, "codex-cancel", R"({"permissions":{},"scope":"turn"})" },
        DecisionRow{ grantApproval, "", R"({"permissions":{},"scope":"turn"})" }));

TEST_F(CodexClientApprovalTest, AGrantThatNamesNothingGrantsNothing)
{
    ask("1", grantApproval, R"({"permissions":["all"]})");
    client->respondToPermission(1, "codex-allow-session");
    EXPECT_EQ(resultFor(1), parsed(R"({"permissions":{},"scope":"session"})"));
}

TEST_F(CodexClientApprovalTest, IdsGoBackInTheTypeInWhichTheyCame)
{
    openThread(codexTurn()
                   .send(request("0", commandApproval, "{}"))
                   .send(request(R"("0")", commandApproval, "{}"))
                   .send(request(R"("")", changeApproval, "{}"))
                   .send(request("-9", changeApproval, "{}"))
                   .send(request("2.9", changeApproval, "{}")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 5));
    EXPECT_THAT(events, ElementsAre("started thread-1", "permission 1", "permission 2", "permission 3", "permission 4", "permission 5"));
    client->respondToPermission(2, "codex-allow-once");
    client->respondToPermission(1, "codex-reject");
    client->respondToPermission(3, "codex-allow-session");
    client->respondToPermission(5, "codex-reject");
    client->respondToPermission(4, "codex-allow-once");
    EXPECT_EQ(resultFor("0").at("decision"), "accept");
    EXPECT_EQ(resultFor(0).at("decision"), "decline");
    EXPECT_EQ(resultFor("").at("decision"), "acceptForSession");
    EXPECT_EQ(resultFor(2).at("decision"), "decline");
    EXPECT_EQ(resultFor(-9).at("decision"), "accept");
}

TEST_F(CodexClientApprovalTest, AQuestionIsAnsweredOnce)
{
    ask("1", commandApproval, "{}");
    client->respondToPermission(1, "codex-allow-once");
    client->respondToPermission(1, "codex-reject");
    client->respondToPermission(2, "codex-allow-once");
    client->cancel();
    EXPECT_EQ(resultFor(1).at("decision"), "accept");
    ASSERT_TRUE(waitForReceived("turn/interrupt"));
    EXPECT_EQ(answerCount(), 1U);
}

TEST_F(CodexClientApprovalTest, TheSameIdAskedTwiceIsTwoQuestions)
{
    openThread(
        codexTurn().send(request("1", commandApproval, R"({"command":"a"})")).send(request("1", commandApproval, R"({"command":"b"})")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2));
    client->respondToPermission(2, "codex-allow-once");
    client->respondToPermission(1, "codex-reject");
    ASSERT_TRUE(waitUntil(mainThread, [&] { return answerCount() == 2; }));
    EXPECT_EQ(runtime.received("codex").back().at("result").at("decision"), "decline");
}

TEST_F(CodexClientApprovalTest, CancelInterruptsTheTurnAndCallsOffWhatIsAsked)
{
    openThread(codexTurn()
                   .send(request("7", commandApproval, "{}"))
                   .send(request(R"("x")", grantApproval, R"({"permissions":{"a":1}})"))
                   .expect("turn/interrupt")
                   .reply()
                   .send(codexTurnEnd("turn-1", "interrupted")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2));
    client->cancel();
    client->respondToPermission(1, "codex-allow-once");
    client->respondToPermission(2, "codex-allow-once");
    ASSERT_TRUE(waitForEvent("turnFailed"));
    EXPECT_EQ(events.back(), "turnFailed Codex turn interrupted.");
    EXPECT_EQ(runtime.received("codex", "turn/interrupt").front(),
        parsed(R"({"jsonrpc":"2.0","id":5,"method":"turn/interrupt","params":{"threadId":"thread-1","turnId":"turn-1"}})"));
    EXPECT_EQ(resultFor(7), parsed(R"({"decision":"cancel"})"));
    EXPECT_EQ(resultFor("x"), parsed(R"({"permissions":{},"scope":"turn"})"));
    EXPECT_EQ(answerCount(), 2U);
}

TEST_F(CodexClientApprovalTest, CancelWithoutATurnOnlyCallsOffWhatIsAsked)
{
    openThread(codexThread().send(request("7", commandApproval, "{}")));
    ASSERT_TRUE(waitForEvent("permission"));
    client->cancel();
    EXPECT_EQ(resultFor(7).at("decision"), "cancel");
    EXPECT_TRUE(runtime.received("codex", "turn/interrupt").empty());
}

TEST_F(CodexClientApprovalTest, CancelBeforeAThreadIsOpenSaysNothing)
{
    make(configuration());
    client->cancel();
    runtime.script("codex", codexThread());
    start();
    ASSERT_TRUE(waitForEvent("started"));
    client->cancel();
    prompt();
    ASSERT_TRUE(waitForReceived("turn/start"));
    EXPECT_TRUE(runtime.received("codex", "turn/interrupt").empty());
}

TEST_F(CodexClientApprovalTest, TheAnswerToAnInterruptEndsNothing)
{
    openThread(
        codexTurn().expect("turn/interrupt").replyError("nothing to interrupt").touch("answered").waitForFile("go").send(codexTurnEnd()));
    prompt();
    ASSERT_TRUE(waitForReceived("turn/start"));
    // The turn is announced before anything can interrupt it.
    ASSERT_TRUE(waitUntil(mainThread, [&] {
        client->cancel();
        return runtime.exists("answered");
    }));
    EXPECT_EQ(count("turnFailed") + count("turn"), 0);
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn"));
}

TEST_F(CodexClientApprovalTest, WhatArrivesInFullAccessIsPutBeforeThePersonToo)
{
    ask("1", commandApproval, R"({"command":"ls"})", GrokPermissionMode::fullAccess);
    EXPECT_EQ(answerCount(), 0U);
    client->respondToPermission(1, "codex-reject");
    EXPECT_EQ(resultFor(1).at("decision"), "decline");
}

} // namespace

} // namespace tessarin::testing
