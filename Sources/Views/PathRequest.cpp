#include "Views/PathRequest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QRandomGenerator>
#include <QUrl>

namespace tessarin
{

namespace
{

constexpr const char* portalService = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* chooserInterface = "org.freedesktop.portal.FileChooser";
constexpr int patience = 2000; // milliseconds
constexpr uint versionWithFolders = 3;
constexpr uint versionWithFiles = 1;

QDBusMessage portalCall(const char* interface, const char* method)
{
    return QDBusMessage::createMethodCall(
        QLatin1String(portalService), QLatin1String(portalPath), QLatin1String(interface), QLatin1String(method));
}

} // namespace

PathRequest::PathRequest(DesktopPortal::PathDialog dialog, std::function<void(DesktopPortal::PathAnswer)> done, QObject* parent)
    : QObject(parent), m_dialog(std::move(dialog)), m_done(std::move(done))
{
}

// A portal that knows no folders would let the person choose a file. One that is silent is not waited for as long as the bus would: the
// person has pressed a button. It has been running since the window asked it for light and dark.
void PathRequest::askVersion()
{
    QDBusMessage call = portalCall("org.freedesktop.DBus.Properties", "Get");
    call << QLatin1String(chooserInterface) << QStringLiteral("version");
    const uint needed = m_dialog.kind == DesktopPortal::PathDialog::Kind::folder ? versionWithFolders : versionWithFiles;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, patience), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, needed] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isError() || reply.value().variant().toUInt() < needed) {
            finish({});
        } else {
            open();
        }
    });
}

// Nobody else would tell that a dialog is gone with it.
void PathRequest::watchPortal()
{
    auto* watcher = new QDBusServiceWatcher(
        QLatin1String(portalService), QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { finish({ true, std::nullopt }); });
}

void PathRequest::open()
{
    const QString token = QStringLiteral("tessarin%1").arg(QRandomGenerator::global()->generate());
    QDBusConnection bus = QDBusConnection::sessionBus();
    QString sender = bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    watchPortal();
    // Listened for before the call, so that no answer comes too early.
    follow(QDBusObjectPath(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token)));
    QDBusMessage call = portalCall(chooserInterface, "OpenFile");
    call << m_dialog.parent << m_dialog.title
         << QVariantMap{ { QStringLiteral("directory"), m_dialog.kind == DesktopPortal::PathDialog::Kind::folder },
                { QStringLiteral("modal"), true }, { QStringLiteral("accept_label"), m_dialog.acceptLabel },
                { QStringLiteral("handle_token"), token } };
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            finish({});
        } else if (reply.value().path() != m_path) {
            follow(reply.value()); // portals before 0.9 choose the path themselves
        }
    });
}

void PathRequest::follow(const QDBusObjectPath& path)
{
    m_path = path.path();
    QDBusConnection::sessionBus().connect(QLatin1String(portalService), m_path, QStringLiteral("org.freedesktop.portal.Request"),
        QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
}

void PathRequest::onResponse(uint code, const QVariantMap& results)
{
    const QStringList addresses = results.value(QStringLiteral("uris")).toStringList();
    const QString path = addresses.isEmpty() ? QString() : QUrl(addresses.front()).toLocalFile();
    finish({ true, code == 0 && !path.isEmpty() ? std::optional(path) : std::nullopt });
}

void PathRequest::finish(DesktopPortal::PathAnswer answer)
{
    if (const auto done = std::exchange(m_done, {})) {
        done(std::move(answer));
    }
    deleteLater();
}

} // namespace tessarin
