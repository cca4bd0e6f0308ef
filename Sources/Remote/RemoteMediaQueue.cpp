#include "Remote/RemoteMediaQueue.h"

#include <algorithm>
#include <utility>

namespace tessarin
{

RemoteMediaQueue::RemoteMediaQueue(std::function<void(RemoteFrame)> onChunk) : m_onChunk(std::move(onChunk)) { }

void RemoteMediaQueue::add(std::shared_ptr<RemoteMediaSource> source)
{
    const bool isFirstBegun = m_stream || m_isFetching;
    const auto waiting = m_sources.begin() + (isFirstBegun ? 1 : 0);
    const bool waits = std::any_of(waiting, m_sources.end(), [&](const auto& other) { return other->media() == source->media(); });
    if (!waits) {
        m_sources.push_back(std::move(source));
    }
}

void RemoteMediaQueue::fetch()
{
    if (m_isFetching || m_sources.empty()) {
        return;
    }
    m_isFetching = true;
    m_sources.front()->fetch(m_stream, m_nextIndex, [weak = weak_from_this()](const RemoteMediaSource::Chunk& chunk) {
        if (const auto self = weak.lock()) {
            self->fetched(chunk);
        }
    });
}

void RemoteMediaQueue::clear()
{
    m_sources.clear();
    m_stream.reset();
}

void RemoteMediaQueue::fetched(const RemoteMediaSource::Chunk& chunk)
{
    if (m_sources.empty()) {
        return;
    }
    m_isFetching = false;
    m_stream = chunk.stream;
    ++m_nextIndex;
    const bool isOver = !chunk.frame || m_nextIndex == m_stream->chunkCount();
    if (isOver) {
        m_sources.pop_front();
        m_stream.reset();
        m_nextIndex = 0;
    }
    if (!chunk.frame) {
        // A device is told nothing of a file that can't be read.
        return fetch();
    }
    m_onChunk(chunk.frame);
}

} // namespace tessarin
