#pragma once

#include "Platform/FileSecretStore.h"
#include "Platform/SecretStore.h"

#include <chrono>

namespace tessarin
{

// The secrets in the desktop's Secret Service, as items with the attributes `service` and `account`. Only items that are unlocked are
// read and written, new ones go to the default collection when that is unlocked. Where no service can be talked to, `files` stands for it;
// what was kept there meanwhile moves to the service as soon as that takes it. A service that is there but locked, dumb or without a
// default collection has nothing and takes nothing.
class SecretServiceStore : public SecretStore
{
public:
    // No call waits longer for the service than the limit. While background work is being ended, `load` gives up at once, and the others
    // soon: what is stored counts when the program starts again.
    SecretServiceStore(FileSecretStore files, std::chrono::milliseconds timeLimit);

    [[nodiscard]] std::optional<std::string> load(const std::string& service, const std::string& account) override;
    bool save(const std::string& service, const std::string& account, const std::string& secret) override;
    void remove(const std::string& service, const std::string& account) override;

private:
    FileSecretStore m_files;
    const std::chrono::milliseconds m_timeLimit;
};

} // namespace tessarin
