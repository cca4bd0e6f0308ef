#include "Services/ClaudeCodeMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace tessarin
{

namespace
{

namespace Messages = ClaudeCodeMessages;
using ::testing::ElementsAre;

JsonObject object(std::string_view text)
{
    return boost::json::parse(text).as_object();
}

struct CommandLineRow {
    GrokPermissionMode mode;
    Messages::SessionOrigin origin;
    const char* modeWord;
    const char* lastArgument;
};

class CommandLineTest : public ::testing::TestWithParam<CommandLineRow>
{
};

TEST_P(CommandLineTest, HasEachArgumentInItsPlace)
{
    EXPECT_THAT(Messages::arguments("opus", GetParam().mode, "An-Id", GetParam().origin),
        ElementsAre("--output-format", "stream-json", "--verbose", "--input-format", "stream-json", "--include-partial-messages",
            "--permission-prompt-tool", "stdio", "--setting-sources=user,project,local", "--permission-mode", GetParam().modeWord,
            "--model", "opus", GetParam().lastArgument));
}

using Mode = GrokPermissionMode;
using Origin = Messages::SessionOrigin;
INSTANTIATE_TEST_SUITE_P(Rows, CommandLineTest,
    ::testing::Values(CommandLineRow{ Mode::ask, Origin::created, "default", "--session-id=An-Id" },
        CommandLineRow{ Mode::auto_, Origin::created, "auto", "--session-id=An-Id" },
        CommandLineRow{ Mode::fullAccess, Origin::created, "bypassPermissions", "--session-id=An-Id" },
        CommandLineRow{ Mode::ask, Origin::stored, "default", "--resume=An-Id" },
        CommandLineRow{ Mode::auto_, Origin::stored, "auto", "--resume=An-Id" },
        CommandLineRow{ Mode::fullAccess, Origin::stored, "bypassPermissions", "--resume=An-Id" }));

TEST(ClaudeCodeMessagesTest, EveryMessageHasItsShape)
{
    EXPECT_EQ(Messages::controlRequest("tessarin_1", Messages::initialize()),
        object(R"({"type":"control_request","request_id":"tessarin_1","request":{"subtype":"initialize","hooks":null}})"));
    EXPECT_EQ(Messages::controlRequest("tessarin_2", Messages::interrupt()),
        object(R"({"type":"control_request","request_id":"tessarin_2","request":{"subtype":"interrupt"}})"));
    EXPECT_EQ(Messages::allow("r-1", object(R"({"command":"ls","timeout":1.5})")),
        object(R"({"type":"control_response","response":{"subtype":"success","request_id":"r-1",)"
               R"("response":{"behavior":"allow","updatedInput":{"command":"ls","timeout":1.5}}}})"));
    EXPECT_EQ(Messages::deny("r-2"),
        object(R"({"type":"control_response","response":{"subtype":"success","request_id":"r-2",)"
               R"("response":{"behavior":"deny","message":"Denied by the user in tessarin."}}})"));
    EXPECT_EQ(Messages::controlError("r-3", "No."),
        object(R"({"type":"control_response","response":{"subtype":"error","request_id":"r-3","error":"No."}})"));
    EXPECT_EQ(Messages::prompt("Hello\n\"you\"", "s-1"),
        object(R"({"type":"user","message":{"role":"user","content":"Hello\n\"you\""},"parent_tool_use_id":null,"session_id":"s-1"})"));
}

struct TitleRow {
    const char* request;
    const char* title;
};

class PermissionTitleTest : public ::testing::TestWithParam<TitleRow>
{
};

TEST_P(PermissionTitleTest, IsTheFirstTextOfThreeKeys)
{
    EXPECT_EQ(Messages::permissionRequest(1, object(GetParam().request), {}).title, GetParam().title) << GetParam().request;
}

INSTANTIATE_TEST_SUITE_P(Rows, PermissionTitleTest,
    ::testing::Values(TitleRow{ R"({"display_name":"D","title":"T","tool_name":"N"})", "D" },
        TitleRow{ R"({"title":"T","tool_name":"N"})", "T" }, TitleRow{ R"({"tool_name":"N"})", "N" }, TitleRow{ "{}", "Use a tool" },
        TitleRow{ R"({"display_name":1,"title":null,"tool_name":"N"})", "N" },
        TitleRow{ R"({"display_name":{},"title":[],"tool_name":true})", "Use a tool" },
        TitleRow{ R"({"display_name":"","title":"T"})", "" }));

TEST(ClaudePermissionRequestTest, ShowsTheInputWithItsKeysSorted)
{
    const auto request
        = Messages::permissionRequest(100000, object(R"({"description":"unused"})"), object(R"({"path":"/a","content":{"b":1,"a":[]}})"));
    EXPECT_EQ(request.id, 100000);
    EXPECT_EQ(request.detail, "{\n  \"content\" : {\n    \"a\" : [\n\n    ],\n    \"b\" : 1\n  },\n  \"path\" : \"\\/a\"\n}");
}

TEST(ClaudePermissionRequestTest, ShowsAnEmptyInputAsOne)
{
    EXPECT_EQ(Messages::permissionRequest(1, object(R"({"description":"unused"})"), {}).detail, "{\n\n}");
}

TEST(ClaudePermissionRequestTest, AnInputThatCannotBeShownGivesWayToTheDescription)
{
    const JsonObject input{ { "number", std::numeric_limits<double>::infinity() } };
    EXPECT_EQ(Messages::permissionRequest(1, object(R"({"description":"Runs a command"})"), input).detail, "Runs a command");
    EXPECT_EQ(Messages::permissionRequest(1, object(R"({"description":7})"), input).detail, "Claude Code needs permission to continue.");
    EXPECT_EQ(Messages::permissionRequest(1, {}, input).detail, "Claude Code needs permission to continue.");
}

TEST(ClaudePermissionRequestTest, OffersTheDenialFirst)
{
    EXPECT_THAT(Messages::permissionRequest(1, {}, {}).options,
        ElementsAre(
            PermissionOption{ "claude-deny", "Deny", "reject_once" }, PermissionOption{ "claude-allow-once", "Allow once", "allow_once" }));
}

} // namespace

} // namespace tessarin
