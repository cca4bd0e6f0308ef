#pragma once

#include <string>
#include <string_view>

namespace tessarin
{

// As a URL writes text: every byte but ASCII letters, digits and those of `plain` as percent and two hexadecimal digits (RFC 3986, 2.1).
[[nodiscard]] std::string percentEncoded(std::string_view text, std::string_view plain);

} // namespace tessarin
