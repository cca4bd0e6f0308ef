#include "Views/DesktopPortal.h"

#include "Views/PathRequest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QUrl>

namespace tessarin
{

namespace
{

constexpr const char* settingsInterface = "org.freedesktop.portal.Settings";
constexpr const char* portalService = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";

// `Read` of the portal wraps its answer twice.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

DesktopPortal::DesktopPortal(QObject* parent) : QObject(parent) { }

void DesktopPortal::readSetting(const QString& group, const QString& key, SettingRead done)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!m_followsSettings) {
        m_followsSettings = bus.connect(QLatin1String(portalService), QLatin1String(portalPath), QLatin1String(settingsInterface),
            QStringLiteral("SettingChanged"), this, SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(portalService), QLatin1String(portalPath), QLatin1String(settingsInterface), QStringLiteral("Read"));
    call << group << key;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, done = std::move(done)] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        done(reply.isError() ? std::nullopt : std::optional(unwrapped(reply.value().variant())));
        watcher->deleteLater();
    });
}

void DesktopPortal::onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    emit settingChanged(group, key, unwrapped(value.variant()));
}

void DesktopPortal::choosePath(const PathDialog& dialog, std::function<void(PathAnswer)> done)
{
    auto* request = new PathRequest(dialog, std::move(done), this);
    request->askVersion();
}

void DesktopPortal::showInFileManager(const QString& path, std::function<void(bool)> done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{ QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) } << QString();
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, done = std::move(done)] {
        done(!watcher->isError());
        watcher->deleteLater();
    });
}

} // namespace tessarin
