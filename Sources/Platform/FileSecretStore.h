#pragma once

#include "Platform/SecretStore.h"

namespace tessarin
{

// Secrets in files that only the person can read, for systems that have nothing better: `<service>.<account>` of mode 0600 in `folder`,
// which is made with mode 0700. Looser modes of either are tightened before it is read or written. What can't be tightened, is of another
// owner or is no plain file counts as not there.
class FileSecretStore : public SecretStore
{
public:
    explicit FileSecretStore(std::string folder);

    [[nodiscard]] std::optional<std::string> load(const std::string& service, const std::string& account) override;
    bool save(const std::string& service, const std::string& account, const std::string& secret) override;
    void remove(const std::string& service, const std::string& account) override;

private:
    [[nodiscard]] std::string path(const std::string& service, const std::string& account) const;
    const std::string m_folder;
};

} // namespace tessarin
