#include "Services/RuntimeContext.h"

#include "Platform/Files.h"

namespace tessarin
{

RuntimeContext RuntimeContext::current(const Preferences& preferences)
{
    RuntimeContext context;
    context.preference = [&preferences](const std::string& key) { return preferences.text(key); };
    context.environment = processEnvironment();
    context.home = homeDirectory();
    return context;
}

} // namespace tessarin
