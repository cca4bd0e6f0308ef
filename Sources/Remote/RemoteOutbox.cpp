#include "Remote/RemoteOutbox.h"

#include <utility>

namespace tessarin
{

void RemoteOutbox::add(RemoteFrame frame)
{
    m_waitingBytes += frame->size();
    m_messages.push_back(std::move(frame));
}

void RemoteOutbox::addSnapshot()
{
    if (m_snapshot) {
        m_messages.erase(*m_snapshot);
    }
    m_snapshot = m_messages.insert(m_messages.end(), nullptr);
}

void RemoteOutbox::addChunk(RemoteFrame frame)
{
    m_waitingBytes += frame->size();
    m_chunks.push_back(std::move(frame));
}

bool RemoteOutbox::isGivenUp()
{
    if (m_waitingBytes <= patienceLimit) {
        m_takenWhenBehind.reset();
        return false;
    }
    const auto takenBefore = std::exchange(m_takenWhenBehind, m_takenBytes);
    return m_waitingBytes > byteLimit || takenBefore == m_takenBytes;
}

RemoteFrame RemoteOutbox::begin(const std::function<RemoteFrame()>& makeSnapshot)
{
    RemoteFrame frame = nextMessage(makeSnapshot);
    if (!frame && !m_chunks.empty()) {
        frame = std::move(m_chunks.front());
        m_chunks.pop_front();
        m_isChunkUnderWay = true;
    }
    m_underWayBytes = frame ? frame->size() : 0;
    return frame;
}

bool RemoteOutbox::take(std::size_t byteCount)
{
    m_takenBytes += byteCount;
    m_waitingBytes -= byteCount;
    m_underWayBytes -= byteCount;
    if (isUnderWay()) {
        return false;
    }
    m_isChunkUnderWay = false;
    return true;
}

RemoteFrame RemoteOutbox::nextMessage(const std::function<RemoteFrame()>& makeSnapshot)
{
    while (!m_messages.empty()) {
        RemoteFrame frame = std::move(m_messages.front());
        m_messages.pop_front();
        if (frame) {
            return frame;
        }
        m_snapshot.reset();
        frame = makeSnapshot();
        if (frame) {
            m_waitingBytes += frame->size();
            return frame;
        }
    }
    return nullptr;
}

} // namespace tessarin
