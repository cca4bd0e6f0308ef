#include "Services/EventGate.h"

#include <utility>

namespace tessarin
{

void EventGate::open(std::weak_ptr<AgentClient> client, std::function<void()> onDrained)
{
    m_client = std::move(client);
    m_onDrained = std::move(onDrained);
    m_isOpen = true;
}

void EventGate::close()
{
    m_isOpen = false;
}

std::shared_ptr<AgentClient> EventGate::client() const
{
    return m_client.lock();
}

bool EventGate::add(std::size_t bytes)
{
    const std::lock_guard lock(m_mutex);
    m_bytes += bytes;
    if (m_isFull || m_bytes <= byteLimit)
        return false;
    m_isFull = true;
    return true;
}

void EventGate::release(std::size_t bytes)
{
    {
        const std::lock_guard lock(m_mutex);
        m_bytes -= bytes;
        if (!m_isFull || m_bytes > byteLimit / 2)
            return;
        m_isFull = false;
    }
    if (m_onDrained)
        m_onDrained();
}

bool EventGate::isFull() const
{
    const std::lock_guard lock(m_mutex);
    return m_isFull;
}

} // namespace tessarin
