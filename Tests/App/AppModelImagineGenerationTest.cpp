#include "AppModelImagineFixture.h"

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppModelImagineGenerationTest : public AppModelImagineTest
{
};

TEST_F(AppModelImagineGenerationTest, ItIsIdleAndEmptyUntilTheFirstGeneration)
{
    openImagine(oneTurn("Hello"));
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_EQ(model->imagineProgress(), "");
    EXPECT_THAT(model->imagineItems(), IsEmpty());
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelImagineGenerationTest, ABlankPromptDoesNothingAtAll)
{
    openImagine(oneTurn("Hello"));
    int told = 0;
    const auto subscription = model->observe([&](const ModelChange& change) {
        // Both come in their own time.
        told += change.kind == ModelChange::Kind::installStatus || change.kind == ModelChange::Kind::remote ? 0 : 1;
    });
    for (const char* prompt : { "", " ", "\n\t \r\n" }) {
        model->generateImagine(prompt, ImagineKind::video);
    }
    drain();
    EXPECT_EQ(told, 0);
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_EQ(model->imagineProgress(), "");
    EXPECT_FALSE(runtime.hasStarted("grok"));
}

TEST_F(AppModelImagineGenerationTest, AnImageGoesFromPreparingToFinished)
{
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").reply(endTurn));
    model->generateImagine("  a red cube \n", ImagineKind::image);
    EXPECT_EQ(model->imagineState().kind(), State::connecting);
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
    waitForImagine(State::ready);
    EXPECT_THAT(states, ElementsAre(State::connecting, State::ready, State::working, State::ready));
    EXPECT_THAT(lines, ElementsAre("Preparing image generation…", "Grok is generating an image…", "Generation finished"));
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine a red cube"));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineGenerationTest, AVideoHasTextsAndACommandOfItsOwn)
{
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").reply(endTurn));
    model->generateImagine("waves", ImagineKind::video);
    waitForImagine(State::ready);
    EXPECT_THAT(lines, ElementsAre("Preparing video generation…", "Grok is generating a video…", "Generation finished"));
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine-video waves"));
}

TEST_F(AppModelImagineGenerationTest, TheRuntimeWorksInTheLibraryInASessionOfItsOwn)
{
    addedEnvironment["XAI_API_KEY"] = "kept";
    openImagine(hangingTurn());
    generateUntil("prompted");
    const JsonObject start = runtime.startOf("grok");
    EXPECT_EQ(start.at("workingDirectory").as_string(), library());
    EXPECT_EQ(arguments(), (JsonArray{ "agent", "--permission-mode", "default", "stdio" }));
    EXPECT_EQ(start.at("environment").at("XAI_API_KEY").as_string(), "kept") << "the environment is that of the locator for Grok";
    EXPECT_THAT(parameters("grok", "session/new", "cwd"), ElementsAre(Json(library())));
    EXPECT_THAT(parameters("grok", "session/new", "_meta"), ElementsAre(Json()));
    EXPECT_THAT(runtime.received("grok", "session/load"), IsEmpty());
}

TEST_F(AppModelImagineGenerationTest, TheRuntimeStartsInTheCurrentMode)
{
    preferences.setText(AppModel::permissionModeKey, "full_access");
    openImagine(hangingTurn());
    generateUntil("prompted");
    EXPECT_EQ(arguments(), (JsonArray{ "agent", "--always-approve", "stdio" }));
    EXPECT_THAT(parameters("grok", "session/new", "_meta"), ElementsAre(Json{ { "yoloMode", true } }));
}

TEST_F(AppModelImagineGenerationTest, AWarmRuntimeIsUsedAgain)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").reply(endTurn).expect("session/prompt").reply(endTurn);
    openImagine(scenario);
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    states.clear();
    lines.clear();
    model->generateImagine("two", ImagineKind::video);
    EXPECT_EQ(model->imagineState().kind(), State::working) << "it sends at once";
    waitForImagine(State::ready);
    EXPECT_THAT(states, ElementsAre(State::working, State::ready));
    EXPECT_THAT(lines, ElementsAre("Preparing video generation…", "Grok is generating a video…", "Generation finished"));
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine one", "/imagine-video two"));
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
}

TEST_F(AppModelImagineGenerationTest, AGenerationWhileOneIsWorkingStopsTheRuntimeAndStartsOver)
{
    const std::string lost = made("lost.png");
    Scenario first = hangingTurn();
    runtime.script("grok", 1, first.waitForFile("never").update(finished(lost)).reply(endTurn));
    openImagine(makes({ made("kept.png") }));
    generateUntil("prompted", "one");
    model->generateImagine("two", ImagineKind::image);
    EXPECT_EQ(model->imagineState().kind(), State::connecting);
    waitForItems(1);
    waitForImagine(State::ready);
    waitForEnd(1);
    EXPECT_THAT(itemPrompts(), ElementsAre("two")) << "what the first had not reported is lost";
    EXPECT_THAT(states,
        ElementsAre(State::connecting, State::ready, State::working, State::connecting, State::ready, State::working, State::ready));
    EXPECT_EQ(model->errorMessage(), std::nullopt) << "the prompt that was given up fails unheard";
}

TEST_F(AppModelImagineGenerationTest, AGenerationWhileTheRuntimeStartsStartsOver)
{
    Scenario first;
    runtime.script("grok", 1, first.expect("initialize").touch("begun"));
    openImagine(makes({ made("a.png") }));
    model->generateImagine("one", ImagineKind::image);
    waitForFile("begun");
    model->generateImagine("two", ImagineKind::image);
    waitForItems(1);
    waitForEnd(1);
    EXPECT_THAT(prompts("grok", 2), ElementsAre("/imagine two"));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineGenerationTest, EachPieceOfTheAgentsTextReplacesTheLine)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("  Drawing \n").chunk(" \n ").chunk("Painting");
    scenario.update(R"({"sessionUpdate":"agent_message_chunk"})");
    scenario.update(R"({"sessionUpdate":"agent_message_chunk","content":"no map"})");
    scenario.update(R"({"sessionUpdate":"agent_message_chunk","content":{"type":"text","text":7}})");
    openImagine(scenario.reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_THAT(lines, ElementsAre("Preparing image generation…", "Grok is generating an image…", "Drawing", "", "Painting"));
}

TEST_F(AppModelImagineGenerationTest, ToolsReplaceTheLineByTheirTitleAndNothingElseDoes)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(R"({"sessionUpdate":"tool_call","title":"image_gen"})");
    scenario.update(R"({"sessionUpdate":"tool_call_update","title":" imagine: a red cube "})");
    scenario.update(R"({"sessionUpdate":"tool_call_update","title":""})").update(R"({"sessionUpdate":"tool_call"})");
    scenario.update(R"({"sessionUpdate":"agent_thought_chunk","content":{"type":"text","text":"Hm"},"title":"Hm"})");
    scenario.update(R"({"sessionUpdate":"plan","title":"Plan","entries":[{"content":"Draw"}]})");
    scenario.update(R"({"sessionUpdate":"user_message_chunk","content":{"type":"text","text":"me"}})");
    scenario.update(R"({"sessionUpdate":7,"title":"seven"})").update(R"({"title":"no kind"})");
    openImagine(scenario.reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_THAT(lines, ElementsAre("Preparing image generation…", "Grok is generating an image…", "image_gen", " imagine: a red cube "));
    EXPECT_THAT(model->plan(), IsEmpty());
}

TEST_F(AppModelImagineGenerationTest, TheEndReplacesAnyTextWithTheWordGenerating)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("I am generating it now").reply(endTurn);
    scenario.expect("session/prompt").chunk("Generating").reply(endTurn);
    openImagine(scenario);
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_EQ(model->imagineProgress(), "Generation finished");
    model->generateImagine("two", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_EQ(model->imagineProgress(), "Generating") << "another word, by its first letter";
}

TEST_F(AppModelImagineGenerationTest, NothingOfItReachesATask)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").chunk("Drawing").update(R"({"sessionUpdate":"tool_call","toolCallId":"1"})");
    runtime.script("grok", scenario.update(R"({"sessionUpdate":"plan","entries":[{"content":"Draw"}]})").reply(endTurn));
    openProject();
    const std::vector<Workspace> before = model->workspaces();
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_EQ(model->workspaces(), before);
    EXPECT_THAT(model->plan(), IsEmpty());
    EXPECT_EQ(model->connectionState().kind(), State::idle);
    EXPECT_EQ(model->activeProvider(), std::nullopt);
    EXPECT_THAT(model->providerUsage(), IsEmpty());
}

TEST_F(AppModelImagineGenerationTest, ItsLogGoesToTheLogOfAll)
{
    Scenario scenario;
    openImagine(scenario.standardError("one\n").handshake().expect("session/prompt").reply(endTurn).expect("session/prompt"));
    model->generateImagine("a red cube", ImagineKind::image);
    waitUntil([&] { return model->cliLog() == "one\n"; }, "the log");
    waitForImagine(State::ready);
    model->generateImagine("again", ImagineKind::image);
    EXPECT_EQ(model->cliLog(), "one\n") << "only a client of a task empties it";
}

TEST_F(AppModelImagineGenerationTest, TheSectionIsWhatTheWindowShows)
{
    openModel();
    std::vector<ModelChange> told;
    const auto subscription = model->observe([&](const ModelChange& change) { told.push_back(change); });
    EXPECT_EQ(model->selectedSection(), AppSection::build);
    model->setSelectedSection(AppSection::imagine);
    model->setSelectedSection(AppSection::imagine);
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_THAT(told, ElementsAre(ModelChange{ ModelChange::Kind::section, 0 }));
}

} // namespace
} // namespace tessarin::testing
