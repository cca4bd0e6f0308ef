#include "Remote/RemoteMediaSource.h"

#include "Platform/BackgroundWork.h"

#include <utility>

namespace tessarin
{

RemoteMediaSource::RemoteMediaSource(std::shared_ptr<SerialQueue> queue, RemoteMedia media, std::string keyData)
    : m_queue(std::move(queue)), m_media(std::move(media)), m_keyData(std::move(keyData))
{
}

void RemoteMediaSource::fetch(const std::shared_ptr<RemoteMediaStream>& stream, std::size_t index, Fetched done)
{
    m_queue->assertCurrent();
    auto& waiting = m_waiting[index];
    waiting.push_back(std::move(done));
    if (waiting.size() > 1) {
        return;
    }
    const auto work = [weak = weak_from_this(), queue = m_queue, media = m_media, keyData = m_keyData,
                          opened = stream ? stream : m_stream.lock(), index] {
        Chunk chunk;
        chunk.stream = opened ? opened : RemoteMediaStream::open(media, keyData);
        if (chunk.stream && index < chunk.stream->chunkCount()) {
            chunk.frame = chunk.stream->frame(index);
        }
        queue->post([weak, index, chunk] {
            if (const auto self = weak.lock()) {
                self->m_queue->assertCurrent();
                self->deliver(index, chunk);
            }
        });
    };
    // A device that is cut off by the end of the program doesn't need the rest.
    runInBackground(work, AtEnd::dropped);
}

void RemoteMediaSource::deliver(std::size_t index, const Chunk& chunk)
{
    m_queue->assertCurrent();
    m_stream = chunk.stream;
    // Taken out first: whoever gets a chunk may ask for another one.
    const auto waiting = m_waiting.extract(index);
    if (waiting) {
        for (const Fetched& done : waiting.mapped()) {
            done(chunk);
        }
    }
}

} // namespace tessarin
