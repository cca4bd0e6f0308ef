#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

namespace tessarin
{

std::vector<std::string> CodexLocator::candidates(const RuntimeContext& context)
{
    std::vector<std::string> fixed;
    // The vendor's desktop application carries the program; there is no such application for Linux.
    if (context.platform == LocatorPlatform::macOS)
        fixed.emplace_back("/Applications/ChatGPT.app/Contents/Resources/codex");
    fixed.push_back(homebrewFolder(context.platform) + "/codex");
    fixed.emplace_back("/usr/local/bin/codex");
    fixed.push_back(expandedTilde("~/.local/bin/codex", context.home));
    fixed.push_back(expandedTilde("~/.npm-global/bin/codex", context.home));
    return searchOrder(context, customPathKey, std::move(fixed), "codex");
}

std::optional<std::string> CodexLocator::findExecutable(const RuntimeContext& context)
{
    // Unlike Grok's and Kimi's, a folder that may be entered passes, and a path that comes twice is tested twice.
    return firstAccepted(candidates(context), Repeats::tested, isExecutableFile);
}

Environment CodexLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    Environment environment = environmentWithFolders(context,
        { homebrewFolder(context.platform), "/usr/local/bin", expandedTilde("~/.local/bin", context.home) },
        "/usr/bin:/bin:/usr/sbin:/sbin");
    for (const char* key : { "OPENAI_API_KEY", "CODEX_API_KEY" })
        environment.erase(key);
    return environment;
}

std::optional<bool> CodexLocator::signedIn(int status, std::string_view text)
{
    const std::string lower = lowerCased(text);
    // The order decides: "not logged in" contains "logged in" and counts as signed in.
    if (status == 0 || contains(lower, "logged in") || contains(lower, "authenticated"))
        return true;
    if (contains(lower, "not logged in") || contains(lower, "login") || contains(lower, "authentication"))
        return false;
    return std::nullopt;
}

void CodexLocator::inspect(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, InspectCompletion completion)
{
    inspectProgram({ executable, subscriptionEnvironment(context), { "login", "status" }, &signedIn }, mainThread, std::move(completion));
}

} // namespace tessarin
