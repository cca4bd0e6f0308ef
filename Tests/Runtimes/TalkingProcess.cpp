#include "TalkingProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace scripted
{

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "tessarin-runtimes-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
    m_path = std::filesystem::canonical(pattern).string();
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored; // What cannot be removed stays in the system's temporary folder.
    std::filesystem::remove_all(m_path, ignored);
}

void TemporaryFolder::write(const std::string& name, const std::string& text) const
{
    std::ofstream stream(file(name), std::ios::binary);
    stream << text;
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file(name));
}

bool TemporaryFolder::has(const std::string& name) const
{
    return std::filesystem::exists(file(name));
}

std::string TemporaryFolder::read(const std::string& name) const
{
    std::ifstream stream(file(name), std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), {} };
}

struct Pipe {
    int read = -1;
    int write = -1;
};

static Pipe makePipe()
{
    int ends[2];
    if (::pipe(ends) != 0)
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return { ends[0], ends[1] };
}

static std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

TalkingProcess::TalkingProcess(const Launch& launch)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> arguments = launch.arguments;
    arguments.insert(arguments.begin(), launch.executable);
    std::vector<std::string> environment;
    for (const auto& [name, value] : launch.environment)
        environment.push_back(name + "=" + value);
    const std::vector<char*> argv = pointers(arguments);
    const std::vector<char*> envp = pointers(environment);
    const Pipe input = makePipe();
    const Pipe output = makePipe();
    const Pipe error = makePipe();
    m_child = ::fork();
    if (m_child < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    if (m_child == 0) {
        ::dup2(input.read, STDIN_FILENO);
        ::dup2(output.write, STDOUT_FILENO);
        ::dup2(error.write, STDERR_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        if (launch.workingDirectory.empty() || ::chdir(launch.workingDirectory.c_str()) == 0)
            ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(input.read);
    ::close(output.write);
    ::close(error.write);
    m_input = input.write;
    m_outputPipe = output.read;
    m_errorPipe = error.read;
}

TalkingProcess::~TalkingProcess()
{
    closeInput();
    closeOutput();
    closeErrorOutput();
    if (!m_status) {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }
}

static void closeDescriptor(int& descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

bool TalkingProcess::write(const std::string& bytes)
{
    const auto limit = std::chrono::steady_clock::now() + bound;
    for (std::size_t written = 0; written < bytes.size();) {
        pollfd ready = { m_input, POLLOUT, 0 };
        if (::poll(&ready, 1, 100) <= 0) {
            if (std::chrono::steady_clock::now() > limit)
                fail("the child does not read");
            continue;
        }
        const std::size_t count = std::min<std::size_t>(bytes.size() - written, 512); // What a writable pipe takes at once.
        const ssize_t taken = ::write(m_input, bytes.data() + written, count);
        if (taken < 0 && errno == EPIPE)
            return false;
        if (taken > 0)
            written += static_cast<std::size_t>(taken);
    }
    return true;
}

void TalkingProcess::closeInput()
{
    closeDescriptor(m_input);
}

void TalkingProcess::closeOutput()
{
    closeDescriptor(m_outputPipe);
}

void TalkingProcess::closeErrorOutput()
{
    closeDescriptor(m_errorPipe);
}

static bool appendFrom(int& descriptor, std::string& text)
{
    char chunk[65536];
    const ssize_t count = ::read(descriptor, chunk, sizeof chunk);
    if (count > 0)
        text.append(chunk, static_cast<std::size_t>(count));
    else
        closeDescriptor(descriptor);
    return count > 0;
}

bool TalkingProcess::readMore(std::chrono::milliseconds time)
{
    pollfd streams[2] = { { m_outputPipe, POLLIN, 0 }, { m_errorPipe, POLLIN, 0 } };
    if (::poll(streams, 2, static_cast<int>(time.count())) <= 0)
        return false;
    if (streams[1].revents != 0)
        appendFrom(m_errorPipe, m_error);
    return streams[0].revents == 0 || appendFrom(m_outputPipe, m_output);
}

std::string TalkingProcess::readLine()
{
    const auto limit = std::chrono::steady_clock::now() + bound;
    std::size_t end;
    while ((end = m_output.find('\n')) == std::string::npos) {
        if (m_outputPipe < 0)
            fail("the stream ended before a whole line");
        if (!readMore(std::chrono::milliseconds(100)) && std::chrono::steady_clock::now() > limit)
            fail("no line came");
    }
    const std::string line = m_output.substr(0, end);
    m_output.erase(0, end + 1);
    return line;
}

std::string TalkingProcess::readBytes(std::size_t count)
{
    const auto limit = std::chrono::steady_clock::now() + bound;
    while (m_output.size() < count && m_outputPipe >= 0)
        if (!readMore(std::chrono::milliseconds(100)) && std::chrono::steady_clock::now() > limit)
            fail("too few bytes came");
    const std::string bytes = m_output.substr(0, count);
    m_output.erase(0, bytes.size());
    return bytes;
}

std::string TalkingProcess::readToEnd()
{
    return readBytes(std::string::npos);
}

bool TalkingProcess::endsWithin(std::chrono::milliseconds time)
{
    const auto limit = std::chrono::steady_clock::now() + time;
    while (m_outputPipe >= 0 && std::chrono::steady_clock::now() < limit)
        readMore(std::chrono::milliseconds(10));
    return m_outputPipe < 0;
}

std::string TalkingProcess::errorOutput()
{
    const auto limit = std::chrono::steady_clock::now() + bound;
    while (m_errorPipe >= 0) {
        pollfd stream = { m_errorPipe, POLLIN, 0 };
        if (::poll(&stream, 1, 100) > 0)
            appendFrom(m_errorPipe, m_error);
        else if (std::chrono::steady_clock::now() > limit)
            fail("the error stream stays open");
    }
    return m_error;
}

void TalkingProcess::signal(int number) const
{
    if (!m_status)
        ::kill(m_child, number);
}

int TalkingProcess::wait()
{
    const auto limit = std::chrono::steady_clock::now() + bound;
    int status = 0;
    while (!m_status) {
        if (::waitpid(m_child, &status, WNOHANG) == m_child)
            m_status = status;
        else if (std::chrono::steady_clock::now() > limit)
            fail("the child does not end");
        else
            pauseBriefly();
    }
    return *m_status;
}

int TalkingProcess::waitForExit()
{
    const int status = wait();
    if (!WIFEXITED(status))
        fail("the child ended by signal " + std::to_string(WTERMSIG(status)));
    return WEXITSTATUS(status);
}

int TalkingProcess::waitForSignal()
{
    const int status = wait();
    if (!WIFSIGNALED(status))
        fail("the child ended with status " + std::to_string(WEXITSTATUS(status)));
    return WTERMSIG(status);
}

void TalkingProcess::fail(const std::string& reason)
{
    while (m_errorPipe >= 0) {
        pollfd stream = { m_errorPipe, POLLIN, 0 };
        if (::poll(&stream, 1, 50) <= 0)
            break;
        appendFrom(m_errorPipe, m_error);
    }
    throw std::runtime_error(reason + "; output left: " + m_output.substr(0, 400) + "; its error stream: " + m_error);
}

void pauseBriefly()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void throwTimeout(const char* what)
{
    throw std::runtime_error(std::string("in vain: ") + what);
}

} // namespace scripted
