#include "Views/QtMainThread.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>

namespace tessarin
{

namespace
{

constexpr std::chrono::milliseconds drainBudget(8); // half a frame
const QEvent::Type wakeEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

QtMainThread::QtMainThread() : m_mainThread([this] { wake(); }) { }

QtMainThread::~QtMainThread() = default;

void QtMainThread::wake()
{
    if (!m_isWoken.exchange(true)) {
        QCoreApplication::postEvent(this, new QEvent(wakeEvent));
    }
}

bool QtMainThread::event(QEvent* event)
{
    if (event->type() != wakeEvent) {
        return QObject::event(event);
    }
    drain();
    return true;
}

// What is left goes on by a timer, not by another event: events posted to oneself run before the loop gets to paint.
void QtMainThread::drain()
{
    if (!m_timer) {
        m_timer = std::make_unique<QTimer>();
        m_timer->setSingleShot(true);
        m_timer->setTimerType(Qt::PreciseTimer);
        connect(m_timer.get(), &QTimer::timeout, this, &QtMainThread::drain);
    }
    m_isWoken = false;
    if (m_mainThread.drain(drainBudget)) {
        m_timer->start(0);
    } else if (const auto due = m_mainThread.nextDue()) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*due - MainThread::Clock::now());
        m_timer->start(std::max(wait, std::chrono::milliseconds(0)));
    } else {
        m_timer->stop();
    }
}

} // namespace tessarin
