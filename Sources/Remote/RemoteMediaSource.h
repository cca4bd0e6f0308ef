#pragma once

#include "Platform/SerialQueue.h"
#include "Remote/RemoteMedia.h"
#include "Remote/RemoteMediaStream.h"
#include "Remote/RemoteOutbox.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tessarin
{

// One file that goes to several devices, each at its own speed. Its disk is waited for in the background; on the queue otherwise. The file
// is open only while somebody holds the stream, and whoever begins to read it meanwhile shares it.
class RemoteMediaSource : public std::enable_shared_from_this<RemoteMediaSource>
{
public:
    RemoteMediaSource(std::shared_ptr<SerialQueue> queue, RemoteMedia media, std::string keyData);

    [[nodiscard]] const RemoteMedia& media() const { return m_media; }

    struct Chunk {
        std::shared_ptr<RemoteMediaStream> stream; // null when the file can't be opened
        RemoteFrame frame; // null when the chunk can't be read
    };
    using Fetched = std::function<void(const Chunk& chunk)>;
    // `done` is called later, once, unless the source or the program ends before. Those who want the same chunk at once get the same frame.
    // Requires: `stream` is the one that came with the chunk before, null for the first chunk.
    void fetch(const std::shared_ptr<RemoteMediaStream>& stream, std::size_t index, Fetched done);

private:
    void deliver(std::size_t index, const Chunk& chunk) REQUIRES(*m_queue);

    // Constant after construction.
    const std::shared_ptr<SerialQueue> m_queue;
    const RemoteMedia m_media;
    const std::string m_keyData;

    // On the queue only.
    std::weak_ptr<RemoteMediaStream> m_stream GUARDED_BY(*m_queue);
    std::map<std::size_t, std::vector<Fetched>> m_waiting GUARDED_BY(*m_queue); // by chunk
};

} // namespace tessarin
