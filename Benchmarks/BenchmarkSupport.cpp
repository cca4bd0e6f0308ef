#include "BenchmarkSupport.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tessarin
{

void giveUp(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
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

double percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const auto place = static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size())));
    return values[std::clamp<std::size_t>(place, 1, values.size()) - 1];
}

static double megabytesOf(pid_t process, std::string_view key)
{
    std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with(key)) {
            return static_cast<double>(std::strtoull(line.c_str() + line.find_first_of("0123456789"), nullptr, 10)) * 1024 / 1e6;
        }
    }
    giveUp("the system does not tell how much memory is held");
}

double megabytesHeldBy(pid_t process)
{
    return megabytesOf(process, "Pss:");
}

double megabytesAllocatedBy(pid_t process)
{
    return megabytesOf(process, "Pss_Anon:");
}

BenchmarkOptions::BenchmarkOptions(int argc, char** argv, std::map<std::string, std::string> defaults) : m_values(std::move(defaults))
{
    for (const std::string_view argument : std::vector<std::string_view>(argv + 1, argv + argc)) {
        const std::size_t sign = argument.find('=');
        const auto value = argument.starts_with("--") && sign != std::string_view::npos
            ? m_values.find(std::string(argument.substr(2, sign - 2)))
            : m_values.end();
        if (value != m_values.end()) {
            value->second = argument.substr(sign + 1);
        } else if (argument == "--report") {
            m_onlyReports = true;
        } else {
            giveUp("unknown: " + std::string(argument));
        }
    }
}

std::size_t BenchmarkOptions::number(const std::string& name) const
{
    const std::size_t value = std::strtoull(text(name).c_str(), nullptr, 10);
    if (value == 0) {
        giveUp("--" + name + " is at least 1");
    }
    return value;
}

} // namespace tessarin
