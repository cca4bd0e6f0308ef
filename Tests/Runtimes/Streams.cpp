#include "Streams.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace scripted
{

namespace json = boost::json;

void Streams::wait(int milliseconds)
{
    poll(milliseconds, -1);
}

bool Streams::poll(int milliseconds, int writable)
{
    pollfd descriptors[2] = { { m_input, POLLIN, 0 }, { writable, POLLOUT, 0 } };
    if (::poll(descriptors, 2, milliseconds) <= 0)
        return false;
    if (descriptors[0].revents != 0)
        read();
    return descriptors[1].revents != 0;
}

void Streams::read()
{
    static char chunk[65536];
    const ssize_t count = ::read(m_input, chunk, sizeof chunk);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0) {
        m_input = -1;
        if (!m_buffer.empty())
            keepLine(m_buffer);
        m_buffer.clear();
        m_record.write({ { "stdinClosed", true } });
        return;
    }
    std::size_t searched = m_buffer.size();
    m_buffer.append(chunk, static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end; (end = m_buffer.find('\n', searched)) != std::string::npos; searched = begin = end + 1)
        keepLine(m_buffer.substr(begin, end - begin));
    m_buffer.erase(0, begin);
}

void Streams::keepLine(const std::string& line)
{
    json::parse_options options;
    options.max_depth = 4096;
    json::error_code error;
    const json::value message = json::parse(line, error, {}, options);
    if (error) {
        json::object entry;
        addText(entry, "receivedText", line);
        m_record.write(entry);
        return;
    }
    m_record.write({ { "received", message } });
    if (message.is_object())
        m_inbox.push_back(message.get_object());
}

void Streams::write(int descriptor, std::string_view bytes)
{
    while (!bytes.empty() && !m_isBroken[descriptor]) {
        if (!poll(-1, descriptor))
            continue;
        // A pipe that is writable takes this much without blocking.
        const ssize_t count = ::write(descriptor, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno != EINTR && errno != EAGAIN) {
            m_isBroken[descriptor] = true;
            m_record.write({ { "writeFailed", descriptor == STDOUT_FILENO ? "stdout" : "stderr" } });
        }
    }
}

void Streams::writeLine(const json::value& message)
{
    write(STDOUT_FILENO, json::serialize(message) + "\n");
}

void Streams::close(int descriptor)
{
    // The number stays taken, so that no file that is opened later becomes a standard stream.
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nothing, descriptor);
    ::close(nothing);
    if (descriptor == STDIN_FILENO)
        m_input = -1;
}

} // namespace scripted
