#pragma once

#include "App/ModelChange.h"
#include "Views/Tint.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// The remote host in the settings: whether it is on, how it is, and the link by which a device is paired. Main thread only; owned by
// WindowModel.
class RemoteSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its model of the remote host")
    Q_PROPERTY(bool isEnabled MEMBER m_isEnabled NOTIFY changed)
    Q_PROPERTY(QString stateLabel MEMBER m_stateLabel NOTIFY changed)
    Q_PROPERTY(tessarin::Tint::Value stateTint MEMBER m_stateTint NOTIFY changed)
    Q_PROPERTY(QString failureText MEMBER m_failureText NOTIFY changed) // what a person can do about it; empty unless it has failed
    Q_PROPERTY(QString connectedText MEMBER m_connectedText NOTIFY changed) // empty without a device
    Q_PROPERTY(QString address MEMBER m_address NOTIFY changed)
    Q_PROPERTY(QString pairingLink MEMBER m_pairingLink NOTIFY changed) // a secret; empty before the key is known
public:
    using QObject::QObject;

    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

    Q_INVOKABLE void setEnabled(bool isEnabled);
    // As it is typed. Blank text stands for the suggested address.
    Q_INVOKABLE void setAddress(const QString& address);
    Q_INVOKABLE void copyPairingLink();
    Q_INVOKABLE void rotateAccessKey();

signals:
    void changed();

private:
    void read();

    std::shared_ptr<AppModel> m_model;
    bool m_isEnabled = false;
    QString m_stateLabel;
    Tint::Value m_stateTint = Tint::Secondary;
    QString m_failureText;
    QString m_connectedText;
    QString m_address;
    QString m_pairingLink;
};

} // namespace tessarin
