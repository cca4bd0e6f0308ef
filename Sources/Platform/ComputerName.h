#pragma once

#include <optional>
#include <string>

namespace tessarin
{

// What the person calls this computer: on Linux the pretty host name, on macOS the localized name; else the host name. Absent when the
// system tells none of them. Reads the system each time; any thread.
[[nodiscard]] std::optional<std::string> computerName();

} // namespace tessarin
