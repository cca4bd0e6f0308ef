#include "Views/Notifier.h"

#include "App/AppModel.h"
#include "Platform/Preferences.h"
#include "Views/ModelChanges.h"
#include "Views/NotificationRules.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessarin
{

Notifier::Notifier(QObject* parent) : QObject(parent) { }

Notifier::~Notifier() = default;

void Notifier::open(Preferences& preferences, NotificationBoard& board, std::function<bool()> hasFocus)
{
    m_preferences = &preferences;
    m_board = &board;
    m_hasFocus = std::move(hasFocus);
    m_isEnabled = preferences.boolean(key).value_or(true);
    connect(&board, &NotificationBoard::chosen, this, &Notifier::choose);
    connect(&board, &NotificationBoard::gone, this, &Notifier::forget);
    emit enabledChanged();
}

void Notifier::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
}

void Notifier::setEnabled(bool isEnabled)
{
    if (m_preferences == nullptr || isEnabled == m_isEnabled) {
        return;
    }
    m_isEnabled = isEnabled;
    m_preferences->setBoolean(key, isEnabled);
    if (!isEnabled) {
        withdrawIf([](const Notification&) { return true; });
    }
    emit enabledChanged();
}

void Notifier::tell(const News& news)
{
    if (m_board == nullptr || !m_isEnabled || m_hasFocus()) {
        return;
    }
    if (const auto notification = NotificationRules::notification(news)) {
        show(*notification);
    }
}

void Notifier::show(const Notification& notification)
{
    enlist(notification);
    m_board->show(notification);
}

void Notifier::enlist(const Notification& notification)
{
    std::erase_if(m_shown, [&](const Notification& each) { return each.place == notification.place; });
    if (m_shown.size() == limit) {
        const Notification::Place oldest = m_shown.front().place;
        withdrawIf([&](const Notification& each) { return each.place == oldest; });
    }
    m_shown.push_back(notification);
}

void Notifier::note(const ModelChange& change)
{
    if (m_shown.empty()) {
        return;
    }
    using Kind = ModelChange::Kind;
    if (change.kind == Kind::workspaces) {
        withdrawIf([this](const Notification& each) { return !isThere(each.place); });
    } else if (change.kind == Kind::permissionRequest) {
        withdrawIf([this](const Notification& each) { return each.kind == Notification::Kind::asks && !isPending(each); });
    } else if (change.kind == Kind::entryAppended && m_model->entries()[change.index].kind == ChatEntryKind::user) {
        // Another prompt, from a device: what the last one came to is old.
        withdrawIf([this](const Notification& each) { return isOfSelectedTask(each.place); });
    } else if (change.kind == Kind::imagineState && m_model->imagineState().isBusy()) {
        withdrawIf(
            [](const Notification& each) { return each.place.section == AppSection::imagine && each.kind != Notification::Kind::asks; });
    } else if (isOneOf(change.kind, { Kind::selection, Kind::section })) {
        QMetaObject::invokeMethod(this, &Notifier::withdrawSeen, Qt::QueuedConnection);
    }
}

void Notifier::noteFocus()
{
    if (m_model == nullptr || m_board == nullptr) {
        return;
    }
    if (m_hasFocus()) {
        withdrawSeen();
    } else {
        tellOfRequest();
    }
}

// It came while the person was here, and they have gone without an answer.
void Notifier::tellOfRequest()
{
    const auto isAsking = [](const Notification& each) { return each.kind == Notification::Kind::asks; };
    if (m_model->permissionRequest() && std::none_of(m_shown.begin(), m_shown.end(), isAsking)) {
        News news;
        news.isAsked = true;
        describe(news, *m_model);
        tell(news);
    }
}

// What is on the screen for a moment only, between a change of the section and one of the task, is not seen.
void Notifier::withdrawSeen()
{
    if (m_hasFocus()) {
        withdrawIf([this](const Notification& each) { return isSeen(each); });
    }
}

void Notifier::choose(const Notification::Place& place, const QString& token)
{
    const auto chosen = std::find_if(m_shown.begin(), m_shown.end(), [&](const Notification& each) { return each.place == place; });
    const std::optional<Notification> notification = chosen == m_shown.end() ? std::nullopt : std::optional(*chosen);
    forget(place);
    if (!goTo(place) && notification && isThere(place)) {
        holdLater(*notification);
    }
    emit called(token);
}

// Another task is not selected while an agent is at work in this one: that would stop it, and a click on old news does not ask for that.
bool Notifier::goTo(const Notification::Place& place)
{
    if (place.section == AppSection::imagine) {
        m_model->setSelectedSection(AppSection::imagine);
        return true;
    }
    if (!isThere(place) || (!isOfSelectedTask(place) && m_model->isTurnUnderWay())) {
        return false;
    }
    m_model->setSelectedSection(AppSection::build);
    m_model->selectThread(place.threadID, place.workspaceID);
    return true;
}

// The desktop puts away what was clicked, so it is shown again when that is done.
void Notifier::holdLater(const Notification& notification)
{
    QMetaObject::invokeMethod(
        this, [this, notification] { hold(notification); }, Qt::QueuedConnection);
}

// The answer to a click is no news: it is shown whoever has the focus. The words of the news stay what they were, for the next click.
void Notifier::hold(const Notification& notification)
{
    if (m_isEnabled && isThere(notification.place)) {
        enlist(notification);
        m_board->show(NotificationRules::held(notification, m_model->activeProvider()));
    }
}

void Notifier::forget(const Notification::Place& place)
{
    std::erase_if(m_shown, [&](const Notification& each) { return each.place == place; });
}

// The sheet in which an agent asks stands over both sections.
bool Notifier::isSeen(const Notification& notification) const
{
    if (notification.kind == Notification::Kind::asks) {
        return true;
    }
    return notification.place.section == m_model->selectedSection()
        && (notification.place.section == AppSection::imagine || isOfSelectedTask(notification.place));
}

// Whether the request that it tells of still waits for an answer that will be heard.
bool Notifier::isPending(const Notification& notification) const
{
    return m_model->isPermissionHeard() && m_model->permissionSection() == notification.place.section;
}

bool Notifier::isThere(const Notification::Place& place) const
{
    if (place.section == AppSection::imagine) {
        return true;
    }
    const auto isThread = [&](const ChatThread& thread) { return thread.id == place.threadID; };
    const std::vector<Workspace>& workspaces = m_model->workspaces();
    return std::any_of(workspaces.begin(), workspaces.end(), [&](const Workspace& workspace) {
        return workspace.id == place.workspaceID && std::any_of(workspace.threads.begin(), workspace.threads.end(), isThread);
    });
}

bool Notifier::isOfSelectedTask(const Notification::Place& place) const
{
    return place.section == AppSection::build && m_model->selectedThreadID() == place.threadID
        && m_model->selectedWorkspaceID() == place.workspaceID;
}

template <class Question>
void Notifier::withdrawIf(Question isOutOfDate)
{
    const auto firstOld
        = std::stable_partition(m_shown.begin(), m_shown.end(), [&](const Notification& each) { return !isOutOfDate(each); });
    const std::vector<Notification> old(firstOld, m_shown.end());
    m_shown.erase(firstOld, m_shown.end());
    for (const Notification& each : old) {
        m_board->withdraw(each.place);
    }
}

} // namespace tessarin
