#pragma once

#include "Platform/SecretStore.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace tessarin::testing
{

// Secrets in memory. One that `takes` nothing is locked: it forgets what it is given.
class RecordingSecretStore final : public SecretStore
{
public:
    [[nodiscard]] std::optional<std::string> load(const std::string& service, const std::string& account) override
    {
        const std::lock_guard lock(m_mutex);
        const auto found = secrets.find({ service, account });
        return found == secrets.end() ? std::nullopt : std::optional(found->second);
    }
    void save(const std::string& service, const std::string& account, const std::string& secret) override
    {
        const std::lock_guard lock(m_mutex);
        ++saveCount;
        if (takes) {
            secrets[{ service, account }] = secret;
        }
    }

    // Touched by a test while nobody uses the store.
    std::map<std::pair<std::string, std::string>, std::string> secrets;
    bool takes = true;
    int saveCount = 0;

private:
    std::mutex m_mutex;
};

} // namespace tessarin::testing
