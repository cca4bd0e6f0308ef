#include "App/AppModel.h"

#include "Platform/Text.h"
#include "Services/ACPClient.h"

#include <algorithm>

namespace tessarin
{

void AppModel::respondToPermission(std::string optionID)
{
    if (!m_permissionRequest) {
        return;
    }
    const PermissionRequest request = *m_permissionRequest;
    const auto option
        = std::find_if(request.options.begin(), request.options.end(), [&](const PermissionOption& each) { return each.id == optionID; });
    if (const auto client = permissionClient()) {
        client->respondToPermission(request.id, std::move(optionID));
    }
    const bool stopsAsking
        = option != request.options.end() && option->kind == "allow_always" && contains(lowerCased(option->name), "always-approve");
    if (stopsAsking) {
        // The running client keeps its mode; the next one starts with this.
        recordPermissionMode(GrokPermissionMode::fullAccess);
    }
    clearPermissionRequest();
}

void AppModel::rejectPermission()
{
    if (!m_permissionRequest) {
        return;
    }
    // Option by option: what stands first wins, whichever of the two kinds it is.
    const auto& options = m_permissionRequest->options;
    const auto refusal = std::find_if(options.begin(), options.end(),
        [](const PermissionOption& each) { return each.kind == "reject_once" || each.kind == "reject_always"; });
    if (refusal != options.end()) {
        respondToPermission(refusal->id);
    } else if (m_permissionOwner == PermissionOwner::imagine) {
        cancelImagine();
    } else {
        stopWorking();
    }
}

// Told also when it looks like the one before it: another client may ask.
void AppModel::receivePermission(PermissionOwner owner, const std::weak_ptr<AgentClient>& asker, PermissionRequest request)
{
    m_permissionOwner = owner;
    m_permissionAsker = asker;
    m_permissionRequest = std::move(request);
    m_isPermissionTold = false;
    changed(ModelChange::Kind::permissionRequest);
}

void AppModel::forgetAsker(const std::weak_ptr<AgentClient>& client)
{
    if (m_permissionRequest && client.lock() == m_permissionAsker.lock()) {
        m_permissionAsker.reset();
        changed(ModelChange::Kind::permissionRequest);
    }
}

bool AppModel::isPermissionHeard() const
{
    const auto client = permissionClient();
    return m_permissionRequest && client && client == m_permissionAsker.lock();
}

AppSection AppModel::permissionSection() const
{
    return m_permissionOwner == PermissionOwner::imagine ? AppSection::imagine : AppSection::build;
}

std::shared_ptr<AgentClient> AppModel::permissionClient() const
{
    return m_permissionOwner == PermissionOwner::imagine ? m_imagineClient : m_client;
}

void AppModel::recordPermissionMode(GrokPermissionMode mode)
{
    publish(m_permissionMode, mode, ModelChange::Kind::modes);
    m_surroundings.preferences.setText(permissionModeKey, std::string(rawText(mode)));
}

void AppModel::setPermissionMode(GrokPermissionMode mode)
{
    if (!canChangePermissionMode() || mode == m_permissionMode) {
        return;
    }
    recordPermissionMode(mode);
    resetConnection();
    dropImagineClient();
    setImagineState(ConnectionState::Kind::idle);
    setImagineProgress({});
}

void AppModel::setRoutingMode(ProviderRoutingMode mode)
{
    if (!canChangeRoutingMode() || mode == m_routingMode) {
        return;
    }
    publish(m_routingMode, mode, ModelChange::Kind::modes);
    m_surroundings.preferences.setText(routingModeKey, std::string(rawText(mode)));
    resetConnection();
}

} // namespace tessarin
