#include "Demo/Connection.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace demo
{

using tessarin::JsonObject;

static int millisecondsUntil(std::optional<Connection::Clock::time_point> deadline)
{
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Connection::Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 60000));
}

std::optional<JsonObject> Connection::next(std::optional<Clock::time_point> deadline)
{
    while (m_messages.empty() && m_isOpen) {
        const int wait = millisecondsUntil(deadline);
        pollfd input = { STDIN_FILENO, POLLIN, 0 };
        if (::poll(&input, 1, wait) > 0)
            read();
        else if (wait == 0)
            return std::nullopt;
    }
    if (m_messages.empty())
        return std::nullopt;
    JsonObject message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

void Connection::read()
{
    char chunk[16384];
    const ssize_t count = ::read(STDIN_FILENO, chunk, sizeof chunk);
    if (count < 0 && errno == EINTR)
        return;
    if (count <= 0) {
        m_isOpen = false;
        return;
    }
    m_buffer.append(chunk, static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end; (end = m_buffer.find('\n', begin)) != std::string::npos; begin = end + 1) {
        auto message = tessarin::parseJson(std::string_view(m_buffer).substr(begin, end - begin));
        if (message && message->is_object())
            m_messages.push_back(std::move(message->get_object()));
    }
    m_buffer.erase(0, begin);
}

void Connection::send(const JsonObject& message)
{
    const std::string line = tessarin::compactJson(message) + "\n";
    for (std::size_t written = 0; written < line.size() && m_isOpen;) {
        const ssize_t count = ::write(STDOUT_FILENO, line.data() + written, line.size() - written);
        if (count >= 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            m_isOpen = false;
    }
}

} // namespace demo
