#include "Views/ConversationRules.h"

#include "Platform/Text.h"

namespace tessarin::ConversationRules
{

Tint::Value connectionTint(const ConnectionState& state)
{
    switch (state.kind()) {
    case ConnectionState::Kind::idle:
        return Tint::Secondary;
    case ConnectionState::Kind::ready:
        return Tint::Green;
    case ConnectionState::Kind::connecting:
    case ConnectionState::Kind::working:
        return Tint::Orange;
    case ConnectionState::Kind::failed:
        return Tint::Red;
    }
    return Tint::Secondary;
}

QString workingText(std::optional<AgentProvider> active)
{
    return speaker(active) + QStringLiteral(" is working…");
}

QString speaker(std::optional<AgentProvider> provider)
{
    return provider ? QString::fromUtf8(shortLabel(*provider)) : QStringLiteral("Agent");
}

QString avatarSymbol(std::optional<AgentProvider> provider)
{
    return provider ? QString::fromUtf8(systemImage(*provider)) : QStringLiteral("sparkles");
}

QString routingSymbol(ProviderRoutingMode mode)
{
    const auto provider = preferredProvider(mode);
    return provider ? QString::fromUtf8(systemImage(*provider)) : QStringLiteral("arrow.triangle.branch");
}

QString routingMenuTitle(ProviderRoutingMode mode, ProviderRoutingMode current)
{
    return QString::fromUtf8(label(mode)) + (mode == current ? QStringLiteral("  ✓") : QString());
}

std::optional<std::string> promptToSend(std::string_view draft, bool canSend)
{
    const std::string_view prompt = trimmed(draft);
    if (prompt.empty() || !canSend) {
        return std::nullopt;
    }
    return std::string(prompt);
}

} // namespace tessarin::ConversationRules
