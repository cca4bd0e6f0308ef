#include "Views/RuntimeSettingsRules.h"

#include "App/ShellCommands.h"
#include "Services/Locators.h"
#include "Views/RuntimeLogRules.h"

namespace tessarin::RuntimeSettingsRules
{

namespace
{

QString installLine(std::string_view command)
{
    return QStringLiteral("Install: ") + QString::fromUtf8(command.data(), static_cast<qsizetype>(command.size()));
}

Words grokWords()
{
    return { QStringLiteral("Grok Build CLI"), QStringLiteral("Auto-detect"), QStringLiteral("Choose the grok executable"), {}, {},
        { QStringLiteral("Leave blank to search ~/.grok/bin, Homebrew, and your PATH.") }, {}, QStringLiteral("Log in with SuperGrok") };
}

Words codexWords()
{
    return { QStringLiteral("ChatGPT / Codex"), QStringLiteral("Auto-detect"), QStringLiteral("Choose the codex executable"), {}, {},
        { QStringLiteral("Detects Codex inside the ChatGPT Mac app, Homebrew, and your PATH.") }, {},
        QStringLiteral("Log in with ChatGPT") };
}

Words kimiWords()
{
    return { QStringLiteral("Kimi Code"), QStringLiteral("Auto-detect"), QStringLiteral("Choose the kimi executable"), {}, {},
        { QStringLiteral("Uses the official Kimi Code ACP runtime and your Kimi membership. Pay-per-use API-key variables are removed.") },
        installLine(kimiInstallCommand), QStringLiteral("Log in with Kimi") };
}

Words glmWords()
{
    return { QStringLiteral("GLM Coding Plan"), QStringLiteral("Auto-detect OpenCode"), QStringLiteral("Choose the opencode executable"),
        QString::fromUtf8(OpenCodeLocator::defaultModel),
        QStringLiteral("The model must begin with zai-coding-plan/glm-. This prevents fallback to another OpenCode provider or metered "
                       "API."),
        { QStringLiteral("Experimental research connector. tessarin speaks ACP only to the official OpenCode runtime. OpenCode stores the "
                         "Z.AI Coding Plan key; tessarin never reads or uploads it.") },
        installLine(openCodeInstallCommand), QStringLiteral("Set up Z.AI Plan") };
}

Words claudeWords()
{
    return { QStringLiteral("Claude Code"), QStringLiteral("Auto-detect"), QStringLiteral("Choose the claude executable"),
        QStringLiteral("sonnet, opus, haiku, or a Claude model ID"), {},
        { QStringLiteral("Experimental research connector using Claude Code's documented streaming and permission protocol. API-key, "
                         "custom-endpoint, Bedrock, Vertex, and Foundry overrides are removed so the local Claude login remains "
                         "authoritative."),
            QStringLiteral("Claude Code may account non-interactive Agent SDK usage separately inside your subscription. Check your "
                           "current Claude plan limits before relying on automatic handoff.") },
        installLine(claudeInstallCommand), QStringLiteral("Log in with Claude") };
}

bool isSignInNeeded(const State& state)
{
    return state.kind == State::Kind::installed && state.signedIn == false;
}

} // namespace

Words words(AgentProvider provider)
{
    switch (provider) {
    case AgentProvider::grok:
        return grokWords();
    case AgentProvider::codex:
        return codexWords();
    case AgentProvider::kimi:
        return kimiWords();
    case AgentProvider::glm:
        return glmWords();
    case AgentProvider::claude:
        return claudeWords();
    }
    return {};
}

Keys keys(AgentProvider provider)
{
    switch (provider) {
    case AgentProvider::grok:
        return { GrokLocator::customPathKey, nullptr, nullptr };
    case AgentProvider::codex:
        return { CodexLocator::customPathKey, nullptr, nullptr };
    case AgentProvider::kimi:
        return { KimiLocator::customPathKey, nullptr, nullptr };
    case AgentProvider::glm:
        return { OpenCodeLocator::customPathKey, OpenCodeLocator::modelKey, OpenCodeLocator::defaultModel };
    case AgentProvider::claude:
        return { ClaudeLocator::customPathKey, ClaudeLocator::modelKey, ClaudeLocator::defaultModel };
    }
    return {};
}

QString statusLabel(AgentProvider provider, const State& state)
{
    const bool isGlm = provider == AgentProvider::glm; // whose program bears another name
    switch (state.kind) {
    case State::Kind::checking:
        return QStringLiteral("Checking…");
    case State::Kind::missing:
        return isGlm ? QStringLiteral("OpenCode not installed") : QStringLiteral("Not installed");
    case State::Kind::installed:
        break;
    }
    if (isSignInNeeded(state)) {
        return QStringLiteral("Sign-in needed");
    }
    if (state.version) {
        return RuntimeLogRules::shown(*state.version, {}).simplified();
    }
    return isGlm ? QStringLiteral("OpenCode installed") : QStringLiteral("Installed");
}

QString statusSymbol(const State& state)
{
    switch (state.kind) {
    case State::Kind::checking:
        return QStringLiteral("clock");
    case State::Kind::missing:
        return QStringLiteral("xmark.circle.fill");
    case State::Kind::installed:
        break;
    }
    return isSignInNeeded(state) ? QStringLiteral("person.crop.circle.badge.exclamationmark") : QStringLiteral("checkmark.circle.fill");
}

Tint::Value statusTint(const State& state)
{
    switch (state.kind) {
    case State::Kind::checking:
        return Tint::Plain;
    case State::Kind::missing:
        return Tint::Red;
    case State::Kind::installed:
        break;
    }
    return isSignInNeeded(state) ? Tint::Orange : Tint::Green;
}

bool showsUsage(AgentProvider provider)
{
    switch (provider) {
    case AgentProvider::codex:
    case AgentProvider::kimi:
    case AgentProvider::claude:
        return true;
    case AgentProvider::grok:
    case AgentProvider::glm:
        return false;
    }
    return false;
}

bool isModelAccepted(AgentProvider provider, std::string_view model)
{
    return provider != AgentProvider::glm || OpenCodeLocator::isCodingPlanModel(model);
}

} // namespace tessarin::RuntimeSettingsRules
