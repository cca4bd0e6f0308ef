#include "App/RemoteCommandRules.h"

#include <gtest/gtest.h>

namespace tessarin::RemoteCommandRules
{
namespace
{

const Uuid selected = *Uuid::parse("ABCDEF01-2345-4789-8ABC-DEF012345678");

RemoteEnvelope answer(std::optional<std::int64_t> requestID, std::optional<std::string> optionID)
{
    RemoteEnvelope message;
    message.requestID = requestID;
    message.optionID = std::move(optionID);
    return message;
}

RemoteEnvelope modeMessage(std::optional<std::string> mode)
{
    RemoteEnvelope message;
    message.permissionMode = mode;
    message.providerMode = std::move(mode);
    return message;
}

TEST(RemoteCommandRulesTest, TheRefusalsAreToTheLetter)
{
    EXPECT_EQ(fullAccessRefusal, "Full Access can only be enabled on the Mac after confirmation.");
    EXPECT_EQ(permissionModeRefusal, "Wait for the agent to finish before changing permission mode.");
    EXPECT_EQ(providerModeRefusal, "Wait for the agent to finish before changing providers.");
}

TEST(RemoteCommandRulesTest, FullAccessIsRefusedWhateverTheAgentIsDoing)
{
    const ModeVerdict<GrokPermissionMode> refused = Refused{ fullAccessRefusal };
    EXPECT_EQ(judgePermissionMode(modeMessage("full_access"), true), refused);
    EXPECT_EQ(judgePermissionMode(modeMessage("full_access"), false), refused);
}

TEST(RemoteCommandRulesTest, TheOtherPermissionModesWaitForTheAgent)
{
    EXPECT_EQ(judgePermissionMode(modeMessage("ask"), true), ModeVerdict<GrokPermissionMode>(GrokPermissionMode::ask));
    EXPECT_EQ(judgePermissionMode(modeMessage("auto"), true), ModeVerdict<GrokPermissionMode>(GrokPermissionMode::auto_));
    for (const char* mode : { "ask", "auto" }) {
        EXPECT_EQ(judgePermissionMode(modeMessage(mode), false), ModeVerdict<GrokPermissionMode>(Refused{ permissionModeRefusal }));
    }
}

TEST(RemoteCommandRulesTest, AnUnknownPermissionModeIsPassedOver)
{
    for (const std::optional<std::string>& mode : { std::optional<std::string>(), std::optional<std::string>(""),
             std::optional<std::string>("Full_Access"), std::optional<std::string>("fullAccess"), std::optional<std::string>("Ask"),
             std::optional<std::string>(" ask"), std::optional<std::string>("full_access\n") }) {
        for (const bool canChange : { true, false }) {
            EXPECT_EQ(judgePermissionMode(modeMessage(mode), canChange), ModeVerdict<GrokPermissionMode>(Ignored()));
        }
    }
}

TEST(RemoteCommandRulesTest, EveryProviderModeWaitsForTheAgent)
{
    for (const ProviderRoutingMode mode : allProviderRoutingModes) {
        const RemoteEnvelope message = modeMessage(std::string(rawText(mode)));
        EXPECT_EQ(judgeProviderMode(message, true), ModeVerdict<ProviderRoutingMode>(mode));
        EXPECT_EQ(judgeProviderMode(message, false), ModeVerdict<ProviderRoutingMode>(Refused{ providerModeRefusal }));
    }
}

TEST(RemoteCommandRulesTest, AnUnknownProviderModeIsPassedOver)
{
    for (const std::optional<std::string>& mode : { std::optional<std::string>(), std::optional<std::string>(""),
             std::optional<std::string>("Grok"), std::optional<std::string>("full_access") }) {
        EXPECT_EQ(judgeProviderMode(modeMessage(mode), false), ModeVerdict<ProviderRoutingMode>(Ignored()));
        EXPECT_EQ(judgeProviderMode(modeMessage(mode), true), ModeVerdict<ProviderRoutingMode>(Ignored()));
    }
}

TEST(RemoteCommandRulesTest, OnlyAOneTimeAllowAndRefusalsAreOffered)
{
    for (const char* kind : { "allow_once", "reject", "reject_once", "reject_always", "rejected" }) {
        EXPECT_TRUE(isOffered({ "id", "name", kind })) << kind;
    }
    for (const char* kind : { "allow_always", "allow", "allow_once_and_always", "Allow_once", " allow_once", "", "Reject", " reject_once",
             "allow_reject", "always", "rej" }) {
        EXPECT_FALSE(isOffered({ "id", "name", kind })) << kind;
    }
    EXPECT_FALSE(isOffered({ "allow_once", "allow_once", "allow_always" })) << "neither its id nor its name counts";
}

TEST(RemoteCommandRulesTest, AnAnswerNamesThePendingRequestAndOneOfItsOptions)
{
    const PermissionRequest request{ 7, "Run", "", { { "a", "Allow", "allow_once" }, { "r", "Reject", "reject_once" } } };
    EXPECT_EQ(chosenOption(answer(7, "a"), request), "a");
    EXPECT_EQ(chosenOption(answer(7, "r"), request), "r");
    EXPECT_EQ(chosenOption(answer(6, "a"), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(std::nullopt, "a"), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, std::nullopt), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, "x"), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, ""), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, "A"), request), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, "a"), std::nullopt), std::nullopt);
    EXPECT_EQ(chosenOption(answer(std::nullopt, std::nullopt), std::nullopt), std::nullopt);
}

TEST(RemoteCommandRulesTest, AnOptionThatAllowsForGoodIsNeverChosen)
{
    const PermissionRequest request{ 7, "Run", "", { { "a", "Allow", "allow_once" }, { "always", "Always", "allow_always" } } };
    EXPECT_EQ(chosenOption(answer(7, "always"), request), std::nullopt);
}

TEST(RemoteCommandRulesTest, AnIdThatAnOfferedOptionSharesWithAnotherIsNotOffered)
{
    const PermissionOption once{ "a", "Allow", "allow_once" };
    const PermissionOption always{ "a", "Turn on always-approve", "allow_always" };
    EXPECT_EQ(chosenOption(answer(7, "a"), PermissionRequest{ 7, "", "", { once, always } }), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, "a"), PermissionRequest{ 7, "", "", { always, once } }), std::nullopt);
    EXPECT_EQ(chosenOption(answer(7, "a"), PermissionRequest{ 7, "", "", { once, once } }), "a");
}

TEST(RemoteCommandRulesTest, AGenerationIsCancelledAsImageOrAsImagine)
{
    RemoteEnvelope message;
    for (const char* kind : { "image", "imagine" }) {
        message.mediaKind = kind;
        EXPECT_EQ(cancelTarget(message, selected), CancelTarget::imagine);
        message.threadID = Uuid::random().text();
        EXPECT_EQ(cancelTarget(message, selected), CancelTarget::imagine) << "whatever task is named";
        message.threadID.reset();
    }
    for (const char* kind : { "video", "Image", "" }) {
        message.mediaKind = kind;
        EXPECT_EQ(cancelTarget(message, selected), CancelTarget::agent) << kind;
    }
}

TEST(RemoteCommandRulesTest, ATaskIsCancelledByTheExactTextOfItsId)
{
    RemoteEnvelope message;
    EXPECT_EQ(cancelTarget(message, selected), CancelTarget::agent);
    EXPECT_EQ(cancelTarget(message, std::nullopt), CancelTarget::agent);
    message.threadID = selected.text();
    EXPECT_EQ(cancelTarget(message, selected), CancelTarget::agent);
    EXPECT_EQ(cancelTarget(message, std::nullopt), CancelTarget::nothing);
    message.threadID = "abcdef01-2345-4789-8abc-def012345678";
    EXPECT_EQ(cancelTarget(message, selected), CancelTarget::nothing);
    message.threadID = Uuid::random().text();
    EXPECT_EQ(cancelTarget(message, selected), CancelTarget::nothing);
    message.threadID = "";
    EXPECT_EQ(cancelTarget(message, selected), CancelTarget::nothing);
}

TEST(RemoteCommandRulesTest, AnIdIsReadInAnyCaseAndInNoOtherForm)
{
    EXPECT_EQ(uuid("ABCDEF01-2345-4789-8ABC-DEF012345678"), selected);
    EXPECT_EQ(uuid("abcdef01-2345-4789-8abc-def012345678"), selected);
    EXPECT_EQ(uuid(std::nullopt), std::nullopt);
    for (const char* text : { "", "ABCDEF01234547898ABCDEF012345678", "{ABCDEF01-2345-4789-8ABC-DEF012345678}",
             " ABCDEF01-2345-4789-8ABC-DEF012345678", "ABCDEF01-2345-4789-8ABC-DEF01234567G" }) {
        EXPECT_EQ(uuid(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace tessarin::RemoteCommandRules
