#pragma once

#include "Platform/ComputerName.h"
#include "Platform/SecretStore.h"
#include "Remote/RemoteHostConfiguration.h"
#include "Remote/RemoteHostServer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tessarin
{

// What the remote host needs of the machine. The secret store outlives the model; it and `computerName` are called on background threads.
struct RemoteContext {
    SecretStore& secrets;
    std::uint16_t port = RemoteHostServer::defaultPort;
    std::function<std::string()> suggestedAddress = [] { return RemoteHostConfiguration::suggestedAddress(); };
    std::function<std::optional<std::string>()> computerName = &tessarin::computerName;
};

} // namespace tessarin
