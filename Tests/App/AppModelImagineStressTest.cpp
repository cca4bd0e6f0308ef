#include "AppModelImagineFixture.h"

#include <random>

namespace tessarin::testing
{
namespace
{

class AppModelImagineStressTest : public AppModelImagineTest
{
};

TEST_F(AppModelImagineStressTest, AHundredGenerationsAndCancelsUseOneProcess)
{
    Scenario cycle;
    cycle.expect("session/prompt").chunk("Drawing").expect("session/cancel").replyTo("session/prompt", R"({"stopReason":"cancelled"})");
    Scenario scenario;
    openImagine(scenario.handshake().repeat(101, cycle));
    model->generateImagine("first", ImagineKind::image);
    waitUntil([&] { return model->imagineProgress() == "Drawing"; }, "the first");
    for (int number = 0; number < 100; ++number) {
        model->cancelImagine();
        EXPECT_EQ(model->imagineState().kind(), State::ready);
        model->generateImagine(std::to_string(number), ImagineKind::video);
        EXPECT_EQ(model->imagineState().kind(), State::working);
        mainThread.waitAndDrain(std::chrono::milliseconds(number % 3));
    }
    waitUntil([&] { return prompts("grok").size() == 101; }, "all prompts");
    waitUntil([&] { return runtime.received("grok", "session/cancel").size() == 100; }, "all cancels");
    EXPECT_EQ(prompts("grok").back(), "/imagine-video 99");
    EXPECT_FALSE(runtime.hasStarted("grok", 2));
    EXPECT_EQ(model->errorMessage(), std::nullopt);
}

// At whatever moment a generation is replaced, its process ends.
TEST_F(AppModelImagineStressTest, OfManyReplacedGenerationsNoProcessStays)
{
    constexpr int generations = 30;
    openImagine(makes({ made("a.png") }));
    std::mt19937 random(7);
    for (int number = 0; number < generations; ++number) {
        model->generateImagine(std::to_string(number), ImagineKind::image);
        const auto pause = std::chrono::milliseconds(random() % 40);
        static_cast<void>(testing::waitUntil(
            mainThread, [&] { return model->imagineState().kind() == State::ready; }, pause));
        if (model->imagineState().kind() == State::ready) {
            changeMode();
        }
    }
    waitUntil([&] { return !model->imagineState().isBusy(); }, "the last generation");
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    stopImagine();
    int started = 0;
    for (int start = 1; runtime.hasStarted("grok", start); ++start, ++started) {
        waitForEnd(start);
    }
    EXPECT_GT(started, 0);
    EXPECT_LE(started, generations);
}

TEST_F(AppModelImagineStressTest, AFloodOfReportsImportsEachFileOnceAndHoldsNothingUp)
{
    const std::string path = made("a.png");
    Scenario flood;
    flood.update(finished(path)).update(finished("/nowhere/{n}.png")).chunk("round {n}");
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").repeat(5000, flood).reply(endTurn));
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    waitForImagine(State::ready);
    drain();
    EXPECT_EQ(model->imagineItems().size(), 1U);
    EXPECT_EQ(libraryFiles().size(), 1U);
}

} // namespace
} // namespace tessarin::testing
