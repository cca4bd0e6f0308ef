#pragma once

// For the sources of this folder alone: what a serial queue is made of, so that they can run their input and output on it.

#include "Platform/SerialQueue.h"

#include <atomic>
#include <memory>
#include <string>

// Declared, not included: Asio stays out of headers.
namespace boost::asio
{
class any_io_executor;
}

namespace tessarin
{

struct SerialQueue::Implementation {
    // Constant after construction.
    std::string label;
    // For Asio's own objects. What they run here is not dropped with the queue.
    std::shared_ptr<boost::asio::any_io_executor> executor;

    // Set when the queue is gone, so that what still waits is dropped.
    std::atomic<bool> isAbandoned = false;
};

// Marks the calling thread as running on the queue for the life of this object.
// Every handler that Asio calls on a queue's executor opens with one.
class QueueScope
{
public:
    explicit QueueScope(const SerialQueue::Implementation& queue);
    ~QueueScope();
    QueueScope(const QueueScope&) = delete;
    QueueScope& operator=(const QueueScope&) = delete;

private:
    const SerialQueue::Implementation* m_outer;
};

} // namespace tessarin
