#include "Services/GrokArguments.h"

#include "Platform/Text.h"

#include <algorithm>

namespace tessarin
{

bool refusesPermissionModeArgument(std::string_view errorOutput)
{
    return contains(errorOutput, "unexpected argument '--permission-mode' found");
}

std::optional<std::vector<std::string>> withPermissionModeInFront(std::vector<std::string> arguments)
{
    if (arguments.empty() || arguments.front() != "agent")
        return std::nullopt;
    const auto mode = std::find(arguments.begin(), arguments.end(), "--permission-mode");
    if (arguments.end() - mode < 2)
        return std::nullopt;
    std::rotate(arguments.begin(), mode, mode + 2);
    return arguments;
}

} // namespace tessarin
