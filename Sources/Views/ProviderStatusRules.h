#pragma once

#include "Models/AgentProvider.h"
#include "Models/ProviderRoutingMode.h"
#include "Models/ProviderUsage.h"
#include "Views/Tint.h"

#include <QLocale>
#include <QString>

#include <optional>

namespace tessarin
{

// What the pill in the header says of the provider that has the task, and of its allowance.
namespace ProviderStatusRules
{

// The provider's symbol, or the branch of a routing that has not chosen yet.
[[nodiscard]] QString symbol(std::optional<AgentProvider> active);
// What stands behind the provider's name; empty without a report. `usage` may be null.
[[nodiscard]] QString usageText(const ProviderUsage* usage);
[[nodiscard]] Tint::Value usageTint(const ProviderUsage* usage);
// The tool tip. `usage` is the report of `active`, or null. The moment of the renewal is told in English, as the whole window is, in the
// order and the hours of the person's country.
[[nodiscard]] QString help(
    std::optional<AgentProvider> active, const ProviderUsage* usage, ProviderRoutingMode mode, const QLocale& person = QLocale());

} // namespace ProviderStatusRules

} // namespace tessarin
