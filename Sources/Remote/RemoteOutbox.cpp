#include "Remote/RemoteOutbox.h"

#include <algorithm>
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
    const bool isChunksTurn = m_wasMessage && !m_chunks.empty();
    RemoteFrame frame = isChunksTurn ? nullptr : nextMessage(makeSnapshot);
    m_wasMessage = frame != nullptr;
    if (!frame && !m_chunks.empty()) {
        frame = std::move(m_chunks.front());
        m_chunks.pop_front();
        m_isChunkUnderWay = true;
    }
    m_underWay = frame;
    m_underWayBytes = frame ? frame->size() : 0;
    m_lastTaken = Clock::now();
    return frame;
}

bool RemoteOutbox::take(std::size_t byteCount)
{
    m_takenBytes += byteCount;
    m_waitingBytes -= byteCount;
    m_underWayBytes -= byteCount;
    m_lastTaken = Clock::now();
    if (m_underWayBytes > 0) {
        return false;
    }
    m_underWay.reset();
    m_isChunkUnderWay = false;
    return true;
}

std::vector<RemoteFrame> RemoteOutbox::heldFrames() const
{
    std::vector<RemoteFrame> frames;
    const auto add = [&frames](const RemoteFrame& frame) {
        if (frame) {
            frames.push_back(frame);
        }
    };
    add(m_underWay);
    std::for_each(m_messages.begin(), m_messages.end(), add);
    std::for_each(m_chunks.begin(), m_chunks.end(), add);
    return frames;
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
