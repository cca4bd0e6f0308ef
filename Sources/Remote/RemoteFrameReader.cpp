#include "Remote/RemoteFrameReader.h"

#include <algorithm>

namespace tessarin
{

namespace
{

// An empty buffer above this size is given back: most messages are short, and a device that is silent holds nothing.
constexpr std::size_t keptCapacity = 4096;

} // namespace

void RemoteFrameReader::append(std::string_view bytes)
{
    forgetGivenOut();
    const std::size_t needed = m_buffer.size() + bytes.size();
    if (needed > m_buffer.capacity()) {
        // A quarter more than has arrived, so that few bytes are moved often; but not beyond the end of the frame.
        m_buffer.reserve(std::max(needed, std::min(needed + needed / 4, m_frameSize)));
    }
    m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
}

Result<std::optional<std::string_view>, RemoteCryptoError> RemoteFrameReader::next()
{
    using Absent = std::optional<std::string_view>;
    const std::string_view held(m_buffer.data() + m_start, heldBytes());
    if (held.size() < RemoteCrypto::lengthByteCount) {
        forgetGivenOut();
        return Absent();
    }
    const auto length = RemoteCrypto::frameLength(held.substr(0, RemoteCrypto::lengthByteCount));
    if (!length) {
        return Failure{ length.error() };
    }
    m_frameSize = RemoteCrypto::lengthByteCount + length.value();
    if (held.size() < m_frameSize) {
        forgetGivenOut();
        return Absent();
    }
    m_start += m_frameSize;
    m_frameSize = 0;
    return Absent(held.substr(RemoteCrypto::lengthByteCount, length.value()));
}

void RemoteFrameReader::forgetGivenOut()
{
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_start));
    m_start = 0;
    if (m_buffer.capacity() > std::max(keptCapacity, 2 * m_buffer.size())) {
        m_buffer.shrink_to_fit();
    }
}

} // namespace tessarin
