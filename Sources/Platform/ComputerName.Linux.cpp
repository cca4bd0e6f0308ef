#include "Platform/ComputerName.h"

#include "Platform/Files.h"
#include "Platform/MachineInfo.h"
#include "Platform/Text.h"

#include <climits>
#include <unistd.h>

namespace tessarin
{

std::optional<std::string> computerName()
{
    constexpr std::size_t machineInfoByteLimit = 65536;
    const auto machineInfo = readFile("/etc/machine-info", machineInfoByteLimit);
    if (auto name = machineInfo ? prettyHostName(machineInfo.value()) : std::nullopt) {
        return name;
    }
    char hostName[HOST_NAME_MAX + 1] = {};
    if (::gethostname(hostName, sizeof hostName - 1) != 0 || !isValidUtf8(hostName) || trimmed(hostName).empty()) {
        return std::nullopt;
    }
    return hostName;
}

} // namespace tessarin
