#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

namespace tessarin
{

std::vector<std::string> KimiLocator::candidates(const RuntimeContext& context)
{
    return searchOrder(context, customPathKey,
        { context.home + "/.local/bin/kimi", context.home + "/.npm-global/bin/kimi", homebrewFolder(context.platform) + "/kimi",
            "/usr/local/bin/kimi", "/usr/bin/kimi" },
        "kimi");
}

std::optional<std::string> KimiLocator::findExecutable(const RuntimeContext& context)
{
    return firstAccepted(candidates(context), Repeats::skipped, isExecutableProgram);
}

Environment KimiLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    Environment environment = environmentWithFolders(context,
        { context.home + "/.local/bin", context.home + "/.npm-global/bin", homebrewFolder(context.platform), "/usr/local/bin", "/usr/bin",
            "/bin" });
    for (const char* key : { "KIMI_API_KEY", "MOONSHOT_API_KEY", "OPENAI_API_KEY", "ANTHROPIC_API_KEY" })
        environment.erase(key);
    return environment;
}

void KimiLocator::version(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion)
{
    probeText(executable, { "--version" }, subscriptionEnvironment(context), mainThread, std::move(completion));
}

} // namespace tessarin
