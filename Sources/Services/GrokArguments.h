#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Grok 1.0 knows the approval mode only as an argument of the program, in front of "agent"; older versions know it only behind.
// These tell the one from the other by what the program says when it refuses.

// Whether that text on the error stream refuses the mode where it stands.
[[nodiscard]] bool refusesPermissionModeArgument(std::string_view errorOutput);
// The same arguments with the mode in front of "agent"; absent when they do not begin with "agent" or name no mode.
[[nodiscard]] std::optional<std::vector<std::string>> withPermissionModeInFront(std::vector<std::string> arguments);

} // namespace tessarin
