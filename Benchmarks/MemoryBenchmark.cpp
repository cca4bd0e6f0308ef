// How much memory the program holds with a task of 50 MB open, against that text and an empty Qt Quick window together: at most 2 times.
// Memory is the proportional set size (Pss of /proc/PID/smaps_rollup): what is private counts whole, what several processes share counts
// in parts, and both programs share the libraries of Qt in the same way, since both are running when they are asked. They are asked again
// until the figure has stood still for a second, so that what is given back after the start does not count. Text is that of the entries in
// UTF-8, without ids, titles and times. What the program holds with no task at all is told besides.
//
//   MemoryBenchmark [--megabytes=50] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkHistory.h"
#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <cstdio>

namespace tessarin
{
namespace
{

constexpr double bar = 2.0;

double settledMegabytesOf(pid_t process)
{
    constexpr double stillness = 0.1; // MB
    constexpr int patience = 60;
    double before = megabytesHeldBy(process);
    for (int second = 0; second < patience; ++second) {
        waitSeconds(1);
        const double now = megabytesHeldBy(process);
        if (now <= before + stillness && now >= before - stillness) {
            return now;
        }
        before = now;
    }
    giveUp("the memory does not stand still");
}

int measure(const BenchmarkOptions& options)
{
    Workspace project = benchmarkProject();
    project.threads = { taskOfBytes(options.number("megabytes") * 1'000'000) };
    const double text = static_cast<double>(textBytesOf(project.threads.front())) / 1e6;
    const std::size_t entries = project.threads.front().entries.size();
    const BenchmarkHome home;
    const BenchmarkDisplay display;
    BenchmarkProgram emptyWindow({ BENCHMARK_EMPTY_WINDOW }, home.environment(display.name()));
    static_cast<void>(emptyWindow.secondsToLine("first frame"));
    const BenchmarkWindow noTask({ benchmarkProject() }, BenchmarkWindow::Reports::nothing);
    const BenchmarkWindow full({ std::move(project) }, BenchmarkWindow::Reports::nothing);
    const double ofFull = settledMegabytesOf(full.process());
    const double ofNoTask = settledMegabytesOf(noTask.process());
    const double ofEmpty = settledMegabytesOf(emptyWindow.process());
    std::printf("text of %zu entries                  %7.1f MB\n", entries, text);
    std::printf("an empty Qt Quick window             %7.1f MB\n", ofEmpty);
    std::printf("tessarin without a task              %7.1f MB\n", ofNoTask);
    std::printf("tessarin with the task open          %7.1f MB\n", ofFull);
    const double ratio = ofFull / (text + ofEmpty);
    std::printf("memory with a 50 MB task open / its text and an empty Qt Quick window: %.2f (bar %.1f)\n", ratio, bar);
    return options.status(ratio <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "megabytes", "50" } } });
}
