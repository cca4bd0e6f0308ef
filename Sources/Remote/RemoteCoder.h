#pragma once

#include "Platform/Files.h"
#include "Remote/RemoteEnvelope.h"

#include <memory>
#include <optional>
#include <string_view>

namespace tessarin
{

// Reads one message. Absent for what is no JSON object, lacks a required key, or has a value of another type under a known key, at any
// depth; a null stands for an absent optional field, unknown keys are passed over. Any thread.
[[nodiscard]] std::optional<RemoteEnvelope> decodeRemoteEnvelope(std::string_view json);

// Writes messages. Keeps the bytes of what the last snapshot shared, so that the next one encodes what is new in it and copies the rest.
// One thread at a time.
class RemoteEncoder
{
public:
    RemoteEncoder();
    ~RemoteEncoder();
    RemoteEncoder(const RemoteEncoder&) = delete;
    RemoteEncoder& operator=(const RemoteEncoder&) = delete;

    // Absent for a number that is not finite, and for a message of more than `byteLimit` bytes, which is given up as soon as that shows.
    [[nodiscard]] std::optional<ByteRope> encode(const RemoteEnvelope& envelope, std::size_t byteLimit);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
