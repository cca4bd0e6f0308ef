#include "App/InstallMessage.h"

namespace tessarin
{

std::string_view installMessage(AgentProvider provider)
{
    switch (provider) {
    case AgentProvider::grok:
        return "Install the Grok CLI, then sign in with your SuperGrok account.";
    case AgentProvider::codex:
        return "Install Codex (or the ChatGPT Mac app), then sign in with your ChatGPT account.";
    case AgentProvider::kimi:
        return "Install Kimi Code, then sign in with your Kimi membership.";
    case AgentProvider::glm:
        return "Install OpenCode, configure Z.AI Coding Plan, and choose a zai-coding-plan/GLM model in Settings.";
    case AgentProvider::claude:
        break;
    }
    return "Install Claude Code, then sign in with your Claude subscription.";
}

} // namespace tessarin
