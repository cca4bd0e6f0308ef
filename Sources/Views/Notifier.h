#pragma once

#include "App/ModelChange.h"
#include "Views/News.h"
#include "Views/NotificationBoard.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <functional>
#include <memory>
#include <vector>

namespace tessarin
{

class AppModel;
class Preferences;

// Tells a person who looks at something else what has become of the tasks, and leads back to them. No news is shown while a window of ours
// has the focus, but a request that is left unanswered is, when the focus goes. What is shown goes when it is out of date. Main thread
// only; owned by WindowModel.
class Notifier : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its notifier")
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY enabledChanged)
public:
    static constexpr const char* key = "notifications.v1";
    // Beyond so many the oldest goes.
    static constexpr std::size_t limit = 12;

    explicit Notifier(QObject* parent = nullptr);
    ~Notifier() override;

    // Both outlive it. `hasFocus` asks whether a window of ours has the focus. Before this nothing is ever shown.
    void open(Preferences& preferences, NotificationBoard& board, std::function<bool()> hasFocus);
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);
    void tell(const News& news);
    // The focus has come to a window of ours, or has gone from all of them.
    void noteFocus();

    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    void setEnabled(bool isEnabled);

signals:
    void enabledChanged();
    // A click asks for the window; see NotificationBoard::chosen for the token.
    void called(const QString& token);

private:
    void show(const Notification& notification);
    void enlist(const Notification& notification);
    void choose(const Notification::Place& place, const QString& token);
    [[nodiscard]] bool goTo(const Notification::Place& place);
    void holdLater(const Notification& notification);
    void hold(const Notification& notification);
    void tellOfRequest();
    void withdrawSeen();
    void forget(const Notification::Place& place);
    [[nodiscard]] bool isPending(const Notification& notification) const;
    [[nodiscard]] bool isSeen(const Notification& notification) const;
    [[nodiscard]] bool isThere(const Notification::Place& place) const;
    [[nodiscard]] bool isOfSelectedTask(const Notification::Place& place) const;
    template <class Question>
    void withdrawIf(Question isOutOfDate);

    Preferences* m_preferences = nullptr; // from `open` on
    NotificationBoard* m_board = nullptr;
    std::function<bool()> m_hasFocus;
    std::shared_ptr<AppModel> m_model;
    std::vector<Notification> m_shown; // the newest last
    bool m_isEnabled = true;
};

} // namespace tessarin
