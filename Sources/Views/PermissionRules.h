#pragma once

#include "Models/GrokPermissionMode.h"
#include "Models/PermissionRequest.h"
#include "Models/ProviderRoutingMode.h"
#include "Views/Tint.h"

#include <QString>

#include <optional>
#include <vector>

namespace tessarin
{

// The texts, symbols and colours of approvals: the sheet in which an agent asks, and the menu of the modes.
namespace PermissionRules
{

// The provider's short label, or "Agent", followed by " needs permission".
[[nodiscard]] QString heading(std::optional<AgentProvider> active);
// The options that have a button of their own, in their order: those whose kind begins with "allow". "Reject" stands for the others.
[[nodiscard]] std::vector<PermissionOption> offered(const PermissionRequest& request);
// The prominent one, which Return chooses.
[[nodiscard]] bool isDefault(const PermissionOption& option);
// What a person has to know of a request that nobody hears the answer to; empty for one that is heard.
[[nodiscard]] QString note(bool isHeard);

[[nodiscard]] Tint::Value modeTint(GrokPermissionMode mode);
// The mode's label, with "  ✓" behind the current one.
[[nodiscard]] QString menuTitle(GrokPermissionMode mode, GrokPermissionMode current);
[[nodiscard]] QString help(GrokPermissionMode mode, std::optional<AgentProvider> active, ProviderRoutingMode routing);

} // namespace PermissionRules

} // namespace tessarin
