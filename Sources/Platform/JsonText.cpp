#include "Platform/JsonText.h"

#include "Platform/Utf8.h"

#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdlib>

#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace tessarin
{

namespace
{

enum class ByteClass : unsigned char { plain, solidus, escaped, multiByte };

constexpr std::array<ByteClass, 256> makeByteClasses()
{
    std::array<ByteClass, 256> classes{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        classes[byte] = byte >= 0x80 ? ByteClass::multiByte : byte < 0x20 ? ByteClass::escaped : ByteClass::plain;
    }
    classes['"'] = ByteClass::escaped;
    classes['\\'] = ByteClass::escaped;
    classes['/'] = ByteClass::solidus;
    return classes;
}

constexpr auto byteClasses = makeByteClasses();

void appendEscape(std::string& out, char character)
{
    static constexpr char digits[] = "0123456789abcdef";
    switch (character) {
    case '"':
        out += "\\\"";
        return;
    case '\\':
        out += "\\\\";
        return;
    case '/':
        out += "\\/";
        return;
    case '\b':
        out += "\\b";
        return;
    case '\f':
        out += "\\f";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    default:
        out += "\\u00";
        out += digits[(static_cast<unsigned char>(character) >> 4) & 0xF];
        out += digits[static_cast<unsigned char>(character) & 0xF];
    }
}

} // namespace

void appendJsonText(std::string& out, std::string_view text, SolidusForm solidus)
{
    out += '"';
    std::size_t copied = 0;
    std::size_t position = 0;
    const auto copyUpToHere = [&] { out.append(text, copied, position - copied); };
    while (position < text.size()) {
        switch (byteClasses[static_cast<unsigned char>(text[position])]) {
        case ByteClass::plain:
            ++position;
            continue;
        case ByteClass::solidus:
            if (solidus == SolidusForm::plain) {
                ++position;
                continue;
            }
            [[fallthrough]];
        case ByteClass::escaped:
            copyUpToHere();
            appendEscape(out, text[position]);
            break;
        case ByteClass::multiByte:
            if (const std::size_t length = utf8SequenceLength(text, position)) {
                position += length;
                continue;
            }
            copyUpToHere();
            out += "\xEF\xBF\xBD";
            break;
        }
        copied = ++position;
    }
    copyUpToHere();
    out += '"';
}

void appendJsonNumber(std::string& out, double value)
{
    assert(std::isfinite(value));
    const double magnitude = std::abs(value);
    const bool isPlain = magnitude == 0 || (magnitude >= 1e-6 && magnitude < 1e17);
    std::array<char, 64> digits;
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, format);
    out.append(digits.data(), end.ptr);
}

std::optional<double> readJsonNumber(std::string_view digits, double approximation)
{
    double value = 0;
#if defined(__cpp_lib_to_chars)
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool isOutOfRange = read.ec == std::errc::result_out_of_range;
    const bool isRead = isOutOfRange || read.ec == std::errc();
#else
    // libc++ reads no fractions with from_chars. Without a locale of its own strtod would take the comma of some for the point.
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string text(digits);
    char* end = nullptr;
    value = strtod_l(text.c_str(), &end, plain);
    const bool isOutOfRange = std::abs(value) == HUGE_VAL || (value == 0 && approximation != 0);
    const bool isRead = end == text.c_str() + text.size() && end != text.c_str();
#endif
    if (isOutOfRange) {
        // Too small is zero, as everywhere; too large is no number.
        return std::abs(approximation) < 1 ? std::optional(std::copysign(0.0, approximation)) : std::nullopt;
    }
    return isRead && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

} // namespace tessarin
