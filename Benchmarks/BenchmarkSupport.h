#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace tessarin
{

// Ends the benchmark with 2: something could not be measured.
[[noreturn]] void giveUp(const std::string& why);

// Of a clock that only goes forward.
[[nodiscard]] double secondsNow();

// Requires: there are values. The upper one of two in the middle.
[[nodiscard]] double median(std::vector<double> values);
// The least value that so large a share of the values does not exceed. Requires: there are values.
[[nodiscard]] double percentile(std::vector<double> values, double share);

// The proportional set size of a process, in MB: what is private to it whole, what it shares with others in parts.
[[nodiscard]] double megabytesHeldBy(pid_t process);

// The part of it that stands in no file: what the process has allocated. It does not change with who else uses the same libraries.
[[nodiscard]] double megabytesAllocatedBy(pid_t process);

// What the command line says, as "--name=value" for the names that the benchmark gives, and "--report". Anything else ends with 2.
class BenchmarkOptions
{
public:
    BenchmarkOptions(int argc, char** argv, std::map<std::string, std::string> defaults);

    [[nodiscard]] const std::string& text(const std::string& name) const { return m_values.at(name); }
    // At least 1, or the benchmark ends with 2.
    [[nodiscard]] std::size_t number(const std::string& name) const;
    // The status to end with: 1 when a bar was missed and not only a report was asked for.
    [[nodiscard]] int status(bool isReached) const { return isReached || m_onlyReports ? 0 : 1; }

private:
    std::map<std::string, std::string> m_values;
    bool m_onlyReports = false;
};

} // namespace tessarin
