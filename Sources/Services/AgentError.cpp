#include "Services/AgentError.h"

#include "Platform/Text.h"

namespace tessarin
{

namespace
{

// Runtimes that do not classify their failures tell them in words only. "allowance" alone says nothing: it is also in texts about
// what is left of it.
bool namesUsageLimit(std::string_view text)
{
    const std::string words = lowerCased(text);
    if (contains(words, "usage limit") || contains(words, "rate limit") || contains(words, "quota"))
        return true;
    return contains(words, "allowance") && (contains(words, "exhaust") || contains(words, "reached"));
}

} // namespace

std::string ACPClientError::description() const
{
    switch (kind) {
    case Kind::executableMissing:
        return "The " + text + " CLI is not installed.";
    case Kind::processFailed:
    case Kind::invalidResponse:
    case Kind::invalidRequest:
        return text;
    case Kind::disconnected:
        return "The model runtime disconnected.";
    }
    return text;
}

std::string ClaudeCodeClientError::description() const
{
    return kind == Kind::executableMissing ? "The Claude Code CLI is not installed." : text;
}

std::string AgentError::description() const
{
    return std::visit([](const auto& error) { return std::string(error.description()); }, m_error);
}

bool AgentError::isUsageLimitFailure() const
{
    if (const auto* verdict = std::get_if<AgentRuntimeError>(&m_error))
        return verdict->kind == AgentRuntimeError::Kind::usageLimit;
    return namesUsageLimit(description());
}

} // namespace tessarin
