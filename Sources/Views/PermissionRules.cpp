#include "Views/PermissionRules.h"

#include <algorithm>
#include <iterator>

namespace tessarin::PermissionRules
{

QString heading(std::optional<AgentProvider> active)
{
    return (active ? QString::fromUtf8(shortLabel(*active)) : QStringLiteral("Agent")) + QStringLiteral(" needs permission");
}

std::vector<PermissionOption> offered(const PermissionRequest& request)
{
    std::vector<PermissionOption> options;
    std::copy_if(request.options.begin(), request.options.end(), std::back_inserter(options),
        [](const PermissionOption& option) { return option.kind.starts_with("allow"); });
    return options;
}

bool isDefault(const PermissionOption& option)
{
    return option.kind == "allow_once";
}

QString note(bool isHeard)
{
    return isHeard ? QString() : QStringLiteral("The agent is gone. An answer has no effect.");
}

Tint::Value modeTint(GrokPermissionMode mode)
{
    return mode == GrokPermissionMode::fullAccess ? Tint::Orange : Tint::Secondary;
}

QString menuTitle(GrokPermissionMode mode, GrokPermissionMode current)
{
    return QString::fromUtf8(label(mode)) + (mode == current ? QStringLiteral("  ✓") : QString());
}

QString help(GrokPermissionMode mode, std::optional<AgentProvider> active, ProviderRoutingMode routing)
{
    return QStringLiteral("Agent permission mode: ") + QString::fromUtf8(detail(mode, active ? active : preferredProvider(routing)));
}

} // namespace tessarin::PermissionRules
