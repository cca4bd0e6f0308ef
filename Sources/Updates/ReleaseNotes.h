#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin::ReleaseNotes
{

// More than this many user-perceived characters are cut off: notes are read before a release is installed, not instead of a book.
inline constexpr std::size_t characterLimit = 20'000;

// What a person reads of the description in a feed, which may be HTML or plain text. Tags, comments and what is in a script, a style or
// a head go; paragraphs, line breaks, headings and the rows of tables become lines, items of lists begin with "•"; the entities of XML,
// the non-breaking blank and numbered characters are resolved, once. Where no tag of a block stands the lines stay as they are. Control
// characters go, and those that turn the direction of a line. Nothing is fetched and nothing is ever markup again. In time linear in the
// text; any bytes are fine.
[[nodiscard]] std::string plainText(std::string_view description);

} // namespace tessarin::ReleaseNotes
