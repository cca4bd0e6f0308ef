#pragma once

#include "Models/ProviderUsage.h"
#include "Platform/Json.h"
#include "Services/AgentError.h"

#include <cstdint>
#include <optional>
#include <string_view>

// What Claude Code's events say of a turn and of the allowance. Keys of another type count as missing.

namespace tessarin::ClaudeCodeVerdict
{

// The class of a failure from its words and from the status of the vendor's service, if one is known.
[[nodiscard]] AgentRuntimeError::Kind errorKind(std::string_view message, std::optional<std::int64_t> status);

// Why the turn that ends with this `result` failed; absent when it ended well.
[[nodiscard]] std::optional<AgentRuntimeError> failureOf(const JsonObject& result);

// The report in a `rate_limit_event`; absent when there is none in it.
[[nodiscard]] std::optional<ProviderUsage> usageIn(const JsonObject& event);

} // namespace tessarin::ClaudeCodeVerdict
