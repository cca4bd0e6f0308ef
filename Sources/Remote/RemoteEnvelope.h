#pragma once

#include "Platform/Uuid.h"
#include "Remote/RemoteSnapshot.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin
{

// The texts of RemoteEnvelope::type. Not a closed set: a device may send anything.
namespace RemoteMessageType
{
// From a device.
inline constexpr std::string_view hello = "hello";
inline constexpr std::string_view refresh = "refresh";
inline constexpr std::string_view selectThread = "select_thread";
inline constexpr std::string_view newThread = "new_thread";
inline constexpr std::string_view prompt = "prompt";
inline constexpr std::string_view cancel = "cancel";
inline constexpr std::string_view permissionResponse = "permission_response";
inline constexpr std::string_view setPermissionMode = "set_permission_mode";
inline constexpr std::string_view setProviderMode = "set_provider_mode";
inline constexpr std::string_view imagineGenerate = "imagine_generate";
inline constexpr std::string_view mediaRequest = "media_request";
// From the host.
inline constexpr std::string_view snapshot = "snapshot";
inline constexpr std::string_view mediaChunk = "media_chunk";
inline constexpr std::string_view error = "error";
} // namespace RemoteMessageType

// One message of either direction. `type` says what it is and which of the optional fields mean anything.
struct RemoteEnvelope {
    static constexpr std::int64_t currentVersion = 1;

    std::int64_t version = currentVersion;
    std::string id = Uuid::random().text(); // the receiver drops repeats
    std::string type;
    std::optional<std::string> workspaceID;
    std::optional<std::string> threadID;
    std::optional<std::int64_t> requestID;
    std::optional<std::string> text;
    std::optional<std::string> optionID;
    std::optional<std::string> permissionMode;
    std::optional<std::string> providerMode;
    std::optional<std::string> mediaID;
    std::optional<std::string> mediaKind;
    std::optional<std::string> mimeType;
    std::optional<std::string> fileName;
    std::optional<std::int64_t> chunkIndex; // from 0
    std::optional<std::int64_t> chunkCount;
    std::optional<std::string> data; // Base64 with padding
    std::optional<Shared<RemoteSnapshot>> snapshot;
    bool operator==(const RemoteEnvelope&) const = default;

    // Named after what they make; each with an id of its own.
    [[nodiscard]] static RemoteEnvelope makeSnapshot(RemoteSnapshot snapshot);
    [[nodiscard]] static RemoteEnvelope makeError(std::string text);
};

} // namespace tessarin
