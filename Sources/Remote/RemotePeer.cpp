#include "Remote/RemotePeer.h"

#include "Remote/RemoteCoder.h"
#include "Remote/RemoteCrypto.h"

#include <utility>

namespace tessarin
{

namespace
{

// One is on the wire while the next is being read and sealed.
constexpr std::size_t chunksAhead = 2;

} // namespace

RemotePeer::RemotePeer(
    std::weak_ptr<Owner> owner, std::unique_ptr<TcpConnection> connection, std::string keyData, std::shared_ptr<SerialQueue> queue)
    : m_owner(std::move(owner)), m_queue(std::move(queue)), m_keyData(std::move(keyData)), m_connection(std::move(connection))
{
}

RemotePeer::~RemotePeer() = default;

void RemotePeer::start()
{
    m_queue->assertCurrent();
    m_media = std::make_shared<RemoteMediaQueue>([weak = weak_from_this()](RemoteFrame frame) {
        if (const auto self = weak.lock()) {
            self->m_queue->assertCurrent();
            self->m_outbox.addChunk(std::move(frame));
            self->writeNext();
            self->fetchMedia();
        }
    });
    m_isReady = true;
    if (const auto owner = m_owner.lock()) {
        owner->onReady(*this);
    }
    receiveNext();
}

bool RemotePeer::isReady() const
{
    m_queue->assertCurrent();
    return m_isReady;
}

std::size_t RemotePeer::unprovenBytes() const
{
    m_queue->assertCurrent();
    return m_unprovenBytes;
}

bool RemotePeer::hasKey() const
{
    m_queue->assertCurrent();
    return m_hasKey;
}

const RemoteOutbox& RemotePeer::outbox() const
{
    m_queue->assertCurrent();
    return m_outbox;
}

void RemotePeer::receiveNext()
{
    if (m_didClose || m_isReceiving || m_hasEnded || !mayDeliver()) {
        return;
    }
    m_isReceiving = true;
    m_connection->receive(TcpConnection::receiveLimit, [weak = weak_from_this()](const Result<std::string_view, NetworkError>& bytes) {
        if (const auto self = weak.lock()) {
            self->m_queue->assertCurrent();
            self->received(bytes);
        }
    });
}

void RemotePeer::received(const Result<std::string_view, NetworkError>& bytes)
{
    m_isReceiving = false;
    m_hasEnded = !bytes || bytes.value().empty();
    if (!m_hasEnded) {
        m_buffer.append(bytes.value());
    }
    consumeAndGoOn();
}

void RemotePeer::consumeAndGoOn()
{
    if (!consumeFrames()) {
        return close();
    }
    countUnproven();
    // What came before the end still counts, also when it has to wait.
    if (m_hasEnded && mayDeliver()) {
        return close();
    }
    receiveNext();
}

bool RemotePeer::consumeFrames()
{
    while (!m_didClose && mayDeliver()) {
        const auto payload = m_buffer.next();
        if (!payload) {
            return false;
        }
        if (!payload.value()) {
            return true;
        }
        if (!consume(*payload.value())) {
            return false;
        }
    }
    return true;
}

// One frame that does not open or is no message ends the connection: where the next one begins is anybody's guess then.
bool RemotePeer::consume(std::string_view payload)
{
    const auto plaintext = RemoteCrypto::open(payload, m_keyData);
    if (!plaintext) {
        return false;
    }
    auto envelope = decodeRemoteEnvelope(plaintext.value());
    if (!envelope) {
        return false;
    }
    const auto owner = m_owner.lock();
    if (owner && owner->onEnvelope(std::move(*envelope), plaintext.value().size()) == Sender::hasKey) {
        m_hasKey = true;
    }
    return true;
}

void RemotePeer::countUnproven()
{
    const std::size_t before = std::exchange(m_unprovenBytes, m_hasKey || m_didClose ? 0 : m_buffer.heldBytes());
    const auto owner = m_owner.lock();
    if (owner && before != m_unprovenBytes) {
        owner->onUnprovenBytes(static_cast<std::ptrdiff_t>(m_unprovenBytes) - static_cast<std::ptrdiff_t>(before));
    }
}

bool RemotePeer::mayDeliver() const
{
    const auto owner = m_owner.lock();
    return owner && owner->mayDeliver();
}

void RemotePeer::resume()
{
    m_queue->assertCurrent();
    if (!m_didClose) {
        consumeAndGoOn();
    }
}

void RemotePeer::send(RemoteFrame frame)
{
    m_queue->assertCurrent();
    if (isToBeSentTo()) {
        m_outbox.add(std::move(frame));
        closeWhenGivenUp();
        writeNext();
    }
}

void RemotePeer::sendSnapshot()
{
    m_queue->assertCurrent();
    if (isToBeSentTo()) {
        m_outbox.addSnapshot();
        closeWhenGivenUp();
        writeNext();
    }
}

void RemotePeer::sendMedia(std::shared_ptr<RemoteMediaSource> source)
{
    m_queue->assertCurrent();
    if (isToBeSentTo()) {
        m_media->add(std::move(source));
        fetchMedia();
    }
}

void RemotePeer::writeNext()
{
    if (!isToBeSentTo() || m_outbox.isUnderWay()) {
        return;
    }
    const auto owner = m_owner.lock();
    const RemoteFrame frame = m_outbox.begin([&owner] { return owner ? owner->latestSnapshotFrame() : nullptr; });
    if (!frame) {
        return;
    }
    const auto taken = [weak = weak_from_this()](std::size_t byteCount) {
        if (const auto self = weak.lock()) {
            self->m_queue->assertCurrent();
            self->taken(byteCount);
        }
    };
    m_connection->send(frame, taken, [weak = weak_from_this()](const NetworkError&) {
        if (const auto self = weak.lock()) {
            self->m_queue->assertCurrent();
            self->writeFailed();
        }
    });
}

void RemotePeer::taken(std::size_t byteCount)
{
    if (m_outbox.take(byteCount)) {
        writeNext();
        fetchMedia();
    }
}

void RemotePeer::fetchMedia()
{
    if (isToBeSentTo() && m_outbox.waitingChunks() < chunksAhead) {
        m_media->fetch();
    }
}

void RemotePeer::closeWhenGivenUp()
{
    if (m_outbox.isGivenUp()) {
        close();
    }
}

// The connection comes to its end by itself now: what the other side sent before is read first.
void RemotePeer::writeFailed()
{
    m_isWritingOver = true;
    m_outbox = {};
    m_media->clear();
}

void RemotePeer::close()
{
    m_queue->assertCurrent();
    if (m_didClose) {
        return;
    }
    m_didClose = true;
    m_isReady = false;
    m_connection->close();
    m_outbox = {};
    m_buffer = {};
    if (m_media) {
        m_media->clear();
    }
    countUnproven();
    if (const auto owner = m_owner.lock()) {
        owner->onClose(m_id);
    }
}

} // namespace tessarin
