#include "Remote/RemoteHostEvents.h"

#include <utility>

namespace tessarin
{

RemoteHostEvents::RemoteHostEvents(MainThread& mainThread, std::shared_ptr<SerialQueue> queue, Receiver receiver)
    : m_mainThread(mainThread), m_queue(std::move(queue)), m_receiver(std::move(receiver))
{
}

void RemoteHostEvents::post(Event event, std::size_t byteCount)
{
    m_queue->assertCurrent();
    ++m_waitingCount;
    m_waitingBytes += byteCount;
    m_isBehind = m_isBehind || m_waitingCount >= countLimit || m_waitingBytes >= byteLimit;
    m_mainThread.post([self = shared_from_this(), event = std::move(event), byteCount] {
        if (const auto receiver = self->m_receiver.lock()) {
            event(**receiver);
        }
        self->m_queue->post([self, byteCount] {
            self->m_queue->assertCurrent();
            self->taken(byteCount);
        });
    });
}

bool RemoteHostEvents::isBehind() const
{
    m_queue->assertCurrent();
    return m_isBehind;
}

void RemoteHostEvents::taken(std::size_t byteCount)
{
    --m_waitingCount;
    m_waitingBytes -= byteCount;
    if (m_isBehind && m_waitingCount <= countLimit / 2 && m_waitingBytes <= byteLimit / 2) {
        m_isBehind = false;
        onCaughtUp();
    }
}

} // namespace tessarin
