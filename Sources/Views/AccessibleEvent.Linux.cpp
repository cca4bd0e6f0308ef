#include "Views/AccessibleEvent.h"

#include <QAccessible>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace tessarin
{

namespace
{

// An object on the bus: who has it, and where.
struct Reference {
    QString service;
    QDBusObjectPath path;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Reference& reference)
{
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Reference& reference)
{
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

} // namespace

// The connection and the paths are Qt's own, so that the event comes from the object that the reader knows.
void AccessibleEvent::tellState(QObject& object, const char* state, bool isSet)
{
    const QDBusConnection bus(QStringLiteral("a11y"));
    QAccessibleInterface* interface = QAccessible::isActive() ? QAccessible::queryAccessibleInterface(&object) : nullptr;
    if (interface == nullptr || !bus.isConnected()) {
        return;
    }
    qDBusRegisterMetaType<Reference>();
    const QString root = QStringLiteral("/org/a11y/atspi/accessible/");
    QDBusMessage event = QDBusMessage::createSignal(root + QString::number(QAccessible::uniqueId(interface)),
        QStringLiteral("org.a11y.atspi.Event.Object"), QStringLiteral("StateChanged"));
    const Reference program{ bus.baseService(), QDBusObjectPath(root + QStringLiteral("root")) };
    event << QString::fromLatin1(state) << int(isSet) << 0 << QVariant::fromValue(QDBusVariant(0)) << QVariant::fromValue(program);
    bus.send(event);
}

} // namespace tessarin
