#pragma once

#include "Models/PlanEntry.h"
#include "Views/Tint.h"

#include <QString>

#include <string_view>
#include <vector>

namespace tessarin
{

// What the strip of the plan says.
namespace PlanRules
{

// "Plan · ", the number of completed entries, "/" and the number of entries.
[[nodiscard]] QString label(const std::vector<PlanEntry>& entries);
[[nodiscard]] QString symbol(std::string_view status);
[[nodiscard]] Tint::Value tint(std::string_view status);
// The status for a screen reader: "Completed", "In Progress", "Pending".
[[nodiscard]] QString statusWord(std::string_view status);

} // namespace PlanRules

} // namespace tessarin
