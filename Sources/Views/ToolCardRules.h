#pragma once

#include "Views/Tint.h"

#include <QString>

#include <optional>
#include <string>

namespace tessarin
{

// What the card of a tool call says.
namespace ToolCardRules
{

// The runtime's title, or "Tool".
[[nodiscard]] QString title(const std::optional<std::string>& title);
// The runtime's status, or "pending", for people: "in_progress" reads "In Progress".
[[nodiscard]] QString statusWord(const std::optional<std::string>& status);
// The symbol by what the title speaks of; the first match of the table wins.
[[nodiscard]] QString symbol(const std::optional<std::string>& title);
[[nodiscard]] Tint::Value tint(const std::optional<std::string>& status);

} // namespace ToolCardRules

} // namespace tessarin
