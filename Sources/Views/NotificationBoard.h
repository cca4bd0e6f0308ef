#pragma once

#include "Views/Notification.h"

#include <QObject>

namespace tessarin
{

// Where notifications are put up. Main thread only; nothing here waits.
class NotificationBoard : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Replaces the one of the same place.
    virtual void show(const Notification& notification) = 0;
    // Does nothing when none stands there.
    virtual void withdraw(const Notification::Place& place) = 0;
    // Before the program ends: nothing of ours is left standing.
    virtual void clear() = 0;

signals:
    // The person has clicked on it. `token` is the permission to come to the front, where the desktop gives one.
    void chosen(const tessarin::Notification::Place& place, const QString& token);
    // It stands no longer: the person or the desktop has put it away, or it could not be shown.
    void gone(const tessarin::Notification::Place& place);
};

} // namespace tessarin
