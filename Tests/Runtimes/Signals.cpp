#include "Signals.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace scripted
{

// Read by the handler.
static volatile sig_atomic_t recordDescriptor = -1;
static volatile sig_atomic_t isIgnoring = 0;
static volatile sig_atomic_t exitStatus = -1;

static void writeFromHandler(const char* line)
{
    // Nothing can be done about a full disk here, and errno belongs to what was interrupted.
    [[maybe_unused]] const ssize_t count = ::write(recordDescriptor, line, std::strlen(line));
}

static void handleTerm(int number)
{
    const int error = errno;
    writeFromHandler("{\"signal\":15}\n");
    if (exitStatus >= 0) {
        char line[] = "{\"exit\":000}\n";
        for (int i = 0, rest = exitStatus; i < 3; ++i, rest /= 10)
            line[10 - i] = static_cast<char>('0' + rest % 10);
        // A JSON number has no leading zeros; blanks may stand in their place.
        for (int i = 8; i < 10 && line[i] == '0'; ++i)
            line[i] = ' ';
        writeFromHandler(line);
        ::_exit(exitStatus);
    }
    if (!isIgnoring) {
        std::signal(number, SIG_DFL);
        std::raise(number); // Pending until the handler returns.
    }
    errno = error;
}

void installSignals(const Record& record)
{
    recordDescriptor = record.descriptor();
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = handleTerm;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);
}

void ignoreTerm()
{
    isIgnoring = 1;
}

void exitOnTerm(int status)
{
    exitStatus = status & 255;
}

void restoreTerm()
{
    std::signal(SIGTERM, SIG_DFL);
}

void dieBySignal(int signal)
{
    std::signal(signal, SIG_DFL);
    sigset_t all;
    sigemptyset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    ::kill(::getpid(), signal);
    // A stopping signal is continued by the test; one that does nothing by default is a mistake in the script.
    std::_Exit(97);
}

} // namespace scripted
