#include "Remote/RemoteMediaStream.h"

#include "Platform/OpenedFile.h"
#include "Remote/Base64.h"
#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <mutex>
#include <utility>

namespace tessarin
{

namespace
{

constexpr std::size_t messagePlace = RemoteCrypto::lengthByteCount + RemoteCrypto::nonceByteCount;
// How a message ends whose data is empty; the data belongs between the two quotes.
constexpr std::string_view emptyData = R"("data":""})";
constexpr std::size_t behindData = 2;
constexpr std::size_t leastSweep = 16;

std::size_t chunkCountOf(std::uint64_t size)
{
    return std::max<std::size_t>(1, (size + RemoteMedia::chunkSize - 1) / RemoteMedia::chunkSize);
}

} // namespace

struct RemoteMediaStream::Implementation {
    Implementation(OpenedFile opened, RemoteMedia opener, std::string key)
        : file(std::move(opened)), media(std::move(opener)), keyData(std::move(key)), chunkCount(chunkCountOf(file.size()))
    {
    }

    [[nodiscard]] std::string messageWithoutData(std::size_t index);
    [[nodiscard]] std::shared_ptr<const std::string> makeFrame(std::size_t index);
    void remember(std::size_t index, const std::shared_ptr<const std::string>& frame);

    // Constant after construction.
    const OpenedFile file;
    const RemoteMedia media;
    const std::string keyData;
    const std::size_t chunkCount;

    std::mutex mutex; // also while a frame is being made, so that two who want the same one get the same one
    RemoteEncoder encoder;
    std::map<std::size_t, std::weak_ptr<const std::string>> frames;
    std::size_t framesBeforeSweep = leastSweep;
};

std::string RemoteMediaStream::Implementation::messageWithoutData(std::size_t index)
{
    RemoteEnvelope chunk;
    chunk.type = RemoteMessageType::mediaChunk;
    chunk.mediaID = media.id;
    chunk.mediaKind = media.kind;
    chunk.mimeType = mimeType(media.path);
    chunk.fileName = media.fileName;
    chunk.chunkIndex = static_cast<std::int64_t>(index);
    chunk.chunkCount = static_cast<std::int64_t>(chunkCount);
    chunk.data = "";
    const auto json = encoder.encode(chunk, RemoteCrypto::maximumFrameSize);
    return json ? json->joined() : std::string();
}

// Everything happens where it stays: the file is read to the end of the room that its Base64 needs, spreads out from there to the front,
// and is encrypted on the spot.
std::shared_ptr<const std::string> RemoteMediaStream::Implementation::makeFrame(std::size_t index)
{
    const std::string message = messageWithoutData(index);
    if (message.empty()) {
        return nullptr;
    }
    assert(message.ends_with(emptyData));
    const std::uint64_t offset = std::uint64_t(index) * RemoteMedia::chunkSize;
    const auto byteCount = static_cast<std::size_t>(std::min<std::uint64_t>(RemoteMedia::chunkSize, file.size() - offset));
    const std::size_t dataSize = base64Size(byteCount);

    const auto frame = std::make_shared<std::string>();
    frame->reserve(messagePlace + message.size() + dataSize + RemoteCrypto::tagByteCount);
    frame->resize(messagePlace);
    frame->append(message, 0, message.size() - behindData);
    frame->resize(frame->size() + dataSize);
    char* const bytes = frame->data() + frame->size() - byteCount;
    if (!file.read(offset, bytes, byteCount)) {
        return nullptr;
    }
    writeBase64({ bytes, byteCount }, frame->data() + frame->size() - dataSize);
    frame->append(message, message.size() - behindData);
    frame->resize(frame->size() + RemoteCrypto::tagByteCount);
    return RemoteCrypto::sealInPlace(*frame, keyData) ? frame : nullptr;
}

// What nobody holds any more is swept out each time that the table has doubled, so that it stays as small as what is held.
void RemoteMediaStream::Implementation::remember(std::size_t index, const std::shared_ptr<const std::string>& frame)
{
    frames[index] = frame;
    if (frames.size() < framesBeforeSweep) {
        return;
    }
    std::erase_if(frames, [](const auto& entry) { return entry.second.expired(); });
    framesBeforeSweep = std::max(leastSweep, 2 * frames.size());
}

std::shared_ptr<RemoteMediaStream> RemoteMediaStream::open(RemoteMedia media, std::string keyData)
{
    auto file = OpenedFile::open(media.path);
    if (!file) {
        return nullptr; // a device is not told: it sees in its next state that the item is gone
    }
    return std::shared_ptr<RemoteMediaStream>(
        new RemoteMediaStream(std::make_unique<Implementation>(std::move(file).value(), std::move(media), std::move(keyData))));
}

RemoteMediaStream::RemoteMediaStream(std::unique_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) { }

RemoteMediaStream::~RemoteMediaStream() = default;

std::size_t RemoteMediaStream::chunkCount() const
{
    return m_implementation->chunkCount;
}

std::shared_ptr<const std::string> RemoteMediaStream::frame(std::size_t index)
{
    assert(index < m_implementation->chunkCount);
    const std::lock_guard lock(m_implementation->mutex);
    const auto held = m_implementation->frames.find(index);
    if (auto frame = held == m_implementation->frames.end() ? nullptr : held->second.lock()) {
        return frame;
    }
    auto frame = m_implementation->makeFrame(index);
    if (frame) {
        m_implementation->remember(index, frame);
    }
    return frame;
}

} // namespace tessarin
