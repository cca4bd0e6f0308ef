#include "Platform/BackgroundWork.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#if defined(__APPLE__)
#include <pthread/qos.h>
#else
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace tessarin
{

namespace
{

// One that waits long for its disk does not hold up the next.
constexpr int threadCount = 2;

void lowerPriorityOfThisThread()
{
#if defined(__APPLE__)
    ::pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
#else
    constexpr int nicer = 10;
    const auto thread = static_cast<id_t>(::syscall(SYS_gettid));
    // Without the lower priority the work is done all the same.
    static_cast<void>(::setpriority(PRIO_PROCESS, thread, ::getpriority(PRIO_PROCESS, thread) + nicer));
#endif
}

class BackgroundThreads
{
public:
    BackgroundThreads()
    {
        for (int thread = 0; thread < threadCount; ++thread) {
            std::thread([this] { run(); }).detach();
        }
    }

    void post(std::function<void()> run, AtEnd atEnd)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_work.push_back({ std::move(run), atEnd });
        }
        m_arrived.notify_one();
    }

    void finish()
    {
        std::unique_lock lock(m_mutex);
        waitForAll(lock);
    }

    void end()
    {
        std::deque<Work> dropped; // goes when the lock is free again, with all that it holds
        std::unique_lock lock(m_mutex);
        m_isEnding = true;
        std::deque<Work> kept;
        for (Work& work : m_work) {
            (work.atEnd == AtEnd::dropped ? dropped : kept).push_back(std::move(work));
        }
        m_work = std::move(kept);
        waitForAll(lock);
        m_isEnding = false;
    }

    [[nodiscard]] bool isEnding() const { return m_isEnding; }

private:
    struct Work {
        std::function<void()> run;
        AtEnd atEnd = AtEnd::finished;
    };

    void waitForAll(std::unique_lock<std::mutex>& lock)
    {
        m_finished.wait(lock, [this] { return m_work.empty() && m_running == 0; });
    }

    [[noreturn]] void run()
    {
        lowerPriorityOfThisThread();
        while (true) {
            std::unique_lock lock(m_mutex);
            m_arrived.wait(lock, [this] { return !m_work.empty(); });
            std::function<void()> work = std::move(m_work.front().run);
            m_work.pop_front();
            ++m_running;
            lock.unlock();
            work();
            work = {}; // with all that it holds
            lock.lock();
            --m_running;
            m_finished.notify_all();
        }
    }

    std::atomic<bool> m_isEnding = false;
    std::mutex m_mutex; // guards what follows
    std::condition_variable m_arrived;
    std::condition_variable m_finished;
    std::deque<Work> m_work;
    int m_running = 0; // that have left m_work
};

// Lives until the process ends, on purpose: work may still be going on while static objects are torn down.
BackgroundThreads& threads()
{
    static BackgroundThreads* const all = new BackgroundThreads;
    return *all;
}

} // namespace

void runInBackground(std::function<void()> work, AtEnd atEnd)
{
    threads().post(std::move(work), atEnd);
}

void finishBackgroundWork()
{
    threads().finish();
}

void endBackgroundWork()
{
    threads().end();
}

bool isBackgroundWorkEnding()
{
    return threads().isEnding();
}

} // namespace tessarin
