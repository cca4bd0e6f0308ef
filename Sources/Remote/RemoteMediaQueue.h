#pragma once

#include "Remote/RemoteMediaSource.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

namespace tessarin
{

// The files that one device is still to get, one after another, each chunk read when it is asked for. On the queue only.
class RemoteMediaQueue : public std::enable_shared_from_this<RemoteMediaQueue>
{
public:
    // `onChunk` gets each chunk that was asked for.
    explicit RemoteMediaQueue(std::function<void(RemoteFrame)> onChunk);

    // Not when the same file waits already and has not been begun.
    void add(std::shared_ptr<RemoteMediaSource> source);
    // Asks for the next chunk, unless one is on its way or none is left. A file that has no more is passed over.
    void fetch();
    // What is on its way is not given any more, and all files are let go.
    void clear();

private:
    void fetched(const RemoteMediaSource::Chunk& chunk);

    const std::function<void(RemoteFrame)> m_onChunk;
    std::deque<std::shared_ptr<RemoteMediaSource>> m_sources; // the first one may have been begun
    std::shared_ptr<RemoteMediaStream> m_stream; // of the first, once it has been begun
    std::size_t m_nextIndex = 0; // in the first
    bool m_isFetching = false;
};

} // namespace tessarin
