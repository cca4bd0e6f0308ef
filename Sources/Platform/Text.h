#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// All texts are UTF-8. Invalid sequences never crash; each invalid byte counts as a character of its own.

[[nodiscard]] bool isValidUtf8(std::string_view text);
// Without white space and newlines (Unicode) at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);
// Unicode lower case, character by character.
[[nodiscard]] std::string lowerCased(std::string_view text);
// At most `count` user-perceived characters (extended grapheme clusters, UAX #29) from the front, or from the end.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t count);
[[nodiscard]] std::string_view lastCharacters(std::string_view text, std::size_t count);
// The text before the first newline character (LF, CR, VT, FF, NEL, LS, PS).
[[nodiscard]] std::string_view firstLine(std::string_view text);
[[nodiscard]] bool contains(std::string_view text, std::string_view part);
[[nodiscard]] std::string joined(const std::vector<std::string>& parts, std::string_view separator);

} // namespace tessarin
