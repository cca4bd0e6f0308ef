#pragma once

#include "Services/Locators.h"

#include <string>
#include <string_view>
#include <vector>

// What the locators decide without looking at a disk or starting a program.

namespace tessarin
{

// The paths in the order in which findExecutable tries them: the person's own, the fixed ones of the system, those of PATH.
namespace GrokLocator
{
[[nodiscard]] std::vector<std::string> candidates(const RuntimeContext& context);
}
namespace CodexLocator
{
[[nodiscard]] std::vector<std::string> candidates(const RuntimeContext& context);
// From the exit status and the text of the status command; absent when they tell nothing.
[[nodiscard]] std::optional<bool> signedIn(int status, std::string_view text);
} // namespace CodexLocator
namespace KimiLocator
{
[[nodiscard]] std::vector<std::string> candidates(const RuntimeContext& context);
}
namespace OpenCodeLocator
{
[[nodiscard]] std::vector<std::string> candidates(const RuntimeContext& context);
}
namespace ClaudeLocator
{
[[nodiscard]] std::vector<std::string> candidates(const RuntimeContext& context);
[[nodiscard]] std::optional<bool> signedIn(int status, std::string_view text);
} // namespace ClaudeLocator

} // namespace tessarin
