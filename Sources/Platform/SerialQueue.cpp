#include "Platform/SerialQueue.h"

#include "Platform/AsioQueue.h"

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace tessarin
{

namespace
{

thread_local const SerialQueue::Implementation* currentQueue = nullptr;

// The threads that all queues share. Nothing on a queue waits, so few are enough; two at least, so that one busy queue
// does not hold up the others.
class QueueThreads
{
public:
    QueueThreads() : m_context(threadCount()), m_work(m_context.get_executor()), m_watcher(m_context)
    {
        for (int thread = 0; thread < threadCount(); ++thread)
            std::thread([this] { m_context.run(); }).detach();
    }

    auto makeStrand() { return boost::asio::make_strand(m_context); }

private:
    static int threadCount() { return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 2, 4); }

    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    // Makes Asio open its own descriptors now: later, when none is left, it would throw in the middle of a launch.
    boost::asio::posix::stream_descriptor m_watcher;
};

// Lives until the process ends, on purpose: a queue may still be running while static objects are torn down.
QueueThreads& queueThreads()
{
    static QueueThreads* const threads = new QueueThreads;
    return *threads;
}

} // namespace

QueueScope::QueueScope(const SerialQueue::Implementation& queue) : m_outer(std::exchange(currentQueue, &queue)) { }

QueueScope::~QueueScope()
{
    currentQueue = m_outer;
}

SerialQueue::SerialQueue(std::string label)
    : m_implementation(new Implementation{ std::move(label), std::make_shared<boost::asio::any_io_executor>(queueThreads().makeStrand()) })
{
}

SerialQueue::~SerialQueue()
{
    m_implementation->isAbandoned = true;
}

void SerialQueue::post(std::function<void()> work)
{
    boost::asio::post(*m_implementation->executor, [queue = m_implementation, work = std::move(work)] {
        if (queue->isAbandoned)
            return;
        const QueueScope scope(*queue);
        work();
    });
}

void SerialQueue::sync(const std::function<void()>& work)
{
    assert(!isCallerOnAny());
    std::mutex mutex;
    std::condition_variable ran;
    bool hasRun = false;
    post([&] {
        work();
        // Notified under the lock: once the caller sees the flag, both objects are gone.
        const std::lock_guard lock(mutex);
        hasRun = true;
        ran.notify_one();
    });
    std::unique_lock lock(mutex);
    ran.wait(lock, [&] { return hasRun; });
}

void SerialQueue::assertCurrent() const
{
    assert(currentQueue == m_implementation.get());
}

bool SerialQueue::isCallerOnAny()
{
    return currentQueue != nullptr;
}

const std::string& SerialQueue::label() const
{
    return m_implementation->label;
}

} // namespace tessarin
