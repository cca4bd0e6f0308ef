#include "App/RemoteSnapshotBuilder.h"

#include "App/AppModel.h"
#include "App/RemoteCommandRules.h"
#include "App/RemoteThreadRecord.h"

#include <algorithm>
#include <cassert>
#include <unordered_map>
#include <utility>

namespace tessarin
{

namespace
{

std::string_view statusText(const ConnectionState& state)
{
    switch (state.kind()) {
    case ConnectionState::Kind::idle:
        return "idle";
    case ConnectionState::Kind::connecting:
        return "connecting";
    case ConnectionState::Kind::ready:
        return "ready";
    case ConnectionState::Kind::working:
        return "working";
    case ConnectionState::Kind::failed:
        return "failed";
    }
    return {};
}

std::optional<RemotePermission> remotePermission(const std::optional<PermissionRequest>& request)
{
    if (!request) {
        return std::nullopt;
    }
    RemotePermission result{ request->id, request->title, request->detail, {} };
    for (const PermissionOption& option : request->options) {
        if (RemoteCommandRules::isOffered(option)) {
            result.options.push_back({ option.id, option.name, option.kind });
        }
    }
    return result;
}

std::vector<RemoteProviderUsage> remoteUsages(const std::map<AgentProvider, ProviderUsage>& usages)
{
    std::vector<RemoteProviderUsage> result;
    for (const auto& [provider, usage] : usages) {
        RemoteProviderUsage& row = result.emplace_back();
        row.provider = rawText(usage.provider);
        row.label = label(usage.provider);
        row.primaryUsedPercent = usage.primaryUsedPercent;
        row.secondaryUsedPercent = usage.secondaryUsedPercent;
        if (usage.resetsAt) {
            row.resetsAt = usage.resetsAt->secondsSince1970();
        }
        row.exhausted = usage.exhausted;
    }
    std::sort(result.begin(), result.end(), [](const auto& one, const auto& other) { return one.provider < other.provider; });
    return result;
}

std::vector<RemoteImagineItem> remoteItems(const std::vector<ImagineItem>& items)
{
    std::vector<RemoteImagineItem> result;
    result.reserve(items.size());
    for (const ImagineItem& item : items) {
        result.push_back(
            { item.id.text(), std::string(rawText(item.kind)), item.prompt, item.fileName, item.createdAt.secondsSince1970() });
    }
    return result;
}

std::optional<std::string> idText(const std::optional<Uuid>& id)
{
    return id ? std::optional(id->text()) : std::nullopt;
}

// In a debug build a change that was not noted is found at once, as long as the model holds little.
[[maybe_unused]] bool isSmall(const AppModel& model)
{
    std::size_t bytes = 0;
    for (const Workspace& workspace : model.workspaces()) {
        for (const ChatThread& thread : workspace.threads) {
            for (const ChatEntry& entry : thread.entries) {
                bytes += entry.text.size() + 100;
            }
        }
    }
    return bytes + model.imagineItems().size() * 100 < 1 << 17;
}

} // namespace

struct RemoteSnapshotBuilder::Implementation {
    std::unordered_map<Uuid, RemoteThreadRecord> threads;
    std::optional<Shared<std::vector<RemoteImagineItem>>> imagineItems; // absent when they have changed
    std::uint64_t round = 0;
    std::vector<Uuid> repeated; // ids that the tree holds more than once

    void noteEntries(const ModelChange& change, const AppModel& model);
    [[nodiscard]] RemoteSnapshot snapshot(const AppModel& model, std::string hostName, Instant now);
    [[nodiscard]] std::vector<RemoteWorkspace> workspaces(const std::vector<Workspace>& tree);
    [[nodiscard]] Shared<RemoteThread> thread(const ChatThread& thread);
};

void RemoteSnapshotBuilder::Implementation::noteEntries(const ModelChange& change, const AppModel& model)
{
    const auto known = model.selectedThreadID() ? threads.find(*model.selectedThreadID()) : threads.end();
    if (known == threads.end()) {
        return; // it is built whole when it comes up
    }
    if (change.kind == ModelChange::Kind::entriesReset) {
        known->second.noteAllRows();
    } else {
        known->second.noteRow(change.index);
    }
}

std::vector<RemoteWorkspace> RemoteSnapshotBuilder::Implementation::workspaces(const std::vector<Workspace>& tree)
{
    ++round;
    std::vector<RemoteWorkspace> result;
    result.reserve(tree.size());
    for (const Workspace& workspace : tree) {
        RemoteWorkspace& row = result.emplace_back(RemoteWorkspace{ workspace.id.text(), workspace.name, workspace.path, {} });
        row.threads.reserve(workspace.threads.size());
        for (const ChatThread& each : workspace.threads) {
            row.threads.push_back(thread(each));
        }
    }
    for (const Uuid& id : std::exchange(repeated, {})) {
        threads.erase(id);
    }
    std::erase_if(threads, [this](const auto& each) { return each.second.lastRound != round; });
    return result;
}

Shared<RemoteThread> RemoteSnapshotBuilder::Implementation::thread(const ChatThread& thread)
{
    RemoteThreadRecord& record = threads[thread.id];
    if (record.lastRound == round) {
        // A stored tree may hold one id twice. Nothing is kept of such tasks: what is kept of one would pass for the other.
        repeated.push_back(thread.id);
        return RemoteThreadRecord().update(thread);
    }
    record.lastRound = round;
    return record.update(thread);
}

RemoteSnapshot RemoteSnapshotBuilder::Implementation::snapshot(const AppModel& model, std::string hostName, Instant now)
{
    if (!imagineItems) {
        imagineItems.emplace(remoteItems(model.imagineItems()));
    }
    RemoteSnapshot result;
    result.hostName = std::move(hostName);
    result.generatedAt = now.secondsSince1970();
    result.connectionStatus = statusText(model.connectionState());
    result.connectionLabel = model.connectionLabel();
    result.selectedWorkspaceID = idText(model.selectedWorkspaceID());
    result.selectedThreadID = idText(model.selectedThreadID());
    result.workspaces = workspaces(model.workspaces());
    result.permission = remotePermission(model.permissionRequest());
    result.permissionMode = rawText(model.permissionMode());
    result.permissionModeLabel = label(model.permissionMode());
    result.providerMode = rawText(model.routingMode());
    result.providerModeLabel = label(model.routingMode());
    if (model.activeProvider()) {
        result.activeProvider = rawText(*model.activeProvider());
    }
    result.activeProviderLabel = model.activeProviderLabel();
    result.providerUsages = remoteUsages(model.providerUsage());
    result.imagineStatus = statusText(model.imagineState());
    result.imagineLabel = model.imagineProgress().empty() ? model.imagineState().label() : model.imagineProgress();
    result.imagineItems = *imagineItems;
    return result;
}

RemoteSnapshotBuilder::RemoteSnapshotBuilder() : m_implementation(std::make_unique<Implementation>()) { }

RemoteSnapshotBuilder::~RemoteSnapshotBuilder() = default;

void RemoteSnapshotBuilder::note(const ModelChange& change, const AppModel& model)
{
    switch (change.kind) {
    case ModelChange::Kind::imagineItems:
        m_implementation->imagineItems.reset();
        return;
    case ModelChange::Kind::entriesReset:
    case ModelChange::Kind::entryAppended:
    case ModelChange::Kind::entryTextAppended:
    case ModelChange::Kind::entryChanged:
        m_implementation->noteEntries(change, model);
        return;
    // The rest is small enough to be made anew each time.
    case ModelChange::Kind::workspaces:
    case ModelChange::Kind::selection:
    case ModelChange::Kind::connectionState:
    case ModelChange::Kind::plan:
    case ModelChange::Kind::permissionRequest:
    case ModelChange::Kind::errorMessage:
    case ModelChange::Kind::cliLog:
    case ModelChange::Kind::modes:
    case ModelChange::Kind::activeProvider:
    case ModelChange::Kind::providerUsage:
    case ModelChange::Kind::installStatus:
    case ModelChange::Kind::copiedCommand:
    case ModelChange::Kind::section:
    case ModelChange::Kind::remote:
    case ModelChange::Kind::imagineState:
    case ModelChange::Kind::imagineProgress:
        return;
    }
}

void RemoteSnapshotBuilder::forget()
{
    m_implementation = std::make_unique<Implementation>();
}

RemoteSnapshot RemoteSnapshotBuilder::build(const AppModel& model, std::string hostName, Instant now)
{
    RemoteSnapshot result = m_implementation->snapshot(model, std::move(hostName), now);
    assert(!isSmall(model) || result == Implementation().snapshot(model, result.hostName, now));
    return result;
}

} // namespace tessarin
