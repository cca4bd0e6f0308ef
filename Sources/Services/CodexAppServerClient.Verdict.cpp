#include "Services/CodexAppServerClient.h"

#include "Platform/Text.h"

#include <algorithm>

// What a runtime's errors and its reports of the allowance mean. Nothing here looks at a client.

namespace tessarin
{

namespace
{

constexpr double wholeAllowance = 100;

struct Window {
    std::optional<double> usedPercent;
    std::optional<double> resetsAt; // seconds since 1970

    [[nodiscard]] bool isUsedUp() const { return usedPercent.value_or(0) >= wholeAllowance; }
};

Window windowAt(const JsonObject& root, std::string_view key)
{
    const JsonObject* window = objectAt(root, key);
    return window ? Window{ numberAt(*window, "usedPercent"), numberAt(*window, "resetsAt") } : Window();
}

// The later of the times that there are.
std::optional<double> later(std::optional<double> first, std::optional<double> second)
{
    return first && second ? std::max(first, second) : first ? first : second;
}

// When all that blocks has passed; while nothing blocks, the next reset of the main window.
std::optional<double> resetTime(const Window& primary, const Window& secondary, bool isExhausted)
{
    const auto blocking
        = later(primary.isUsedUp() ? primary.resetsAt : std::nullopt, secondary.isUsedUp() ? secondary.resetsAt : std::nullopt);
    if (blocking)
        return blocking;
    if (isExhausted)
        return later(primary.resetsAt, secondary.resetsAt);
    return primary.resetsAt ? primary.resetsAt : secondary.resetsAt;
}

AgentRuntimeError::Kind kindOf(std::optional<std::string_view> info, std::string_view message)
{
    const std::string words = lowerCased(message);
    if (info == "usageLimitExceeded" || contains(words, "usage limit"))
        return AgentRuntimeError::Kind::usageLimit;
    if (info == "unauthorized" || contains(words, "unauthorized") || contains(words, "login"))
        return AgentRuntimeError::Kind::authentication;
    return AgentRuntimeError::Kind::protocolError;
}

} // namespace

ProviderUsage CodexAppServerClient::parseRateLimits(const JsonObject& payload)
{
    // An answer wraps what a notification holds.
    const JsonObject* wrapped = objectAt(payload, "rateLimits");
    const JsonObject& root = wrapped ? *wrapped : payload;
    const Window primary = windowAt(root, "primary");
    const Window secondary = windowAt(root, "secondary");
    ProviderUsage usage;
    usage.provider = AgentProvider::codex;
    usage.primaryUsedPercent = primary.usedPercent;
    usage.secondaryUsedPercent = secondary.usedPercent;
    usage.exhausted = textAt(root, "rateLimitReachedType") || booleanAt(root, "spendControlReached") == true || primary.isUsedUp()
        || secondary.isUsedUp();
    if (const auto time = resetTime(primary, secondary, usage.exhausted))
        usage.resetsAt = Instant::fromSecondsSince1970(*time);
    if (const auto plan = textAt(root, "planType"))
        usage.planType = std::string(*plan);
    return usage;
}

AgentRuntimeError CodexAppServerClient::runtimeError(const JsonObject& error, std::string_view fallback)
{
    static const JsonObject nothing;
    const JsonObject* wrapped = objectAt(error, "error");
    const JsonObject& inner = wrapped ? *wrapped : nothing;
    const auto outerMessage = textAt(error, "message");
    const std::string message(outerMessage ? *outerMessage : textAt(inner, "message").value_or(fallback));
    // An info of another type than text says nothing, and hides none inside.
    const auto info = textAt(error.contains("codexErrorInfo") ? error : inner, "codexErrorInfo");
    return { AgentProvider::codex, kindOf(info, message), message };
}

std::string_view CodexAppServerClient::normalizeStatus(std::string_view status)
{
    if (status == "inProgress")
        return "in_progress";
    return status == "declined" ? "failed" : status;
}

} // namespace tessarin
