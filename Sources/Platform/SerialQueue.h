#pragma once

#include "Platform/ThreadSafety.h"

#include <functional>
#include <memory>
#include <string>

namespace tessarin
{

// A queue that runs what is posted to it one piece at a time and in order, on a small pool of threads that all queues share.
// May be used from any thread. Work that is still queued when the last reference goes away is dropped.
class CAPABILITY("queue") SerialQueue
{
public:
    // The label is reverse-DNS text for diagnostics, as in "com.local.tessarin.acp".
    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // Runs `work` later on the queue and returns at once.
    void post(std::function<void()> work);
    // Runs `work` on the queue, after all that was posted before, and returns when it has run.
    // Requires: not called from this or another queue.
    void sync(const std::function<void()>& work);

    // Stops the program in debug builds when the caller does not run on this queue.
    void assertCurrent() const ASSERT_CAPABILITY(this);
    // True while the calling thread runs on any queue.
    [[nodiscard]] static bool isCallerOnAny();
    [[nodiscard]] const std::string& label() const;

    // For sources of Platform alone, which run their input and output on the queue.
    struct Implementation;
    [[nodiscard]] const std::shared_ptr<Implementation>& implementation() const { return m_implementation; }

private:
    std::shared_ptr<Implementation> m_implementation;
};

} // namespace tessarin
