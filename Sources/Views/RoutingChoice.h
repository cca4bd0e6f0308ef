#pragma once

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

namespace tessarin
{

// One entry of the routing menu.
struct RoutingChoice {
    Q_GADGET
    QML_VALUE_TYPE(routingChoice)
    Q_PROPERTY(int mode MEMBER mode)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString symbol MEMBER symbol)
    Q_PROPERTY(bool isCurrent MEMBER isCurrent)
public:
    int mode = 0; // a ProviderRoutingMode
    QString title;
    QString symbol;
    bool isCurrent = false;
    bool operator==(const RoutingChoice&) const = default;
};

} // namespace tessarin
