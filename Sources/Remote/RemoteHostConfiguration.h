#pragma once

#include "Platform/NetworkInterfaces.h"
#include "Platform/Preferences.h"
#include "Platform/SecretStore.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Where the one key of the remote host lives, and how a device gets it.
namespace RemoteHostConfiguration
{

inline constexpr const char* enabledKey = "remoteHostEnabled.v1";
inline constexpr const char* secretKey = "remoteHostSecret.v1"; // where versions of old kept the key
inline constexpr const char* advertisedHostKey = "remoteAdvertisedHost.v1";

// The key in the secret store. The service keeps the word of an older product on purpose, so that a key stored then is found.
inline constexpr const char* secretService = "com.local.Ombrelan.remote";
inline constexpr const char* secretAccount = "pairing-secret";

struct Secret {
    std::string bytes;
    // The preferences' own copy is of no more use: the caller removes `secretKey` there, on the main thread.
    bool replacesPreference = false;
};
// The stored key, else the one of the preferences, which moves to the store, else a new one, which is stored. What is not exactly 32
// bytes is not used. Absent when the system has no random bytes. Waits for stores; any thread but the main one.
[[nodiscard]] std::optional<Secret> loadOrCreateSecret(SecretStore& secrets, const Preferences::BytesReader& preference);
// A new key, which is stored.
[[nodiscard]] std::optional<Secret> rotateSecret(SecretStore& secrets);

// The address that a device had best be told: the first that begins with "100.", else that of en0, else of the first interface that is
// named like Ethernet or wireless, else the first, else "127.0.0.1". The loopback interface is passed over.
[[nodiscard]] std::string suggestedAddress(const std::vector<InterfaceAddress>& addresses);
[[nodiscard]] std::string suggestedAddress(); // of this machine

// The link by which a device is paired. A secret: whoever has it is paired.
[[nodiscard]] std::optional<std::string> pairingURL(
    std::string_view host, std::uint16_t port, std::string_view secret, std::string_view computerName);

} // namespace RemoteHostConfiguration

} // namespace tessarin
