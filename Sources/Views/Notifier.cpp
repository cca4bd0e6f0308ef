#include "Views/Notifier.h"

#include "App/AppModel.h"
#include "Platform/Preferences.h"
#include "Views/ModelChanges.h"
#include "Views/NotificationRules.h"

#include <algorithm>
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
    if (auto notification = NotificationRules::notification(news)) {
        show(std::move(*notification));
    }
}

void Notifier::show(Notification notification)
{
    std::erase_if(m_shown, [&](const Notification& each) { return each.place == notification.place; });
    if (m_shown.size() == limit) {
        const Notification::Place oldest = m_shown.front().place;
        withdrawIf([&](const Notification& each) { return each.place == oldest; });
    }
    m_shown.push_back(notification);
    m_board->show(notification);
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
    } else if (isOneOf(change.kind, { Kind::selection, Kind::section }) && m_hasFocus()) {
        noteFocus();
    }
}

void Notifier::noteFocus()
{
    withdrawIf([this](const Notification& each) { return isSeen(each); });
}

void Notifier::choose(const Notification::Place& place, const QString& token)
{
    forget(place);
    goTo(place);
    emit called(token);
}

// Another task is not selected while an agent is at work in this one: that would stop it, and a click on old news does not ask for that.
void Notifier::goTo(const Notification::Place& place)
{
    if (place.section == AppSection::imagine) {
        m_model->setSelectedSection(AppSection::imagine);
    } else if (isThere(place) && (isOfSelectedTask(place) || !m_model->isTurnUnderWay())) {
        m_model->setSelectedSection(AppSection::build);
        m_model->selectThread(place.threadID, place.workspaceID);
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
