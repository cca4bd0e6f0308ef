#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

namespace tessarin
{

// The way to the main thread: work posted from any thread runs there, in the order in which it was posted.
// The toolkit owns the main loop; it is woken by `wake` and then calls `drain`. Tests pump it by hand and move its clock.
// There is no timer in here: after each `drain` the toolkit's adapter reads `nextDue` and sets its own timer to drain again then.
// Outlives everything that posts to it.
class MainThread
{
public:
    using Clock = std::chrono::steady_clock;

    // `wake` is called from any thread when there is something to run, or when `nextDue` has come nearer;
    // it must return at once and lead to a call of `drain` on the main thread. It is not called again before that `drain`.
    // `now` is the clock of delayed work and of the budget; tests pass their own.
    explicit MainThread(std::function<void()> wake = {}, std::function<Clock::time_point()> now = &Clock::now);
    ~MainThread();
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;

    // Any thread. Runs `work` later on the main thread.
    void post(std::function<void()> work);

    // Identifies delayed work, to call it off.
    using DelayID = std::uint64_t;
    // Any thread. Runs `work` on the main thread when `delay` has passed.
    DelayID postDelayed(std::chrono::milliseconds delay, std::function<void()> work);
    // Any thread. Does nothing when the work has run already. On the main thread, work that was called off never runs;
    // from another thread it may be running just now.
    void cancelDelayed(DelayID delay);

    // Main thread only, and not from work that it runs. Runs what is due, what is posted meanwhile included, for about `budget`
    // at most, so that a flood leaves the loop time to paint; at least one piece of work is run.
    // Returns true when work is left that is due; `wake` is not called for it nor for what is posted next, the caller comes back.
    bool drain(std::chrono::milliseconds budget = std::chrono::milliseconds::max());
    // Main thread only: when the next delayed work is due; absent when none waits.
    [[nodiscard]] std::optional<Clock::time_point> nextDue() const;

    // Main thread only, for tests and tools without a loop: waits until work is due, or `bound` has passed, and drains.
    // Returns false when nothing came in time.
    bool waitAndDrain(std::chrono::milliseconds bound);

private:
    struct Work {
        std::function<void()> run;
        std::optional<DelayID> delay = std::nullopt; // set for delayed work that has become due
        bool isCalledOff = false;
    };
    struct Delayed {
        DelayID id;
        std::function<void()> work;
    };
    // The steps below run with m_mutex held.
    [[nodiscard]] bool requestWake();
    void moveDueWork(Clock::time_point now);
    [[nodiscard]] Work takeNext();

    // Constant after construction.
    std::function<void()> m_wake;
    std::function<Clock::time_point()> m_now;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<Work> m_work;
    std::multimap<Clock::time_point, Delayed> m_delayed;
    std::set<DelayID> m_dueDelays; // in m_work, and not called off
    DelayID m_nextDelay = 1;
    bool m_isDrainExpected = false; // `wake` was called, or the caller of `drain` comes back

    // Main thread only.
    bool m_isDraining = false;
};

} // namespace tessarin
