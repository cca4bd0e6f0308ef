#include "Views/DesktopNotifications.h"

#include "Views/NotificationRules.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDebug>
#include <QThread>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <utility>

namespace tessarin
{

namespace
{

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString defaultAction = QStringLiteral("default");

struct Signal {
    const char* name;
    const char* slot;
};
const std::array followedSignals{
    Signal{ "ActivationToken", SLOT(onActivationToken(uint, QString, QDBusMessage)) },
    Signal{ "ActionInvoked", SLOT(onActionInvoked(uint, QString, QDBusMessage)) },
    Signal{ "NotificationClosed", SLOT(onNotificationClosed(uint, uint, QDBusMessage)) },
};

QDBusMessage callOf(const char* method)
{
    return QDBusMessage::createMethodCall(service, path, service, QLatin1String(method));
}

// An agent that asks waits for the answer, so its notification stays until it has one. It is of ordinary urgency all the same: nothing
// burns, and a critical one would break into a presentation.
int timeoutOf(Notification::Kind kind)
{
    constexpr int never = 0;
    constexpr int asTheDesktopLikes = -1;
    return kind == Notification::Kind::asks ? never : asTheDesktopLikes;
}

QVariantMap hints()
{
    constexpr uchar ordinary = 1;
    return { { QStringLiteral("desktop-entry"), QStringLiteral("tessarin") },
        { QStringLiteral("urgency"), QVariant::fromValue<uchar>(ordinary) } };
}

} // namespace

DesktopNotifications::DesktopNotifications(QObject* parent) : NotificationBoard(parent) { }

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::show(const Notification& notification)
{
    auto posting = postingAt(notification.place);
    if (posting == m_postings.end()) {
        follow();
        posting = m_postings.insert(posting, Posting{});
    }
    posting->wanted = notification;
    posting->isWithdrawn = false;
    if (posting->call != nullptr) {
        posting->isStale = true;
    } else if (m_capabilities) {
        post(*posting);
    } else if (!m_isAsking) {
        askCapabilities();
    }
}

void DesktopNotifications::withdraw(const Notification::Place& place)
{
    const auto posting = postingAt(place);
    if (posting == m_postings.end()) {
        return;
    }
    if (posting->call != nullptr) {
        posting->isWithdrawn = true; // its id is not known yet
        return;
    }
    if (posting->id != 0) {
        close(posting->id);
    }
    drop(posting);
}

// What the service has not answered yet is waited for within the bound: it may be on the screen, and only the answer tells how to close
// it. The bus takes messages in their order: when it has answered, it has passed on what was sent before, and the program may end. The
// bus itself answers at once.
void DesktopNotifications::clear()
{
    constexpr int bound = 1000; // milliseconds
    const QDeadlineTimer deadline(bound);
    bool isAnyClosed = false;
    for (const Posting& posting : std::exchange(m_postings, {})) {
        if (const uint id = awaitAnswer(posting, deadline); id != 0) {
            close(id);
            isAnyClosed = true;
        }
    }
    unfollow();
    if (!isAnyClosed) {
        return;
    }
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("GetId")), QDBus::Block, bound);
}

// The id of what stands on the desktop for the posting, 0 where nothing is known to. The main loop is over, so nothing is told when an
// answer comes; Qt reads it on a thread of its own.
uint DesktopNotifications::awaitAnswer(const Posting& posting, const QDeadlineTimer& deadline)
{
    constexpr int pause = 5; // milliseconds
    if (posting.call == nullptr) {
        return posting.id;
    }
    while (!posting.call->isFinished() && !deadline.hasExpired()) {
        QThread::msleep(pause);
    }
    if (!posting.call->isFinished()) {
        return posting.id;
    }
    const QDBusPendingReply<uint> reply = *posting.call;
    return reply.isError() ? posting.id : reply.value();
}

void DesktopNotifications::askCapabilities()
{
    m_isAsking = true;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(callOf("GetCapabilities")), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &DesktopNotifications::takeCapabilities);
}

void DesktopNotifications::takeCapabilities(QDBusPendingCallWatcher* watcher)
{
    watcher->deleteLater();
    m_isAsking = false;
    const QDBusPendingReply<QStringList> reply = *watcher;
    if (reply.isError()) {
        complain(reply.error().message());
        return forgetService();
    }
    if (m_postings.empty()) {
        return; // nothing is followed either: it may be another service the next time
    }
    m_service = reply.reply().service();
    m_capabilities = reply.value();
    for (Posting& posting : m_postings) {
        if (posting.call == nullptr && posting.id == 0) {
            post(posting);
        }
    }
}

void DesktopNotifications::post(Posting& posting)
{
    const NotificationRules::Texts texts = NotificationRules::texts(posting.wanted, *m_capabilities);
    const bool canBeClicked = m_capabilities->contains(QStringLiteral("actions"));
    QDBusMessage message = callOf("Notify");
    message << QStringLiteral("tessarin") << posting.id << QStringLiteral("tessarin") << texts.summary << texts.body
            << (canBeClicked ? QStringList{ defaultAction, QStringLiteral("Show") } : QStringList()) << hints()
            << timeoutOf(posting.wanted.kind);
    posting.isStale = false;
    posting.call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(posting.call, &QDBusPendingCallWatcher::finished, this, &DesktopNotifications::takeAnswer);
}

void DesktopNotifications::takeAnswer(QDBusPendingCallWatcher* watcher)
{
    watcher->deleteLater();
    const auto posting
        = std::find_if(m_postings.begin(), m_postings.end(), [watcher](const Posting& each) { return each.call == watcher; });
    if (posting == m_postings.end()) {
        return; // the service of that call is gone
    }
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError()) {
        complain(reply.error().message());
        const Notification::Place place = posting->wanted.place;
        drop(posting);
        emit gone(place);
        return;
    }
    m_service = reply.reply().service();
    posting->id = reply.value();
    posting->call = nullptr;
    if (posting->isWithdrawn) {
        close(posting->id);
        drop(posting);
    } else if (posting->isStale) {
        post(*posting);
    }
}

void DesktopNotifications::close(uint id)
{
    QDBusMessage message = callOf("CloseNotification");
    message << id;
    message.setAutoStartService(false);
    QDBusConnection::sessionBus().send(message);
}

// There may be none on this desktop, on purpose: that is said once, for whoever looks for the reason.
void DesktopNotifications::complain(const QString& reason)
{
    if (!std::exchange(m_hasComplained, true)) {
        qInfo().noquote() << "tessarin: the desktop shows no notifications:" << reason;
    }
}

void DesktopNotifications::drop(Postings::iterator posting)
{
    m_postings.erase(posting);
    if (m_postings.empty()) {
        unfollow();
    }
}

// Only while something of ours stands: a desktop tells everybody of every notification, and this program would wake up for each.
void DesktopNotifications::follow()
{
    if (m_watcher) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    // From whichever sender: naming it would ask the bus for it and wait. Who has sent is compared when it comes.
    for (const Signal& signal : followedSignals) {
        bus.connect(QString(), path, service, QLatin1String(signal.name), this, signal.slot);
    }
    m_watcher = std::make_unique<QDBusServiceWatcher>(service, bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(
        m_watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this, [this](const QString&, const QString& before, const QString&) {
            if (!before.isEmpty()) {
                forgetService();
            }
        });
}

void DesktopNotifications::unfollow()
{
    if (!m_watcher) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    for (const Signal& signal : followedSignals) {
        bus.disconnect(QString(), path, service, QLatin1String(signal.name), this, signal.slot);
    }
    m_watcher.release()->deleteLater(); // it may be the one that calls
    m_capabilities.reset(); // another service may stand there the next time
    m_service.clear();
}

// What it showed is gone with it, and its ids mean nothing to the next.
void DesktopNotifications::forgetService()
{
    const Postings lost = std::exchange(m_postings, {});
    unfollow();
    for (const Posting& posting : lost) {
        emit gone(posting.wanted.place);
    }
}

DesktopNotifications::Postings::iterator DesktopNotifications::postingAt(const Notification::Place& place)
{
    return std::find_if(m_postings.begin(), m_postings.end(), [&](const Posting& posting) { return posting.wanted.place == place; });
}

// Anybody on the bus can send such a signal.
DesktopNotifications::Postings::iterator DesktopNotifications::postingOf(uint id, const QDBusMessage& message)
{
    if (message.service() != m_service) {
        return m_postings.end();
    }
    return std::find_if(m_postings.begin(), m_postings.end(), [id](const Posting& posting) { return posting.id == id && id != 0; });
}

void DesktopNotifications::onActivationToken(uint id, const QString& token, const QDBusMessage& message)
{
    if (postingOf(id, message) != m_postings.end()) {
        m_tokenID = id;
        m_token = token;
    }
}

void DesktopNotifications::onActionInvoked(uint id, const QString& action, const QDBusMessage& message)
{
    const auto posting = postingOf(id, message);
    if (posting == m_postings.end() || action != defaultAction) {
        return;
    }
    const Notification::Place place = posting->wanted.place;
    const QString token = std::exchange(m_tokenID, 0) == id ? std::exchange(m_token, {}) : QString();
    emit chosen(place, token);
    withdraw(place); // most services close it by themselves
}

void DesktopNotifications::onNotificationClosed(uint id, uint, const QDBusMessage& message)
{
    const auto posting = postingOf(id, message);
    if (posting == m_postings.end()) {
        return;
    }
    if (posting->call != nullptr) {
        posting->id = 0; // a newer one is on its way to this place
        return;
    }
    const Notification::Place place = posting->wanted.place;
    drop(posting);
    emit gone(place);
}

} // namespace tessarin
