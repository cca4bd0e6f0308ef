#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// Exactly so many bytes out of Base64 (RFC 4648, section 4) with its padding, without blanks or line breaks; absent for anything else.
[[nodiscard]] std::optional<std::string> bytesFromBase64(std::string_view text, std::size_t byteCount);

} // namespace tessarin
