#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tessarin
{

// The public half of the key that releases are signed with: Ed25519 (RFC 8032).
struct UpdateKey {
    static constexpr std::size_t byteCount = 32;

    std::array<unsigned char, byteCount> bytes{};

    // From exactly 32 bytes in Base64 with padding; absent for anything else.
    [[nodiscard]] static std::optional<UpdateKey> fromBase64(std::string_view text);
    // The one that this program was built with (TESSARIN_UPDATE_PUBLIC_KEY of CMake). Absent in a build without one: nothing verifies
    // there, so nothing is ever installed.
    [[nodiscard]] static std::optional<UpdateKey> builtIn();
};

} // namespace tessarin
