#include "Views/DesktopNotifications.h"

namespace tessarin
{

// Notifications of macOS need a signed bundle and its UserNotifications framework. Until there is one nothing is shown, and whatever is
// to be shown is gone at once.

DesktopNotifications::DesktopNotifications(QObject* parent) : NotificationBoard(parent) { }

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::show(const Notification& notification)
{
    QMetaObject::invokeMethod(
        this, [this, place = notification.place] { emit gone(place); }, Qt::QueuedConnection);
}

void DesktopNotifications::withdraw(const Notification::Place&) { }

void DesktopNotifications::clear() { }

} // namespace tessarin
