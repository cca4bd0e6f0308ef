#include "Platform/ChildSpawn.h"

#include "Platform/ChildSystem.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <signal.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

extern char** environ;

namespace tessarin
{

namespace
{

std::string errorText(int error)
{
    return std::generic_category().message(error);
}

// Once for the whole process: a child that stops reading must not end us, and a parent of ours that ignored the end of
// children must not cost us their status.
void prepareSignals()
{
    static std::once_flag isPrepared;
    std::call_once(isPrepared, [] {
        signal(SIGPIPE, SIG_IGN);
        struct sigaction childEnds {
        };
        sigaction(SIGCHLD, nullptr, &childEnds);
        const bool isIgnored = (childEnds.sa_flags & SA_SIGINFO) == 0 && childEnds.sa_handler == SIG_IGN;
        if (isIgnored)
            signal(SIGCHLD, SIG_DFL);
    });
}

// A pipe that could be taken for a standard stream moves up: with one of ours closed, the system hands out its number, and what
// anybody prints would go to the child.
Descriptor aboveStandardStreams(Descriptor descriptor)
{
    constexpr int firstFree = 3;
    if (!descriptor.isOpen() || descriptor.get() >= firstFree)
        return descriptor;
    return Descriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstFree));
}

Pipe openStreamPipe()
{
    Pipe pipe = openPipe();
    pipe.readEnd = aboveStandardStreams(std::move(pipe.readEnd));
    pipe.writeEnd = aboveStandardStreams(std::move(pipe.writeEnd));
    return pipe;
}

bool isWhole(const Pipe& pipe)
{
    return pipe.readEnd.isOpen() && pipe.writeEnd.isOpen();
}

void makeNonBlocking(const Descriptor& descriptor)
{
    fcntl(descriptor.get(), F_SETFL, fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

// The system would cut a text at a zero byte and run something else than was asked for.
bool hasZeroByte(const ChildLaunch& launch)
{
    const auto isCut = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    return isCut(launch.executable) || std::ranges::any_of(launch.arguments, isCut)
        || (launch.workingDirectory && isCut(*launch.workingDirectory))
        || std::ranges::any_of(launch.environment, [&](const auto& variable) { return isCut(variable.first) || isCut(variable.second); });
}

// Why a child cannot start in the folder; 0 when it can.
int folderError(const std::string& path)
{
    struct stat information {
    };
    if (stat(path.c_str(), &information) != 0)
        return errno;
    if (!S_ISDIR(information.st_mode))
        return ENOTDIR;
    return access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

// The system says why a start failed, not where; a missing working directory and a missing program look alike.
std::string startFailureText(const ChildLaunch& launch, int error)
{
    if (launch.workingDirectory && folderError(*launch.workingDirectory) == error)
        return *launch.workingDirectory + ": " + errorText(error);
    return launch.executable + ": " + errorText(error);
}

// The texts of a launch in the form that the system takes.
class TextPointers
{
public:
    void add(std::string text) { m_texts.push_back(std::move(text)); }
    // Valid until the next add().
    char* const* pointers()
    {
        m_pointers.clear();
        for (std::string& text : m_texts)
            m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
        return m_pointers.data();
    }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

// What happens in the child before its program runs.
class StartActions
{
public:
    StartActions()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
    }
    ~StartActions()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    StartActions(const StartActions&) = delete;
    StartActions& operator=(const StartActions&) = delete;

    // An error number, or 0.
    int prepare(const ChildLaunch& launch, const ChildStreams& streams)
    {
        const auto& child = streams.child;
        const std::pair<int, int> wanted[] = {
            { child.input.get(), STDIN_FILENO },
            { child.output.get(), STDOUT_FILENO },
            { launch.mergesErrorOutput ? child.output.get() : child.errorOutput.get(), STDERR_FILENO },
        };
        for (const auto& [from, to] : wanted) {
            if (from < 0)
                continue;
            if (const int error = posix_spawn_file_actions_adddup2(&m_actions, from, to))
                return error;
        }
        if (launch.workingDirectory) {
            if (const int error = posix_spawn_file_actions_addchdir_np(&m_actions, launch.workingDirectory->c_str()))
                return error;
        }
        short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        if (const int error = inheritStandardStreamsOnly(m_actions, flags))
            return error;
        return setSignals(flags);
    }

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    int setSignals(short flags)
    {
        sigset_t all, none;
        sigfillset(&all);
        sigdelset(&all, SIGKILL);
        sigdelset(&all, SIGSTOP);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        return posix_spawnattr_setflags(&m_attributes, flags);
    }

    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

} // namespace

Environment processEnvironment()
{
    Environment environment;
    for (char** variable = environ; variable && *variable; ++variable) {
        const std::string_view text = *variable;
        if (const std::size_t equals = text.find('='); equals != std::string_view::npos)
            environment.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return environment;
}

Result<ChildStreams, std::string> openChildStreams(const ChildLaunch& launch)
{
    Pipe input;
    switch (launch.input) {
    case ChildInput::pipe:
        input = openStreamPipe();
        break;
    case ChildInput::empty:
        input.readEnd = aboveStandardStreams(Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)));
        break;
    case ChildInput::inherited:
        break;
    }
    const bool hasInput
        = launch.input == ChildInput::pipe ? isWhole(input) : launch.input == ChildInput::inherited || input.readEnd.isOpen();
    const bool hasOutput = !launch.inheritsOutput;
    const bool hasErrorOutput = hasOutput && !launch.mergesErrorOutput;
    Pipe output = hasInput && hasOutput ? openStreamPipe() : Pipe();
    Pipe errorOutput = isWhole(output) && hasErrorOutput ? openStreamPipe() : Pipe();
    if (!hasInput || (hasOutput && !isWhole(output)) || (hasErrorOutput && !isWhole(errorOutput)))
        return Failure{ errorText(errno) };

    ChildStreams streams;
    streams.child = { std::move(input.readEnd), std::move(output.writeEnd), std::move(errorOutput.writeEnd) };
    streams.ours = { std::move(input.writeEnd), std::move(output.readEnd), std::move(errorOutput.readEnd) };
    for (const Descriptor* ours : { &streams.ours.input, &streams.ours.output, &streams.ours.errorOutput }) {
        if (ours->isOpen())
            makeNonBlocking(*ours);
    }
    return streams;
}

Result<pid_t, std::string> spawnChild(const ChildLaunch& launch, const ChildStreams& streams)
{
    prepareSignals();
    if (hasZeroByte(launch))
        return Failure{ startFailureText(launch, EINVAL) };
    StartActions start;
    if (const int error = start.prepare(launch, streams))
        return Failure{ errorText(error) };

    TextPointers arguments, environment;
    arguments.add(launch.executable);
    for (const std::string& argument : launch.arguments)
        arguments.add(argument);
    for (const auto& [name, value] : launch.environment)
        environment.add(name + "=" + value);

    pid_t child = 0;
    const int error
        = posix_spawn(&child, launch.executable.c_str(), start.actions(), start.attributes(), arguments.pointers(), environment.pointers());
    if (error != 0)
        return Failure{ startFailureText(launch, error) };
    return child;
}

} // namespace tessarin
