#pragma once

#include "Platform/ChildProcess.h"

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace tessarin
{

// A child whose standard output is read line by line. It ends with this process, and at the latest with this object.
class BenchmarkProgram
{
public:
    BenchmarkProgram(const std::vector<std::string>& command, const Environment& environment);
    ~BenchmarkProgram();
    BenchmarkProgram(const BenchmarkProgram&) = delete;
    BenchmarkProgram& operator=(const BenchmarkProgram&) = delete;

    // The seconds from the start to the line that begins so.
    [[nodiscard]] double secondsToLine(std::string_view begin);
    // The next line as a whole. Ends the benchmark when there is none for a minute.
    [[nodiscard]] std::string line();
    [[nodiscard]] pid_t process() const { return m_process; }

private:
    double m_start = 0;
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_text;
};

// A folder of its own for the stores and the runtime folder of a program; it goes with this object.
class BenchmarkHome
{
public:
    BenchmarkHome();
    ~BenchmarkHome();
    BenchmarkHome(const BenchmarkHome&) = delete;
    BenchmarkHome& operator=(const BenchmarkHome&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }
    // Of a program that lives there and nowhere else, with a window that is drawn in software.
    [[nodiscard]] Environment environment(const std::string& display) const;

private:
    std::string m_path;
};

// A private virtual display.
class BenchmarkDisplay
{
public:
    BenchmarkDisplay();
    [[nodiscard]] const std::string& name() const { return m_name; }

private:
    BenchmarkProgram m_server;
    std::string m_name;
};

} // namespace tessarin
