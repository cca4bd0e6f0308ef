#include "Services/ClaudeCodeVerdict.h"

#include "Platform/Text.h"

#include <cmath>
#include <string>
#include <vector>

namespace tessarin::ClaudeCodeVerdict
{

namespace
{

// Absent for anything but a list of texts alone; an empty list gives the empty text.
std::optional<std::string> joinedErrors(const JsonObject& result)
{
    const JsonArray* array = arrayAt(result, "errors");
    if (!array)
        return std::nullopt;
    std::vector<std::string> errors;
    for (const Json& error : *array) {
        if (!error.is_string())
            return std::nullopt;
        errors.emplace_back(error.get_string());
    }
    return joined(errors, "; ");
}

std::string failureMessage(const JsonObject& result)
{
    if (auto errors = joinedErrors(result))
        return *std::move(errors);
    for (const char* key : { "result", "subtype" }) {
        if (const auto text = textAt(result, key))
            return std::string(*text);
    }
    return "Claude Code could not complete the turn.";
}

// As a fraction. The program puts it at the top only for a warning; otherwise it stands with the window that the limit is of.
std::optional<double> utilization(const JsonObject& info, std::optional<std::string_view> limitType)
{
    if (const auto number = numberAt(info, "utilization"))
        return number;
    const JsonObject* windows = limitType ? objectAt(info, "unifiedWindows") : nullptr;
    const JsonObject* window = windows ? objectAt(*windows, *limitType) : nullptr;
    return window ? numberAt(*window, "utilization") : std::nullopt;
}

std::optional<double> percent(std::optional<double> fraction)
{
    // What is too large for a percentage has no JSON text, and nobody could show it.
    if (!fraction || !std::isfinite(*fraction * 100))
        return std::nullopt;
    return *fraction * 100;
}

} // namespace

AgentRuntimeError::Kind errorKind(std::string_view message, std::optional<std::int64_t> status)
{
    using Kind = AgentRuntimeError::Kind;
    const std::string words = lowerCased(message);
    if (status == 429 || contains(words, "rate limit") || contains(words, "usage limit") || contains(words, "quota"))
        return Kind::usageLimit;
    if (status == 401 || status == 403 || contains(words, "login") || contains(words, "authentication") || contains(words, "unauthorized"))
        return Kind::authentication;
    return Kind::protocolError;
}

std::optional<AgentRuntimeError> failureOf(const JsonObject& result)
{
    if (booleanAt(result, "is_error") != true)
        return std::nullopt;
    std::string message = failureMessage(result);
    const auto kind = errorKind(message, integerAt(result, "api_error_status"));
    return AgentRuntimeError{ AgentProvider::claude, kind, std::move(message) };
}

std::optional<ProviderUsage> usageIn(const JsonObject& event)
{
    const JsonObject* info = objectAt(event, "rate_limit_info");
    if (!info)
        return std::nullopt;
    // Each key has two spellings: the program that is published today writes the second.
    auto limitType = textAt(*info, "rate_limit_type");
    if (!limitType)
        limitType = textAt(*info, "rateLimitType");
    auto resetsAt = numberAt(*info, "resets_at");
    if (!resetsAt)
        resetsAt = numberAt(*info, "resetsAt");
    ProviderUsage usage;
    usage.provider = AgentProvider::claude;
    usage.primaryUsedPercent = percent(utilization(*info, limitType));
    if (resetsAt)
        usage.resetsAt = Instant::fromSecondsSince1970(*resetsAt);
    if (limitType)
        usage.planType = std::string(*limitType);
    usage.exhausted = textAt(*info, "status") == "rejected";
    return usage;
}

} // namespace tessarin::ClaudeCodeVerdict
