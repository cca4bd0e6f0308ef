#include "AppModelImagineFixture.h"

#include <atomic>
#include <chrono>
#include <future>
#include <sys/stat.h>
#include <thread>

namespace tessarin::testing
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
namespace fs = std::filesystem;

class AppModelImagineImportTest : public AppModelImagineTest
{
protected:
    [[nodiscard]] std::size_t libraryBytes() const
    {
        std::size_t bytes = 0;
        for (const std::string& name : libraryFiles()) {
            bytes += bytesOf(library() + "/" + name).size();
        }
        return bytes;
    }
    // The runtime makes these files, and the generation ends.
    void generate(const std::vector<std::string>& paths, ImagineKind kind = ImagineKind::image)
    {
        openImagine(makes(paths));
        model->generateImagine("a red cube", kind);
        waitForImagine(State::ready);
    }
};

TEST_F(AppModelImagineImportTest, AReportedFileBecomesAnItem)
{
    const std::string path = made("cube.PNG", "red");
    generate({ path });
    waitForItems(1);
    const ImagineItem& item = model->imagineItems().front();
    EXPECT_EQ(item.kind, ImagineKind::image);
    EXPECT_EQ(item.prompt, "a red cube");
    EXPECT_EQ(item.localPath, library() + "/" + item.fileName);
    EXPECT_TRUE(item.fileName.ends_with(".png")) << item.fileName;
    EXPECT_EQ(bytesOf(item.localPath), "red");
    EXPECT_EQ(bytesOf(path), "red") << "the file stays where the agent left it";
    EXPECT_EQ(itemChanges, 1);
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineImportTest, AnImportSaysThatItIsReadyAndTheEndOfTheTurnKeepsThat)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(made("a.png"))).waitForFile("go").reply(endTurn);
    openImagine(scenario);
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    runtime.touch("go");
    waitForImagine(State::ready);
    EXPECT_THAT(lines, ElementsAre("Preparing image generation…", "Grok is generating an image…", "Image ready"));
}

TEST_F(AppModelImagineImportTest, TheItemsKindSaysWhatIsReadyNotTheOneThatWasAskedFor)
{
    Scenario scenario = makes({ made("a.png") });
    openImagine(scenario.expect("session/prompt").update(finished(made("a.mp4"))).reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::video);
    waitForItems(1);
    EXPECT_EQ(model->imagineProgress(), "Image ready");
    EXPECT_EQ(model->imagineItems()[0].kind, ImagineKind::image);
    waitForImagine(State::ready);
    model->generateImagine("waves", ImagineKind::image);
    waitForItems(2);
    EXPECT_EQ(model->imagineProgress(), "Video ready");
    EXPECT_EQ(model->imagineItems()[0].kind, ImagineKind::video);
}

TEST_F(AppModelImagineImportTest, TheNewestItemIsTheFirst)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(made("1.png", "first"))).waitForFile("go");
    openImagine(scenario.update(finished(made("2.png", "second"))).reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    runtime.touch("go");
    waitForItems(2);
    EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "second");
    EXPECT_EQ(bytesOf(model->imagineItems()[1].localPath), "first");
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineImportTest, APathIsImportedOnceInAGenerationAndAgainInTheNext)
{
    const std::string path = made("a.png");
    const std::string announced
        = boost::json::serialize(JsonObject{ { "sessionUpdate", "tool_call" }, { "rawInput", JsonObject{ { "path", path } } } });
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(announced).update(finished(path)).update(finished(path)).reply(endTurn);
    openImagine(scenario.expect("session/prompt").update(finished(path)).reply(endTurn));
    model->generateImagine("one", ImagineKind::image);
    waitForItems(1);
    waitForImagine(State::ready);
    model->generateImagine("two", ImagineKind::image);
    waitForItems(2);
    waitForImagine(State::ready);
    EXPECT_THAT(itemPrompts(), ElementsAre("two", "one"));
    EXPECT_EQ(libraryFiles().size(), 2U);
}

TEST_F(AppModelImagineImportTest, APathThatIsNamedBeforeItsFileExistsIsSpentForThisGeneration)
{
    const std::string path = makeFolder("made") + "/early.png";
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(path)).chunk("Named").waitForFile("go").update(finished(path));
    scenario.update(finished(made("other.png"))).reply(endTurn);
    openImagine(scenario.expect("session/prompt").update(finished(path)).reply(endTurn));
    model->generateImagine("one", ImagineKind::image);
    waitUntil([&] { return model->imagineProgress() == "Named"; }, "the name");
    finishBackgroundWork(); // so it has been looked for
    made("early.png", "early");
    runtime.touch("go");
    waitForItems(1);
    waitForImagine(State::ready);
    finishBackgroundWork();
    drain();
    EXPECT_EQ(itemPrompts().size(), 1U);
    EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "pixels") << "only the other one";
    model->generateImagine("two", ImagineKind::image);
    waitForItems(2);
    EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "early");
}

TEST_F(AppModelImagineImportTest, OfTheLibrarysOwnFilesThatTheRuntimeNamesEachGenerationMakesOneCopy)
{
    fs::create_directories(library());
    const std::string own = library() + "/own.png";
    std::ofstream(own) << "own";
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(own)).update(finished(own)).reply(endTurn);
    openImagine(scenario.expect("session/prompt").update(finished(own)).reply(endTurn));
    for (const std::size_t generation : { 1U, 2U }) {
        model->generateImagine("a list", ImagineKind::image);
        waitForImagine(State::ready);
        finishBackgroundWork();
        drain();
        ASSERT_EQ(model->imagineItems().size(), generation);
        EXPECT_EQ(libraryFiles().size(), 1 + generation);
        EXPECT_NE(model->imagineItems()[0].localPath, own);
        EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "own");
    }
}

TEST_F(AppModelImagineImportTest, CopiesThatWaitForTheMainThreadAreToldOnceInTheOrderOfTheirEnds)
{
    std::promise<void> end;
    std::promise<void> go;
    runInBackground([held = end.get_future().share()] { held.wait(); }); // so that the other thread copies one after another
    runInBackground([held = go.get_future().share()] { held.wait(); });
    std::vector<std::string> paths = madeMany(20, 100, 1);
    paths.push_back(made("last.mp4", std::string(120, 'x')));
    openImagine(makes(paths));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    lines.clear();
    std::promise<void> copied;
    runInBackground([&] { copied.set_value(); });
    go.set_value();
    ASSERT_EQ(copied.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    end.set_value();
    drain();
    EXPECT_EQ(itemChanges, 1);
    EXPECT_THAT(lines, ElementsAre("Video ready"));
    ASSERT_EQ(model->imagineItems().size(), paths.size());
    for (std::size_t place = 0; place < paths.size(); ++place) {
        EXPECT_EQ(fs::file_size(model->imagineItems()[place].localPath), 120 - place) << "the last is the first";
    }
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineImportTest, EachPathOfOneUpdateIsImported)
{
    const JsonObject result{ { "path", made("b.webp") }, { "others", JsonArray{ made("a.gif"), made("c.webm") } } };
    Scenario scenario;
    scenario.handshake().expect("session/prompt");
    scenario.update(boost::json::serialize(JsonObject{ { "rawOutput", result }, { "text", R"({"path":")" + made("d.mp4") + "\"}" } }));
    openImagine(scenario.reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(4);
    std::vector<std::string> extensions;
    for (const ImagineItem& item : model->imagineItems()) {
        extensions.push_back(fs::path(item.fileName).extension());
    }
    EXPECT_THAT(extensions, UnorderedElementsAre(".webp", ".gif", ".webm", ".mp4"));
}

TEST_F(AppModelImagineImportTest, ThePromptIsTheOneOfTheMomentOfTheReport)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").update(finished(made("a.png"))).reply(endTurn).expect("session/prompt");
    openImagine(scenario.touch("second"));
    model->generateImagine("one", ImagineKind::image);
    waitForImagine(State::ready);
    model->generateImagine("two", ImagineKind::image); // whether or not the copy is there yet
    waitForItems(1);
    EXPECT_THAT(itemPrompts(), ElementsAre("one"));
}

TEST_F(AppModelImagineImportTest, WhatIsNoFileOfAKnownKindIsSkipped)
{
    ASSERT_EQ(::mkfifo((makeFolder("made") + "/pipe.png").c_str(), 0600), 0);
    const std::string folder = makeFolder("made/folder.png");
    fs::create_symlink("/dev/zero", runtime.directory() + "/made/device.png");
    fs::create_symlink(runtime.directory() + "/missing.png", runtime.directory() + "/made/dangling.png");
    fs::create_symlink(runtime.directory() + "/made/loop.png", runtime.directory() + "/made/loop.png");
    const std::string made_ = runtime.directory() + "/made/";
    generate({ made_ + "pipe.png", folder, made_ + "device.png", made_ + "dangling.png", made_ + "loop.png", made("notes.txt"),
        "and/or " + made("a.webp"), "/" + std::string(1000000, 'x') + ".png", made_ + "gone.png", made("last.png", "last") });
    waitForItems(1);
    EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "last");
    EXPECT_THAT(libraryFiles(), ElementsAre(model->imagineItems()[0].fileName));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineImportTest, OfALinkTheFileIsTaken)
{
    fs::create_symlink(made("target.png", "target"), makeFolder("made") + "/link.png");
    generate({ runtime.directory() + "/made/link.png" });
    waitForItems(1);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(model->imagineItems()[0].localPath)));
    EXPECT_EQ(bytesOf(model->imagineItems()[0].localPath), "target");
}

TEST_F(AppModelImagineImportTest, AnImportThatFailsIsSkipped)
{
    Scenario scenario = hangingTurn();
    openImagine(scenario.waitForFile("go").update(finished(made("a.png"))).reply(endTurn));
    generateUntil("prompted");
    fs::remove_all(library());
    std::ofstream(library()) << "a file where the folder should be";
    runtime.touch("go");
    waitForImagine(State::ready);
    drain();
    EXPECT_THAT(model->imagineItems(), IsEmpty());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

TEST_F(AppModelImagineImportTest, ManyFilesAtOnceAllArriveWholeAndInTheHistory)
{
    const std::vector<std::string> paths = madeMany(100, 0, 5000);
    generate(paths);
    waitForItems(paths.size());
    std::vector<std::size_t> sizes;
    for (const ImagineItem& item : model->imagineItems()) {
        sizes.push_back(bytesOf(item.localPath).size());
    }
    std::sort(sizes.begin(), sizes.end());
    for (std::size_t number = 0; number < sizes.size(); ++number) {
        EXPECT_EQ(sizes[number], number * 5000);
    }
    EXPECT_EQ(libraryFiles().size(), paths.size());
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineImportTest, DeletingWhileOthersAreImportedLosesNone)
{
    const std::vector<std::string> paths = madeMany(40, 100000);
    openImagine(makes(paths));
    model->generateImagine("a red cube", ImagineKind::image);
    for (std::size_t deleted = 0; deleted < 20; ++deleted) {
        waitForItems(1);
        model->deleteImagineItem(model->imagineItems().back());
    }
    waitForItems(20);
    waitForImagine(State::ready);
    drain();
    EXPECT_EQ(model->imagineItems().size(), 20U);
    EXPECT_EQ(desktop.trashed.size(), 20U);
    waitForStored(model->imagineItems());
}

TEST_F(AppModelImagineImportTest, AfterARestartEverythingIsStillThere)
{
    generate({ made("a.png"), made("b.mp4") });
    waitForItems(2);
    const std::vector<ImagineItem> before = model->imagineItems();
    stopImagine();
    model.reset(); // which writes what waits
    openModel();
    EXPECT_EQ(model->imagineItems(), before);
    EXPECT_EQ(model->imagineState().kind(), State::idle);
    EXPECT_EQ(model->imagineProgress(), "");
}

TEST_F(AppModelImagineImportTest, AProgramThatEndsDuringImportsKeepsThoseThatHaveBegun)
{
    constexpr std::size_t size = 400000;
    const std::vector<std::string> paths = madeMany(50, size);
    openImagine(makes(paths));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    model->finishImagineImports(); // and the main loop does not come round any more
    const std::vector<ImagineItem> before = model->imagineItems();
    EXPECT_EQ(libraryFiles().size(), before.size()) << "none is left unlisted";
    EXPECT_EQ(libraryBytes(), before.size() * size) << "nor half";
    EXPECT_EQ(decodeImagineHistory(bytesOf(history())), before);
    drain();
    EXPECT_EQ(model->imagineItems(), before) << "what was taken early does not come twice";
}

TEST_F(AppModelImagineImportTest, ImportsThatHaveNotBegunAreGivenUpWhenTheProgramEnds)
{
    std::atomic<int> begun = 0;
    for (int thread = 0; thread < 2; ++thread) { // which are all that there are
        runInBackground([&] {
            ++begun;
            const auto last = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (!isBackgroundWorkEnding() && std::chrono::steady_clock::now() < last) {
                std::this_thread::yield();
            }
        });
    }
    waitUntil([&] { return begun == 2; }, "the threads");
    const std::string path = made("a.png");
    openImagine(makes({ path, made("b.png") }));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForImagine(State::ready);
    model->finishImagineImports();
    drain();
    EXPECT_THAT(model->imagineItems(), IsEmpty());
    EXPECT_THAT(libraryFiles(), IsEmpty());
    EXPECT_EQ(bytesOf(path), "pixels") << "it stays where the agent left it";
}

TEST_F(AppModelImagineImportTest, WhatIsImportedForAModelThatIsGoneGoesWithIt)
{
    const std::vector<std::string> paths = madeMany(50, 400000);
    openImagine(makes(paths));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(3);
    const std::vector<ImagineItem> before = model->imagineItems();
    model.reset();
    waitForEnd();
    openModel();
    EXPECT_EQ(model->imagineItems(), before);
    model->finishImagineImports();
    drain();
    EXPECT_EQ(model->imagineItems(), before);
}

} // namespace
} // namespace tessarin::testing
