#pragma once

#include <cstddef>
#include <string_view>

namespace tessarin
{

// The length in bytes of the well-formed UTF-8 sequence at `position`, 1 to 4, or 0 when there is none (Unicode 15, table 3-7).
// A byte that begins no such sequence stands for itself, so a text is read forward from any byte that is no continuation byte.
[[nodiscard]] constexpr std::size_t utf8SequenceLength(std::string_view text, std::size_t position)
{
    const auto byte = [&](std::size_t offset) { return static_cast<unsigned char>(text[position + offset]); };
    const std::size_t left = text.size() - position;
    const auto isBetween = [](unsigned char value, unsigned char low, unsigned char high) { return value >= low && value <= high; };
    const auto continues = [&](std::size_t offset) { return isBetween(byte(offset), 0x80, 0xBF); };
    if (left == 0) {
        return 0;
    }
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    if (isBetween(lead, 0xC2, 0xDF)) {
        return left >= 2 && continues(1) ? 2 : 0;
    }
    if (isBetween(lead, 0xE0, 0xEF)) {
        // The second byte's range leaves out overlong forms and surrogates.
        const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
        return left >= 3 && isBetween(byte(1), low, high) && continues(2) ? 3 : 0;
    }
    if (isBetween(lead, 0xF0, 0xF4)) {
        const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
        return left >= 4 && isBetween(byte(1), low, high) && continues(2) && continues(3) ? 4 : 0;
    }
    return 0;
}

} // namespace tessarin
