#include "App/AppModel.h"

#include "App/RemoteCommandRules.h"
#include "Platform/BackgroundWork.h"
#include "Platform/Text.h"

#include <algorithm>
#include <array>
#include <utility>

// The remote host: the key and the server, what goes to the devices, and what comes from them. What a device may do is decided by
// RemoteCommandRules.

namespace tessarin
{

namespace
{

// So long nothing must have changed before the devices are told.
constexpr std::chrono::milliseconds quietTime{ 80 };

} // namespace

void AppModel::configureRemoteHost()
{
    const std::weak_ptr<AppModel> weak = weak_from_this();
    m_remoteHost.onStateChange = [weak](const RemoteHostState& state) {
        if (const auto model = weak.lock()) {
            model->publish(model->m_remoteHostState, state, ModelChange::Kind::remote);
        }
    };
    m_remoteHost.onClientCountChange = [weak](std::size_t count) {
        if (const auto model = weak.lock()) {
            model->publish(model->m_remoteClientCount, count, ModelChange::Kind::remote);
        }
    };
    m_remoteHost.onMessage = [weak](const RemoteEnvelope& message) {
        if (const auto model = weak.lock()) {
            model->handleRemote(message);
        }
    };
    m_remoteObservers.push_back(observe([weak](const ModelChange& change) {
        if (const auto model = weak.lock()) {
            model->m_remoteSnapshots.note(change, *model);
            model->broadcastRemoteSnapshotSoon();
        }
    }));
    if (m_remoteEnabled) {
        publish(m_remoteHostState, RemoteHostState::starting(), ModelChange::Kind::remote);
    }
}

void AppModel::loadRemoteSecret()
{
    SecretStore& secrets = m_surroundings.remote.secrets;
    askForRemoteSecret([&secrets, preference = m_surroundings.preferences.bytesReader(RemoteHostConfiguration::secretKey)] {
        return RemoteHostConfiguration::loadOrCreateSecret(secrets, preference);
    });
}

void AppModel::rotateRemoteSecret()
{
    SecretStore& secrets = m_surroundings.remote.secrets;
    askForRemoteSecret([&secrets] { return RemoteHostConfiguration::rotateSecret(secrets); });
}

// One at a time: two at once might leave one key in the store and another one here. The computer's name, which stands in files too, is read
// on the way.
void AppModel::askForRemoteSecret(std::function<RemoteSecret()> source)
{
    m_isRemoteSecretDue = true;
    runInBackground(
        [weak = weak_from_this(), &mainThread = m_surroundings.mainThread, source = std::move(source),
            computerName = m_surroundings.remote.computerName] { deliverRemoteSecret(weak, mainThread, source(), computerName()); });
}

void AppModel::deliverRemoteSecret(
    const std::weak_ptr<AppModel>& weak, MainThread& mainThread, RemoteSecret secret, std::optional<std::string> computerName)
{
    mainThread.post([weak, secret = std::move(secret), computerName = std::move(computerName)] {
        if (const auto model = weak.lock()) {
            model->m_computerName = computerName;
            model->takeRemoteSecret(secret);
        }
    });
}

void AppModel::takeRemoteSecret(const RemoteSecret& secret)
{
    m_isRemoteSecretDue = false;
    if (secret && secret->replacesPreference) {
        m_surroundings.preferences.remove(RemoteHostConfiguration::secretKey);
    }
    if (std::exchange(m_isRemoteRotationDue, false)) {
        return rotateRemoteSecret(); // this key is past already
    }
    publish(m_remoteSecret, secret ? std::optional(secret->bytes) : std::nullopt, ModelChange::Kind::remote);
    if (m_remoteEnabled) {
        startRemoteHost();
    }
}

// Without a key the host says that it has none.
void AppModel::startRemoteHost()
{
    m_remoteHost.start(m_remoteSecret.value_or(std::string()), m_surroundings.remote.port);
    broadcastRemoteSnapshot();
}

void AppModel::setRemoteEnabled(bool isEnabled)
{
    publish(m_remoteEnabled, isEnabled, ModelChange::Kind::remote);
    m_surroundings.preferences.setBoolean(RemoteHostConfiguration::enabledKey, isEnabled);
    if (!isEnabled) {
        m_remoteHost.stop();
        m_remoteSnapshots.forget();
    } else if (m_isRemoteSecretDue) {
        // Nobody gets in by a key that is being replaced.
        publish(m_remoteHostState, RemoteHostState::starting(), ModelChange::Kind::remote);
    } else {
        startRemoteHost();
    }
}

void AppModel::updateRemoteAdvertisedHost(const std::string& text)
{
    std::string host(trimmed(text));
    if (host.empty()) {
        host = m_surroundings.remote.suggestedAddress();
    }
    publish(m_remoteAdvertisedHost, host, ModelChange::Kind::remote);
    m_surroundings.preferences.setText(RemoteHostConfiguration::advertisedHostKey, std::move(host));
}

std::optional<std::string> AppModel::remotePairingURL() const
{
    if (!m_remoteSecret) {
        return std::nullopt;
    }
    return RemoteHostConfiguration::pairingURL(
        m_remoteAdvertisedHost, m_surroundings.remote.port, *m_remoteSecret, m_computerName.value_or("My Mac"));
}

void AppModel::copyPairingLink()
{
    if (const auto link = remotePairingURL()) {
        m_surroundings.desktop.copySecretToPasteboard(*link);
    }
}

void AppModel::rotateRemoteAccessKey()
{
    m_remoteHost.stop();
    if (m_remoteEnabled) {
        publish(m_remoteHostState, RemoteHostState::starting(), ModelChange::Kind::remote);
    }
    if (m_isRemoteSecretDue) {
        m_isRemoteRotationDue = true;
    } else {
        rotateRemoteSecret();
    }
}

void AppModel::broadcastRemoteSnapshot()
{
    if (!m_remoteEnabled) {
        return;
    }
    m_remoteHost.update(m_remoteSnapshots.build(*this, m_computerName.value_or("localhost"), m_surroundings.now()));
    m_isPermissionTold = m_permissionRequest.has_value();
}

void AppModel::broadcastRemoteSnapshotSoon()
{
    if (m_remoteSnapshotDelay) {
        m_surroundings.mainThread.cancelDelayed(*m_remoteSnapshotDelay);
        m_remoteSnapshotDelay.reset();
    }
    if (!m_remoteEnabled) {
        return; // nothing wakes a program that no device watches
    }
    m_remoteSnapshotDelay = m_surroundings.mainThread.postDelayed(quietTime, [weak = weak_from_this()] {
        if (const auto model = weak.lock()) {
            model->m_remoteSnapshotDelay.reset();
            model->broadcastRemoteSnapshot();
        }
    });
}

void AppModel::handleRemote(const RemoteEnvelope& message)
{
    namespace Type = RemoteMessageType;
    if (message.type == Type::hello || message.type == Type::refresh) {
        broadcastRemoteSnapshot();
    } else if (message.type == Type::selectThread) {
        selectRemoteThread(message);
    } else if (message.type == Type::newThread) {
        newThread(RemoteCommandRules::uuid(message.workspaceID));
    } else if (message.type == Type::prompt) {
        promptFromRemote(message);
    } else if (message.type == Type::cancel) {
        cancelFromRemote(message);
    } else if (message.type == Type::permissionResponse) {
        respondFromRemote(message);
    } else if (message.type == Type::setPermissionMode) {
        setPermissionModeFromRemote(message);
    } else if (message.type == Type::setProviderMode) {
        setProviderModeFromRemote(message);
    } else if (message.type == Type::imagineGenerate) {
        generateFromRemote(message);
    } else if (message.type == Type::mediaRequest) {
        sendRemoteMedia(message);
    }
}

void AppModel::selectRemoteThread(const RemoteEnvelope& message)
{
    const auto workspaceID = RemoteCommandRules::uuid(message.workspaceID);
    const auto threadID = RemoteCommandRules::uuid(message.threadID);
    if (workspaceID && threadID) {
        selectThread(*threadID, *workspaceID);
    }
}

// The view at the computer follows the device.
void AppModel::promptFromRemote(const RemoteEnvelope& message)
{
    const auto workspaceID = RemoteCommandRules::uuid(message.workspaceID);
    const auto threadID = RemoteCommandRules::uuid(message.threadID);
    if (workspaceID && threadID && message.text) {
        selectThread(*threadID, *workspaceID);
        send(*message.text);
    }
}

void AppModel::cancelFromRemote(const RemoteEnvelope& message)
{
    switch (RemoteCommandRules::cancelTarget(message, m_selectedThreadID)) {
    case RemoteCommandRules::CancelTarget::imagine:
        return cancelImagine();
    case RemoteCommandRules::CancelTarget::agent:
        return stopWorking();
    case RemoteCommandRules::CancelTarget::nothing:
        return;
    }
}

// The next question may have the number of the one before, of another agent or a restarted one: what comes before devices have been told of
// it answers an older one.
void AppModel::respondFromRemote(const RemoteEnvelope& message)
{
    if (!m_isPermissionTold) {
        return;
    }
    if (auto option = RemoteCommandRules::chosenOption(message, m_permissionRequest)) {
        respondToPermission(std::move(*option));
    }
}

void AppModel::setPermissionModeFromRemote(const RemoteEnvelope& message)
{
    const auto verdict = RemoteCommandRules::judgePermissionMode(message, canChangePermissionMode());
    if (const auto* mode = std::get_if<GrokPermissionMode>(&verdict)) {
        setPermissionMode(*mode);
    } else if (const auto* refused = std::get_if<RemoteCommandRules::Refused>(&verdict)) {
        m_remoteHost.send(RemoteEnvelope::makeError(std::string(refused->text)));
    }
}

void AppModel::setProviderModeFromRemote(const RemoteEnvelope& message)
{
    const auto verdict = RemoteCommandRules::judgeProviderMode(message, canChangeRoutingMode());
    if (const auto* mode = std::get_if<ProviderRoutingMode>(&verdict)) {
        setRoutingMode(*mode);
    } else if (const auto* refused = std::get_if<RemoteCommandRules::Refused>(&verdict)) {
        m_remoteHost.send(RemoteEnvelope::makeError(std::string(refused->text)));
    }
}

void AppModel::generateFromRemote(const RemoteEnvelope& message)
{
    const auto kind = imagineKindFromRawText(message.mediaKind.value_or(""));
    if (message.text && kind) {
        setSelectedSection(AppSection::imagine);
        generateImagine(*message.text, *kind);
    }
}

void AppModel::sendRemoteMedia(const RemoteEnvelope& message)
{
    const auto id = RemoteCommandRules::uuid(message.mediaID);
    const auto item = std::find_if(m_imagineItems.begin(), m_imagineItems.end(), [&](const ImagineItem& each) { return each.id == id; });
    if (item != m_imagineItems.end()) {
        m_remoteHost.sendMedia({ item->id.text(), std::string(rawText(item->kind)), item->localPath, item->fileName });
    }
}

} // namespace tessarin
