#include "Platform/PercentEncoding.h"

namespace tessarin
{

std::string percentEncoded(std::string_view text, std::string_view plain)
{
    constexpr std::string_view alphanumeric = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : text) {
        if (alphanumeric.find(character) != std::string_view::npos || plain.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += { '%', digits[byte / 16], digits[byte % 16] };
        }
    }
    return encoded;
}

} // namespace tessarin
