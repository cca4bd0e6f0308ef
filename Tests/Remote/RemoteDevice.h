#pragma once

#include "../Platform/TcpClient.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteEnvelope.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// A message as it travels from a device that has the key.
inline std::string sealedMessage(const RemoteEnvelope& envelope, std::string_view key)
{
    const auto json = RemoteEncoder().encode(envelope, RemoteCrypto::maximumPlaintextSize);
    const auto frame = json ? RemoteCrypto::seal(*json, key) : RemoteCrypto::seal("", key);
    return frame ? frame.value() : std::string();
}

inline RemoteEnvelope messageOf(std::string_view type, std::optional<std::string> text = std::nullopt)
{
    RemoteEnvelope envelope;
    envelope.type = type;
    envelope.text = std::move(text);
    return envelope;
}

// A device as it is paired, which waits for what it is sent.
struct RemoteDevice {
    RemoteDevice(std::uint16_t port, std::string keyData, const char* address = "127.0.0.1", int receiveByteLimit = 0)
        : client(port, address, receiveByteLimit), key(std::move(keyData))
    {
    }

    bool send(const RemoteEnvelope& envelope) const { return client.send(sealedMessage(envelope, key)); }

    // The next frame as it came; absent when there is no more.
    [[nodiscard]] std::optional<std::string> receiveFrame() const
    {
        auto header = client.receive(RemoteCrypto::lengthByteCount);
        const auto length = RemoteCrypto::frameLength(header.value_or(""));
        const auto payload = length ? client.receive(length.value()) : std::nullopt;
        return payload ? std::optional(*header + *payload) : std::nullopt;
    }

    // The next message; absent when there is no more, or it does not open.
    [[nodiscard]] std::optional<RemoteEnvelope> receive() const
    {
        const auto frame = receiveFrame();
        const auto plaintext = RemoteCrypto::open(std::string_view(frame.value_or("....")).substr(4), key);
        return plaintext ? decodeRemoteEnvelope(plaintext.value()) : std::nullopt;
    }

    // The text of the next message that is an error; those between are passed over.
    [[nodiscard]] std::string receiveError() const
    {
        auto envelope = receive();
        while (envelope && envelope->type != RemoteMessageType::error) {
            envelope = receive();
        }
        return envelope && envelope->text ? *envelope->text : "nothing";
    }

    TcpClient client;
    std::string key;
};

} // namespace tessarin
