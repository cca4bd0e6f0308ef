#pragma once

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessarin::testing
{

// A child of this process that neither reads nor writes while this lives, as one that hangs.
class HeldChild
{
public:
    explicit HeldChild(int processID) : m_processID(processID)
    {
        kill(m_processID, SIGSTOP);
        siginfo_t ignored{};
        // Without taking the state away from whoever waits for the end of the child.
        waitid(P_PID, static_cast<id_t>(m_processID), &ignored, WSTOPPED | WNOWAIT);
    }
    ~HeldChild() { release(); }
    HeldChild(const HeldChild&) = delete;
    HeldChild& operator=(const HeldChild&) = delete;

    void release()
    {
        if (m_isHeld)
            kill(m_processID, SIGCONT);
        m_isHeld = false;
    }
    // Whether it has been sent the signal since it is held: it can't act on it, so it waits where it can be seen.
    [[nodiscard]] bool isSent(int signal) const
    {
        std::ifstream status("/proc/" + std::to_string(m_processID) + "/status");
        const std::string_view key = "ShdPnd:";
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(key))
                return (std::stoull(line.substr(key.size()), nullptr, 16) >> (signal - 1) & 1) != 0;
        }
        return false;
    }
    // How much was written to it since it is held: what its input holds unread.
    [[nodiscard]] int unreadInput() const
    {
        const int input = open(("/proc/" + std::to_string(m_processID) + "/fd/0").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        int size = 0;
        if (input < 0 || ioctl(input, FIONREAD, &size) != 0)
            size = 0;
        if (input >= 0)
            close(input);
        return size;
    }

private:
    int m_processID;
    bool m_isHeld = true;
};

} // namespace tessarin::testing
