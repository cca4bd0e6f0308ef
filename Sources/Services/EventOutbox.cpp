#include "Services/EventOutbox.h"

#include "Platform/MainThread.h"

#include <utility>

namespace tessarin
{

EventOutbox::EventOutbox(MainThread& mainThread, std::shared_ptr<EventGate> gate) : m_mainThread(mainThread), m_gate(std::move(gate)) { }

EventBatch& EventOutbox::batch()
{
    if (!m_batch)
        m_batch = std::make_shared<EventBatch>(m_gate, std::exchange(m_expectedBytes, 0));
    return *m_batch;
}

bool EventOutbox::flush()
{
    m_expectedBytes = 0;
    const std::shared_ptr<EventBatch> batch = std::exchange(m_batch, nullptr);
    if (!batch || batch->isEmpty())
        return false;
    const bool pause = m_gate->add(batch->bytes());
    // The events hold the client, so that they arrive also when it has been stopped and dropped by then.
    m_mainThread.post([batch, client = m_gate->client()] { batch->run(client.get()); });
    return pause;
}

} // namespace tessarin
