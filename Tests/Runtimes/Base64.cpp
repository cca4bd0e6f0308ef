#include "Base64.h"

#include <cstdint>

namespace scripted
{

static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64Encoded(std::string_view bytes)
{
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = bytes.size() - at < 3 ? bytes.size() - at : 3;
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? alphabet[group >> (18 - 6 * i) & 63U] : '=';
    }
    return text;
}

std::optional<std::string> base64Decoded(std::string_view text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); at += 4) {
        std::uint32_t group = 0;
        std::size_t padding = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const char character = text[at + i];
            const bool isPadding = character == '=' && i >= 2 && at + 4 == text.size();
            const std::size_t digit = isPadding ? 0 : alphabet.find(character);
            if (digit == std::string_view::npos || (padding > 0 && !isPadding))
                return std::nullopt;
            padding += isPadding ? 1 : 0;
            group = group << 6 | static_cast<std::uint32_t>(digit);
        }
        for (std::size_t i = 0; i < 3 - padding; ++i)
            bytes += static_cast<char>(group >> (16 - 8 * i) & 255U);
    }
    return bytes;
}

} // namespace scripted
