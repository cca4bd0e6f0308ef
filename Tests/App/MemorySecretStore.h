#pragma once

#include "Platform/SecretStore.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace tessarin::testing
{

// Secrets in memory. A test may hold up whoever calls it.
class MemorySecretStore final : public SecretStore
{
public:
    [[nodiscard]] std::optional<std::string> load(const std::string& service, const std::string& account) override
    {
        onLoad();
        return find(service, account);
    }
    bool save(const std::string& service, const std::string& account, const std::string& secret) override
    {
        onSave();
        const std::lock_guard lock(m_mutex);
        m_secrets[{ service, account }] = secret;
        return true;
    }
    void remove(const std::string& service, const std::string& account) override
    {
        const std::lock_guard lock(m_mutex);
        m_secrets.erase({ service, account });
    }

    // What is stored at this moment.
    [[nodiscard]] std::optional<std::string> find(const std::string& service, const std::string& account) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_secrets.find({ service, account });
        return found == m_secrets.end() ? std::nullopt : std::optional(found->second);
    }

    // Called first, on the thread of the caller. Set while nobody uses the store.
    std::function<void()> onLoad = [] {};
    std::function<void()> onSave = [] {};

private:
    mutable std::mutex m_mutex;
    std::map<std::pair<std::string, std::string>, std::string> m_secrets;
};

} // namespace tessarin::testing
