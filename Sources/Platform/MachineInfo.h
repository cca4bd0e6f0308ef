#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The PRETTY_HOSTNAME of a file like /etc/machine-info: lines KEY=VALUE, the value quoted as a shell would, `#` before a comment, the
// last line of a key wins (machine-info(5), os-release(5)). Absent also when it is blank or no valid UTF-8.
[[nodiscard]] std::optional<std::string> prettyHostName(std::string_view machineInfo);

} // namespace tessarin
