// How often the program wakes up when nobody does anything: not once. A task is open in the window on a private display, with a session bus
// as on a desktop. A wake-up is a thread that was waiting and runs again: the voluntary context switches of every thread of the process
// (/proc/PID/task/*/status), and every thread that comes or goes, counted over ten seconds of stillness. Asked for are three states: the
// window has the focus and the caret stands in the composer, the window has no focus, and both again after a turn of the runtime.
// A caret blinks, which is a wake-up for each time it comes and goes, for as long as the person may be about to type; so the counting
// begins when the caret has come to rest, which is told besides.
//
//   IdleBenchmark [--seconds=10] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkHistory.h"
#include "BenchmarkRuntime.h"
#include "BenchmarkSupport.h"
#include "BenchmarkWindow.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace tessarin
{
namespace
{

constexpr double bar = 0;
constexpr double longestUnrest = 60; // seconds until the program has to be still

struct Thread {
    std::string name;
    std::size_t switches = 0;
};

std::map<std::string, Thread> threadsOf(pid_t process)
{
    std::map<std::string, Thread> threads;
    for (const auto& folder : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        Thread& thread = threads[folder.path().filename().string()];
        std::ifstream status(folder.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("Name:")) {
                thread.name = line.substr(line.find_first_not_of(" \t", line.find(':') + 1));
            } else if (line.starts_with("voluntary_ctxt_switches:")) {
                thread.switches = std::strtoull(line.c_str() + line.find_first_of("0123456789"), nullptr, 10);
            }
        }
    }
    return threads;
}

std::size_t wakeUpsIn(pid_t process, double seconds, bool isTold)
{
    const auto before = threadsOf(process);
    waitSeconds(seconds);
    const auto after = threadsOf(process);
    std::size_t sum = 0;
    for (const auto& [id, thread] : after) {
        const auto earlier = before.find(id);
        const std::size_t count = earlier == before.end() ? 1 : thread.switches - earlier->second.switches;
        if (isTold && count > 0) {
            std::printf("  %s: %zu\n", thread.name.c_str(), count);
        }
        sum += count;
    }
    for (const auto& [id, thread] : before) {
        sum += after.count(id) == 0 ? 1 : 0;
    }
    return sum;
}

// Wake-ups a second once the program has come to rest, or after the time that it has for that.
double restlessness(pid_t process, const char* state, double seconds)
{
    const double start = secondsNow();
    constexpr double look = 2;
    while (secondsNow() - start < longestUnrest && wakeUpsIn(process, look, false) > 0) { }
    const double unrest = secondsNow() - start - look;
    const std::size_t wakeUps = wakeUpsIn(process, seconds, true);
    std::printf("%-40s at rest after %.0f s, then %zu wake-ups in %.0f s\n", state, unrest, wakeUps, seconds);
    return static_cast<double>(wakeUps) / seconds;
}

int measure(const BenchmarkOptions& options)
{
    const double seconds = static_cast<double>(options.number("seconds"));
    BenchmarkProgram bus({ "dbus-daemon", "--session", "--nofork", "--print-address=1" }, processEnvironment());
    Workspace project = benchmarkProject();
    project.threads = { taskOfEntries(1000) };
    BenchmarkWindow window({ project }, BenchmarkWindow::Reports::nothing, { { "DBUS_SESSION_BUS_ADDRESS", bus.line() } });
    double most = restlessness(window.process(), "with the focus in the composer", seconds);
    window.screen().takeFocusAway();
    most = std::max(most, restlessness(window.process(), "without the focus", seconds));
    window.screen().focus();
    window.send("stream 500");
    most = std::max(most, restlessness(window.process(), "after a turn, in the composer", seconds));
    window.screen().takeFocusAway();
    most = std::max(most, restlessness(window.process(), "after a turn, without the focus", seconds));
    std::printf("wake-ups a second of the idle window, all threads, a task open: %.1f (bar %.0f)\n", most, bar);
    return options.status(most <= bar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    if (const auto status = tessarin::playBenchmarkRuntime(argc, argv)) {
        return *status;
    }
    return tessarin::measure({ argc, argv, { { "seconds", "10" } } });
}
