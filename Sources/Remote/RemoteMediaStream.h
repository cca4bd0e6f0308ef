#pragma once

#include "Platform/Result.h"
#include "Remote/RemoteMedia.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

// One file as the sealed frames of its chunks, each read when it is asked for: no more of the file is in memory than the chunks that
// somebody holds. The file is the one that was there when the stream was opened, whatever becomes of its name.
// Any thread; calls read the disk.
class RemoteMediaStream
{
public:
    // Absent when the file can't be opened, or is no regular file.
    [[nodiscard]] static std::shared_ptr<RemoteMediaStream> open(RemoteMedia media, std::string keyData);
    ~RemoteMediaStream();

    // At least 1.
    [[nodiscard]] std::size_t chunkCount() const;
    // The frame of a chunk, with a message id of its own. Null when the file has become shorter, or can't be read or sealed: the stream
    // ends there. While somebody holds the frame of an index, that one is given again.
    [[nodiscard]] std::shared_ptr<const std::string> frame(std::size_t index);

private:
    struct Implementation;
    explicit RemoteMediaStream(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
