#pragma once

#include "Platform/Result.h"
#include "Remote/RemoteCrypto.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace tessarin
{

// Cuts what arrives into frames, however it is split. Holds what has arrived and not yet been given out, and never much more memory than
// that: a length that is only announced costs nothing. One thread at a time.
class RemoteFrameReader
{
public:
    void append(std::string_view bytes);
    // What follows the length of the next frame, as soon as all of it is there; lives until the next call. Fails for an impossible length,
    // before anything that follows it has arrived, and again each time it is asked.
    [[nodiscard]] Result<std::optional<std::string_view>, RemoteCryptoError> next();
    // Arrived, and not given out.
    [[nodiscard]] std::size_t heldBytes() const { return m_buffer.size() - m_start; }

private:
    void forgetGivenOut();

    std::vector<char> m_buffer;
    std::size_t m_start = 0; // before it stands what was given out
    std::size_t m_frameSize = 0; // of the one that is arriving; 0 while that is not known
};

} // namespace tessarin
