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

namespace tessarin
{

// The way to the main thread: work posted from any thread runs there, in the order in which it was posted.
// The toolkit owns the main loop; it is woken by `wake` and then calls `drain`. Tests pump it by hand and move its clock.
// Outlives everything that posts to it.
class MainThread
{
public:
    using Clock = std::chrono::steady_clock;

    // `wake` is called from any thread when there is something to run, or something to wait for;
    // it must return at once and lead to a call of `drain` on the main thread.
    // `now` is the clock of delayed work; tests pass their own.
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
    // Any thread. Does nothing when the work has run already.
    void cancelDelayed(DelayID delay);

    // Main thread only. Runs what is due, for about `budget` at most, so that a flood leaves the loop time to paint.
    // Returns true when work is left that is due; `wake` is not called for it, the caller comes back.
    bool drain(std::chrono::milliseconds budget = std::chrono::milliseconds::max());
    // Main thread only: when the next delayed work is due; absent when none waits.
    [[nodiscard]] std::optional<Clock::time_point> nextDue() const;

    // Main thread only, for tests and tools without a loop: waits until work is due, or `bound` has passed, and drains.
    // Returns false when nothing came in time.
    bool waitAndDrain(std::chrono::milliseconds bound);

private:
    struct Delayed {
        DelayID id;
        std::function<void()> work;
    };
    void moveDueWork(Clock::time_point now);

    // Constant after construction.
    std::function<void()> m_wake;
    std::function<Clock::time_point()> m_now;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<std::function<void()>> m_work;
    std::multimap<Clock::time_point, Delayed> m_delayed;
    DelayID m_nextDelay = 1;
};

} // namespace tessarin
