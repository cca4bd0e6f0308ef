#include "App/FriendlyError.h"

#include "Platform/Text.h"

namespace tessarin
{

namespace
{

bool speaksOfSignIn(std::string_view text)
{
    const std::string lower = lowerCased(text);
    return contains(lower, "auth") || contains(lower, "login") || contains(lower, "unauthorized");
}

} // namespace

std::string friendlyError(std::string_view text, AgentProvider provider)
{
    if (!speaksOfSignIn(text)) {
        return std::string(text);
    }
    switch (provider) {
    case AgentProvider::codex:
        return "Codex needs you to sign in again. Use Log in with ChatGPT in Settings; tessarin does not use an API key.";
    case AgentProvider::kimi:
        return "Kimi needs you to sign in again. Use Log in with Kimi in Settings; tessarin removes pay-per-use API keys from the runtime.";
    case AgentProvider::grok:
    case AgentProvider::glm:
    case AgentProvider::claude:
        break;
    }
    return "Grok needs you to sign in again. Use the Log in button; your SuperGrok subscription stays in the CLI.";
}

} // namespace tessarin
