#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Both runtimes ask through one slot; the owner of what is on the screen gets the answer.
class AppModelImaginePermissionTest : public AppModelImagineTest
{
protected:
    // The task's runtime is start 1, Imagine's is start 2. Each asks under the same id once its file is there, and goes on when answered.
    void openBoth(const std::vector<std::string>& kinds = { "allow_once", "reject_once" })
    {
        Scenario chat = hangingTurn();
        runtime.script("grok", 1, chat.waitForFile("ask chat").send(permissionQuestion(7, kinds)).touch("chat asked").expectResponse(7));
        Scenario imagine;
        imagine.handshake("session-2").expect("session/prompt").touch("drawing").waitForFile("ask imagine");
        runtime.script("grok", 2, imagine.send(permissionQuestion(7, kinds)).touch("imagine asked").expectResponse(7));
        openProject();
        watch();
        model->send("Hi");
        waitForFile("prompted");
        model->generateImagine("a red cube", ImagineKind::image);
        waitForFile("drawing");
        waitForImagine(State::working);
    }
    void ask(const std::string& who)
    {
        const int before = m_asked;
        const auto subscription = model->observe([this](const ModelChange& change) {
            m_asked += change.kind == ModelChange::Kind::permissionRequest && model->permissionRequest() ? 1 : 0;
        });
        runtime.touch("ask " + who);
        waitUntil([&] { return m_asked > before; }, "the request");
    }
    // A generation alone, whose runtime asks with these options and waits for the answer.
    void openAsking(const std::vector<std::string>& kinds, const std::string& name = "Option")
    {
        Scenario scenario = hangingTurn();
        openImagine(scenario.send(permissionQuestion(7, kinds, name)).expectResponse(7).replyTo("session/prompt", endTurn));
        model->generateImagine("a red cube", ImagineKind::image);
        waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    }
    // The outcomes that the n-th start was told under the id 7.
    [[nodiscard]] std::vector<Json> answers(int start) const
    {
        std::vector<Json> outcomes;
        for (const Json& message : runtime.received("grok", start)) {
            const JsonObject& object = message.as_object();
            if (!object.contains("method") && object.at("id") == 7) {
                outcomes.push_back(object.at("result").at("outcome"));
            }
        }
        return outcomes;
    }
    void waitForAnswer(int start)
    {
        waitUntil([&] { return !answers(start).empty(); }, "the answer");
    }
    static Json selected(const char* option) { return Json{ { "outcome", "selected" }, { "optionId", option } }; }
    static Json cancelled() { return Json{ { "outcome", "cancelled" } }; }

private:
    int m_asked = 0;
};

TEST_F(AppModelImaginePermissionTest, AnAnswerGoesToTheRuntimeOfImagine)
{
    openBoth();
    ask("imagine");
    EXPECT_EQ(model->permissionRequest()->title, "Ask 7");
    EXPECT_TRUE(model->isPermissionHeard());
    model->respondToPermission("allow_once");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_FALSE(model->isPermissionHeard());
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(selected("allow_once")));
    EXPECT_THAT(answers(1), IsEmpty());
}

TEST_F(AppModelImaginePermissionTest, ARefusalGoesToTheRuntimeOfImagine)
{
    openBoth();
    ask("imagine");
    model->rejectPermission();
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(selected("reject_once")));
    EXPECT_THAT(answers(1), IsEmpty());
    EXPECT_EQ(model->imagineState().kind(), State::working);
}

TEST_F(AppModelImaginePermissionTest, WithoutARefusalTheGenerationStopsAndTheTaskGoesOn)
{
    openBoth({ "allow_once" });
    ask("imagine");
    model->rejectPermission();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    EXPECT_EQ(model->connectionState().kind(), State::working);
    EXPECT_THAT(texts(), ElementsAre("Hi"));
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(cancelled()));
    EXPECT_EQ(runtime.received("grok", "session/cancel", 2).size(), 1U);
    EXPECT_THAT(runtime.received("grok", "session/cancel", 1), IsEmpty());
}

TEST_F(AppModelImaginePermissionTest, CancellingTakesAPromptOfImagineDown)
{
    openBoth();
    ask("imagine");
    model->cancelImagine();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(cancelled()));
}

TEST_F(AppModelImaginePermissionTest, CancellingKeepsAPromptOfTheTask)
{
    openBoth();
    ask("chat");
    model->cancelImagine();
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_TRUE(model->isPermissionHeard());
    model->respondToPermission("allow_once");
    waitForAnswer(1);
    EXPECT_THAT(answers(1), ElementsAre(selected("allow_once")));
    EXPECT_THAT(answers(2), IsEmpty());
}

TEST_F(AppModelImaginePermissionTest, APromptOfTheTaskReplacesOneOfImagine)
{
    openBoth();
    ask("imagine");
    ask("chat");
    model->cancelImagine();
    ASSERT_TRUE(model->permissionRequest()) << "it is the task's now";
    model->respondToPermission("reject_once");
    waitForAnswer(1);
    waitForAnswer(2);
    EXPECT_THAT(answers(1), ElementsAre(selected("reject_once")));
    EXPECT_THAT(answers(2), ElementsAre(cancelled())) << "only by the cancel";
}

TEST_F(AppModelImaginePermissionTest, APromptOfImagineReplacesOneOfTheTask)
{
    openBoth();
    ask("chat");
    ask("imagine");
    model->respondToPermission("allow_once");
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(selected("allow_once")));
    EXPECT_THAT(answers(1), IsEmpty()) << "nothing was sent for the one that was replaced";
    EXPECT_EQ(model->connectionState().kind(), State::working);
}

TEST_F(AppModelImaginePermissionTest, AReplacedPromptOfTheTaskIsSettledByStoppingItsWork)
{
    openBoth();
    ask("chat");
    ask("imagine");
    model->stopWorking();
    EXPECT_EQ(model->permissionRequest(), std::nullopt) << "the slot is shared";
    waitForAnswer(1);
    EXPECT_THAT(answers(1), ElementsAre(cancelled()));
    EXPECT_THAT(answers(2), IsEmpty());
    EXPECT_EQ(model->imagineState().kind(), State::working);
}

TEST_F(AppModelImaginePermissionTest, AChangeOfTaskTakesAPromptOfImagineDownWhileItsRuntimeLivesOn)
{
    openBoth();
    ask("imagine");
    model->newThread();
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->imagineState().kind(), State::working);
    waitForStop("grok", 1);
    EXPECT_FALSE(wasStopped("grok", 2));
    EXPECT_THAT(answers(2), IsEmpty());
    model->cancelImagine();
    waitForAnswer(2);
    EXPECT_THAT(answers(2), ElementsAre(cancelled()));
}

TEST_F(AppModelImaginePermissionTest, AnUnknownOptionGoesToTheRuntimeOfImagineUnchanged)
{
    openAsking({ "allow_once" });
    model->respondToPermission("something else");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    waitForAnswer(1);
    EXPECT_THAT(answers(1), ElementsAre(selected("something else")));
    waitForImagine(State::ready);
}

TEST_F(AppModelImaginePermissionTest, AllowingForEverRecordsFullAccessAndKeepsTheRuntime)
{
    openAsking({ "allow_always" }, "Always-Approve for this session");
    model->respondToPermission("allow_always");
    EXPECT_EQ(model->permissionMode(), GrokPermissionMode::fullAccess);
    EXPECT_EQ(preferences.text(AppModel::permissionModeKey), "full_access");
    waitForImagine(State::ready);
    EXPECT_FALSE(wasStopped("grok"));
}

TEST_F(AppModelImaginePermissionTest, NoModeChangesUnderAPromptOfImagine)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(permissionQuestion(7, { "allow_once" })).reply(endTurn);
    openImagine(scenario);
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    ASSERT_TRUE(model->permissionRequest()) << "the turn has ended, the question has not";
    EXPECT_FALSE(model->canChangePermissionMode());
    EXPECT_FALSE(model->canChangeRoutingMode());
    model->respondToPermission("allow_once");
    EXPECT_TRUE(model->canChangePermissionMode());
}

TEST_F(AppModelImaginePermissionTest, APromptOfARuntimeThatDiedStaysAndItsAnswerHasNoEffect)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.send(permissionQuestion(7, { "allow_once" })).waitForFile("die").exit(3));
    model->generateImagine("a red cube", ImagineKind::image);
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    runtime.touch("die");
    waitUntil([&] { return model->imagineState().failureText() == "Grok exited with status 3."; }, "the end of the runtime");
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_FALSE(model->isPermissionHeard());
    model->respondToPermission("allow_once");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    EXPECT_EQ(model->imagineState().kind(), State::failed);
}

TEST_F(AppModelImaginePermissionTest, APromptOfAReplacedRuntimeStaysAndIsHeardByNobody)
{
    Scenario first = hangingTurn();
    runtime.script("grok", 1, first.send(permissionQuestion(7, { "allow_once" })).expectResponse(7));
    Scenario second;
    runtime.script("grok", 2, second.handshake("session-2").expect("session/prompt").touch("drawing"));
    openImagine(oneTurn("unused"));
    model->generateImagine("one", ImagineKind::image);
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    int told = 0;
    const auto subscription
        = model->observe([&](const ModelChange& change) { told += change.kind == ModelChange::Kind::permissionRequest; });
    model->generateImagine("two", ImagineKind::image);
    ASSERT_TRUE(model->permissionRequest());
    EXPECT_FALSE(model->isPermissionHeard());
    EXPECT_EQ(told, 1) << "that nobody hears an answer has to be shown";
    waitForFile("drawing");
    model->respondToPermission("allow_once");
    EXPECT_EQ(model->permissionRequest(), std::nullopt);
    waitForEnd(1);
    EXPECT_THAT(answers(1), IsEmpty());
    EXPECT_THAT(answers(2), IsEmpty()) << "it has asked nothing under that id";
}

} // namespace
} // namespace tessarin::testing
