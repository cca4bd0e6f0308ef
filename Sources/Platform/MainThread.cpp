#include "Platform/MainThread.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace tessarin
{

MainThread::MainThread(std::function<void()> wake, std::function<Clock::time_point()> now) : m_wake(std::move(wake)), m_now(std::move(now))
{
}

MainThread::~MainThread()
{
    // What is dropped here may post as it goes, so it goes while this object is whole.
    m_wake = nullptr;
    std::unique_lock lock(m_mutex);
    while (!m_work.empty() || !m_delayed.empty()) {
        auto work = std::exchange(m_work, {});
        auto delayed = std::exchange(m_delayed, {});
        lock.unlock();
        work.clear();
        delayed.clear();
        lock.lock();
    }
}

void MainThread::post(std::function<void()> work)
{
    bool mustWake = false;
    {
        const std::lock_guard lock(m_mutex);
        m_work.push_back({ .run = std::move(work) });
        mustWake = requestWake();
        m_arrived.notify_one();
    }
    if (mustWake)
        m_wake();
}

MainThread::DelayID MainThread::postDelayed(std::chrono::milliseconds delay, std::function<void()> work)
{
    const Clock::time_point due = m_now() + delay;
    DelayID id = 0;
    bool mustWake = false;
    {
        const std::lock_guard lock(m_mutex);
        id = m_nextDelay++;
        const bool isEarliest = m_delayed.empty() || due < m_delayed.begin()->first;
        m_delayed.emplace(due, Delayed{ id, std::move(work) });
        if (isEarliest) {
            mustWake = requestWake();
            m_arrived.notify_one();
        }
    }
    if (mustWake)
        m_wake();
    return id;
}

void MainThread::cancelDelayed(DelayID delay)
{
    // Destroyed without the lock, since what it holds may post as it goes.
    std::function<void()> cancelled;
    const std::lock_guard lock(m_mutex);
    m_dueDelays.erase(delay);
    const auto found = std::find_if(m_delayed.begin(), m_delayed.end(), [&](const auto& entry) { return entry.second.id == delay; });
    if (found == m_delayed.end())
        return;
    cancelled = std::move(found->second.work);
    m_delayed.erase(found);
}

bool MainThread::drain(std::chrono::milliseconds budget)
{
    assert(!m_isDraining);
    m_isDraining = true;
    const Clock::time_point start = m_now();
    bool isWorkLeft = true;
    for (bool isFirst = true;; isFirst = false) {
        const Clock::time_point now = m_now();
        Work next;
        {
            const std::lock_guard lock(m_mutex);
            moveDueWork(now);
            isWorkLeft = !m_work.empty();
            m_isDrainExpected = isWorkLeft;
            // Compared in the coarser unit: the largest budget does not fit the finer one.
            const bool isSpent = std::chrono::duration_cast<std::chrono::milliseconds>(now - start) >= budget;
            if (!isWorkLeft || (isSpent && !isFirst))
                break;
            next = takeNext();
        }
        if (!next.isCalledOff)
            next.run();
    }
    m_isDraining = false;
    return isWorkLeft;
}

std::optional<MainThread::Clock::time_point> MainThread::nextDue() const
{
    const std::lock_guard lock(m_mutex);
    if (m_delayed.empty())
        return std::nullopt;
    return m_delayed.begin()->first;
}

bool MainThread::waitAndDrain(std::chrono::milliseconds bound)
{
    const Clock::time_point deadline = Clock::now() + bound;
    {
        std::unique_lock lock(m_mutex);
        while (true) {
            const Clock::time_point now = m_now();
            moveDueWork(now);
            if (!m_work.empty())
                break;
            if (Clock::now() >= deadline)
                return false;
            // The clock of delayed work need not be the one that is waited on.
            const Clock::time_point wakeUp
                = m_delayed.empty() ? deadline : std::min(deadline, Clock::now() + (m_delayed.begin()->first - now));
            m_arrived.wait_until(lock, wakeUp);
        }
    }
    drain();
    return true;
}

bool MainThread::requestWake()
{
    const bool isFirst = !std::exchange(m_isDrainExpected, true);
    return isFirst && m_wake;
}

void MainThread::moveDueWork(Clock::time_point now)
{
    while (!m_delayed.empty() && m_delayed.begin()->first <= now) {
        Delayed due = std::move(m_delayed.begin()->second);
        m_delayed.erase(m_delayed.begin());
        m_dueDelays.insert(due.id);
        m_work.push_back({ .run = std::move(due.work), .delay = due.id });
    }
}

MainThread::Work MainThread::takeNext()
{
    Work next = std::move(m_work.front());
    m_work.pop_front();
    next.isCalledOff = next.delay && m_dueDelays.erase(*next.delay) == 0;
    return next;
}

} // namespace tessarin
