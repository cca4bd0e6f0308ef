// How long it takes from the start of the program to the first frame of its window with 50 MB of history, against an empty Qt Quick
// window: at most 1.5 times. Both programs are started in turn on a private virtual display, each says on its standard output when its
// first frame has been swapped, and the clock stops when that line arrives. The time to the first frame with content is told besides.
//
//   FirstFrameBenchmark [--megabytes=50] [--rounds=15] [--report]
//
// Ends with 1 when the bar is missed, unless --report is given, and with 2 when something could not be measured.

#include "Models/WorkspaceCoder.h"
#include "Models/WorkspaceStore.h"
#include "Platform/ChildProcess.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tessarin
{
namespace
{

namespace fs = std::filesystem;

constexpr double bar = 1.5;
constexpr int patienceMilliseconds = 60000;

[[noreturn]] void giveUp(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
}

// A child whose standard output is read line by line. It ends with this process, and at the latest with this object.
class Program
{
public:
    Program(const std::vector<std::string>& command, const Environment& environment, int outputDescriptor = STDOUT_FILENO);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // The seconds from the start to the line that begins so.
    [[nodiscard]] double secondsToLine(std::string_view begin);
    // The next line as a whole.
    [[nodiscard]] std::string line();

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_text;
};

Program::Program(const std::vector<std::string>& command, const Environment& environment, int outputDescriptor)
{
    std::vector<std::string> pairs;
    for (const auto& [name, value] : environment) {
        pairs.push_back(name + "=" + value);
    }
    std::vector<char*> arguments;
    std::vector<char*> variables;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    for (const std::string& pair : pairs) {
        variables.push_back(const_cast<char*>(pair.c_str()));
    }
    arguments.push_back(nullptr);
    variables.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        giveUp("no pipe");
    }
    m_process = ::fork();
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(ends[1], outputDescriptor);
        ::execvpe(arguments[0], arguments.data(), variables.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    m_output = ends[0];
}

Program::~Program()
{
    ::kill(m_process, SIGTERM);
    ::waitpid(m_process, nullptr, 0);
    ::close(m_output);
}

std::string Program::line()
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

double Program::secondsToLine(std::string_view begin)
{
    while (!line().starts_with(begin)) { }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

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

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int measure(std::size_t megabytes, std::size_t rounds, bool onlyReports)
{
    std::string pattern = (fs::temp_directory_path() / "tessarin-first-frame-XXXXXX").string();
    const fs::path home = ::mkdtemp(pattern.data());
    storeHistory(home, megabytes);
    // The display writes its number where -displayfd says.
    Program display({ "Xvfb", "-displayfd", "1", "-screen", "0", "1600x1200x24", "-nolisten", "tcp" }, processEnvironment());
    const Environment environment{ { "HOME", home }, { "PATH", "/usr/bin:/bin" }, { "DISPLAY", ":" + display.line() },
        { "LC_ALL", "C.UTF-8" }, { "XDG_RUNTIME_DIR", home }, { "QT_QUICK_BACKEND", "software" }, { "QSG_RENDER_LOOP", "basic" },
        { "TESSARIN_REPORT_FIRST_FRAME", "1" } };
    fs::permissions(home, fs::perms::owner_all);
    std::vector<double> empty;
    std::vector<double> first;
    std::vector<double> content;
    for (std::size_t round = 0; round <= rounds; ++round) {
        const double emptySeconds = Program({ FIRST_FRAME_EMPTY_WINDOW }, environment).secondsToLine("first frame");
        Program program({ FIRST_FRAME_PROGRAM }, environment);
        const double firstSeconds = program.secondsToLine("first frame");
        const double contentSeconds = program.secondsToLine("first content");
        if (round > 0) { // the first round fills the caches of the system
            empty.push_back(emptySeconds);
            first.push_back(firstSeconds);
            content.push_back(contentSeconds);
        }
    }
    fs::remove_all(home);
    const double ratio = median(first) / median(empty);
    std::printf("empty window to first frame          %7.1f ms\n", median(empty) * 1000);
    std::printf("tessarin, %zu MB, to first frame      %7.1f ms\n", megabytes, median(first) * 1000);
    std::printf("tessarin, %zu MB, to first content    %7.1f ms\n", megabytes, median(content) * 1000);
    std::printf("first frame with history / empty window: %.2f (bar %.1f)\n", ratio, bar);
    return ratio <= bar || onlyReports ? 0 : 1;
}

} // namespace
} // namespace tessarin

int main(int argc, char** argv)
{
    std::size_t megabytes = 50;
    std::size_t rounds = 15;
    bool onlyReports = false;
    for (const std::string_view argument : std::vector<std::string_view>(argv + 1, argv + argc)) {
        const std::string value(argument.substr(std::min(argument.find('=') + 1, argument.size())));
        if (argument.starts_with("--megabytes=")) {
            megabytes = std::strtoull(value.c_str(), nullptr, 10);
        } else if (argument.starts_with("--rounds=")) {
            rounds = std::max<std::size_t>(1, std::strtoull(value.c_str(), nullptr, 10));
        } else if (argument == "--report") {
            onlyReports = true;
        } else {
            tessarin::giveUp("unknown: " + std::string(argument));
        }
    }
    return tessarin::measure(megabytes, rounds, onlyReports);
}
