#include "Views/AppcastUpdater.h"

#include "Platform/Preferences.h"
#include "Updates/UpdateSchedule.h"
#include "Views/UpdateFlow.h"

#include <QUrl>

#include <algorithm>
#include <utility>

namespace tessarin
{

AppcastUpdater::AppcastUpdater(SoftwareUpdaterDelegate& delegate, Surroundings surroundings)
    : m_delegate(delegate), m_surroundings(std::move(surroundings))
{
}

AppcastUpdater::~AppcastUpdater()
{
    if (m_nextLook) {
        m_surroundings.mainThread.cancelDelayed(*m_nextLook);
    }
}

void AppcastUpdater::startUpdater()
{
    m_isStarted = true;
    schedule();
}

void AppcastUpdater::checkForUpdates()
{
    if (const auto address = m_delegate.feedURLString(*this)) {
        noteLook();
        schedule();
        m_surroundings.flow.lookForPerson(QUrl(QString::fromStdString(*address)));
    }
}

void AppcastUpdater::resetUpdateCycleAfterShortDelay()
{
    schedule();
}

bool AppcastUpdater::automaticallyChecksForUpdates() const
{
    return m_surroundings.preferences.boolean(automaticallyChecksKey).value_or(false);
}

void AppcastUpdater::setAutomaticallyChecksForUpdates(bool checks)
{
    m_surroundings.preferences.setBoolean(automaticallyChecksKey, checks);
    schedule();
}

// Anew each time, so that nothing of before is left; with an address that can't be used nothing waits, until the next one is entered.
void AppcastUpdater::schedule()
{
    if (m_nextLook) {
        m_surroundings.mainThread.cancelDelayed(*m_nextLook);
        m_nextLook.reset();
    }
    if (m_isStarted && automaticallyChecksForUpdates() && m_delegate.feedURLString(*this)) {
        const std::chrono::milliseconds wait = std::max<std::chrono::milliseconds>(untilNextLook(), shortDelay);
        m_nextLook = m_surroundings.mainThread.postDelayed(wait, [this] { lookByItself(); });
    }
}

// What waits does not notice that the computer slept or that its clock was set: what counts is the clock as it is now.
void AppcastUpdater::lookByItself()
{
    m_nextLook.reset();
    const auto address = m_delegate.feedURLString(*this);
    if (address && untilNextLook() == std::chrono::milliseconds(0)) {
        noteLook();
        m_surroundings.flow.lookByItself(QUrl(QString::fromStdString(*address)));
    }
    schedule();
}

void AppcastUpdater::noteLook()
{
    m_surroundings.preferences.setText(lastLookKey, UpdateSchedule::storedText(m_surroundings.now()));
}

std::chrono::milliseconds AppcastUpdater::untilNextLook() const
{
    const auto lastLook = UpdateSchedule::lastLookFrom(m_surroundings.preferences.text(lastLookKey).value_or(""));
    return UpdateSchedule::untilNextLook(lastLook, m_surroundings.now());
}

} // namespace tessarin
