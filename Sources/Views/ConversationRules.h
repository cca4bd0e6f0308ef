#pragma once

#include "Models/AgentProvider.h"
#include "Models/ChatEntry.h"
#include "Models/ConnectionState.h"
#include "Models/ProviderRoutingMode.h"
#include "Views/Tint.h"

#include <QString>

#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The texts, symbols and colours of the conversation around its entries.
namespace ConversationRules
{

[[nodiscard]] Tint::Value connectionTint(const ConnectionState& state);
// The provider's short label, or "Agent", followed by " is working…".
[[nodiscard]] QString workingText(std::optional<AgentProvider> active);
// Who wrote an answer: the short label, or "Agent".
[[nodiscard]] QString speaker(std::optional<AgentProvider> provider);
// The symbol of who wrote an answer, or "sparkles".
[[nodiscard]] QString avatarSymbol(std::optional<AgentProvider> provider);

[[nodiscard]] QString routingSymbol(ProviderRoutingMode mode);
// The mode's label, with "  ✓" behind the current one.
[[nodiscard]] QString routingMenuTitle(ProviderRoutingMode mode, ProviderRoutingMode current);

// The trimmed draft, when it may leave the composer; absent keeps the draft.
[[nodiscard]] std::optional<std::string> promptToSend(std::string_view draft, bool canSend);

} // namespace ConversationRules

} // namespace tessarin
