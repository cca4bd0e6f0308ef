#include "Platform/Files.h"
#include "Platform/Text.h"
#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

namespace tessarin
{

std::vector<std::string> OpenCodeLocator::candidates(const RuntimeContext& context)
{
    return searchOrder(context, customPathKey,
        { context.home + "/.opencode/bin/opencode", context.home + "/.local/bin/opencode", context.home + "/.npm-global/bin/opencode",
            homebrewFolder(context.platform) + "/opencode", "/usr/local/bin/opencode" },
        "opencode");
}

std::optional<std::string> OpenCodeLocator::findExecutable(const RuntimeContext& context)
{
    // Unlike Grok's and Kimi's, a folder that may be entered passes.
    return firstAccepted(candidates(context), Repeats::skipped, isExecutableFile);
}

Environment OpenCodeLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    Environment environment = environmentWithFolders(context,
        { context.home + "/.opencode/bin", context.home + "/.local/bin", context.home + "/.npm-global/bin",
            homebrewFolder(context.platform), "/usr/local/bin", "/usr/bin", "/bin" });
    for (const char* key : { "OPENAI_API_KEY", "ANTHROPIC_API_KEY", "XAI_API_KEY", "KIMI_API_KEY", "MOONSHOT_API_KEY" })
        environment.erase(key);
    return environment;
}

std::string OpenCodeLocator::configuredModel(const RuntimeContext& context)
{
    return settingText(context, modelKey).value_or(defaultModel);
}

bool OpenCodeLocator::isCodingPlanModel(std::string_view model)
{
    return lowerCased(model).starts_with("zai-coding-plan/glm-");
}

void OpenCodeLocator::version(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion)
{
    probeText(executable, { "--version" }, subscriptionEnvironment(context), mainThread, std::move(completion));
}

void OpenCodeLocator::authSummary(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion)
{
    probeText(executable, { "auth", "list" }, subscriptionEnvironment(context), mainThread, std::move(completion));
}

} // namespace tessarin
