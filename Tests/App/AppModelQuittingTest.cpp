#include "AppModelImagineFixture.h"

#include <algorithm>

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;

class AppModelQuittingTest : public AppModelImagineTest
{
protected:
    // A turn of which this much has been shown.
    void beginTurn(std::string_view program, const Scenario& scenario, std::size_t entries)
    {
        runtime.script(program, scenario);
        openProject({ program });
        model->send("go");
        waitForEntries(entries);
    }
    static Scenario streaming(std::string_view text) { return hangingTurn().chunk(text).waitForFile("never"); }
};

TEST_F(AppModelQuittingTest, WhatIsShownOfAnUnfinishedTurnIsStored)
{
    beginTurn("grok", streaming("Half an answ"), 2);
    EXPECT_THAT(storedTexts(), ElementsAre("go")) << "what streams is stored with the end of the turn";
    model->stopRuntimes();
    EXPECT_EQ(storedTree(), model->workspaces());
    EXPECT_THAT(storedTexts(), ElementsAre("go", "Half an answ"));
}

TEST_F(AppModelQuittingTest, TheRuntimeIsAskedToEndOnce)
{
    Scenario scenario;
    scenario.step(R"({"ignoreTerm":true})").always("session/set_config_option").handshake().expect("session/prompt").chunk("Working");
    scenario.waitForFile("end"); // the end of its input alone would end it, perhaps before the signal has come
    beginTurn("grok", scenario, 2);
    model->stopRuntimes();
    waitUntil([this] { return runtime.hasRecorded("grok", "signal"); }, "the signal");
    runtime.touch("end");
    waitUntil([this] { return runtime.hasRecorded("grok", "exit"); }, "the end of a runtime that does not mind the signal");
    const std::vector<JsonObject> record = runtime.record("grok");
    EXPECT_EQ(std::count_if(record.begin(), record.end(), [](const JsonObject& event) { return event.contains("signal"); }), 1);
}

TEST_F(AppModelQuittingTest, ARuntimeThatIsStoppedBehindTheCallIsAskedToEndToo)
{
    Scenario scenario;
    scenario.withoutVersion().step(R"({"ignoreTerm":true})").expect("initialize").reply().touch("open").waitForFile("end");
    runtime.script("codex", scenario);
    openProject({ "codex" });
    model->send("go");
    waitUntil([this] { return runtime.exists("open"); }, "the runtime");
    model->stopRuntimes();
    waitUntil([this] { return runtime.hasRecorded("codex", "signal"); }, "the signal");
    runtime.touch("end");
}

TEST_F(AppModelQuittingTest, ASecondRuntimeIsAskedToo)
{
    openImagine(hangingTurn());
    model->generateImagine("a harbor", ImagineKind::image);
    waitForImagine(State::working);
    model->stopRuntimes();
    waitForStop("grok");
}

TEST_F(AppModelQuittingTest, AProgramThatHangsInItsVersionIsAskedToEnd)
{
    runtime.script("grok", Scenario().commandUntil("never", "--version", "1"));
    openProject();
    model->refreshInstallStatus();
    waitUntil([this] { return runtime.hasStarted("grok-command"); }, "the probe");
    model->stopRuntimes();
    waitUntil([this] { return runtime.hasRecorded("grok-command", "signal"); }, "the signal");
}

TEST_F(AppModelQuittingTest, ASignInIsLeftToThePerson)
{
    runtime.script("grok", Scenario().command("--version", "1").commandUntil("go", "login", "Welcome"));
    openProject();
    model->logIn();
    waitUntil([this] { return runtime.hasStarted("grok-command"); }, "the sign-in");
    model->stopRuntimes();
    runtime.touch("go");
    waitFor(State::idle);
}

TEST_F(AppModelQuittingTest, HalfAReplayIsNotStoredInPlaceOfTheWhole)
{
    runtime.script("grok", 1, oneTurn("The whole answer."));
    Scenario replay;
    replay.always("session/set_config_option").expect("initialize").reply(R"({"agentCapabilities":{"loadSession":true}})");
    replay.expect("session/load")
        .update(R"({"sessionUpdate":"user_message_chunk","messageId":"1","content":{"type":"text","text":"first"}})");
    replay.waitForFile("never");
    runtime.script("grok", 2, replay);
    openProject();
    runTurn("first");
    openModel();
    model->send("second");
    waitUntil([this] { return texts() == std::vector<std::string>{ "first" }; }, "the beginning of the replay");
    model->stopRuntimes();
    EXPECT_THAT(storedTexts(), ElementsAre("first", "The whole answer.", "second"));
}

TEST_F(AppModelQuittingTest, NothingIsStoredWhereNothingHasChanged)
{
    openProject({});
    preferences.remove(WorkspaceStore::key);
    model->stopRuntimes();
    EXPECT_FALSE(preferences.bytes(WorkspaceStore::key).has_value());
}

TEST_F(AppModelQuittingTest, ATurnIsUnderWayFromItsStartToItsEnd)
{
    runtime.script("grok", hangingTurn().waitForFile("go").replyTo("session/prompt", endTurn));
    openProject();
    EXPECT_FALSE(model->isTurnUnderWay());
    model->send("go");
    EXPECT_EQ(model->connectionState().kind(), State::connecting);
    EXPECT_TRUE(model->isTurnUnderWay());
    waitFor(State::working);
    EXPECT_TRUE(model->isTurnUnderWay());
    runtime.touch("go");
    waitFor(State::ready);
    EXPECT_FALSE(model->isTurnUnderWay());
}

TEST_F(AppModelQuittingTest, ASignInIsNoTurn)
{
    runtime.script("grok", Scenario().command("--version", "1").command("login", "Welcome"));
    openProject();
    model->logIn();
    EXPECT_EQ(model->connectionState().kind(), State::connecting);
    EXPECT_FALSE(model->isTurnUnderWay());
    waitFor(State::idle);
}

TEST_F(AppModelQuittingTest, ASignInDuringATurnHidesNoTurn)
{
    beginTurn("grok", streaming("Working").command("login", "Welcome"), 2);
    model->logIn();
    EXPECT_TRUE(model->isTurnUnderWay());
    dropConnection();
}

} // namespace
} // namespace tessarin::testing
