#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The pieces of which JSON texts are written (RFC 8259), for writers that build no tree.

enum class SolidusForm { plain, escaped };

// Appends the text as a JSON string, with its quotes. Only what must be escaped is; everything else stays as it is. A byte that belongs
// to no well-formed UTF-8 sequence becomes U+FFFD, so that what is written can always be read.
void appendJsonText(std::string& out, std::string_view text, SolidusForm solidus = SolidusForm::plain);

// Appends the shortest number that reads back as the same double: plain digits from a millionth up to 1e17, else with an exponent.
// Requires: the value is finite.
void appendJsonNumber(std::string& out, double value);

// The double nearest to a number's digits. `approximation` is what a parser made of them, which tells a number that is too small for a
// double, and is zero, from one that is too large: that one is absent.
[[nodiscard]] std::optional<double> readJsonNumber(std::string_view digits, double approximation);

} // namespace tessarin
