// How long the window stands still when the card of a tool is opened that has printed 20 MB, against one with 2 KB: at most 1.5 times.
// Both tasks are open in a window of their own, which draws frame after frame (TESSARIN_REPORT_FRAMES). Each card is opened and closed by
// the pointer in turns, and the longest time between two frames in the second after each click counts, by the medians of the openings.
// What the main thread works at most for one frame is told besides.
//
//   ToolCardBenchmark [--megabytes=20] [--rounds=9] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkHistory.h"
#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <algorithm>
#include <cstdio>

namespace tessarin
{
namespace
{

constexpr double bar = 1.5;
constexpr std::size_t smallOutput = 2000;
// Where the one card of the task stands, below the header of the task, and where its output comes.
constexpr ScreenArea cardHead{ 500, 128, 40, 4 };
constexpr ScreenArea output{ 400, 200, 300, 60 };

class Card
{
public:
    explicit Card(std::size_t bytes) : m_window({ treeOf(bytes) }, BenchmarkWindow::Reports::frames) { }

    // A click, and what came of it.
    void toggle()
    {
        const auto before = m_window.screen().pixels(output);
        const double start = secondsNow();
        m_window.screen().click(cardHead.x, cardHead.y);
        waitSeconds(1);
        // The main thread may still be busy with it.
        double end = secondsNow();
        while (m_window.screen().pixels(output) == before) {
            waitSeconds(0.1);
            end = secondsNow();
            if (end - start > patience) {
                giveUp("the card did not open, or did not close");
            }
        }
        waitSeconds(0.2);
        const auto frames = m_window.framesBetween(start, secondsNow());
        m_isOpen = !m_isOpen;
        if (m_isOpen) {
            const auto processor = processorOf(frames);
            m_gaps.push_back(longestGapOf(frames));
            m_costs.push_back(*std::max_element(processor.begin(), processor.end()));
        }
    }

    // Milliseconds; the first opening of all loads what a card needs, and does not count.
    double tell(const char* what)
    {
        m_gaps.erase(m_gaps.begin());
        m_costs.erase(m_costs.begin());
        std::printf("%-32s %6.1f ms between two frames at most, of which %6.1f ms work of the main thread\n", what, median(m_gaps) * 1e3,
            median(m_costs) * 1e3);
        return median(m_gaps);
    }

private:
    static constexpr double patience = 120;

    static Workspace treeOf(std::size_t bytes)
    {
        Workspace project = benchmarkProject();
        project.threads = { taskOfOneTool(bytes) };
        return project;
    }

    BenchmarkWindow m_window;
    bool m_isOpen = false;
    std::vector<double> m_gaps;
    std::vector<double> m_costs;
};

int measure(const BenchmarkOptions& options)
{
    Card small(smallOutput);
    Card large(options.number("megabytes") * 1'000'000);
    for (std::size_t round = 0; round <= options.number("rounds"); ++round) {
        for (int click = 0; click < 2; ++click) {
            small.toggle();
            large.toggle();
        }
    }
    const double ofSmall = small.tell("a card with 2 KB of output");
    const double ratio = large.tell("a card with 20 MB of output") / ofSmall;
    std::printf("longest stand-still when a tool card with 20 MB opens / with 2 KB: %.2f (bar %.1f)\n", ratio, bar);
    return options.status(ratio <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "megabytes", "20" }, { "rounds", "9" } } });
}
