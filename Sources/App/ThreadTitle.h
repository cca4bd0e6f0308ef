#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin
{

// In user-perceived characters.
inline constexpr std::size_t threadTitleLimit = 52;

// The title that a first prompt gives its task: the front of its first line, cut without an ellipsis.
[[nodiscard]] std::string threadTitle(std::string_view prompt);

} // namespace tessarin
