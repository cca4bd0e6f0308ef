// How long it takes from the start of the program to the first frame of its window with 50 MB of history, against an empty Qt Quick
// window: at most 1.5 times. Both programs are started in turn on a private virtual display, each says on its standard output when its
// first frame has been swapped, and the clock stops when that line arrives. The time to the first frame with content is told besides.
//
//   FirstFrameBenchmark [--megabytes=50] [--rounds=15] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkProgram.h"
#include "BenchmarkSupport.h"
#include "Models/WorkspaceCoder.h"
#include "Models/WorkspaceStore.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;

constexpr double bar = 1.5;
// A history of about that size: one project, tasks of prompts, answers and tools.
void storeHistory(const fs::path& home, std::size_t megabytes)
{
    Workspace workspace = Workspace::make(home.string());
    const std::string answer = "The queue waits a **fixed 2 s** after every failure.\n\n- one\n- two\n\n```cpp\nint answer = 42;\n```\n\n";
    std::size_t bytes = 0;
    while (bytes < megabytes * 1000 * 1000) {
        ChatThread thread = ChatThread::make("Retry uploads with backoff and jitter");
        for (int turn = 0; turn < 100; ++turn) {
            thread.entries.push_back(ChatEntry::make(ChatEntryKind::user, "Find out why the line numbers are off by one."));
            ChatEntry tool = ChatEntry::make(ChatEntryKind::tool, "{\n  \"command\" : \"ctest -R Parser\"\n}");
            tool.title = "Run command";
            tool.status = "completed";
            thread.entries.push_back(tool);
            thread.entries.push_back(ChatEntry::make(ChatEntryKind::assistant, answer + answer + answer));
            bytes += 1200;
        }
        workspace.threads.push_back(std::move(thread));
    }
    workspace.threads.erase(workspace.threads.begin()); // the last one used is on top
    const fs::path folder = home / ".local/share/tessarin";
    fs::create_directories(folder);
    std::ofstream(folder / WorkspaceStore::key, std::ios::binary) << encodeWorkspaces({ workspace }).value();
}

int measure(const BenchmarkOptions& options)
{
    const std::size_t megabytes = options.number("megabytes");
    const BenchmarkHome home;
    storeHistory(home.path(), megabytes);
    const BenchmarkDisplay display;
    const Environment environment = home.environment(display.name());
    std::vector<double> empty;
    std::vector<double> first;
    std::vector<double> content;
    for (std::size_t round = 0; round <= options.number("rounds"); ++round) {
        const double emptySeconds = BenchmarkProgram({ FIRST_FRAME_EMPTY_WINDOW }, environment).secondsToLine("first frame");
        BenchmarkProgram program({ FIRST_FRAME_PROGRAM }, environment);
        const double firstSeconds = program.secondsToLine("first frame");
        const double contentSeconds = program.secondsToLine("first content");
        if (round > 0) { // the first round fills the caches of the system
            empty.push_back(emptySeconds);
            first.push_back(firstSeconds);
            content.push_back(contentSeconds);
        }
    }
    const double ratio = median(first) / median(empty);
    std::printf("empty window to first frame          %7.1f ms\n", median(empty) * 1000);
    std::printf("tessarin, %zu MB, to first frame      %7.1f ms\n", megabytes, median(first) * 1000);
    std::printf("tessarin, %zu MB, to first content    %7.1f ms\n", megabytes, median(content) * 1000);
    std::printf("first frame with history / empty window: %.2f (bar %.1f)\n", ratio, bar);
    return options.status(ratio <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure({ argc, argv, { { "megabytes", "50" }, { "rounds", "15" } } });
}
