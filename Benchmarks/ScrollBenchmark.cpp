// What a task of 100,000 entries costs the window against one of 100. Both are tasks of one project in one window, which draws frame after
// frame (TESSARIN_REPORT_FRAMES); a round shows each of them by a click in the sidebar and turns the wheel over its messages, up and down
// again, a notch each 16 ms. Told are, by the medians of the rounds,
//  - the longest time between two frames while the task opens: at most 1.5 times;
//  - the work of the main thread for a frame while it scrolls, of all frames but the cheapest nineteen of twenty: at most 1.5 times.
//
//   ScrollBenchmark [--entries=100000] [--rounds=5] [--report]
//
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkHistory.h"
#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <cstdio>

namespace tessarin
{
namespace
{

constexpr double openBar = 1.5;
constexpr double scrollBar = 1.5;
constexpr std::size_t shortTask = 100;
constexpr int notches = 90;
// Where the second and the third task stand in the sidebar, the first one having been used last.
constexpr int sidebarX = 120;
constexpr int firstTaskY = 181;
constexpr int taskHeight = 48;
constexpr ScreenArea messages{ 300, 200, 800, 300 };

struct Costs {
    std::vector<double> openings;
    std::vector<double> frames; // the dear ones
    std::vector<double> medians;
    std::vector<double> gaps;
};

void showAndScroll(BenchmarkWindow& window, int place, Costs& costs)
{
    BenchmarkScreen& screen = window.screen();
    const auto before = screen.pixels(messages);
    const double opened = secondsNow();
    screen.click(sidebarX, firstTaskY + place * taskHeight);
    waitSeconds(1);
    const auto atEnd = screen.pixels(messages);
    if (atEnd == before) {
        giveUp("the task did not open");
    }
    costs.openings.push_back(longestGapOf(window.framesBetween(opened, secondsNow())));
    screen.point(messages.x + messages.width / 2, messages.y + messages.height / 2);
    const double start = secondsNow();
    for (int i = 0; i < 2 * notches; ++i) {
        screen.turnWheel(i < notches ? 1 : -1);
        waitSeconds(0.016);
        if (i == notches && screen.pixels(messages) == atEnd) {
            giveUp("the messages did not scroll");
        }
    }
    const auto frames = window.framesBetween(start, secondsNow());
    costs.frames.push_back(percentile(processorOf(frames), 0.95));
    costs.medians.push_back(median(processorOf(frames)));
    costs.gaps.push_back(longestGapOf(frames));
}

void tell(std::size_t entries, const Costs& costs)
{
    std::printf(
        "%6zu entries: opens within %4.0f ms between two frames; a frame while it scrolls takes %5.2f ms of the main thread, one of "
        "twenty %5.2f ms or more; the longest came after %4.0f ms\n",
        entries, median(costs.openings) * 1e3, median(costs.medians) * 1e3, median(costs.frames) * 1e3, median(costs.gaps) * 1e3);
}

int measure(const BenchmarkOptions& options)
{
    const std::size_t longTask = options.number("entries");
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(1), taskOfEntries(shortTask), taskOfEntries(longTask) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    Costs ofShort;
    Costs ofLong;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        showAndScroll(window, 1, ofShort);
        showAndScroll(window, 2, ofLong);
    }
    tell(shortTask, ofShort);
    tell(longTask, ofLong);
    const double opening = median(ofLong.openings) / median(ofShort.openings);
    const double scrolling = median(ofLong.frames) / median(ofShort.frames);
    std::printf("opening a task of %zu entries / of %zu: %.2f (bar %.1f)\n", longTask, shortTask, opening, openBar);
    std::printf("a frame while a task of %zu entries scrolls / of %zu: %.2f (bar %.1f)\n", longTask, shortTask, scrolling, scrollBar);
    return options.status(opening <= openBar && scrolling <= scrollBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "entries", "100000" }, { "rounds", "5" } } });
}
