#include "Services/TerminalOutput.h"

#include "Platform/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tessarin
{

namespace
{

// A limit up to this is reserved whole with the first byte: the system gives memory only where it is written to, while growing step by step
// holds the old and the new at each step.
constexpr std::size_t reservedAtOnce = std::size_t{ 64 } * 1024 * 1024;

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

// Where the longest wholly valid rest of the text begins.
std::size_t validRest(std::string_view text)
{
    std::size_t start = 0;
    for (std::size_t position = 0; position < text.size();) {
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

// How many bytes at the front, which begin no whole character, belong to one broken one: as many as begin some character (the maximal
// subpart of Unicode 15, section 3.9), at least one.
std::size_t brokenLength(std::string_view text)
{
    std::size_t length = 1;
    for (std::size_t count = 2; count <= std::min<std::size_t>(text.size(), 3); ++count) {
        const std::string completed = std::string(text.substr(0, count)) + "\x80\x80";
        if (utf8SequenceLength(completed, 0) > count) {
            length = count;
        }
    }
    return length;
}

std::string_view newest(std::string_view text, std::size_t limit)
{
    return text.substr(text.size() - std::min(text.size(), limit));
}

} // namespace

TerminalOutput::TerminalOutput(std::size_t byteLimit) : m_byteLimit(byteLimit) { }

void TerminalOutput::append(std::string_view chunk)
{
    if (chunk.empty()) {
        return;
    }
    if (m_wasTruncated) {
        return replaceOldest(chunk);
    }
    if (chunk.size() > m_byteLimit - m_count) {
        return truncate(chunk);
    }
    const std::size_t needed = m_count + chunk.size();
    if (needed > m_buffer.capacity()) {
        const std::size_t wanted = std::max({ 2 * m_buffer.capacity(), needed, reservedAtOnce });
        m_buffer.reserve(std::min(wanted, m_byteLimit));
    }
    m_buffer.append(chunk);
    m_count = needed;
}

// The limit is exceeded for the first time: nothing of what is there has been looked at.
void TerminalOutput::truncate(std::string_view chunk)
{
    m_wasTruncated = true;
    const std::string_view added = newest(chunk, m_byteLimit);
    m_buffer.erase(0, m_count + added.size() - m_byteLimit);
    m_buffer.reserve(m_byteLimit);
    m_buffer.append(added);
    m_count = m_buffer.size();
    dropFront(validRest(m_buffer));
}

void TerminalOutput::replaceOldest(std::string_view chunk)
{
    const std::string_view added = newest(chunk, m_byteLimit);
    const std::size_t invalid = validRest(added);
    const std::size_t room = m_byteLimit - added.size();
    if (invalid > 0) {
        dropFront(m_count);
    } else if (m_count > room) {
        dropFront(m_count - room);
        // Of whole characters a cut leaves at most the continuation bytes of one.
        while (m_count > 0 && isContinuationByte(byteAt(0))) {
            dropFront(1);
        }
    }
    put(added.substr(invalid));
}

void TerminalOutput::dropFront(std::size_t count)
{
    m_count -= count;
    m_start = m_count == 0 ? 0 : (m_start + count) % m_byteLimit;
}

// Requires: there is room for it.
void TerminalOutput::put(std::string_view chunk)
{
    if (chunk.empty()) {
        return;
    }
    const std::size_t end = (m_start + m_count) % m_byteLimit;
    const std::size_t upToTheEdge = std::min(chunk.size(), m_byteLimit - end);
    chunk.copy(m_buffer.data() + end, upToTheEdge);
    chunk.substr(upToTheEdge).copy(m_buffer.data(), chunk.size() - upToTheEdge);
    m_count += chunk.size();
}

char TerminalOutput::byteAt(std::size_t index) const
{
    return m_buffer[(m_start + index) % m_byteLimit];
}

std::string TerminalOutput::bytes() const
{
    const std::string_view ring = m_buffer;
    const std::size_t upToTheEdge = std::min(m_count, ring.size() - m_start);
    std::string kept;
    kept.reserve(m_count);
    return kept.append(ring.substr(m_start, upToTheEdge)).append(ring.substr(0, m_count - upToTheEdge));
}

std::string TerminalOutput::text() const
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string kept = bytes();
    if (m_wasTruncated) {
        return kept;
    }
    std::string text;
    text.reserve(kept.size());
    for (std::size_t position = 0; position < kept.size();) {
        const std::string_view rest = std::string_view(kept).substr(position);
        const std::size_t length = utf8SequenceLength(rest, 0);
        text.append(length == 0 ? replacement : rest.substr(0, length));
        position += length == 0 ? brokenLength(rest) : length;
    }
    return text;
}

} // namespace tessarin
