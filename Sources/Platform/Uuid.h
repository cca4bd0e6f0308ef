#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// A UUID (RFC 9562). Its text form is the canonical one, 8-4-4-4-12 hexadecimal, upper-case when written and in any case when read.
class Uuid
{
public:
    // A random one, version 4, from the system's random source.
    [[nodiscard]] static Uuid random();
    // Exactly the 36 canonical characters; absent for anything else.
    [[nodiscard]] static std::optional<Uuid> parse(std::string_view text);

    // All zero.
    Uuid() = default;
    [[nodiscard]] std::string text() const;
    auto operator<=>(const Uuid&) const = default;

private:
    std::array<std::uint8_t, 16> m_bytes{};
    friend struct std::hash<Uuid>;
};

} // namespace tessarin

template <>
struct std::hash<tessarin::Uuid> {
    std::size_t operator()(const tessarin::Uuid& uuid) const noexcept;
};
