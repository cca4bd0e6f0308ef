#pragma once

#include "Platform/Json.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace demo
{

// JSON-RPC over standard input and output, one object a line. Lines that are no object are dropped.
class Connection
{
public:
    using Clock = std::chrono::steady_clock;

    // The next message; waits until `deadline`, or for ever without one. Absent when none came in time or none can come any more.
    [[nodiscard]] std::optional<tessarin::JsonObject> next(std::optional<Clock::time_point> deadline);
    // False once the other side has closed one of the streams and everything that came is taken.
    [[nodiscard]] bool isOpen() const { return m_isOpen || !m_messages.empty(); }
    void send(const tessarin::JsonObject& message);

private:
    void read();

    std::deque<tessarin::JsonObject> m_messages;
    std::string m_buffer;
    bool m_isOpen = true;
};

} // namespace demo
