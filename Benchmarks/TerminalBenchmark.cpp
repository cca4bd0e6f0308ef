// What the terminals of agents cost when a command prints a gigabyte: the time from the start of the command to its reported end, against a
// bare loop that reads the same pipe, at most 2 times; and how far the memory grows beyond the bytes that are kept, at most 8 MB.
// Both take their turns with the same command, which is the fastest one that prints text in lines.
//
//   TerminalBenchmark [--megabytes=1000] [--rounds=7] [--limit=1000000] [--report]
//
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "BenchmarkSupport.h"
#include "Services/TerminalManager.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double timeBar = 2.0;
constexpr double memoryBar = 8.0;

std::string shellLine(const BenchmarkOptions& options)
{
    return "yes 'a line of a log as programs write them, of about seventy bytes in all' 2>/dev/null | head -c "
        + std::to_string(options.number("megabytes")) + "000000";
}

// The measure: reading the pipe and nothing else.
double secondsOfReading(const BenchmarkOptions& options)
{
    const double start = secondsNow();
    std::FILE* pipe = ::popen(shellLine(options).c_str(), "r");
    if (pipe == nullptr) {
        giveUp("no pipe");
    }
    std::vector<char> buffer(256 * 1024);
    std::size_t total = 0;
    for (ssize_t count = 0; (count = ::read(::fileno(pipe), buffer.data(), buffer.size())) > 0;) {
        total += static_cast<std::size_t>(count);
    }
    if (::pclose(pipe) != 0 || total != options.number("megabytes") * 1'000'000) {
        giveUp("the command did not print what it should");
    }
    return secondsNow() - start;
}

// The most memory that this process has held since `forgetPeakMemory`, in bytes.
void forgetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << 5;
}

std::size_t peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::strtoull(line.c_str() + line.find_first_of("0123456789"), nullptr, 10) * 1024;
        }
    }
    giveUp("the system does not tell how much memory is held");
}

struct Cost {
    double seconds = 0;
    double megabytes = 0; // of memory, beyond what is kept
};

Cost costOfATerminal(const BenchmarkOptions& options)
{
    forgetPeakMemory();
    const std::size_t before = peakMemory();
    TerminalManager manager(Environment{ { "PATH", "/usr/bin:/bin" } });
    std::promise<JsonObject> end;
    const double start = secondsNow();
    const auto id
        = manager.create({ { "command", "sh" }, { "args", { "-c", shellLine(options) } }, { "outputByteLimit", options.number("limit") } });
    if (!id || !manager.waitForExit(id.value(), [&end](JsonObject exitStatus) { end.set_value(std::move(exitStatus)); })) {
        giveUp("the terminal could not be made");
    }
    const JsonObject exitStatus = end.get_future().get();
    const double seconds = secondsNow() - start;
    const double grown = static_cast<double>(peakMemory() - before) - static_cast<double>(options.number("limit"));
    const JsonObject snapshot = manager.snapshot(id.value()).value();
    if (exitStatus.at("exitCode") != Json(0) || snapshot.at("output").as_string().size() != options.number("limit")) {
        giveUp("the terminal did not keep what it should");
    }
    manager.releaseAll();
    return { seconds, grown / 1e6 };
}

int measure(const BenchmarkOptions& options)
{
    secondsOfReading(options); // the first round warms the system up
    std::vector<double> terminals;
    std::vector<double> readings;
    std::vector<double> ratios;
    std::vector<double> growths;
    for (std::size_t round = 0; round < options.number("rounds"); ++round) {
        const Cost cost = costOfATerminal(options);
        terminals.push_back(cost.seconds);
        growths.push_back(cost.megabytes);
        readings.push_back(secondsOfReading(options));
        ratios.push_back(terminals.back() / readings.back());
    }
    // The first terminal finds no memory that another one has left behind.
    const double growth = *std::max_element(growths.begin(), growths.end());
    const double megabytes = static_cast<double>(options.number("megabytes"));
    std::printf(
        "a command that prints %zu MB, of which %zu bytes are kept: %.0f MB a second; a bare read of the same pipe: %.0f MB a second\n",
        options.number("megabytes"), options.number("limit"), megabytes / median(terminals), megabytes / median(readings));
    std::printf("memory of a terminal that prints 1 GB beyond what it keeps, in MB: %.1f (bar %.0f)\n", growth, memoryBar);
    std::printf("terminal that prints 1 GB / a bare read of the same pipe: %.2f (bar %.1f)\n", median(ratios), timeBar);
    return options.status(growth <= memoryBar && median(ratios) <= timeBar);
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure({ argc, argv, { { "megabytes", "1000" }, { "rounds", "7" }, { "limit", "1000000" } } });
}
