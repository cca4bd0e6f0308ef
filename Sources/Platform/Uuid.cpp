#include "Platform/Uuid.h"

#include <cstring>

#if defined(__APPLE__)
#include <sys/random.h>
#endif
#include <cstdlib>
#include <unistd.h>

namespace tessarin
{

namespace
{

constexpr std::size_t textLength = 36;

constexpr bool hasHyphenBefore(std::size_t byteIndex)
{
    return byteIndex == 4 || byteIndex == 6 || byteIndex == 8 || byteIndex == 10;
}

constexpr int hexadecimalValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

} // namespace

Uuid Uuid::random()
{
    Uuid uuid;
    // It fails only for more than 256 bytes or on a system without a random source; ids that repeat would mix up people's tasks.
    if (getentropy(uuid.m_bytes.data(), uuid.m_bytes.size()) != 0) {
        std::abort();
    }
    uuid.m_bytes[6] = static_cast<std::uint8_t>((uuid.m_bytes[6] & 0x0F) | 0x40);
    uuid.m_bytes[8] = static_cast<std::uint8_t>((uuid.m_bytes[8] & 0x3F) | 0x80);
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != textLength) {
        return std::nullopt;
    }
    Uuid uuid;
    std::size_t position = 0;
    for (std::size_t index = 0; index < uuid.m_bytes.size(); ++index) {
        if (hasHyphenBefore(index) && text[position++] != '-') {
            return std::nullopt;
        }
        const int high = hexadecimalValue(text[position++]);
        const int low = hexadecimalValue(text[position++]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        uuid.m_bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return uuid;
}

std::string Uuid::text() const
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(textLength);
    for (std::size_t index = 0; index < m_bytes.size(); ++index) {
        if (hasHyphenBefore(index)) {
            text += '-';
        }
        text += digits[m_bytes[index] >> 4];
        text += digits[m_bytes[index] & 0xF];
    }
    return text;
}

} // namespace tessarin

std::size_t std::hash<tessarin::Uuid>::operator()(const tessarin::Uuid& uuid) const noexcept
{
    // The second half: 62 random bits, none of them the version.
    std::uint64_t half = 0;
    std::memcpy(&half, uuid.m_bytes.data() + 8, sizeof half);
    return static_cast<std::size_t>(half);
}
