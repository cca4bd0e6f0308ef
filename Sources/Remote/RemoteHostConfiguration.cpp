#include "Remote/RemoteHostConfiguration.h"

#include "Platform/BackgroundWork.h"
#include "Platform/PercentEncoding.h"
#include "Platform/Text.h"
#include "Remote/RemoteCrypto.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tessarin::RemoteHostConfiguration
{

namespace
{

bool isKey(const std::optional<std::string>& bytes)
{
    return bytes && bytes->size() == RemoteCrypto::keyByteCount;
}

std::optional<Secret> makeSecret(bool replacesPreference)
{
    auto key = RemoteCrypto::makeKey();
    return key ? std::optional(Secret{ std::move(key).value(), replacesPreference }) : std::nullopt;
}

// A key that can't be stored lives as long as the program runs.
bool save(const Secret& secret, SecretStore& secrets)
{
    return secrets.save(secretService, secretAccount, secret.bytes);
}

bool isLoopback(const InterfaceAddress& address)
{
    return address.name == "lo" || address.name == "lo0";
}

bool isEthernetOrWireless(const InterfaceAddress& address)
{
    constexpr std::array<std::string_view, 3> beginnings = { "en", "eth", "wl" };
    return std::ranges::any_of(beginnings, [&](std::string_view beginning) { return address.name.starts_with(beginning); });
}

// What the query of a URL may hold as it is (RFC 3986, 3.4), without what its readers give a meaning: "&", "=", ";", and "+", which
// many take for a blank.
std::string queryValue(std::string_view text)
{
    return percentEncoded(text, "-._~!$'()*,/:?@");
}

} // namespace

std::optional<Secret> loadOrCreateSecret(SecretStore& secrets, const Preferences::BytesReader& preference)
{
    if (auto stored = secrets.load(secretService, secretAccount); isKey(stored)) {
        return Secret{ std::move(*stored) };
    }
    // The store may only have been given up because the program ends: a new key would replace the one that is there.
    if (isBackgroundWorkEnding()) {
        return std::nullopt;
    }
    // One that can't be read is passed over like one that is not there: it stays where it is.
    if (auto read = preference(); read && isKey(read.value())) {
        Secret secret{ *read.value(), true };
        save(secret, secrets);
        return secret;
    }
    auto made = makeSecret(false);
    if (made) {
        save(*made, secrets);
    }
    return made;
}

std::optional<Secret> rotateSecret(SecretStore& secrets)
{
    auto made = makeSecret(true);
    // The key of before must not come back in place of one that can't be stored.
    if (made && !save(*made, secrets)) {
        secrets.remove(secretService, secretAccount);
    }
    return made;
}

std::string suggestedAddress(const std::vector<InterfaceAddress>& addresses)
{
    // Whatever begins so is taken for an address of Tailscale, by which the computer is reached from anywhere.
    constexpr std::string_view tailscale = "100.";
    std::vector<InterfaceAddress> candidates;
    std::ranges::copy_if(addresses, std::back_inserter(candidates), [](const InterfaceAddress& address) { return !isLoopback(address); });
    auto best = std::ranges::find_if(candidates, [&](const InterfaceAddress& each) { return each.address.starts_with(tailscale); });
    if (best == candidates.end()) {
        best = std::ranges::find(candidates, "en0", &InterfaceAddress::name);
    }
    if (best == candidates.end()) {
        // Before the first: bridges of containers come first on many computers, and lead nowhere.
        best = std::ranges::find_if(candidates, isEthernetOrWireless);
    }
    if (best == candidates.end()) {
        best = candidates.begin();
    }
    return best == candidates.end() ? "127.0.0.1" : best->address;
}

std::string suggestedAddress()
{
    return suggestedAddress(interfaceAddresses());
}

std::optional<std::string> pairingURL(std::string_view host, std::uint16_t port, std::string_view secret, std::string_view computerName)
{
    if (!isValidUtf8(host) || !isValidUtf8(computerName)) {
        return std::nullopt;
    }
    return "tessarin://pair?host=" + queryValue(host) + "&port=" + std::to_string(port) + "&key=" + RemoteCrypto::base64URL(secret)
        + "&name=" + queryValue(computerName);
}

} // namespace tessarin::RemoteHostConfiguration
