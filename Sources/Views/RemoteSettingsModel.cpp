#include "Views/RemoteSettingsModel.h"

#include "App/AppModel.h"
#include "Views/RemoteSettingsRules.h"

#include <utility>

namespace tessarin
{

void RemoteSettingsModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    read();
}

void RemoteSettingsModel::note(const ModelChange& change)
{
    if (change.kind == ModelChange::Kind::remote) {
        read();
    }
}

void RemoteSettingsModel::read()
{
    const RemoteHostState& state = m_model->remoteHostState();
    m_isEnabled = m_model->remoteEnabled();
    m_stateLabel = QString::fromStdString(state.label());
    m_stateTint = RemoteSettingsRules::stateTint(state);
    m_failureText = QString::fromStdString(state.failureText());
    m_connectedText = RemoteSettingsRules::connectedText(m_model->remoteClientCount());
    m_address = QString::fromStdString(m_model->remoteAdvertisedHost());
    m_pairingLink = QString::fromStdString(m_model->remotePairingURL().value_or(""));
    emit changed();
}

void RemoteSettingsModel::setEnabled(bool isEnabled)
{
    m_model->setRemoteEnabled(isEnabled);
}

void RemoteSettingsModel::setAddress(const QString& address)
{
    m_model->updateRemoteAdvertisedHost(address.toStdString());
}

void RemoteSettingsModel::copyPairingLink()
{
    m_model->copyPairingLink();
}

void RemoteSettingsModel::rotateAccessKey()
{
    m_model->rotateRemoteAccessKey();
}

} // namespace tessarin
