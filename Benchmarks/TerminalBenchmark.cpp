// What the terminals of agents cost when a command prints a gigabyte: the time from the start of the command to its reported end, against a
// bare loop that reads the same pipe, at most 2 times; and how far the memory grows beyond the bytes that are kept, at most 8 MB.
// Both take their turns with the same command, which is the fastest one that prints text in lines.
//
//   TerminalBenchmark [--megabytes=1000] [--rounds=7] [--limit=1000000] [--report]
//
// Ends with 1 when a bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "Services/TerminalManager.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

constexpr double timeBar = 2.0;
constexpr double memoryBar = 8.0;

struct Options {
    std::size_t megabytes = 1000;
    std::size_t rounds = 7;
    std::size_t limit = 1'000'000;
    bool onlyReports = false;
};

[[noreturn]] void giveUp(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
}

Options optionsOf(const std::vector<std::string_view>& arguments)
{
    Options options;
    for (const std::string_view argument : arguments) {
        const std::string value(argument.substr(std::min(argument.find('=') + 1, argument.size())));
        if (argument.starts_with("--megabytes=")) {
            options.megabytes = std::strtoull(value.c_str(), nullptr, 10);
        } else if (argument.starts_with("--rounds=")) {
            options.rounds = std::strtoull(value.c_str(), nullptr, 10);
        } else if (argument.starts_with("--limit=")) {
            options.limit = std::strtoull(value.c_str(), nullptr, 10);
        } else if (argument == "--report") {
            options.onlyReports = true;
        } else {
            giveUp("unknown: " + std::string(argument));
        }
    }
    if (options.megabytes == 0 || options.rounds == 0) {
        giveUp("both numbers are at least 1");
    }
    return options;
}

double secondsNow()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string shellLine(const Options& options)
{
    return "yes 'a line of a log as programs write them, of about seventy bytes in all' 2>/dev/null | head -c "
        + std::to_string(options.megabytes) + "000000";
}

// The measure: reading the pipe and nothing else.
double secondsOfReading(const Options& options)
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
    if (::pclose(pipe) != 0 || total != options.megabytes * 1'000'000) {
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

Cost costOfATerminal(const Options& options)
{
    forgetPeakMemory();
    const std::size_t before = peakMemory();
    TerminalManager manager(Environment{ { "PATH", "/usr/bin:/bin" } });
    std::promise<JsonObject> end;
    const double start = secondsNow();
    const auto id = manager.create({ { "command", "sh" }, { "args", { "-c", shellLine(options) } }, { "outputByteLimit", options.limit } });
    if (!id || !manager.waitForExit(id.value(), [&end](JsonObject exitStatus) { end.set_value(std::move(exitStatus)); })) {
        giveUp("the terminal could not be made");
    }
    const JsonObject exitStatus = end.get_future().get();
    const double seconds = secondsNow() - start;
    const double grown = static_cast<double>(peakMemory() - before) - static_cast<double>(options.limit);
    const JsonObject snapshot = manager.snapshot(id.value()).value();
    if (exitStatus.at("exitCode") != Json(0) || snapshot.at("output").as_string().size() != options.limit) {
        giveUp("the terminal did not keep what it should");
    }
    manager.releaseAll();
    return { seconds, grown / 1e6 };
}

int measure(const Options& options)
{
    secondsOfReading(options); // the first round warms the system up
    std::vector<double> terminals;
    std::vector<double> readings;
    std::vector<double> ratios;
    std::vector<double> growths;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        const Cost cost = costOfATerminal(options);
        terminals.push_back(cost.seconds);
        growths.push_back(cost.megabytes);
        readings.push_back(secondsOfReading(options));
        ratios.push_back(terminals.back() / readings.back());
    }
    // The first terminal finds no memory that another one has left behind.
    const double growth = *std::max_element(growths.begin(), growths.end());
    const double megabytes = static_cast<double>(options.megabytes);
    std::printf(
        "a command that prints %zu MB, of which %zu bytes are kept: %.0f MB a second; a bare read of the same pipe: %.0f MB a second\n",
        options.megabytes, options.limit, megabytes / median(terminals), megabytes / median(readings));
    std::printf("memory of a terminal that prints 1 GB beyond what it keeps, in MB: %.1f (bar %.0f)\n", growth, memoryBar);
    std::printf("terminal that prints 1 GB / a bare read of the same pipe: %.2f (bar %.1f)\n", median(ratios), timeBar);
    return options.onlyReports || (growth <= memoryBar && median(ratios) <= timeBar) ? 0 : 1;
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    return tessarin::measure(tessarin::optionsOf({ argv + 1, argv + argc }));
}
