#include "AppModelImagineFixture.h"

#include <atomic>
#include <future>
#include <random>
#include <set>
#include <thread>

namespace tessarin::testing
{
namespace
{

class AppModelImagineStressTest : public AppModelImagineTest
{
protected:
    // Posts to the main thread again and again until `isOver`, each time when the last post has run, which notes the progress line.
    void passBy(const std::atomic<bool>& isOver, std::set<std::string>& seen)
    {
        while (!isOver) {
            const auto ran = std::make_shared<std::promise<void>>();
            mainThread.post([this, &seen, ran] {
                seen.insert(model->imagineProgress());
                ran->set_value();
            });
            if (ran->get_future().wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
                return;
            }
        }
    }
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
    constexpr int rounds = 5000;
    const std::string path = made("a.png");
    Scenario flood;
    flood.update(finished(path)).update(finished("/nowhere/{n}.png")).chunk("round {n}");
    Scenario scenario;
    openImagine(scenario.handshake().expect("session/prompt").repeat(rounds, flood).reply(endTurn));
    std::atomic<bool> isOver = false;
    std::atomic<bool> isGone = false;
    std::set<std::string> seen;
    std::thread passerby([&] {
        passBy(isOver, seen);
        isGone = true;
    });
    model->generateImagine("a red cube", ImagineKind::image);
    waitForItems(1);
    waitForImagine(State::ready);
    isOver = true;
    waitUntil([&] { return isGone.load(); }, "the last post");
    passerby.join();
    drain();
    const auto inTheMiddle = std::count_if(seen.begin(), seen.end(), [](const std::string& line) { return line.starts_with("round "); });
    EXPECT_GT(inTheMiddle, 3) << "other work has its turns in between";
    EXPECT_EQ(model->imagineItems().size(), 1U);
    EXPECT_EQ(libraryFiles().size(), 1U);
}

} // namespace
} // namespace tessarin::testing
