#pragma once

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// One button of the sheet in which an agent asks.
struct PermissionChoice {
    Q_GADGET
    QML_VALUE_TYPE(permissionChoice)
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(bool isDefault MEMBER isDefault)
public:
    QString id;
    QString name;
    bool isDefault = false;
    int arrival = 0; // of its request: the buttons of another one are others, however alike, so that no press goes on from one to the other
    bool operator==(const PermissionChoice&) const = default;
};

// One entry of the menu of the approval modes.
struct PermissionModeChoice {
    Q_GADGET
    QML_VALUE_TYPE(permissionModeChoice)
    Q_PROPERTY(int mode MEMBER mode)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString symbol MEMBER symbol)
    Q_PROPERTY(bool isCurrent MEMBER isCurrent)
    Q_PROPERTY(bool isFullAccess MEMBER isFullAccess)
public:
    int mode = 0; // a GrokPermissionMode
    QString title;
    QString symbol;
    bool isCurrent = false;
    bool isFullAccess = false;
    bool operator==(const PermissionModeChoice&) const = default;
};

} // namespace tessarin
