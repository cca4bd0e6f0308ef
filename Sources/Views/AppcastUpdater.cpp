#include "Views/AppcastUpdater.h"

#include "Platform/Preferences.h"
#include "Updates/UpdateSchedule.h"
#include "Views/UpdateFlow.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

AppcastUpdater::AppcastUpdater(SoftwareUpdaterDelegate& delegate, Surroundings surroundings)
    : m_delegate(delegate), m_surroundings(std::move(surroundings))
{
    m_flowChanged = QObject::connect(&m_surroundings.flow, &UpdateFlow::changed, [this] { lookWhenNothingIsShown(); });
}

AppcastUpdater::~AppcastUpdater()
{
    QObject::disconnect(m_flowChanged);
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
    const auto feed = feedAddress();
    if (feed && m_surroundings.flow.lookForPerson(*feed)) {
        noteLook();
        schedule();
    }
}

void AppcastUpdater::resetUpdateCycleAfterShortDelay()
{
    if (m_surroundings.flow.dropSilentLookElsewhere(feedAddress())) {
        m_surroundings.preferences.remove(lastLookKey); // it did not come to its end
    }
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
    if (m_isStarted && automaticallyChecksForUpdates() && feedAddress()) {
        const std::chrono::milliseconds wait = std::max<std::chrono::milliseconds>(untilNextLook(), shortDelay);
        m_nextLook = m_surroundings.mainThread.postDelayed(wait, [this] { lookByItself(); });
    }
}

// What waits does not notice that the computer slept or that its clock was set: what counts is the clock as it is now.
void AppcastUpdater::lookByItself()
{
    m_nextLook.reset();
    const auto feed = feedAddress();
    const bool isDue = feed && untilNextLook() == std::chrono::milliseconds(0);
    if (isDue && !m_surroundings.flow.lookByItself(*feed)) {
        return; // a person sees something: nothing waits until that has been closed
    }
    if (isDue) {
        noteLook();
    }
    schedule();
}

void AppcastUpdater::lookWhenNothingIsShown()
{
    if (!m_nextLook && m_surroundings.flow.stage() == UpdateFlow::Idle) {
        schedule();
    }
}

std::optional<QUrl> AppcastUpdater::feedAddress() const
{
    const auto address = m_delegate.feedURLString(*this);
    return address ? std::optional(QUrl(QString::fromStdString(*address))) : std::nullopt;
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
