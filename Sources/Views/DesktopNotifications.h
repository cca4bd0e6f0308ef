#pragma once

#include "Views/NotificationBoard.h"

#include <QDeadlineTimer>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

#if !defined(__APPLE__)
class QDBusMessage;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;
#endif

namespace tessarin
{

// The notifications of the desktop: the service `org.freedesktop.Notifications` of the session bus, version 1.2 of its protocol, asked
// without ever waiting. A service that is missing, fails or does not answer costs the one notification and nothing else: it is asked
// again with the next, and said once on the error stream. On macOS nothing is shown yet.
class DesktopNotifications : public NotificationBoard
{
    Q_OBJECT
#if !defined(__APPLE__)
    Q_MOC_INCLUDE(<QDBusMessage>)
#endif
public:
    explicit DesktopNotifications(QObject* parent = nullptr);
    ~DesktopNotifications() override;

    void show(const Notification& notification) override;
    void withdraw(const Notification::Place& place) override;
    void clear() override;

#if !defined(__APPLE__)
private:
    // One place on the desktop. At most one call for it is under way; what is asked meanwhile waits for the answer.
    struct Posting {
        Notification wanted;
        uint id = 0; // the service's own, of what stands; 0 before the first answer
        QDBusPendingCallWatcher* call = nullptr; // the call under way; it lives until its answer has been taken
        bool isStale = false; // `wanted` is newer than what that call shows
        bool isWithdrawn = false;
    };
    using Postings = std::vector<Posting>;

    void askCapabilities();
    void takeCapabilities(QDBusPendingCallWatcher* watcher);
    void post(Posting& posting);
    void takeAnswer(QDBusPendingCallWatcher* watcher);
    [[nodiscard]] static uint awaitAnswer(const Posting& posting, const QDeadlineTimer& deadline);
    void close(uint id);
    void complain(const QString& reason);
    void drop(Postings::iterator posting);
    void follow();
    void unfollow();
    void forgetService();
    [[nodiscard]] Postings::iterator postingAt(const Notification::Place& place);
    [[nodiscard]] Postings::iterator postingOf(uint id, const QDBusMessage& message);

    Q_SLOT void onActivationToken(uint id, const QString& token, const QDBusMessage& message);
    Q_SLOT void onActionInvoked(uint id, const QString& action, const QDBusMessage& message);
    Q_SLOT void onNotificationClosed(uint id, uint reason, const QDBusMessage& message);

    Postings m_postings;
    std::optional<QStringList> m_capabilities; // of the service that is followed
    bool m_isAsking = false; // for them
    QString m_service; // the unique name that answers come from
    std::unique_ptr<QDBusServiceWatcher> m_watcher; // while anything is posted
    uint m_tokenID = 0;
    QString m_token; // for that notification, until it is acted on
    bool m_hasComplained = false;
#endif
};

} // namespace tessarin
