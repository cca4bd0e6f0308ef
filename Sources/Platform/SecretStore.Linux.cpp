#include "Platform/SecretStore.h"

#include "Platform/SecretServiceStore.h"

#include <utility>

namespace tessarin
{

std::unique_ptr<SecretStore> makeSystemSecretStore(std::string folder)
{
    // As long as D-Bus itself waits for a service that it has to start.
    constexpr std::chrono::seconds timeLimit(25);
    return std::make_unique<SecretServiceStore>(FileSecretStore(std::move(folder)), timeLimit);
}

} // namespace tessarin
