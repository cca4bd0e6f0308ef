#include "Views/PlanRules.h"

#include "Views/ToolCardRules.h"

#include <algorithm>

namespace tessarin::PlanRules
{

namespace
{

constexpr std::string_view completed = "completed";
constexpr std::string_view inProgress = "in_progress";

} // namespace

QString label(const std::vector<PlanEntry>& entries)
{
    const auto done = std::count_if(entries.begin(), entries.end(), [](const PlanEntry& entry) { return entry.status == completed; });
    return QStringLiteral("Plan · %1/%2").arg(done).arg(entries.size());
}

QString symbol(std::string_view status)
{
    if (status == completed) {
        return QStringLiteral("checkmark.circle.fill");
    }
    return status == inProgress ? QStringLiteral("circle.dotted") : QStringLiteral("circle");
}

Tint::Value tint(std::string_view status)
{
    if (status == completed) {
        return Tint::Green;
    }
    return status == inProgress ? Tint::Orange : Tint::Secondary;
}

QString statusWord(std::string_view status)
{
    return ToolCardRules::statusWord(status.empty() ? std::nullopt : std::optional(std::string(status)));
}

} // namespace tessarin::PlanRules
