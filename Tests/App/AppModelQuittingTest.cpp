#include "AppModelImagineFixture.h"
#include "HeldChild.h"

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
    // More commands of the agent than there are threads that could end them at once; each tells its number when it runs.
    [[nodiscard]] Scenario runningCommands() const
    {
        Scenario scenario = hangingTurn();
        for (int id = 1; id <= commandCount; ++id) {
            const std::string line = "echo $$ > " + runtime.directory() + "/command." + std::to_string(id) + "; exec sleep 600";
            const JsonObject params{ { "command", "sh" }, { "args", { "-c", line } } };
            scenario.send(boost::json::serialize(
                JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "method", "terminal/create" }, { "params", params } }));
            scenario.expectResponse(id);
        }
        return scenario.waitForFile("never");
    }
    [[nodiscard]] int commandNumber(int id) const
    {
        int number = 0;
        std::ifstream(runtime.directory() + "/command." + std::to_string(id)) >> number;
        return number;
    }
    void expectThatEveryCommandIsAskedToEnd()
    {
        std::vector<std::unique_ptr<HeldChild>> commands;
        for (int id = 1; id <= commandCount; ++id) {
            waitUntil([&] { return commandNumber(id) != 0; }, "a command");
            commands.push_back(std::make_unique<HeldChild>(commandNumber(id)));
        }
        model->stopRuntimes();
        for (const auto& command : commands) {
            EXPECT_TRUE(command->isSent(SIGTERM));
        }
    }
    // A sign-in that does not come to its end, behind the questions that a new model asks the program.
    void beginSignIn(std::string_view program, int questions, void (AppModel::*logIn)())
    {
        runtime.script(program, Scenario().command("--version", "1").command("login status", "").commandUntil("never", "login", ""));
        openProject({ program });
        const std::string command = std::string(program) + "-command";
        for (int question = 1; question <= questions; ++question) {
            waitUntil([&] { return runtime.hasRecorded(command, "exit", question); }, "the answer to a question");
        }
        (model.get()->*logIn)();
        waitUntil([&] { return runtime.hasStarted(command, questions + 1); }, "the sign-in");
    }
    void expectThatASignInIsAskedToEnd(std::string_view program, int questions, void (AppModel::*logIn)())
    {
        beginSignIn(program, questions, logIn);
        model->stopRuntimes();
        const std::string command = std::string(program) + "-command";
        waitUntil([&] { return runtime.hasRecorded(command, "signal", questions + 1); }, "the signal");
        waitUntil([&] { return kill(runtime.processID(command, questions + 1), 0) != 0; }, "the end of the sign-in");
        EXPECT_EQ(model->errorMessage(), std::nullopt);
    }
    static constexpr int commandCount = 20;
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

TEST_F(AppModelQuittingTest, WhatARuntimeHasRunThroughUsIsAskedToEndBeforeTheCallReturns)
{
    runtime.script("grok", runningCommands());
    openProject();
    model->send("go");
    expectThatEveryCommandIsAskedToEnd();
}

TEST_F(AppModelQuittingTest, SoIsWhatTheSecondRuntimeHasRun)
{
    openImagine(runningCommands());
    model->generateImagine("a harbor", ImagineKind::image);
    expectThatEveryCommandIsAskedToEnd();
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

TEST_F(AppModelQuittingTest, ASignInIsAskedToEndAndNothingIsToldOfIt)
{
    expectThatASignInIsAskedToEnd("grok", 1, &AppModel::logIn);
    EXPECT_EQ(model->connectionState().kind(), State::connecting) << "nobody has failed to sign in";
}

TEST_F(AppModelQuittingTest, SoIsASignInThatWritesWhereThisProgramDoes)
{
    expectThatASignInIsAskedToEnd("kimi", 1, &AppModel::logInKimi);
    expectThatASignInIsAskedToEnd("codex", 2, &AppModel::logInCodex);
}

TEST_F(AppModelQuittingTest, ASecondSignInOfTheSameProgramIsAskedToo)
{
    beginSignIn("kimi", 1, &AppModel::logInKimi);
    model->logInKimi();
    waitUntil([this] { return runtime.hasStarted("kimi-command", 3); }, "the second sign-in");
    model->stopRuntimes();
    waitUntil([this] { return runtime.hasRecorded("kimi-command", "signal", 2) && runtime.hasRecorded("kimi-command", "signal", 3); });
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
