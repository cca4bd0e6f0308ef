#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace scripted
{

// RFC 4648, section 4, with padding.
[[nodiscard]] std::string base64Encoded(std::string_view bytes);
// Absent for anything that is not whole Base64.
[[nodiscard]] std::optional<std::string> base64Decoded(std::string_view text);

} // namespace scripted
