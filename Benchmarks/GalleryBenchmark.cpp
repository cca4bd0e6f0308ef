// What a library of 5,000 pictures costs the window against one of 200. Each has a window of its own, which draws frame after frame
// (TESSARIN_REPORT_FRAMES); in a round the wheel is turned over the gallery of one and then of the other, up and down again, a notch each
// 16 ms, so that pictures come into sight that have to be read. Told is the work of the main thread for a frame, of all frames but the
// cheapest nineteen of twenty, by the medians of the rounds: at most 1.5 times.
//
//   GalleryBenchmark [--pictures=5000] [--rounds=5] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <cstdio>

namespace tessarin
{
namespace
{

constexpr double scrollBar = 1.5;
constexpr std::size_t smallLibrary = 200;
constexpr int notches = 90;
constexpr int sectionX = 190; // of the switch to Imagine
constexpr int sectionY = 101;
constexpr ScreenArea cards{ 300, 120, 800, 400 };

class Gallery
{
public:
    explicit Gallery(std::size_t pictures)
        : m_pictures(pictures), m_window({ benchmarkProject() }, BenchmarkWindow::Reports::frames, {}, pictures)
    {
        const auto before = m_window.screen().pixels(cards);
        m_window.screen().click(sectionX, sectionY);
        waitSeconds(3);
        if (m_window.screen().pixels(cards) == before) {
            giveUp("the gallery did not open");
        }
    }

    void scroll()
    {
        BenchmarkScreen& screen = m_window.screen();
        screen.point(cards.x + cards.width / 2, cards.y + cards.height / 2);
        const auto atStart = screen.pixels(cards);
        const double start = secondsNow();
        for (int i = 0; i < 2 * notches; ++i) {
            screen.turnWheel(i < notches ? -1 : 1);
            waitSeconds(0.016);
            if (i == notches && screen.pixels(cards) == atStart) {
                giveUp("the gallery did not scroll");
            }
        }
        const auto frames = m_window.framesBetween(start, secondsNow());
        m_frames.push_back(percentile(processorOf(frames), 0.95));
        m_medians.push_back(median(processorOf(frames)));
        m_gaps.push_back(longestGapOf(frames));
    }

    [[nodiscard]] double frame() const { return median(m_frames); }
    void tell() const
    {
        std::printf(
            "%5zu pictures: a frame while they scroll takes %5.2f ms of the main thread, one of twenty %5.2f ms or more; the longest "
            "came after %4.0f ms; the program holds %.0f MB\n",
            m_pictures, median(m_medians) * 1e3, frame() * 1e3, median(m_gaps) * 1e3, megabytesHeldBy(m_window.process()));
    }

private:
    std::size_t m_pictures;
    BenchmarkWindow m_window;
    std::vector<double> m_frames; // the dear ones
    std::vector<double> m_medians;
    std::vector<double> m_gaps;
};

int measure(const BenchmarkOptions& options)
{
    Gallery small(smallLibrary);
    Gallery large(options.number("pictures"));
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        small.scroll();
        large.scroll();
    }
    small.tell();
    large.tell();
    const double ratio = large.frame() / small.frame();
    std::printf("a frame while a library of %zu pictures scrolls / of %zu: %.2f (bar %.1f)\n", options.number("pictures"), smallLibrary,
        ratio, scrollBar);
    return options.status(ratio <= scrollBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "pictures", "5000" }, { "rounds", "5" } } });
}
