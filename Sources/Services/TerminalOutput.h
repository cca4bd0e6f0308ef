#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin
{

// The newest output of a terminal, at most `byteLimit` bytes of it. Memory stays within the limit and a constant; with a limit of more than
// 64 MB, for moments, within twice what is there. A chunk costs what it holds, however large the limit is. Not for several threads at once.
class TerminalOutput
{
public:
    explicit TerminalOutput(std::size_t byteLimit);

    // Adds a chunk behind what is there. What exceeds the limit is dropped from the front, and from then on, with each chunk, further
    // bytes until the whole of the rest is valid UTF-8: a character that was cut at the front goes with the cut, and so does, on purpose,
    // everything up to an invalid sequence, wherever it stands, also a character at the end of which only a part has arrived.
    // Nothing of this happens before the limit is exceeded for the first time.
    void append(std::string_view chunk);

    // A copy of the bytes kept.
    [[nodiscard]] std::string bytes() const;
    // The same as text, each broken character and each other invalid byte replaced by U+FFFD.
    [[nodiscard]] std::string text() const;
    // Whether any byte has ever been dropped.
    [[nodiscard]] bool wasTruncated() const { return m_wasTruncated; }

private:
    void truncate(std::string_view chunk);
    void replaceOldest(std::string_view chunk);
    void dropFront(std::size_t count);
    void put(std::string_view chunk);
    [[nodiscard]] char byteAt(std::size_t index) const;

    const std::size_t m_byteLimit;
    // Up to the limit all there is, from the front on. Once truncated it is a ring of exactly the limit, and what is kept in it is valid
    // UTF-8 between two appends, so that only new bytes are looked at.
    std::string m_buffer;
    std::size_t m_start = 0;
    std::size_t m_count = 0;
    bool m_wasTruncated = false;
};

} // namespace tessarin
