#include "Remote/RemoteMediaStream.h"

#include "Platform/JsonText.h"
#include "Platform/OpenedFile.h"
#include "Remote/Base64.h"
#include "Remote/RemoteCrypto.h"
#include "Remote/RemoteEnvelope.h"

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
constexpr std::string_view jsonEnd = "\"}";

// The JSON of a chunk up to its data; only the id and the index differ from one chunk to the next.
struct ChunkText {
    std::string beforeId;
    std::string beforeIndex;
    std::string beforeData;
};

void appendText(std::string& json, std::string_view key, std::string_view text)
{
    json += ",\"";
    json += key;
    json += "\":";
    appendJsonText(json, text);
}

ChunkText chunkText(const RemoteMedia& media, std::size_t chunkCount)
{
    ChunkText text;
    text.beforeId = "{\"version\":" + std::to_string(RemoteEnvelope::currentVersion) + ",\"id\":\"";
    text.beforeIndex = "\"";
    appendText(text.beforeIndex, "type", RemoteMessageType::mediaChunk);
    appendText(text.beforeIndex, "mediaID", media.id);
    appendText(text.beforeIndex, "mediaKind", media.kind);
    appendText(text.beforeIndex, "mimeType", mimeType(media.path));
    appendText(text.beforeIndex, "fileName", media.fileName);
    text.beforeIndex += ",\"chunkIndex\":";
    text.beforeData = ",\"chunkCount\":" + std::to_string(chunkCount) + ",\"data\":\"";
    return text;
}

std::size_t chunkCountOf(std::uint64_t size)
{
    return std::max<std::size_t>(1, (size + RemoteMedia::chunkSize - 1) / RemoteMedia::chunkSize);
}

} // namespace

struct RemoteMediaStream::Implementation {
    Implementation(OpenedFile opened, const RemoteMedia& media, std::string key)
        : file(std::move(opened)), keyData(std::move(key)), chunkCount(chunkCountOf(file.size())), text(chunkText(media, chunkCount))
    {
    }

    [[nodiscard]] std::shared_ptr<const std::string> makeFrame(std::size_t index) const;
    void remember(std::size_t index, const std::shared_ptr<const std::string>& frame);

    // Constant after construction.
    const OpenedFile file;
    const std::string keyData;
    const std::size_t chunkCount;
    const ChunkText text;

    std::mutex mutex; // also while a frame is being made, so that two who want the same one get the same one
    std::map<std::size_t, std::weak_ptr<const std::string>> frames;
    std::size_t framesBeforeSweep = 16;
};

// Everything happens where it stays: the file is read to the end of the room that its Base64 needs, spreads out from there to the front,
// and is encrypted on the spot.
std::shared_ptr<const std::string> RemoteMediaStream::Implementation::makeFrame(std::size_t index) const
{
    const std::uint64_t offset = std::uint64_t(index) * RemoteMedia::chunkSize;
    const auto byteCount = static_cast<std::size_t>(std::min<std::uint64_t>(RemoteMedia::chunkSize, file.size() - offset));
    const std::string start = text.beforeId + Uuid::random().text() + text.beforeIndex + std::to_string(index) + text.beforeData;
    const std::size_t dataSize = base64Size(byteCount);

    const auto frame = std::make_shared<std::string>();
    frame->reserve(messagePlace + start.size() + dataSize + jsonEnd.size() + RemoteCrypto::tagByteCount);
    frame->resize(messagePlace);
    *frame += start;
    frame->resize(frame->size() + dataSize);
    char* const bytes = frame->data() + frame->size() - byteCount;
    if (!file.read(offset, bytes, byteCount)) {
        return nullptr;
    }
    writeBase64({ bytes, byteCount }, frame->data() + frame->size() - dataSize);
    *frame += jsonEnd;
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
    framesBeforeSweep = std::max<std::size_t>(16, 2 * frames.size());
}

std::shared_ptr<RemoteMediaStream> RemoteMediaStream::open(RemoteMedia media, std::string keyData)
{
    auto file = OpenedFile::open(media.path);
    if (!file) {
        return nullptr; // a device is not told: it sees in its next state that the item is gone
    }
    return std::shared_ptr<RemoteMediaStream>(
        new RemoteMediaStream(std::make_unique<Implementation>(std::move(file).value(), media, std::move(keyData))));
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
