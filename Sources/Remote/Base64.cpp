#include "Remote/Base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace tessarin
{

namespace
{

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using Pair = std::array<char, 2>;

// Two characters for twelve bits: half the look-ups of the plain table, and small enough to stay close to the processor.
constexpr std::array<Pair, 4096> makePairs()
{
    std::array<Pair, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = { alphabet[bits >> 6U], alphabet[bits & 63U] };
    }
    return pairs;
}

constexpr std::array<Pair, 4096> pairs = makePairs();

// The highest bits first. Eight are loaded at once, because there is one instruction for it; the last two are not used.
std::uint64_t sixBytesOfEight(const unsigned char* bytes)
{
    const auto at = [bytes](unsigned place) { return std::uint64_t(bytes[place]) << (56U - 8U * place); };
    return (at(0) | at(1) | at(2) | at(3) | at(4) | at(5) | at(6) | at(7)) >> 16U;
}

void writePair(std::uint64_t bits, char* place)
{
    std::memcpy(place, pairs[bits & 4095U].data(), sizeof(Pair));
}

} // namespace

void writeBase64(std::string_view bytes, char* place)
{
    const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    for (; left >= 8; left -= 6, from += 6, place += 8) {
        const std::uint64_t bits = sixBytesOfEight(from);
        writePair(bits >> 36U, place);
        writePair(bits >> 24U, place + 2);
        writePair(bits >> 12U, place + 4);
        writePair(bits, place + 6);
    }
    for (; left > 0; left -= left < 3 ? left : 3, from += 3, place += 4) {
        const std::uint64_t second = left > 1 ? from[1] : 0U;
        const std::uint64_t third = left > 2 ? from[2] : 0U;
        const std::uint64_t bits = std::uint64_t(from[0]) << 16U | second << 8U | third;
        writePair(bits >> 12U, place);
        writePair(bits, place + 2);
        if (left < 3) {
            place[3] = '=';
        }
        if (left < 2) {
            place[2] = '=';
        }
    }
}

} // namespace tessarin
