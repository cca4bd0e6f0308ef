#include "AppModelFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using State = ConnectionState::Kind;

struct Option {
    const char* id;
    const char* name;
    const char* kind;
};

class AppModelPermissionsTest : public AppModelTest
{
protected:
    // A session/request_permission with these options.
    static std::string request(int id, const std::vector<Option>& options)
    {
        JsonArray list;
        for (const Option& option : options) {
            list.push_back(JsonObject{ { "optionId", option.id }, { "name", option.name }, { "kind", option.kind } });
        }
        return boost::json::serialize(JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "method", "session/request_permission" },
            { "params", JsonObject{ { "toolCall", JsonObject{ { "title", "Run " + std::to_string(id) } } }, { "options", list } } } });
    }

    // A turn that asks and waits for its answer.
    void openAsking(const std::vector<Option>& options)
    {
        Scenario scenario;
        scenario.always("session/cancel").handshake().expect("session/prompt").send(request(7, options)).expectResponse(7);
        runtime.script("grok", scenario.replyTo("session/prompt", endTurn).expect("session/prompt").reply(endTurn));
        openProject();
        model->send("Hi");
        waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    }

    // What the runtime was answered under the id, once it was.
    [[nodiscard]] Json answer(int id = 7, int start = 1)
    {
        Json found;
        waitUntil(
            [&] {
                for (const Json& message : runtime.received("grok", start)) {
                    const JsonObject& object = message.as_object();
                    if (!object.contains("method") && integerAt(object, "id") == id) {
                        found = object.at("result").at("outcome");
                        return true;
                    }
                }
                return false;
            },
            "the answer");
        return found;
    }

    static Json selected(const char* option) { return Json{ { "outcome", "selected" }, { "optionId", option } }; }
    [[nodiscard]] std::string storedMode() const { return preferences.text("grokPermissionMode.v1").value_or(""); }
};

TEST_F(AppModelPermissionsTest, ARequestFillsTheSlotAndItsAnswerEmptiesIt)
{
    openAsking({ { "a", "Allow", "allow_once" }, { "r", "Reject", "reject_once" } });
    const PermissionRequest& request = *model->permissionRequest();
    EXPECT_EQ(request.title, "Run 7");
    EXPECT_THAT(
        request.options, ElementsAre(PermissionOption{ "a", "Allow", "allow_once" }, PermissionOption{ "r", "Reject", "reject_once" }));
    EXPECT_EQ(model->connectionState().kind(), State::working);
    model->respondToPermission("a");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(answer(), selected("a"));
    waitFor(State::ready);
    EXPECT_EQ(storedMode(), "");
}

TEST_F(AppModelPermissionsTest, AnAnswerWithoutAPendingPromptIsIgnored)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    model->respondToPermission("a");
    model->rejectPermission();
    EXPECT_THAT(texts(), IsEmpty());
    runTurn("Hi");
    model->respondToPermission("a");
    model->rejectPermission();
    EXPECT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Hello"));
}

TEST_F(AppModelPermissionsTest, AnUnknownOptionGoesToTheClientUnchangedAndThePromptCloses)
{
    openAsking({ { "a", "Allow", "allow_once" } });
    model->respondToPermission("something else");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(answer(), selected("something else"));
}

TEST_F(AppModelPermissionsTest, ASecondRequestOverwritesTheSlotWithNothingSentForTheFirst)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, { { "a", "Allow", "allow_once" } })).waitForFile("go");
    scenario.send(request(8, { { "b", "Allow", "allow_once" } })).expectResponse(8).replyTo("session/prompt", endTurn);
    runtime.script("grok", scenario);
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); });
    runtime.touch("go");
    waitUntil([&] { return model->permissionRequest()->title == "Run 8"; });
    model->respondToPermission("b");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(answer(8), selected("b"));
    waitFor(State::ready);
    for (const Json& message : runtime.received("grok")) {
        EXPECT_FALSE(message.as_object().contains("result") && message.at("id") == 7) << message;
    }
}

TEST_F(AppModelPermissionsTest, RejectingAnswersWithTheRejectOption)
{
    openAsking({ { "a", "Allow", "allow_once" }, { "r", "Reject", "reject_once" } });
    model->rejectPermission();
    EXPECT_EQ(answer(), selected("r"));
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
}

TEST_F(AppModelPermissionsTest, TheRejectOptionThatStandsFirstWins)
{
    openAsking({ { "n", "Never", "reject_always" }, { "r", "Reject", "reject_once" } });
    model->rejectPermission();
    EXPECT_EQ(answer(), selected("n"));
}

TEST_F(AppModelPermissionsTest, WithoutARejectOptionTheWholeWorkStops)
{
    openAsking({ { "a", "Allow", "allow_once" }, { "x", "No", "reject" } });
    model->rejectPermission();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_THAT(texts(), ElementsAre("Hi", "Stopped by you."));
    EXPECT_EQ(answer(), (Json{ { "outcome", "cancelled" } }));
    waitUntil([&] { return !runtime.received("grok", "session/cancel").empty(); });
}

TEST_F(AppModelPermissionsTest, StoppingTheWorkClearsThePrompt)
{
    openAsking({ { "a", "Allow", "allow_once" } });
    model->stopWorking();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(answer(), (Json{ { "outcome", "cancelled" } }));
}

TEST_F(AppModelPermissionsTest, AChangeOfTaskClearsThePrompt)
{
    openAsking({ { "a", "Allow", "allow_once" } });
    model->newThread();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
}

TEST_F(AppModelPermissionsTest, AnUnexpectedEndKeepsThePromptAndItsAnswerHasNoEffect)
{
    Scenario scenario = hangingTurn();
    runtime.script("grok", scenario.send(request(7, { { "a", "Allow", "allow_once" } })).waitForFile("end").exit(1));
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); });
    EXPECT_TRUE(model->isPermissionHeard());
    runtime.touch("end");
    waitFor(State::failed);
    EXPECT_TRUE(model->permissionRequest());
    EXPECT_FALSE(model->isPermissionHeard());
    model->respondToPermission("a");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), State::failed);
}

TEST_F(AppModelPermissionsTest, ATurnThatFailsLeavesThePromptToBeAnswered)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, { { "a", "Allow", "allow_once" } })).replyError("The service is down");
    runtime.script("grok", scenario);
    openProject();
    model->send("Hi");
    waitFor(State::failed);
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_TRUE(model->isPermissionHeard());
    model->respondToPermission("a");
    EXPECT_EQ(answer(), selected("a"));
    EXPECT_FALSE(model->isPermissionHeard()) << "nobody asks any more";
}

TEST_F(AppModelPermissionsTest, AHandoffKeepsThePromptThoughNobodyHearsItsAnswer)
{
    Scenario grok;
    grok.handshake().expect("session/prompt").send(request(7, { { "a", "Allow", "allow_once" } })).replyError(usageLimit);
    runtime.script("grok", grok);
    runtime.script("kimi", oneTurn("From Kimi"));
    openProject({ "grok", "kimi" });
    runTurn("Hi");
    EXPECT_EQ(model->activeProvider(), AgentProvider::kimi);
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_EQ(model->permissionRequest()->title, "Run 7");
    EXPECT_FALSE(model->isPermissionHeard());
    model->respondToPermission("a");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    waitForStop("grok");
    for (const char* program : { "grok", "kimi" }) {
        for (const Json& message : runtime.received(program)) {
            EXPECT_TRUE(message.as_object().contains("method")) << "no answer: " << message;
        }
    }
}

TEST_F(AppModelPermissionsTest, TheSameRequestOfTheNextClientIsHeardAgain)
{
    Scenario first = hangingTurn();
    runtime.script("grok", 1, first.send(request(7, { { "a", "Allow", "allow_once" } })).waitForFile("end").exit(1));
    Scenario second;
    second.handshake().expect("session/prompt").send(request(7, { { "a", "Allow", "allow_once" } })).expectResponse(7);
    runtime.script("grok", 2, second.replyTo("session/prompt", endTurn));
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); });
    runtime.touch("end");
    waitFor(State::failed);
    EXPECT_FALSE(model->isPermissionHeard());
    int changes = 0;
    const auto observing
        = model->observe([&](const ModelChange& change) { changes += change.kind == ModelChange::Kind::permissionRequest ? 1 : 0; });
    model->send("Again");
    waitUntil([&] { return model->isPermissionHeard(); }, "the second request");
    EXPECT_EQ(changes, 1);
    model->respondToPermission("a");
    EXPECT_EQ(answer(7, 2), selected("a"));
    waitFor(State::ready);
}

TEST_F(AppModelPermissionsTest, AnAlwaysApproveAnswerStoresFullAccessWhileTheClientStays)
{
    openAsking({ { "y", "Always-Approve for this session", "allow_always" } });
    model->respondToPermission("y");
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess);
    EXPECT_EQ(storedMode(), "full_access");
    EXPECT_EQ(answer(), selected("y"));
    waitFor(State::ready);
    runTurn("More");
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelPermissionsTest, TheFirstOfTwoOptionsWithOneIdDecides)
{
    openAsking({ { "y", "Allow", "allow_once" }, { "y", "Always-approve", "allow_always" } });
    model->respondToPermission("y");
    EXPECT_EQ(answer(), selected("y"));
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
}

TEST_F(AppModelPermissionsTest, AStoredFullAccessIsHonouredAtTheStart)
{
    preferences.setText("grokPermissionMode.v1", "full_access");
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess);
    runTurn("Hi");
    EXPECT_EQ(runtime.startOf("grok", 1).at("argv").as_array().at(2).as_string(), "--always-approve");
}

TEST_F(AppModelPermissionsTest, AnotherAlwaysAnswerStoresNothing)
{
    openAsking({ { "y", "Always allow", "allow_always" }, { "z", "Always-approve once", "allow_once" } });
    model->respondToPermission("y");
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(storedMode(), "");
}

TEST_F(AppModelPermissionsTest, OnlyAnOptionOfTheAlwaysKindCanGiveFullAccess)
{
    openAsking({ { "z", "Always-approve once", "allow_once" } });
    model->respondToPermission("z");
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(storedMode(), "");
}

TEST_F(AppModelPermissionsTest, AChangeOfApprovalModeIsStoredAndDropsTheConnection)
{
    runtime.script("grok", 1, oneTurn("Hello"));
    runtime.script("grok", 2, oneTurn("Again"));
    openProject();
    runTurn("Hi");
    model->setPermissionMode(GrokPermissionMode::fullAccess);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess);
    EXPECT_EQ(storedMode(), "full_access");
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(model->activeProvider(), std::nullopt);
    runTurn("More");
    const JsonObject started = runtime.startOf("grok", 2);
    EXPECT_EQ(started.at("argv").as_array().at(2).as_string(), "--always-approve");
}

TEST_F(AppModelPermissionsTest, TheCurrentApprovalModeKeepsTheClient)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    runTurn("Hi");
    model->setPermissionMode(GrokPermissionMode::ask);
    EXPECT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
    EXPECT_EQ(storedMode(), "");
}

TEST_F(AppModelPermissionsTest, WhileWorkingNoModeChanges)
{
    runtime.script("grok", hangingTurn());
    openProject();
    model->send("Hi");
    model->setPermissionMode(GrokPermissionMode::auto_);
    model->setRoutingMode(ProviderRoutingMode::kimi);
    waitFor(State::working);
    model->setPermissionMode(GrokPermissionMode::auto_);
    model->setRoutingMode(ProviderRoutingMode::kimi);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    EXPECT_EQ(storedMode(), "");
    EXPECT_EQ(preferences.text("providerRoutingMode.v1"), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), State::working);
}

TEST_F(AppModelPermissionsTest, AFailedConnectionDoesNotBlockAChange)
{
    openProject({});
    model->send("Hi");
    ASSERT_EQ(model->connectionState().kind(), State::failed);
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::auto_);
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelPermissionsTest, WhileAPromptIsPendingNoModeChangesEvenWhenReady)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").reply(endTurn).send(request(7, { { "a", "Allow", "allow_once" } })).waitForFile("never");
    runtime.script("grok", scenario);
    openProject();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); });
    ASSERT_EQ(model->connectionState().kind(), State::ready);
    EXPECT_FALSE(model->canChangeRoutingMode());
    EXPECT_FALSE(model->canChangePermissionMode());
    model->setRoutingMode(ProviderRoutingMode::kimi);
    model->setPermissionMode(GrokPermissionMode::auto_);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::ask);
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
}

TEST_F(AppModelPermissionsTest, AChangeOfRoutingIsStoredAndStopsTheClient)
{
    runtime.script("grok", oneTurn("Hello"));
    runtime.script("kimi", oneTurn("From Kimi"));
    openProject({ "grok", "kimi" });
    runTurn("Hi");
    model->setRoutingMode(ProviderRoutingMode::kimi);
    EXPECT_EQ(preferences.text("providerRoutingMode.v1"), "kimi");
    EXPECT_EQ(model->activeProvider(), std::nullopt);
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    waitForStop("grok");
    runTurn("More");
    EXPECT_EQ(model->activeProvider(), AgentProvider::kimi);
}

TEST_F(AppModelPermissionsTest, TheCurrentRoutingModeKeepsTheClient)
{
    runtime.script("grok", oneTurn("Hello"));
    openProject();
    runTurn("Hi");
    model->setRoutingMode(ProviderRoutingMode::automatic);
    EXPECT_EQ(model->activeProvider(), AgentProvider::grok);
    EXPECT_EQ(preferences.text("providerRoutingMode.v1"), std::nullopt);
}

} // namespace
} // namespace tessarin::testing
