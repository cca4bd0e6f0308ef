#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

namespace tessarin
{

std::vector<std::string> GrokLocator::candidates(const RuntimeContext& context)
{
    return searchOrder(context, customPathKey,
        { context.home + "/.grok/bin/grok", homebrewFolder(context.platform) + "/grok", "/usr/local/bin/grok", "/usr/bin/grok" }, "grok");
}

std::optional<std::string> GrokLocator::findExecutable(const RuntimeContext& context)
{
    return firstAccepted(candidates(context), Repeats::skipped, isExecutableProgram);
}

Environment GrokLocator::augmentedEnvironment(const RuntimeContext& context)
{
    return environmentWithFolders(
        context, { context.home + "/.grok/bin", homebrewFolder(context.platform), "/usr/local/bin", "/usr/bin", "/bin" });
}

void GrokLocator::version(
    const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion)
{
    probeText(executable, { "--version" }, augmentedEnvironment(context), mainThread, std::move(completion));
}

} // namespace tessarin
