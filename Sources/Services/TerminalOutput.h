#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin
{

// The newest output of a terminal, at most `byteLimit` bytes of it. Memory stays within the limit, the largest chunk and a constant.
// Not for several threads at once.
class TerminalOutput
{
public:
    explicit TerminalOutput(std::size_t byteLimit);

    // Adds a chunk behind what is there. What exceeds the limit is dropped from the front, and from then on, with each chunk, further
    // bytes until the whole of the rest is valid UTF-8: a character that was cut at the front goes with the cut, and so does, on purpose,
    // everything up to an invalid sequence, wherever it stands, also a character at the end of which only a part has arrived.
    // Nothing of this happens before the limit is exceeded for the first time.
    void append(std::string_view chunk);

    // The bytes kept. Valid until the next append.
    [[nodiscard]] std::string_view bytes() const;
    // The same as text, each invalid byte replaced by U+FFFD.
    [[nodiscard]] std::string text() const;
    // Whether any byte has ever been dropped.
    [[nodiscard]] bool wasTruncated() const { return m_wasTruncated; }

private:
    void reserveFor(std::size_t chunkSize);
    // Drops what exceeds the limit; returns how many of the bytes that were there before the chunk are left.
    std::size_t cutFront(std::size_t countBefore);
    void repairFront(std::size_t knownValid);
    void dropFront(std::size_t count);

    const std::size_t m_byteLimit;
    std::string m_buffer; // what is kept stands from m_start on; once truncated, all of it is valid UTF-8 between two appends
    std::size_t m_start = 0;
    bool m_wasTruncated = false;
};

} // namespace tessarin
