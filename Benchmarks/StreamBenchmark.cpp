// What the window costs while an answer of 1 MB of Markdown streams at 1,000 chunks a second, each of ten bytes, as models emit them. The
// program draws frame after frame all the time, as an animation makes it do (TESSARIN_REPORT_FRAMES), and says of each when it was shown
// and what the main thread has worked until then: reading what was posted, folding, parsing, laying out, drawing in software. Told are
//  - the cost of a frame in the last two seconds of the answer against the first two, by the means: at most 1.5 times;
//  - how many frames the window shows a second while the answer streams, against those while the runtime is silent: at least 0.97;
//  - how far the memory grows from the first tenth of the answer to its last seconds, against the text that came: at most 2 times.
// Memory is what the program has allocated; it is looked at for two seconds, since what is laid out and thrown away makes it swing.
//
//   StreamBenchmark [--chunks=100000] [--report]
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

constexpr double costBar = 1.5;
constexpr double frameBar = 0.97;
constexpr double memoryBar = 2.0;

constexpr ScreenArea messages{ 300, 200, 800, 300 };

struct Phase {
    double cost = 0; // of a frame, seconds of the main thread
    double framesPerSecond = 0;
    double longestGap = 0;
};

Phase phaseOf(const char* what, const BenchmarkWindow& window, double begin, double end)
{
    const auto frames = window.framesBetween(begin, end);
    const Phase phase{ meanOf(processorOf(frames)), static_cast<double>(frames.size()) / (end - begin), longestGapOf(frames) };
    std::printf("%-36s %5.2f ms of the main thread a frame, %5.1f frames a second, the longest took %4.0f ms\n", what, phase.cost * 1e3,
        phase.framesPerSecond, phase.longestGap * 1e3);
    return phase;
}

constexpr double look = memoryLook;

void waitUntil(double second)
{
    waitSeconds(std::max(0.0, second - secondsNow()));
}

struct Answer {
    double start = 0;
    double end = 0;
    double memory = 0; // how far it grew from the first tenth on, against the text that came meanwhile
};

Answer watchAnswer(BenchmarkWindow& window, std::size_t chunks)
{
    const double length = static_cast<double>(chunks) / chunksPerSecond;
    const auto before = window.screen().pixels(messages);
    window.send("stream " + std::to_string(chunks));
    Answer answer{ secondsNow(), secondsNow() + length };
    waitUntil(answer.start + length / 10);
    const auto early = window.screen().pixels(messages);
    const double looked = secondsNow();
    const double memoryBefore = settledMegabytesOf(window.process());
    waitUntil(answer.end - 2 * look - 1);
    const double text = (secondsNow() - looked) * chunksPerSecond * chunkBytes / 1e6;
    answer.memory = (settledMegabytesOf(window.process()) - memoryBefore) / text;
    waitUntil(answer.end);
    if (early == before || window.screen().pixels(messages) == early) {
        giveUp("the answer was not to be seen");
    }
    return answer;
}

int measure(const BenchmarkOptions& options)
{
    constexpr double silence = 8;
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(100) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    window.send("wait " + std::to_string(static_cast<int>(silence)));
    const double silent = secondsNow();
    waitSeconds(silence + 1);
    const Answer answer = watchAnswer(window, options.number("chunks"));

    const Phase idle = phaseOf("while the runtime is silent", window, silent + look, silent + silence);
    const Phase first = phaseOf("the first two seconds of the answer", window, answer.start, answer.start + look);
    const Phase last = phaseOf("the last two seconds", window, answer.end - look, answer.end);
    const Phase whole = phaseOf("the whole answer", window, answer.start, answer.end);
    const double ratio = last.cost / first.cost;
    const double fluency = whole.framesPerSecond / idle.framesPerSecond;
    std::printf("cost of a frame at the end of 1 MB of streamed Markdown / at its start: %.2f (bar %.1f)\n", ratio, costBar);
    std::printf("frames a second while 1 MB streams / while nothing comes: %.2f (bar %.2f, at least)\n", fluency, frameBar);
    std::printf("memory that 1 MB of streamed Markdown takes / its text: %.2f (bar %.1f)\n", answer.memory, memoryBar);
    return options.status(ratio <= costBar && fluency >= frameBar && answer.memory <= memoryBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "chunks", "100000" } } });
}
