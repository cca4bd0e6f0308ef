#pragma once

#include "Platform/Desktop.h"
#include "Platform/SecretStore.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace tessarin
{

// What stands for the world around a model that is measured without its window.

class NoDesktop final : public Desktop
{
    void chooseFolder(const FolderQuestion&, std::function<void(std::optional<std::string>)> done) override { done(std::nullopt); }
    void chooseFile(const FileQuestion&, std::function<void(std::optional<std::string>)> done) override { done(std::nullopt); }
    void reveal(const std::string&) override { }
    void open(const std::string&) override { }
    void moveToTrash(const std::string&) override { }
    void copyToPasteboard(const std::string&) override { }
    void copySecretToPasteboard(const std::string&) override { }
    void openTerminal(std::function<void(bool wasOpened)> done) override { done(false); }
};

// One secret, whoever asks.
class OneSecret final : public SecretStore
{
public:
    [[nodiscard]] std::optional<std::string> load(const std::string&, const std::string&) override
    {
        const std::lock_guard lock(m_mutex);
        return m_secret;
    }
    bool save(const std::string&, const std::string&, const std::string& secret) override
    {
        const std::lock_guard lock(m_mutex);
        m_secret = secret;
        return true;
    }
    void remove(const std::string&, const std::string&) override
    {
        const std::lock_guard lock(m_mutex);
        m_secret.reset();
    }

private:
    std::mutex m_mutex;
    std::optional<std::string> m_secret;
};

} // namespace tessarin
