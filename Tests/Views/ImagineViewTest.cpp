#include "ImagineViewFixture.h"

namespace tessarin
{

namespace
{

using ::testing::ElementsAre;
using testing::Scenario;

// A runtime that says something once the test has touched "go", and then never ends the turn.
Scenario saysOnGo(std::string_view text)
{
    Scenario scenario = testing::hangingTurn();
    return scenario.waitForFile("go").chunk(text);
}

TEST_F(ImagineViewTest, TheHeaderSaysWhatTheSectionIs)
{
    show();
    EXPECT_EQ(texts("Line").mid(0, 2), (QStringList{ "Imagine", "Generate images and videos with your Grok subscription" }));
}

TEST_F(ImagineViewTest, AnEmptyLibraryAsksForSomethingNew)
{
    show();
    ASSERT_TRUE(item("GalleryEmpty")->isVisible());
    EXPECT_TRUE(texts("Line").contains("Create something new"));
    EXPECT_EQ(texts("Prose"),
        QStringList{ "Describe an image or video. Grok Build will generate it\nand tessarin will keep a local copy in your library." });
    const QQuickItem* symbol = QmlFixture::items(item("GalleryEmpty"), "SystemSymbol").value(0);
    EXPECT_EQ(symbol->property("name").toString(), "photo.on.rectangle.angled");
    EXPECT_EQ(symbol->property("size").toInt(), 38);
}

TEST_F(ImagineViewTest, ALibraryWithCreationsIsNotEmpty)
{
    keep({ creation("A harbour") });
    show();
    EXPECT_FALSE(item("GalleryEmpty")->isVisible());
    EXPECT_EQ(cards().size(), 1);
}

TEST_F(ImagineViewTest, AVeryLongProgressIsCutBeforeItIsLaidOut)
{
    show(saysOnGo(std::string(1'000'000, 'x')));
    model->generateImagine("a", ImagineKind::image);
    waitForImagine(State::working);
    runtime.touch("go");
    waitUntil([&] { return model->imagineProgress().size() == 1'000'000; }, "the line");
    EXPECT_EQ(window.imagine()->property("progress").toString(), QString(1000, 'x') + "…");
}

TEST_F(ImagineViewTest, TheEndOfAGenerationIsToldAsItsProgressReads)
{
    show(testing::oneTurn("Two harbours at dawn"));
    QStringList said;
    QObject::connect(
        window.announcer(), &Announcer::said, window.announcer(), [&] { said.append(window.announcer()->property("text").toString()); });
    model->generateImagine("a harbour", ImagineKind::image);
    waitForImagine(State::ready);
    EXPECT_TRUE(QmlFixture::becomes([&] { return !said.isEmpty(); }));
    EXPECT_EQ(said, QStringList("Two harbours at dawn"));
}

TEST_F(ImagineViewTest, TheProgressStandsWithASpinnerOnlyWhileAPromptRuns)
{
    show(testing::failingTurnOnGo("No more today"));
    const QQuickItem* spinner = item("Tesserae");
    const auto progress = [this] { return texts("Line").contains(window.imagine()->property("progress").toString()); };
    EXPECT_FALSE(spinner->isVisible());
    EXPECT_EQ(window.imagine()->property("progress").toString(), "");
    model->generateImagine("a", ImagineKind::video);
    ASSERT_EQ(model->imagineState().kind(), State::connecting);
    EXPECT_TRUE(texts("Line").contains("Preparing video generation…"));
    EXPECT_FALSE(spinner->isVisible()) << "the runtime starts, nothing is generated yet";
    waitForImagine(State::working);
    EXPECT_TRUE(texts("Line").contains("Grok is generating a video…"));
    EXPECT_TRUE(spinner->isVisible());
    runtime.touch("go");
    waitForImagine(State::failed);
    EXPECT_TRUE(texts("Line").contains("Generation failed"));
    EXPECT_TRUE(progress());
    EXPECT_FALSE(spinner->isVisible());
}

TEST_F(ImagineViewTest, TheProgressIsOneLineHoweverMuchIsSaid)
{
    std::string much;
    for (int i = 0; i < 300; ++i) {
        much += "word ";
    }
    show(saysOnGo(much + "\nand another line"));
    model->generateImagine("a", ImagineKind::image);
    waitForImagine(State::working);
    runtime.touch("go");
    waitUntil([&] { return model->imagineProgress().starts_with("word"); }, "the line");
    const QList<QQuickItem*> all = items("Line");
    const auto line
        = std::find_if(all.begin(), all.end(), [](const QQuickItem* one) { return one->property("text").toString().startsWith("word"); });
    ASSERT_NE(line, all.end());
    EXPECT_EQ((*line)->property("lineCount").toInt(), 1);
    EXPECT_TRUE((*line)->property("truncated").toBool());
    EXPECT_LT((*line)->width(), root->width() / 2);
    EXPECT_GT(button("Hide the sidebar")->mapToScene({}).x(), 0);
}

TEST_F(ImagineViewTest, WithoutTheRuntimeOnlyTheInstallPanelStandsEvenWithCreations)
{
    keep({ creation("A harbour") });
    openModel();
    present();
    ASSERT_TRUE(model->installStatus().isMissing());
    ASSERT_EQ(model->imagineItems().size(), 1U);
    EXPECT_NE(item("InstallView"), nullptr);
    EXPECT_FALSE(item("ImagineGallery")->isVisible());
    EXPECT_FALSE(item("ImagineGenerator")->isVisible());
    EXPECT_TRUE(texts("Line").contains("Imagine")) << "the header stays";
    QMetaObject::invokeMethod(root, "focusPrompt"); // has nowhere to go
    EXPECT_EQ(item("PromptField")->property("text").toString(), "");

    runtime.script("grok", testing::hangingTurn());
    install({ "grok" });
    model->refreshInstallStatus();
    EXPECT_EQ(item("InstallView"), nullptr);
    EXPECT_TRUE(item("ImagineGallery")->isVisible());
    EXPECT_TRUE(item("ImagineGenerator")->isVisible());
    stopImagine();
}

TEST_F(ImagineViewTest, APromptOutlastsARuntimeThatGoesAndComesAgain)
{
    show();
    focusPrompt();
    type("a harbour");
    root->setProperty("format", int(ImagineFormat::Video));
    uninstall("grok");
    model->refreshInstallStatus();
    ASSERT_FALSE(item("ImagineGenerator")->isVisible());
    install({ "grok" });
    model->refreshInstallStatus();
    EXPECT_EQ(draft(), "a harbour");
    EXPECT_EQ(root->property("format").toInt(), ImagineFormat::Video);
}

TEST_F(ImagineViewTest, TheGeneratorOffersTwoFormatsAndBeginsWithAnImage)
{
    show();
    const QList<QQuickItem*> segments = items("Segment");
    ASSERT_EQ(segments.size(), 2);
    EXPECT_EQ(segments[0]->property("text").toString() + " " + segments[0]->property("symbol").toString(), "Image photo");
    EXPECT_EQ(segments[1]->property("text").toString() + " " + segments[1]->property("symbol").toString(), "Video video");
    EXPECT_TRUE(segments[0]->property("chosen").toBool());
    EXPECT_FALSE(segments[1]->property("chosen").toBool());
    EXPECT_EQ(item("FormatPicker")->width(), 240);
    EXPECT_TRUE(texts("Line").contains("Format"));
    clickMiddle(segments[1]);
    EXPECT_EQ(root->property("format").toInt(), ImagineFormat::Video);
    EXPECT_TRUE(segments[1]->property("chosen").toBool());
}

TEST_F(ImagineViewTest, TheArrowsChooseTheFormat)
{
    show();
    const QList<QQuickItem*> segments = items("Segment");
    segments[0]->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(root->property("format").toInt(), ImagineFormat::Video);
    EXPECT_TRUE(segments[1]->hasActiveFocus());
    press(Qt::Key_Down);
    EXPECT_EQ(root->property("format").toInt(), ImagineFormat::Video);
    press(Qt::Key_Left);
    EXPECT_EQ(root->property("format").toInt(), ImagineFormat::Image);
    EXPECT_TRUE(segments[0]->hasActiveFocus());
}

TEST_F(ImagineViewTest, ReturnGeneratesTheTrimmedPromptAndEmptiesTheFieldAtOnce)
{
    show();
    focusPrompt();
    type("  a harbour ");
    press(Qt::Key_Return);
    EXPECT_EQ(draft(), "");
    EXPECT_EQ(model->imagineProgress(), "Preparing image generation…");
    waitForFile("prompted");
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine a harbour"));
}

TEST_F(ImagineViewTest, TheButtonGeneratesInTheChosenFormat)
{
    show();
    focusPrompt();
    type("a slow flight");
    root->setProperty("format", int(ImagineFormat::Video));
    clickMiddle(generateButton());
    EXPECT_EQ(draft(), "");
    EXPECT_TRUE(item("PromptField")->property("text").toString().isEmpty());
    waitForFile("prompted");
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine-video a slow flight"));
    type("next");
    EXPECT_EQ(draft(), "next") << "the focus is where the next prompt is typed";
}

TEST_F(ImagineViewTest, ReturnWithABlankPromptDoesNothing)
{
    show();
    focusPrompt();
    press(Qt::Key_Return);
    type("  ");
    EXPECT_FALSE(generateButton()->isEnabled());
    press(Qt::Key_Return);
    press(Qt::Key_Enter);
    EXPECT_EQ(draft(), "  ");
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_EQ(model->imagineProgress(), "");
}

TEST_F(ImagineViewTest, ReturnWhileWorkingDoesNothingAndKeepsTheText)
{
    show();
    model->generateImagine("one", ImagineKind::image);
    waitForFile("prompted");
    waitForImagine(State::working);
    focusPrompt();
    type("two");
    press(Qt::Key_Return);
    EXPECT_EQ(draft(), "two");
    EXPECT_EQ(model->imagineState().kind(), State::working);
    EXPECT_THAT(prompts("grok"), ElementsAre("/imagine one"));
}

TEST_F(ImagineViewTest, WhileWorkingTheButtonStopsTheGeneration)
{
    show();
    EXPECT_EQ(generateButton()->property("name").toString(), "Generate");
    EXPECT_FALSE(generateButton()->isEnabled());
    focusPrompt();
    type("one");
    EXPECT_TRUE(generateButton()->isEnabled());
    press(Qt::Key_Return);
    waitForFile("prompted");
    waitForImagine(State::working);
    EXPECT_EQ(generateButton()->property("name").toString(), "Stop generation");
    EXPECT_EQ(QmlFixture::items(generateButton(), "SystemSymbol").value(0)->property("name").toString(), "stop.fill");
    EXPECT_TRUE(generateButton()->isEnabled()) << "with an empty field too";
    clickMiddle(generateButton());
    EXPECT_EQ(model->imagineState().kind(), State::ready);
    EXPECT_EQ(model->imagineProgress(), "Stopped");
    EXPECT_EQ(generateButton()->property("name").toString(), "Generate");
    EXPECT_EQ(QmlFixture::items(generateButton(), "SystemSymbol").value(0)->property("name").toString(), "wand.and.stars");
}

TEST_F(ImagineViewTest, WhileConnectingGeneratingStaysAvailableAndStartsOver)
{
    Scenario never;
    runtime.script("grok", 1, never.expect("initialize").touch("asked").expect("never"));
    show();
    focusPrompt();
    type("one");
    press(Qt::Key_Return);
    waitForFile("asked");
    ASSERT_EQ(model->imagineState().kind(), State::connecting);
    EXPECT_EQ(generateButton()->property("name").toString(), "Generate");
    type("two");
    EXPECT_TRUE(generateButton()->isEnabled());
    clickMiddle(generateButton());
    EXPECT_EQ(draft(), "");
    waitForFile("prompted");
    EXPECT_TRUE(runtime.hasStarted("grok", 2));
    EXPECT_THAT(prompts("grok", 2), ElementsAre("/imagine two"));
}

TEST_F(ImagineViewTest, ThePromptGrowsFromOneLineToFourAndScrollsBeyond)
{
    show();
    focusPrompt();
    QQuickItem* field = item("PromptField");
    const double one = field->height();
    EXPECT_EQ(one, 36);
    std::vector<double> heights;
    for (int line = 2; line <= 6; ++line) {
        press(Qt::Key_Return, Qt::ShiftModifier);
        heights.push_back(field->height());
    }
    EXPECT_EQ(draft(), "\n\n\n\n\n");
    EXPECT_LT(one, heights[0]);
    EXPECT_LT(heights[0], heights[1]);
    EXPECT_LT(heights[1], heights[2]);
    EXPECT_EQ(heights[2], heights[3]) << "five lines take the room of four";
    EXPECT_EQ(heights[3], heights[4]);
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_GE(field->mapToScene({}).y(), item("ImagineGenerator")->mapToScene({}).y());
}

TEST_F(ImagineViewTest, ThePlaceholderSaysWhatToWrite)
{
    show();
    EXPECT_TRUE(texts("Line").contains("Describe what you want Grok to create…"));
    focusPrompt();
    type("a");
    EXPECT_FALSE(texts("Line").contains("Describe what you want Grok to create…"));
}

TEST_F(ImagineViewTest, TheFocusGoesThroughTheGeneratorInItsOrder)
{
    show();
    items("Segment")[0]->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    type("a\t"); // Tab leaves the field
    EXPECT_EQ(draft(), "a");
    EXPECT_TRUE(generateButton()->hasActiveFocus());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    type("b");
    EXPECT_EQ(draft(), "ab");
}

} // namespace

} // namespace tessarin
