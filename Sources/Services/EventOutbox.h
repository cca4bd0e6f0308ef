#pragma once

#include "Services/EventBatch.h"

#include <cstddef>
#include <memory>

namespace tessarin
{

class MainThread;

// Collects what one piece of work on a client's queue has to tell the main thread, and posts it whole, so that thousands of updates
// cost one post and events of all kinds arrive in the order in which they were added. Not thread-safe: a client guards it with its
// queue and ends each piece of work with `flush`.
class EventOutbox
{
public:
    EventOutbox(MainThread& mainThread, std::shared_ptr<EventGate> gate);

    // About so many bytes of JSON text come before the next flush; sizes the memory for it.
    void expect(std::size_t bytes) { m_expectedBytes = bytes; }
    // The batch that is being collected.
    [[nodiscard]] EventBatch& batch();
    // Posts the batch unless it has no events. True when the main thread is so far behind that reading has to pause now.
    [[nodiscard]] bool flush();

private:
    MainThread& m_mainThread;
    const std::shared_ptr<EventGate> m_gate;
    std::size_t m_expectedBytes = 0;
    std::shared_ptr<EventBatch> m_batch;
};

} // namespace tessarin
