// What the window costs while a running tool sends its whole text again and again: 1,000 updates of one call, each of 150 KB, a hundred a
// second, ten times the pace of the runtimes that do so; once in lines of which only the last changes, once as a single line all of which
// moves. The program draws frame after frame all the time (TESSARIN_REPORT_FRAMES). Once the card is the last thing in a task of 100
// entries, closed, and the list follows it; once it is open and scrolled into its text. Told of each are
//  - how many frames the window shows a second meanwhile, against those while the runtime is silent: at least 0.9;
//  - how far the memory grows from the first tenth of the storm to its last seconds, in MB: at most 8, whatever has come.
//
//   StormBenchmark [--updates=1000] [--report]
//
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

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

constexpr double frameBar = 0.9;
constexpr double memoryBar = 8;
// Where the card of a task that begins with one stands, below the header of the task, and where its output comes.
constexpr ScreenArea cardHead{ 500, 128, 40, 4 };
constexpr ScreenArea output{ 400, 200, 300, 60 };
// What shows that the storm is there: the card that comes at the end, the status of the one that is open.
constexpr ScreenArea messages{ 300, 200, 800, 300 };
constexpr ScreenArea wholeHead{ 400, 118, 760, 20 };

struct Storm {
    double fluency = 0;
    double megabytes = 0;
};

struct Phase {
    double framesPerSecond = 0;
    double longestGap = 0;
};

Phase phaseOf(const char* what, const BenchmarkWindow& window, double begin, double end)
{
    const auto frames = window.framesBetween(begin, end);
    const Phase phase{ static_cast<double>(frames.size()) / (end - begin), longestGapOf(frames) };
    const auto work = processorOf(frames);
    std::printf("%-36s %5.2f ms of the main thread a frame, at most %5.1f, %5.1f frames a second, the longest took %4.0f ms\n", what,
        meanOf(work) * 1e3, *std::max_element(work.begin(), work.end()) * 1e3, phase.framesPerSecond, phase.longestGap * 1e3);
    return phase;
}

void waitUntil(double second)
{
    waitSeconds(std::max(0.0, second - secondsNow()));
}

Storm watch(const char* what, BenchmarkWindow& window, const ScreenArea& proof, std::size_t updates, TextShape shape)
{
    constexpr double silence = 8;
    window.send("wait " + std::to_string(static_cast<int>(silence)));
    const double silent = secondsNow();
    waitSeconds(silence + 1);
    const double length = static_cast<double>(updates) / stormUpdatesPerSecond;
    const auto without = window.screen().pixels(proof);
    window.send((shape == TextShape::lines ? "storm lines " : "storm line ") + std::to_string(updates));
    const double start = secondsNow();
    waitUntil(start + length / 10);
    const double before = settledMegabytesOf(window.process());
    waitUntil(start + length - memoryLook - 1);
    const double grown = settledMegabytesOf(window.process()) - before;
    waitUntil(start + length);
    if (window.screen().pixels(proof) == without) {
        giveUp("the storm was not to be seen");
    }
    std::printf("%s\n", what);
    const Phase idle = phaseOf("while the runtime is silent", window, silent + memoryLook, silent + silence);
    const Phase busy = phaseOf("during the storm", window, start, start + length);
    return { busy.framesPerSecond / idle.framesPerSecond, std::max(grown, 0.0) };
}

Storm watchClosed(std::size_t updates, TextShape shape)
{
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(100) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    return watch("A closed card that the list follows", window, messages, updates, shape);
}

Storm watchOpen(std::size_t updates, TextShape shape)
{
    Workspace project = benchmarkProject();
    project.threads = { taskOfOneTool(0) };
    ChatEntry& tool = project.threads.front().entries.front();
    tool.id = stormCall;
    tool.text = prettyJson(stormInput(0, shape)).value_or("");
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    const auto closed = window.screen().pixels(output);
    window.screen().click(cardHead.x, cardHead.y);
    waitSeconds(1);
    const auto open = window.screen().pixels(output);
    window.screen().point(output.x, output.y);
    for (int notch = 0; notch < 20; ++notch) {
        window.screen().turnWheel(-1);
        waitSeconds(0.05);
    }
    waitSeconds(1);
    if (open == closed || window.screen().pixels(output) == open) {
        giveUp("the card did not open, or did not scroll");
    }
    const ScreenArea composer = window.composerLine();
    window.screen().click(composer.x + composer.width / 2, composer.y + composer.height / 2);
    return watch("An open card, scrolled into its text", window, wholeHead, updates, shape);
}

bool isFluent(const char* text, const BenchmarkOptions& options, TextShape shape)
{
    std::printf("150 KB %s\n", text);
    const Storm closed = watchClosed(options.number("updates"), shape);
    const Storm open = watchOpen(options.number("updates"), shape);
    const double fluency = std::min(closed.fluency, open.fluency);
    const double megabytes = std::max(closed.megabytes, open.megabytes);
    std::printf("frames a second while a tool sends 150 KB %s a hundred times a second / while nothing comes: %.2f (bar %.1f, at least)\n",
        text, fluency, frameBar);
    std::printf(
        "memory that 1,000 such updates of one tool take beyond the first, in MB, %s: %.1f (bar %.0f)\n", text, megabytes, memoryBar);
    return fluency >= frameBar && megabytes <= memoryBar;
}

int measure(const BenchmarkOptions& options)
{
    const bool areLinesFluent = isFluent("in lines", options, TextShape::lines);
    const bool isLineFluent = isFluent("in a single line", options, TextShape::line);
    return options.status(areLinesFluent && isLineFluent);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "updates", "1000" } } });
}
