#pragma once

#include <string>
#include <string_view>

namespace tessarin
{

// The commands that a person is given to paste into a terminal.

// In single quotes, for a POSIX shell.
[[nodiscard]] std::string shellQuoted(std::string_view text);

// The vendors' own one-line installers.
inline constexpr std::string_view grokInstallCommand = "curl -fsSL https://x.ai/cli/install.sh | bash";
inline constexpr std::string_view kimiInstallCommand = "curl -fsSL https://code.kimi.com/kimi-code/install.sh | bash";
inline constexpr std::string_view openCodeInstallCommand = "curl -fsSL https://opencode.ai/install | bash";
inline constexpr std::string_view claudeInstallCommand = "curl -fsSL https://claude.ai/install.sh | bash";

} // namespace tessarin
