#pragma once

#include "Record.h"

#include <boost/json.hpp>

#include <deque>
#include <string>
#include <string_view>

namespace scripted
{

// The player's three streams. What comes in is read and recorded also while a write waits for a full pipe, so that the player
// never stops a client that writes before it reads.
class Streams
{
public:
    explicit Streams(const Record& record) : m_record(record) { }

    // Reads what has come; waits for it for so long at most, and for ever with -1. A signal ends the wait as well.
    void wait(int milliseconds);
    // Messages that were JSON objects, in order. The player takes out what it has dealt with.
    [[nodiscard]] std::deque<boost::json::object>& inbox() { return m_inbox; }
    [[nodiscard]] bool isInputOpen() const { return m_input >= 0; }

    // `descriptor` is that of standard output or standard error. Bytes that nobody takes are dropped, and recorded once.
    void write(int descriptor, std::string_view bytes);
    void writeLine(const boost::json::value& message);
    // The client sees the end of the stream, or a broken pipe.
    void close(int descriptor);

private:
    // True when `writable` is; -1 for none.
    bool poll(int milliseconds, int writable);
    void read();
    void keepLine(const std::string& line);

    const Record& m_record;
    std::deque<boost::json::object> m_inbox;
    std::string m_buffer;
    int m_input = 0;
    bool m_isBroken[3] = {};
};

} // namespace scripted
