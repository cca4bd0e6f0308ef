// What the window costs with a text of 150 KB in a single line, without a line break, against the same amount of text as agents write it.
// The program draws frame after frame all the time (TESSARIN_REPORT_FRAMES), and says what the main thread has worked for each.
//  - A prompt, an answer, code in a fence and the output of a tool of that size, a task each: the dearest frame while it opens and while it
//    is scrolled through, against that with a task of prompts, thoughts, tools and answers: at most 2 times.
//  - An answer and code that stream at 1,000 chunks a second: one of a hundred frames is dearer than so, against streamed Markdown: at most
//    2 times.
//
//   LongLineBenchmark [--kilobytes=150] [--rounds=3] [--report]
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

constexpr double showBar = 2.0;
constexpr double streamBar = 2.0;
constexpr int notches = 60;
// Where the tasks stand in the sidebar, the one used last on top.
constexpr int sidebarX = 120;
constexpr int firstTaskY = 181;
constexpr int taskHeight = 48;
// Where the card of a task that begins with one stands, below the header of the task.
constexpr ScreenArea cardHead{ 500, 128, 40, 4 };
constexpr ScreenArea messages{ 300, 200, 800, 300 };

double dearest(const std::vector<BenchmarkFrame>& frames)
{
    const auto work = processorOf(frames);
    return *std::max_element(work.begin(), work.end());
}

// Shows the task at this place of the sidebar, opens its card, and scrolls up through it and down again. The dearest frame of all.
double show(BenchmarkWindow& window, int place, bool isTool)
{
    BenchmarkScreen& screen = window.screen();
    const auto before = screen.pixels(messages);
    const double start = secondsNow();
    screen.click(sidebarX, firstTaskY + place * taskHeight);
    waitSeconds(1);
    if (isTool) {
        screen.click(cardHead.x, cardHead.y);
        waitSeconds(1);
    }
    const auto shown = screen.pixels(messages);
    if (shown == before) {
        giveUp("the task did not open");
    }
    screen.point(messages.x + messages.width / 2, messages.y + (isTool ? 0 : messages.height / 2));
    for (int i = 0; i < 2 * notches; ++i) {
        screen.turnWheel((i < notches) == isTool ? -1 : 1);
        waitSeconds(0.016);
        if (i == notches && screen.pixels(messages) == shown) {
            giveUp("the text did not scroll");
        }
    }
    return dearest(window.framesBetween(start, secondsNow()));
}

ChatThread taskOfOne(ChatEntryKind kind, const char* title, const std::string& text)
{
    ChatThread task = ChatThread::make(title);
    ChatEntry entry = ChatEntry::make(kind, text);
    entry.title = kind == ChatEntryKind::tool ? std::optional<std::string>("Run command") : std::nullopt;
    task.entries.push_back(std::move(entry));
    return task;
}

bool isShownWell(const BenchmarkOptions& options)
{
    const std::size_t bytes = options.number("kilobytes") * 1000;
    const std::string line = lineOf(bytes);
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(1), taskOfBytes(bytes), taskOfOne(ChatEntryKind::user, "prompt", line),
        taskOfOne(ChatEntryKind::assistant, "answer", line), taskOfOne(ChatEntryKind::assistant, "code", "```cpp\n" + line + "\n```\n"),
        taskOfOne(ChatEntryKind::tool, "output", line) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    std::vector<std::vector<double>> works(project.threads.size());
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        for (std::size_t task = 1; task < works.size(); ++task) {
            works[task].push_back(show(window, static_cast<int>(task), task + 1 == works.size()));
        }
    }
    double most = 0;
    for (std::size_t task = 1; task < works.size(); ++task) {
        std::printf("%-30s the dearest frame takes %6.1f ms of the main thread\n",
            task == 1 ? "a task of the same size" : project.threads[task].title.c_str(), median(works[task]) * 1e3);
        most = task == 1 ? most : std::max(most, median(works[task]));
    }
    const double ratio = most / median(works[1]);
    std::printf("dearest frame of a text of 150 KB in a single line / of a task of that size: %.2f (bar %.1f)\n", ratio, showBar);
    return ratio <= showBar;
}

// One of a hundred frames while the answer streams is dearer.
double stream(BenchmarkWindow& window, const std::string& prompt, std::size_t chunks)
{
    const double length = static_cast<double>(chunks) / chunksPerSecond;
    const auto before = window.screen().pixels(messages);
    window.send(prompt + " " + std::to_string(chunks));
    const double start = secondsNow();
    waitSeconds(length);
    if (window.screen().pixels(messages) == before) {
        giveUp("the answer was not to be seen");
    }
    const auto frames = window.framesBetween(start, start + length);
    const double work = percentile(processorOf(frames), 0.99);
    std::printf("%-30s %5.2f ms of the main thread a frame, one of a hundred %5.1f or more, at most %5.1f\n", prompt.c_str(),
        meanOf(processorOf(frames)) * 1e3, work * 1e3, dearest(frames) * 1e3);
    waitSeconds(1);
    return work;
}

bool isStreamedWell(const BenchmarkOptions& options)
{
    const std::size_t chunks = options.number("kilobytes") * 1000 / chunkBytes;
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(100) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::frames);
    const double markdown = stream(window, "stream", chunks);
    const double ratio = std::max(stream(window, "line", chunks), stream(window, "code", chunks)) / markdown;
    std::printf("a dear frame while 150 KB stream in a single line / as Markdown: %.2f (bar %.1f)\n", ratio, streamBar);
    return ratio <= streamBar;
}

int measure(const BenchmarkOptions& options)
{
    const bool showsWell = isShownWell(options);
    const bool streamsWell = isStreamedWell(options);
    return options.status(showsWell && streamsWell);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "kilobytes", "150" }, { "rounds", "3" } } });
}
