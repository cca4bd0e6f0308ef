#pragma once

#include <compare>
#include <string_view>

namespace tessarin
{

// Orders versions as feeds for Sparkle mean them. A version is a row of numbers, words and separators:
// - Numbers are compared as numbers, of any length: 1.9 < 1.10.
// - A word, with or without a separator before it, announces a release that comes later: 1.0 alpha < 1.0-beta2 < 1.0rc1 < 1.0 < 1.0.1.
//   Words are compared byte by byte.
// - Zeros at the end of the release's own numbers don't count: 1 = 1.0 = 1.0.0, 1.0b1 = 1.0.0b1.
// - A number behind another separator than a period tells builds of one release apart: 1.0 < 1.0 (1234) < 1.0 (1235) < 1.0.1.
// Total for any texts, and pure. Digits and letters are those of ASCII and all beyond it are letters; what is left are separators.
[[nodiscard]] std::strong_ordering compareVersions(std::string_view first, std::string_view second);

} // namespace tessarin
