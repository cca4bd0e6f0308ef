#include "BenchmarkProgram.h"

#include "BenchmarkSupport.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr int patienceMilliseconds = 60000;

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

} // namespace

BenchmarkProgram::BenchmarkProgram(const std::vector<std::string>& command, const Environment& environment) : m_start(secondsNow())
{
    std::vector<std::string> arguments = command;
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    const std::vector<char*> argumentPointers = pointers(arguments);
    const std::vector<char*> variablePointers = pointers(variables);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        giveUp("no pipe");
    }
    m_process = ::fork();
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(ends[1], STDOUT_FILENO);
        ::execvpe(argumentPointers[0], argumentPointers.data(), variablePointers.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    m_output = ends[0];
}

BenchmarkProgram::~BenchmarkProgram()
{
    ::kill(m_process, SIGTERM);
    ::waitpid(m_process, nullptr, 0);
    ::close(m_output);
}

std::string BenchmarkProgram::line()
{
    for (;;) {
        if (const std::size_t end = m_text.find('\n'); end != std::string::npos) {
            std::string first = m_text.substr(0, end);
            m_text.erase(0, end + 1);
            return first;
        }
        pollfd waiting{ m_output, POLLIN, 0 };
        std::array<char, 4096> chunk{};
        const ssize_t got = ::poll(&waiting, 1, patienceMilliseconds) == 1 ? ::read(m_output, chunk.data(), chunk.size()) : -1;
        if (got <= 0) {
            giveUp("a program ended, or said nothing for a minute");
        }
        m_text.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

double BenchmarkProgram::secondsToLine(std::string_view begin)
{
    while (!line().starts_with(begin)) { }
    return secondsNow() - m_start;
}

BenchmarkHome::BenchmarkHome()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "tessarin-window-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        giveUp("no temporary folder");
    }
    m_path = pattern;
}

BenchmarkHome::~BenchmarkHome()
{
    std::error_code ignored; // a folder of ours in the system's place for such
    std::filesystem::remove_all(m_path, ignored);
}

Environment BenchmarkHome::environment(const std::string& display) const
{
    return { { "HOME", m_path }, { "PATH", "/usr/bin:/bin" }, { "DISPLAY", display }, { "LC_ALL", "C.UTF-8" },
        { "XDG_RUNTIME_DIR", m_path }, { "QT_QUICK_BACKEND", "software" }, { "QSG_RENDER_LOOP", "basic" },
        { "TESSARIN_REPORT_FIRST_FRAME", "1" } };
}

// The display writes its number where -displayfd says.
BenchmarkDisplay::BenchmarkDisplay()
    : m_server({ "Xvfb", "-displayfd", "1", "-screen", "0", "1600x1200x24", "-nolisten", "tcp" }, processEnvironment())
    , m_name(":" + m_server.line())
{
}

} // namespace tessarin
