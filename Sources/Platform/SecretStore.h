#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// Small secrets of the person, found by service and account, kept on this machine alone. Any thread; a call waits for the store, so it
// belongs on a background thread. No call ever asks the person for anything: what could only be read or written after a question counts
// as not there.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    [[nodiscard]] virtual std::optional<std::string> load(const std::string& service, const std::string& account) = 0;
    // Replaces the secret, or adds it. False when it could not be stored.
    virtual bool save(const std::string& service, const std::string& account, const std::string& secret) = 0;
    // Removes the secret from wherever that needs no question.
    virtual void remove(const std::string& service, const std::string& account) = 0;
};

// The store of this system: the Secret Service on Linux, and where there is none to talk to a file of mode 0600 for each secret,
// `<service>.<account>` in `folder`, which is made with mode 0700. The Keychain on macOS.
[[nodiscard]] std::unique_ptr<SecretStore> makeSystemSecretStore(std::string folder);

} // namespace tessarin
