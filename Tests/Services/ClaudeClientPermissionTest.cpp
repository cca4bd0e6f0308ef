#include "ClaudeClientFixture.h"

namespace tessarin::testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClaudeClientPermissionTest : public ClaudeClientTest
{
protected:
    // A script that asks and reads the answer.
    [[nodiscard]] static Scenario asking(const std::string& request)
    {
        return prompted().send(request).expect("control_response").send(goodResult);
    }
    // What was answered to the runtime, in order.
    [[nodiscard]] std::vector<Json> answers() const
    {
        std::vector<Json> result;
        for (const Json& message : runtime.received("claude")) {
            if (textAt(message.as_object(), "type") == "control_response")
                result.push_back(message);
        }
        return result;
    }
    [[nodiscard]] static Json allowed(std::string_view requestID, std::string_view input)
    {
        const JsonObject answer{ { "behavior", "allow" }, { "updatedInput", parsed(input) } };
        return response({ { "subtype", "success" }, { "request_id", requestID }, { "response", answer } });
    }
    [[nodiscard]] static Json denied(std::string_view requestID)
    {
        const JsonObject answer{ { "behavior", "deny" }, { "message", "Denied by the user in tessarin." } };
        return response({ { "subtype", "success" }, { "request_id", requestID }, { "response", answer } });
    }
    [[nodiscard]] static Json response(JsonObject response)
    {
        return JsonObject{ { "type", "control_response" }, { "response", std::move(response) } };
    }
};

TEST_F(ClaudeClientPermissionTest, TheFirstQuestionHasItsNumberItsTitleItsDetailAndItsOptions)
{
    openSession(prompted().send(
        R"({"type":"control_request","request_id":"r","request":{"subtype":"can_use_tool","display_name":"Bash","input":{"b":1,"a":"/x"}}})"));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    EXPECT_EQ(permissions.at(0).id, 100000);
    EXPECT_EQ(permissions.at(0).title, "Bash");
    EXPECT_EQ(permissions.at(0).detail, "{\n  \"a\" : \"\\/x\",\n  \"b\" : 1\n}");
    EXPECT_THAT(permissions.at(0).options,
        ElementsAre(
            PermissionOption{ "claude-deny", "Deny", "reject_once" }, PermissionOption{ "claude-allow-once", "Allow once", "allow_once" }));
}

TEST_F(ClaudeClientPermissionTest, AllowingSendsTheInputBackAsItCame)
{
    openSession(asking(canUseTool("request-1", R"({"command":"ls -l \"a\"","timeout":1.5,"deep":{"list":[1,null,true,"\u20ac"]}})")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->respondToPermission(100000, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(
        answers(), ElementsAre(allowed("request-1", R"({"command":"ls -l \"a\"","timeout":1.5,"deep":{"list":[1,null,true,"\u20ac"]}})")));
}

class ClaudeClientDenyingOptionTest : public ClaudeClientPermissionTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientDenyingOptionTest, Denies)
{
    openSession(asking(canUseTool("request-1", R"({"command":"ls"})")));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->respondToPermission(100000, GetParam());
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(answers(), ElementsAre(denied("request-1")));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ClaudeClientDenyingOptionTest, ::testing::Values("claude-deny", "", "allow_once", "Claude-Allow-Once", "claude-allow-always"));

TEST_F(ClaudeClientPermissionTest, EachQuestionIsAnsweredOnceAndUnderItsOwnNumber)
{
    openSession(prompted()
                    .send(canUseTool("a", R"({"n":1})"))
                    .send(canUseTool("b", R"({"n":2})"))
                    .expect("control_response")
                    .expect("control_response")
                    .send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    EXPECT_EQ(permissions.at(1).id, 100001);
    client->respondToPermission(99999, "claude-allow-once");
    client->respondToPermission(100002, "claude-allow-once");
    client->respondToPermission(100001, "claude-allow-once");
    client->respondToPermission(100001, "claude-deny");
    client->respondToPermission(100000, "claude-deny");
    client->respondToPermission(100000, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(answers(), ElementsAre(allowed("b", R"({"n":2})"), denied("a")));
}

TEST_F(ClaudeClientPermissionTest, AnInputThatIsNoObjectCountsAsEmpty)
{
    openSession(prompted()
                    .send(canUseTool("a", R"(["ls"])"))
                    .send(R"({"type":"control_request","request_id":"b","request":{"subtype":"can_use_tool"}})")
                    .expect("control_response")
                    .expect("control_response")
                    .send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    EXPECT_EQ(permissions.at(0).detail, "{\n\n}");
    EXPECT_EQ(permissions.at(1).title, "Use a tool");
    client->respondToPermission(100000, "claude-allow-once");
    client->respondToPermission(100001, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(answers(), ElementsAre(allowed("a", "{}"), allowed("b", "{}")));
}

TEST_F(ClaudeClientPermissionTest, FullAccessAllowsAtOnceAndShowsNothing)
{
    openSession(asking(canUseTool("request-1", R"({"command":"rm","n":[1]})")), GrokPermissionMode::fullAccess);
    runTurn();
    EXPECT_THAT(answers(), ElementsAre(allowed("request-1", R"({"command":"rm","n":[1]})")));
    EXPECT_THAT(permissions, IsEmpty());
}

TEST_F(ClaudeClientPermissionTest, TheModeThatDecidesByItselfAsksWhereTheRuntimeAsks)
{
    openSession(asking(canUseTool("request-1", "{}")), GrokPermissionMode::auto_);
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    client->respondToPermission(100000, "claude-deny");
    EXPECT_TRUE(waitForEvent("turn")) << report();
}

class ClaudeClientUnsupportedRequestTest : public ClaudeClientPermissionTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientUnsupportedRequestTest, IsAnsweredWithAnErrorAlsoWithFullAccessAndTheStreamGoesOn)
{
    openSession(asking(GetParam()), GrokPermissionMode::fullAccess);
    runTurn();
    EXPECT_THAT(answers(),
        ElementsAre(response(
            { { "subtype", "error" }, { "request_id", "r" }, { "error", "tessarin does not support this Claude control request." } })));
    EXPECT_THAT(permissions, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientUnsupportedRequestTest,
    ::testing::Values(R"({"type":"control_request","request_id":"r","request":{"subtype":"hook_callback"}})",
        R"({"type":"control_request","request_id":"r","request":{"subtype":"mcp_message","input":{}}})",
        R"({"type":"control_request","request_id":"r","request":{"subtype":["can_use_tool"]}})",
        R"({"type":"control_request","request_id":"r","request":{}})"));

class ClaudeClientMalformedRequestTest : public ClaudeClientPermissionTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(ClaudeClientMalformedRequestTest, IsIgnored)
{
    openSession(prompted().send(GetParam()).send(goodResult));
    runTurn();
    EXPECT_THAT(answers(), IsEmpty());
    EXPECT_THAT(permissions, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rows, ClaudeClientMalformedRequestTest,
    ::testing::Values(R"({"type":"control_request"})", R"({"type":"control_request","request_id":"r"})",
        R"({"type":"control_request","request":{"subtype":"can_use_tool"}})",
        R"({"type":"control_request","request_id":7,"request":{"subtype":"can_use_tool"}})",
        R"({"type":"control_request","request_id":"r","request":"can_use_tool"})",
        R"({"type":"control_request","request_id":"r","request":[{"subtype":"can_use_tool"}]})",
        R"({"type":"control_cancel_request","request_id":"r"})"));

TEST_F(ClaudeClientPermissionTest, AQuestionOutlivesTheEndOfItsTurn)
{
    openSession(prompted()
                    .send(canUseTool("r", "{}"))
                    .send(goodResult)
                    .expect("control_response")
                    .send(R"({"type":"rate_limit_event","rate_limit_info":{}})"));
    runTurn();
    client->respondToPermission(100000, "claude-allow-once");
    ASSERT_TRUE(waitForEvent("usage")) << report();
    EXPECT_THAT(answers(), ElementsAre(allowed("r", "{}")));
}

TEST_F(ClaudeClientPermissionTest, TheSameRequestTwiceIsTwoQuestions)
{
    openSession(prompted()
                    .send(canUseTool("r", "{}"))
                    .send(canUseTool("r", "{}"))
                    .expect("control_response")
                    .expect("control_response")
                    .send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    client->respondToPermission(100000, "claude-deny");
    client->respondToPermission(100001, "claude-deny");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    EXPECT_THAT(answers(), ElementsAre(denied("r"), denied("r")));
}

TEST_F(ClaudeClientPermissionTest, CancelInterruptsAndThenDeniesWhatIsOpen)
{
    openSession(prompted()
                    .send(canUseTool("a", "{}"))
                    .send(canUseTool("b", "{}"))
                    .expect("control_request/interrupt")
                    .expect("control_response")
                    .expect("control_response")
                    .replyTo("control_request/interrupt")
                    .waitForFile("go")
                    .send(goodResult));
    prompt();
    ASSERT_TRUE(waitForEvent("permission", 2)) << report();
    client->cancel();
    client->respondToPermission(100000, "claude-allow-once");
    client->respondToPermission(100001, "claude-allow-once");
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("turn")) << report();
    const std::vector<Json> messages = receivedAfterInitialize();
    ASSERT_EQ(messages.size(), 4U);
    EXPECT_EQ(messages[1], parsed(R"({"type":"control_request","request_id":"tessarin_2","request":{"subtype":"interrupt"}})"));
    EXPECT_EQ(messages[2], denied("a"));
    EXPECT_EQ(messages[3], denied("b"));
}

TEST_F(ClaudeClientPermissionTest, AfterTheEndOfTheChildAnAnswerDoesNothing)
{
    openSession(prompted().send(canUseTool("a", "{}")).waitForFile("go").exit(0));
    prompt();
    ASSERT_TRUE(waitForEvent("permission")) << report();
    runtime.touch("go");
    ASSERT_TRUE(waitForEvent("terminated")) << report();
    client->respondToPermission(100000, "claude-allow-once");
    mainThread.drain();
    EXPECT_THAT(answers(), IsEmpty());
}

} // namespace

} // namespace tessarin::testing
