#include "Services/TerminalOutput.h"

#include "Platform/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tessarin
{

namespace
{

// Room at the front of the buffer before it is moved up: dropping a little of a large buffer does not move all of it each time.
constexpr std::size_t frontSlack = 256 * 1024;

bool isContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The first position at or after `position` that does not begin eight bytes of ASCII.
std::size_t skipAscii(std::string_view text, std::size_t position)
{
    while (position + sizeof(std::uint64_t) <= text.size()) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + position, sizeof word);
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
        position += sizeof word;
    }
    return position;
}

// Where the longest wholly valid rest of the text begins; what stands before `position` from `start` on is known to be valid.
std::size_t validRest(std::string_view text, std::size_t start, std::size_t position)
{
    while (position < text.size()) {
        position = skipAscii(text, position);
        if (position == text.size()) {
            break;
        }
        const std::size_t length = utf8SequenceLength(text, position);
        position += std::max<std::size_t>(length, 1);
        if (length == 0) {
            start = position;
        }
    }
    return start;
}

} // namespace

TerminalOutput::TerminalOutput(std::size_t byteLimit) : m_byteLimit(byteLimit) { }

std::string_view TerminalOutput::bytes() const
{
    return std::string_view(m_buffer).substr(m_start);
}

void TerminalOutput::append(std::string_view chunk)
{
    if (chunk.empty()) {
        return;
    }
    const std::size_t countBefore = bytes().size();
    const bool wasValid = m_wasTruncated;
    m_wasTruncated = m_wasTruncated || countBefore + chunk.size() > m_byteLimit;
    if (chunk.size() >= m_byteLimit && m_wasTruncated) {
        m_start = 0;
        m_buffer.assign(chunk.substr(chunk.size() - m_byteLimit));
        repairFront(0);
        return;
    }
    reserveFor(chunk.size());
    m_buffer.append(chunk);
    if (m_wasTruncated) {
        const std::size_t left = cutFront(countBefore);
        repairFront(wasValid ? left : 0);
    }
}

void TerminalOutput::reserveFor(std::size_t chunkSize)
{
    const std::size_t needed = m_buffer.size() + chunkSize;
    if (needed <= m_buffer.capacity()) {
        return;
    }
    // Twice as much each time, but never far beyond what can be kept.
    const std::size_t most = std::max(needed, m_byteLimit < SIZE_MAX / 2 ? m_byteLimit + frontSlack + chunkSize : needed);
    m_buffer.reserve(std::clamp(2 * m_buffer.capacity(), needed, most));
}

std::size_t TerminalOutput::cutFront(std::size_t countBefore)
{
    const std::size_t count = bytes().size();
    const std::size_t excess = count > m_byteLimit ? count - m_byteLimit : 0;
    dropFront(excess);
    return countBefore - std::min(countBefore, excess);
}

void TerminalOutput::repairFront(std::size_t knownValid)
{
    const std::string_view text = bytes();
    std::size_t start = 0;
    // Of whole characters a cut leaves at most the continuation bytes of one.
    while (start < knownValid && isContinuationByte(text[start])) {
        ++start;
    }
    dropFront(validRest(text, start, knownValid));
}

void TerminalOutput::dropFront(std::size_t count)
{
    m_start += count;
    if (m_start > frontSlack || m_start == m_buffer.size()) {
        m_buffer.erase(0, m_start);
        m_start = 0;
    }
}

std::string TerminalOutput::text() const
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    const std::string_view kept = bytes();
    std::string text;
    text.reserve(kept.size());
    for (std::size_t position = 0; position < kept.size();) {
        const std::size_t length = utf8SequenceLength(kept, position);
        text.append(length == 0 ? replacement : kept.substr(position, length));
        position += std::max<std::size_t>(length, 1);
    }
    return text;
}

} // namespace tessarin
