// A child for tests, with a number of habits that children have. It uses nothing but the system, so that it is the same in every build.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <map>
#include <signal.h>
#include <string>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace
{

using Arguments = std::vector<std::string>;

bool put(int descriptor, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR)
            return false;
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

// Reads the standard input to its end and returns how many bytes there were.
std::size_t readToTheEnd()
{
    std::array<char, 65536> buffer{};
    std::size_t total = 0;
    while (true) {
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            return total;
        total += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

int printArguments(const Arguments& arguments)
{
    for (const std::string& argument : arguments)
        put(STDOUT_FILENO, "<" + argument + ">");
    return 0;
}

int printEnvironment(const Arguments&)
{
    for (char** variable = environ; *variable; ++variable)
        put(STDOUT_FILENO, std::string(*variable) + "\n");
    return 0;
}

int printDirectory(const Arguments&)
{
    std::array<char, 4096> path{};
    put(STDOUT_FILENO, getcwd(path.data(), path.size()) ? path.data() : "none");
    return 0;
}

int printDescriptors(const Arguments&)
{
    const long limit = std::min(sysconf(_SC_OPEN_MAX), 65536L);
    for (int descriptor = 0; descriptor < limit; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1)
            put(STDOUT_FILENO, std::to_string(descriptor) + " ");
    }
    return 0;
}

// The signals that are blocked or not handled by default.
int printSignals(const Arguments&)
{
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action {
        };
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL)
            put(STDOUT_FILENO, "handled " + std::to_string(number) + "\n");
        if (sigismember(&blocked, number) == 1)
            put(STDOUT_FILENO, "blocked " + std::to_string(number) + "\n");
    }
    return 0;
}

// say <output> <error output> <status>: ends in the moment in which it has written.
int say(const Arguments& arguments)
{
    put(STDOUT_FILENO, arguments.at(0));
    put(STDERR_FILENO, arguments.at(1));
    _exit(std::stoi(arguments.at(2)));
}

// fill <bytes>: so many bytes, each telling its place in the alphabet.
int fill(const Arguments& arguments)
{
    std::string block(26L * 1000, ' ');
    for (std::size_t place = 0; place < block.size(); ++place)
        block[place] = static_cast<char>('a' + place % 26);
    for (std::size_t left = std::stoul(arguments.at(0)); left > 0;) {
        const std::size_t count = std::min(left, block.size());
        if (!put(STDOUT_FILENO, block.substr(0, count)))
            return 1;
        left -= count;
    }
    return 0;
}

int countInput(const Arguments&)
{
    put(STDOUT_FILENO, std::to_string(readToTheEnd()));
    return 0;
}

// Says so, and then reads nothing until it is ended by a signal.
int neverRead(const Arguments&)
{
    put(STDOUT_FILENO, "ready");
    while (true)
        pause();
}

int closeInput(const Arguments&)
{
    close(STDIN_FILENO);
    put(STDOUT_FILENO, "closed");
    while (true)
        pause();
}

// Lives on without its output; ends with status 5 when its input ends.
int closeOutput(const Arguments&)
{
    put(STDOUT_FILENO, "last words");
    close(STDOUT_FILENO);
    put(STDERR_FILENO, "closed");
    readToTheEnd();
    return 5;
}

// Says "t" to each SIGTERM; ends with status 7 when its input ends.
int ignoreTerm(const Arguments&)
{
    struct sigaction action {
    };
    action.sa_handler = [](int) { put(STDOUT_FILENO, "t"); };
    sigaction(SIGTERM, &action, nullptr);
    put(STDOUT_FILENO, "ready ");
    readToTheEnd();
    return 7;
}

// Ends at once, and leaves a grandchild with all streams, that ends when its input does.
int leaveGrandchild(const Arguments&)
{
    if (fork() == 0) {
        readToTheEnd();
        return 0;
    }
    put(STDOUT_FILENO, "from the child");
    return 4;
}

// The same with a grandchild that writes as long as somebody reads.
int leaveTalker(const Arguments&)
{
    if (fork() == 0) {
        while (put(STDOUT_FILENO, std::string(4096, 'g'))) { }
        return 0;
    }
    return 4;
}

// Waits for a byte, writes as much as the pipe takes without waiting, and tells on the error stream how much that was.
// Ends when its input does.
int fillPipe(const Arguments& arguments)
{
    char start = 0;
    while (read(STDIN_FILENO, &start, 1) < 0 && errno == EINTR) { }
    fcntl(STDOUT_FILENO, F_SETFL, fcntl(STDOUT_FILENO, F_GETFL) | O_NONBLOCK);
    std::size_t total = 0;
    ssize_t count = 0;
    const std::string block(4096, 'x');
    while ((count = write(STDOUT_FILENO, block.data(), block.size())) > 0)
        total += static_cast<std::size_t>(count);
    put(STDERR_FILENO, std::to_string(total));
    if (!arguments.empty() && arguments.front() == "stop")
        raise(SIGSTOP);
    readToTheEnd();
    return 0;
}

} // namespace

int main(int count, char** values)
{
    const std::map<std::string, std::function<int(const Arguments&)>> habits = {
        { "arguments", printArguments },
        { "environment", printEnvironment },
        { "directory", printDirectory },
        { "descriptors", printDescriptors },
        { "signals", printSignals },
        { "say", say },
        { "fill", fill },
        { "count-input", countInput },
        { "never-read", neverRead },
        { "close-input", closeInput },
        { "close-output", closeOutput },
        { "ignore-term", ignoreTerm },
        { "leave-grandchild", leaveGrandchild },
        { "leave-talker", leaveTalker },
        { "fill-pipe", fillPipe },
    };
    const Arguments arguments(values + 1, values + count);
    const auto habit = arguments.empty() ? habits.end() : habits.find(arguments.front());
    if (habit == habits.end())
        return 64;
    return habit->second(Arguments(arguments.begin() + 1, arguments.end()));
}
