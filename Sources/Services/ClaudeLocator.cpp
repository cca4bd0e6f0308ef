#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

namespace tessarin
{

std::vector<std::string> ClaudeLocator::candidates(const RuntimeContext& context)
{
    return searchOrder(context, customPathKey,
        { context.home + "/.local/bin/claude", context.home + "/.claude/local/claude", context.home + "/.npm-global/bin/claude",
            context.home + "/node_modules/.bin/claude", context.home + "/.yarn/bin/claude", homebrewFolder(context.platform) + "/claude",
            "/usr/local/bin/claude" },
        "claude");
}

std::optional<std::string> ClaudeLocator::findExecutable(const RuntimeContext& context)
{
    // Unlike Grok's and Kimi's, a folder that may be entered passes.
    return firstAccepted(candidates(context), Repeats::skipped, isExecutableFile);
}

Environment ClaudeLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    Environment environment = environmentWithFolders(context,
        { context.home + "/.local/bin", context.home + "/.claude/local", context.home + "/.npm-global/bin",
            homebrewFolder(context.platform), "/usr/local/bin", "/usr/bin", "/bin" });
    // Each of these leads away from the subscription; the last would make the program take itself for a nested session.
    for (const char* key : { "ANTHROPIC_API_KEY", "ANTHROPIC_AUTH_TOKEN", "ANTHROPIC_BASE_URL", "CLAUDE_CODE_USE_BEDROCK",
             "CLAUDE_CODE_USE_VERTEX", "CLAUDE_CODE_USE_FOUNDRY", "CLAUDECODE" })
        environment.erase(key);
    environment["CLAUDE_CODE_ENTRYPOINT"] = "tessarin";
    return environment;
}

std::string ClaudeLocator::configuredModel(const RuntimeContext& context)
{
    return settingText(context, modelKey).value_or(defaultModel);
}

std::optional<bool> ClaudeLocator::signedIn(int status, std::string_view text)
{
    const std::string lower = lowerCased(text);
    // The order decides, as with Codex: "not logged in" counts as signed in. JSON with a blank after the colon matches neither
    // fragment, and then the status tells.
    if (status == 0 || contains(lower, "loggedin\":true") || contains(lower, "logged in"))
        return true;
    if (status == 1 || contains(lower, "not logged") || contains(lower, "loggedin\":false"))
        return false;
    return std::nullopt;
}

void ClaudeLocator::inspect(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, InspectCompletion completion)
{
    inspectProgram({ executable, subscriptionEnvironment(context), { "auth", "status" }, &signedIn }, mainThread, std::move(completion));
}

} // namespace tessarin
