#include "AppModelRemoteFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// How a device answers what an agent asks, and what it can never do.
class AppModelRemotePermissionTest : public AppModelRemoteTest
{
protected:
    // A turn whose runtime asks with these kinds of options, whose ids are their kinds, and goes on when answered.
    void openAsking(const std::vector<std::string>& kinds, const std::string& name = "Option")
    {
        Scenario scenario = hangingTurn();
        runtime.script("grok", scenario.send(permissionQuestion(7, kinds, name)).expectResponse(7).replyTo("session/prompt", endTurn));
        openRemote();
        model->send("Hi");
        waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
        EXPECT_TRUE(snapshotAfter().permission.has_value());
    }
    [[nodiscard]] RemoteEnvelope response(const std::string& optionID) const
    {
        RemoteEnvelope result = message(RemoteMessageType::permissionResponse);
        result.requestID = model->permissionRequest()->id;
        result.optionID = optionID;
        return result;
    }
    // What the runtime was told, in order.
    [[nodiscard]] std::vector<Json> answers() const
    {
        std::vector<Json> outcomes;
        for (const Json& each : runtime.received("grok")) {
            const JsonObject& object = each.as_object();
            if (!object.contains("method") && object.at("id") == 7) {
                outcomes.push_back(object.at("result").at("outcome"));
            }
        }
        return outcomes;
    }
    static Json selected(const char* option) { return Json{ { "outcome", "selected" }, { "optionId", option } }; }
    // The request is as it was, the mode is not full access, and nothing was told.
    void expectUntouched(const std::optional<PermissionRequest>& before)
    {
        EXPECT_EQ(model->permissionRequest(), before);
        EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
        EXPECT_EQ(storedMode(), "");
        EXPECT_THAT(answers(), IsEmpty());
    }
};

TEST_F(AppModelRemotePermissionTest, AOneTimeAllowGoesToTheAgent)
{
    openAsking({ "allow_once", "allow_always", "reject_once" });
    device->send(response("allow_once"));
    waitFor(State::ready);
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_THAT(answers(), ElementsAre(selected("allow_once")));
}

// Agents number their questions from the start, each for itself.
TEST_F(AppModelRemotePermissionTest, AnAnswerFromBeforeTheDevicesWereToldOfTheQuestionAnswersAnOlderOne)
{
    runtime.script(
        "grok", hangingTurn().send(permissionQuestion(7, { "allow_once" })).expectResponse(7).replyTo("session/prompt", endTurn));
    openRemote();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    const auto request = model->permissionRequest();
    device->send(response("allow_once"));
    EXPECT_TRUE(snapshotAfter().permission.has_value()); // the answer has come before
    expectUntouched(request);
    device->send(response("allow_once"));
    waitFor(State::ready);
    EXPECT_THAT(answers(), ElementsAre(selected("allow_once")));
}

TEST_F(AppModelRemotePermissionTest, ARefusalForGoodGoesToTheAgent)
{
    openAsking({ "allow_once", "reject_always" });
    device->send(response("reject_always"));
    waitFor(State::ready);
    EXPECT_THAT(answers(), ElementsAre(selected("reject_always")));
}

TEST_F(AppModelRemotePermissionTest, AnAnswerGoesToImagineWhenItAsks)
{
    Scenario scenario = hangingTurn();
    const std::string question = permissionQuestion(7, { "allow_once", "reject_once" });
    runtime.script("grok", scenario.send(question).expectResponse(7).replyTo("session/prompt", endTurn));
    openRemote();
    model->generateImagine("a cat", ImagineKind::image);
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    EXPECT_TRUE(snapshotAfter().permission.has_value());
    device->send(response("reject_once"));
    waitForImagine(State::ready);
    EXPECT_THAT(answers(), ElementsAre(selected("reject_once")));
}

TEST_F(AppModelRemotePermissionTest, TheSnapshotOffersOnlyWhatADeviceMayChoose)
{
    openAsking({ "allow_once", "allow_always", "reject_once", "reject_always", "other" });
    const auto permission = snapshotAfter().permission;
    ASSERT_TRUE(permission);
    EXPECT_EQ(permission->requestID, model->permissionRequest()->id);
    EXPECT_EQ(permission->title, "Ask 7");
    EXPECT_EQ(permission->detail, model->permissionRequest()->detail);
    EXPECT_THAT(permission->options,
        ElementsAre(RemotePermissionOption{ "allow_once", "Option", "allow_once" },
            RemotePermissionOption{ "reject_once", "Option", "reject_once" },
            RemotePermissionOption{ "reject_always", "Option", "reject_always" }));
}

TEST_F(AppModelRemotePermissionTest, ARequestWithoutAChoiceForADeviceIsShownWithoutOne)
{
    openAsking({ "allow_always" });
    const auto permission = snapshotAfter().permission;
    ASSERT_TRUE(permission);
    EXPECT_THAT(permission->options, IsEmpty());
}

TEST_F(AppModelRemotePermissionTest, AForgedIdOfWhatAllowsForGoodChangesNothingAndThePromptStays)
{
    openAsking({ "allow_once", "allow_always" }, "Turn on always-approve");
    const auto before = model->permissionRequest();
    command(response("allow_always"));
    expectUntouched(before);
    EXPECT_THAT(device->errors(), IsEmpty());
}

TEST_F(AppModelRemotePermissionTest, AnIdSharedWithWhatAllowsForGoodIsNoWayAround)
{
    Scenario scenario = hangingTurn();
    const JsonArray options{ JsonObject{ { "optionId", "a" }, { "name", "always-approve" }, { "kind", "allow_always" } },
        JsonObject{ { "optionId", "a" }, { "name", "Allow" }, { "kind", "allow_once" } } };
    scenario.send(boost::json::serialize(JsonObject{ { "jsonrpc", "2.0" }, { "id", 7 }, { "method", "session/request_permission" },
        { "params", JsonObject{ { "toolCall", JsonObject{ { "title", "Ask" } } }, { "options", options } } } }));
    runtime.script("grok", scenario.expectResponse(7).replyTo("session/prompt", endTurn));
    openRemote();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    const auto before = model->permissionRequest();
    command(response("a"));
    expectUntouched(before);
}

TEST_F(AppModelRemotePermissionTest, AnAnswerToAnotherRequestOrWithoutItsFieldsIsDropped)
{
    openAsking({ "allow_once", "reject_once" });
    const auto before = model->permissionRequest();
    RemoteEnvelope late = response("allow_once");
    late.requestID = *late.requestID + 1;
    command(late);
    RemoteEnvelope withoutRequest = response("allow_once");
    withoutRequest.requestID.reset();
    command(withoutRequest);
    RemoteEnvelope withoutOption = response("");
    withoutOption.optionID.reset();
    command(withoutOption);
    command(response("unknown"));
    command(response(""));
    expectUntouched(before);
}

TEST_F(AppModelRemotePermissionTest, AnAnswerWhenNothingIsAskedIsDropped)
{
    openAsking({ "allow_once", "reject_once" });
    RemoteEnvelope answer = response("allow_once");
    model->respondToPermission("reject_once");
    waitFor(State::ready);
    command(answer);
    EXPECT_THAT(answers(), ElementsAre(selected("reject_once")));
    EXPECT_EQ(model->connectionState().kind(), State::ready);
}

TEST_F(AppModelRemotePermissionTest, FullAccessIsRefusedDuringARunWithItsOwnText)
{
    openAsking({ "allow_once" });
    command(permissionMode("full_access"));
    EXPECT_THAT(device->errors(), ElementsAre("Full Access can only be enabled on the Mac after confirmation."));
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
}

TEST_F(AppModelRemotePermissionTest, FullAccessIsRefusedWhenTheAgentRestsAndAlsoWhenItIsOn)
{
    openRemote({});
    command(permissionMode("full_access"));
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    command(permissionMode("full_access"));
    EXPECT_EQ(device->errors().size(), 2U);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess) << "as the person at the computer has set it";
    command(permissionMode("ask"));
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask) << "less is always possible";
}

TEST_F(AppModelRemotePermissionTest, NoMessageAtAllTurnsOnFullAccess)
{
    openAsking({ "allow_once", "allow_always" }, "Turn on always-approve");
    const auto before = model->permissionRequest();
    for (const std::string_view type : { RemoteMessageType::hello, RemoteMessageType::refresh, RemoteMessageType::selectThread,
             RemoteMessageType::permissionResponse, RemoteMessageType::setPermissionMode, RemoteMessageType::setProviderMode,
             RemoteMessageType::mediaRequest, RemoteMessageType::snapshot, RemoteMessageType::error, std::string_view("full_access") }) {
        RemoteEnvelope everything = taskMessage(type);
        everything.requestID = before->id;
        everything.optionID = "allow_always";
        everything.permissionMode = "full_access";
        everything.providerMode = "full_access";
        everything.text = "full_access";
        RemoteSnapshot snapshot;
        snapshot.permissionMode = "full_access";
        everything.snapshot.emplace(std::move(snapshot));
        command(everything);
        expectUntouched(before);
    }
}

TEST_F(AppModelRemotePermissionTest, NothingThatADeviceSendsDeletesOrChangesSettings)
{
    openRemote({});
    model->newThread();
    const auto tree = model->workspaces();
    const std::string keyBefore = key();
    const std::string address = model->remoteAdvertisedHost();
    for (const char* type :
        { "delete_thread", "deleteThread", "remove_workspace", "removeWorkspace", "delete_imagine_item", "add_workspace", "choose_project",
            "set_remote_enabled", "rotate_key", "rotateRemoteAccessKey", "set_advertised_host", "log_in", "open_item" }) {
        RemoteEnvelope strange = taskMessage(type);
        strange.text = "10.0.0.1";
        strange.mediaID = Uuid::random().text();
        command(strange);
    }
    EXPECT_EQ(model->workspaces(), tree);
    EXPECT_EQ(key(), keyBefore);
    EXPECT_EQ(model->remoteAdvertisedHost(), address);
    EXPECT_TRUE(model->remoteEnabled());
    EXPECT_THAT(desktop.questions, IsEmpty());
    EXPECT_THAT(desktop.opened, IsEmpty());
    EXPECT_THAT(desktop.trashed, IsEmpty());
}

} // namespace
} // namespace tessarin::testing
