#pragma once

#include "Remote/Shared.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessarin
{

// What a device sees, as it travels: texts are the raw texts and ids of the model, dates are seconds since 1970. All are plain values.
// What changes seldom is shared between one snapshot and the next, so that a snapshot after one changed task costs that task.

struct RemoteChatEntry {
    std::string id;
    std::string kind;
    std::string text;
    std::optional<std::string> title;
    std::optional<std::string> status;
    std::optional<std::string> provider;
    double createdAt = 0;
    bool operator==(const RemoteChatEntry&) const = default;
};

struct RemoteThread {
    // Some entries one after another; where one ends and the next begins means nothing.
    using Run = Shared<std::vector<RemoteChatEntry>>;

    std::string id;
    std::string title;
    std::optional<std::string> sessionID;
    double createdAt = 0;
    double updatedAt = 0;
    std::vector<Run> entries;
    bool operator==(const RemoteThread& other) const; // by the entries, however they are cut into runs
};

struct RemoteWorkspace {
    std::string id;
    std::string name;
    std::string path;
    std::vector<Shared<RemoteThread>> threads;
    bool operator==(const RemoteWorkspace&) const = default;
};

struct RemotePermissionOption {
    std::string id;
    std::string name;
    std::string kind;
    bool operator==(const RemotePermissionOption&) const = default;
};

struct RemotePermission {
    std::int64_t requestID = 0;
    std::string title;
    std::string detail;
    std::vector<RemotePermissionOption> options; // those that a device may choose
    bool operator==(const RemotePermission&) const = default;
};

struct RemoteProviderUsage {
    std::string provider;
    std::string label;
    std::optional<double> primaryUsedPercent;
    std::optional<double> secondaryUsedPercent;
    std::optional<double> resetsAt;
    bool exhausted = false;
    bool operator==(const RemoteProviderUsage&) const = default;
};

struct RemoteImagineItem {
    std::string id;
    std::string kind;
    std::string prompt;
    std::string fileName;
    double createdAt = 0;
    bool operator==(const RemoteImagineItem&) const = default;
};

struct RemoteSnapshot {
    std::string hostName;
    double generatedAt = 0;
    std::string connectionStatus;
    std::string connectionLabel;
    std::optional<std::string> selectedWorkspaceID;
    std::optional<std::string> selectedThreadID;
    std::vector<RemoteWorkspace> workspaces;
    std::optional<RemotePermission> permission;
    std::string permissionMode;
    std::string permissionModeLabel;
    std::string providerMode;
    std::string providerModeLabel;
    std::optional<std::string> activeProvider;
    std::string activeProviderLabel;
    std::vector<RemoteProviderUsage> providerUsages;
    std::string imagineStatus;
    std::string imagineLabel;
    Shared<std::vector<RemoteImagineItem>> imagineItems;
    bool operator==(const RemoteSnapshot&) const = default;
};

} // namespace tessarin
