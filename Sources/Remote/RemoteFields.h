#pragma once

#include "Remote/RemoteEnvelope.h"

#include <string_view>
#include <tuple>

namespace tessarin
{

// The fields of each record of the wire under their keys, in the order in which they are written. A reader and a writer walk the same list.
// An optional member is an optional field, all others are required.

template <class Record, class Value>
struct RemoteField {
    std::string_view key;
    Value Record::*member;
};
template <class Record, class Value>
RemoteField(const char*, Value Record::*) -> RemoteField<Record, Value>;

template <class Record>
struct RemoteFields;

template <>
struct RemoteFields<RemoteChatEntry> {
    using R = RemoteChatEntry;
    static constexpr std::tuple list{ RemoteField{ "id", &R::id }, RemoteField{ "kind", &R::kind }, RemoteField{ "text", &R::text },
        RemoteField{ "title", &R::title }, RemoteField{ "status", &R::status }, RemoteField{ "provider", &R::provider },
        RemoteField{ "createdAt", &R::createdAt } };
};

template <>
struct RemoteFields<RemoteThread> {
    using R = RemoteThread;
    static constexpr std::tuple list{ RemoteField{ "id", &R::id }, RemoteField{ "title", &R::title },
        RemoteField{ "sessionID", &R::sessionID }, RemoteField{ "createdAt", &R::createdAt }, RemoteField{ "updatedAt", &R::updatedAt },
        RemoteField{ "entries", &R::entries } };
};

template <>
struct RemoteFields<RemoteWorkspace> {
    using R = RemoteWorkspace;
    static constexpr std::tuple list{ RemoteField{ "id", &R::id }, RemoteField{ "name", &R::name }, RemoteField{ "path", &R::path },
        RemoteField{ "threads", &R::threads } };
};

template <>
struct RemoteFields<RemotePermissionOption> {
    using R = RemotePermissionOption;
    static constexpr std::tuple list{ RemoteField{ "id", &R::id }, RemoteField{ "name", &R::name }, RemoteField{ "kind", &R::kind } };
};

template <>
struct RemoteFields<RemotePermission> {
    using R = RemotePermission;
    static constexpr std::tuple list{ RemoteField{ "requestID", &R::requestID }, RemoteField{ "title", &R::title },
        RemoteField{ "detail", &R::detail }, RemoteField{ "options", &R::options } };
};

template <>
struct RemoteFields<RemoteProviderUsage> {
    using R = RemoteProviderUsage;
    static constexpr std::tuple list{ RemoteField{ "provider", &R::provider }, RemoteField{ "label", &R::label },
        RemoteField{ "primaryUsedPercent", &R::primaryUsedPercent }, RemoteField{ "secondaryUsedPercent", &R::secondaryUsedPercent },
        RemoteField{ "resetsAt", &R::resetsAt }, RemoteField{ "exhausted", &R::exhausted } };
};

template <>
struct RemoteFields<RemoteImagineItem> {
    using R = RemoteImagineItem;
    static constexpr std::tuple list{ RemoteField{ "id", &R::id }, RemoteField{ "kind", &R::kind }, RemoteField{ "prompt", &R::prompt },
        RemoteField{ "fileName", &R::fileName }, RemoteField{ "createdAt", &R::createdAt } };
};

template <>
struct RemoteFields<RemoteSnapshot> {
    using R = RemoteSnapshot;
    static constexpr std::tuple list{ RemoteField{ "hostName", &R::hostName }, RemoteField{ "generatedAt", &R::generatedAt },
        RemoteField{ "connectionStatus", &R::connectionStatus }, RemoteField{ "connectionLabel", &R::connectionLabel },
        RemoteField{ "selectedWorkspaceID", &R::selectedWorkspaceID }, RemoteField{ "selectedThreadID", &R::selectedThreadID },
        RemoteField{ "workspaces", &R::workspaces }, RemoteField{ "permission", &R::permission },
        RemoteField{ "permissionMode", &R::permissionMode }, RemoteField{ "permissionModeLabel", &R::permissionModeLabel },
        RemoteField{ "providerMode", &R::providerMode }, RemoteField{ "providerModeLabel", &R::providerModeLabel },
        RemoteField{ "activeProvider", &R::activeProvider }, RemoteField{ "activeProviderLabel", &R::activeProviderLabel },
        RemoteField{ "providerUsages", &R::providerUsages }, RemoteField{ "imagineStatus", &R::imagineStatus },
        RemoteField{ "imagineLabel", &R::imagineLabel }, RemoteField{ "imagineItems", &R::imagineItems } };
};

template <>
struct RemoteFields<RemoteEnvelope> {
    using R = RemoteEnvelope;
    static constexpr std::tuple list{ RemoteField{ "version", &R::version }, RemoteField{ "id", &R::id }, RemoteField{ "type", &R::type },
        RemoteField{ "workspaceID", &R::workspaceID }, RemoteField{ "threadID", &R::threadID }, RemoteField{ "requestID", &R::requestID },
        RemoteField{ "text", &R::text }, RemoteField{ "optionID", &R::optionID }, RemoteField{ "permissionMode", &R::permissionMode },
        RemoteField{ "providerMode", &R::providerMode }, RemoteField{ "mediaID", &R::mediaID }, RemoteField{ "mediaKind", &R::mediaKind },
        RemoteField{ "mimeType", &R::mimeType }, RemoteField{ "fileName", &R::fileName }, RemoteField{ "chunkIndex", &R::chunkIndex },
        RemoteField{ "chunkCount", &R::chunkCount }, RemoteField{ "data", &R::data }, RemoteField{ "snapshot", &R::snapshot } };
};

template <class Record>
concept RemoteRecord = requires
{
    RemoteFields<Record>::list;
};

} // namespace tessarin
