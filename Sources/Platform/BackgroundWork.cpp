#include "Platform/BackgroundWork.h"

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
    constexpr int niceness = 10;
    // Without the lower priority the work is done all the same.
    static_cast<void>(::setpriority(PRIO_PROCESS, static_cast<id_t>(::syscall(SYS_gettid)), niceness));
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

    void post(std::function<void()> work)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        m_arrived.notify_one();
    }

private:
    [[noreturn]] void run()
    {
        lowerPriorityOfThisThread();
        while (true) {
            std::unique_lock lock(m_mutex);
            m_arrived.wait(lock, [this] { return !m_work.empty(); });
            // Gone before the next one is waited for, with all that it holds.
            const std::function<void()> work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
        }
    }

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_arrived;
    std::deque<std::function<void()>> m_work;
};

} // namespace

void runInBackground(std::function<void()> work)
{
    // Lives until the process ends, on purpose: work may still be going on while static objects are torn down.
    static BackgroundThreads* const threads = new BackgroundThreads;
    threads->post(std::move(work));
}

} // namespace tessarin
