#pragma once

// For the sources of this folder alone: what a serial queue is made of, so that they can run their input and output on it.

#include "Platform/SerialQueue.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>

#include <atomic>
#include <string>

namespace tessarin
{

using QueueExecutor = boost::asio::strand<boost::asio::io_context::executor_type>;

struct SerialQueue::Implementation {
    // Constant after construction.
    std::string label;
    // What is posted here directly is not dropped with the queue.
    QueueExecutor executor;

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

// True while the calling thread runs on any queue.
[[nodiscard]] bool isOnSomeQueue();

} // namespace tessarin
